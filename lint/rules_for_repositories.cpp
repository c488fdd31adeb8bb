// Rules about the first column.
#include <algorithm>
#include <cctype>
#include <map>
#include <set>

#include "host/json_document.h"
#include "lint/rule.h"
#include "lint/texts.h"

namespace fs = std::filesystem;
using eclipse_host::in_quotes;

namespace eclipse_lint {

namespace {

constexpr const char* offer_of_one =
    "<?xml version='1.0'?>\n<repository><units>\n"
    "  <unit id='org.example.one.feature.group' version='1.0.0'/>\n</units></repository>\n";
constexpr const char* offer_of_two =
    "<?xml version='1.0'?>\n<repository><units>\n"
    "  <unit id='org.example.two.feature.group' version='1.0.0'/>\n</units></repository>\n";

/// A descriptor file by itself.
Sample lines(const std::string& content) { return {"tools.txt", {{"tools.txt", content}}}; }

/// A component's folder with a descriptor file and other files.
Sample folder(const std::string& descriptor, std::vector<SampleFile> others) {
  others.insert(others.begin(), {"tools/etc/eclipse/tools.txt", descriptor});
  return {"tools", std::move(others)};
}

Sample good_lines() { return lines("sites/alpha\torg.example.alpha.feature.group\n"); }

Sample good_folder() { return folder("site\torg.example.one.feature.group\n", {{"tools/site/content.xml", offer_of_one}}); }

/// The path of a site as the director gets it, without what makes a URL of it.
std::string_view path_of(const Record& record) {
  std::string_view url = record.placement->url;
  url.remove_prefix(url.find("file://") + 7);
  if (is_archive(record)) url.remove_suffix(std::string_view("!/\"").size());
  return url;
}

/// What stands before the repository in its URL: the component's folder.
std::string_view base_of(const Product& product, const Record& record) {
  return product.has_components ? std::string_view(record.config->base_dir) : std::string_view();
}

/// Those that are not passed over.
template <typename Use>
void for_each_placed(const Product& product, const Use& use) {
  for (const Record& record : product.records) {
    if (record.placement) use(record);
  }
}

/// Those whose repository is a plain path, so that what is said of the place is not said of a mistake in its text.
template <typename Use>
void for_each_looked_into(const Product& product, const Use& use) {
  for (const Record& record : product.records) {
    if (record.site != nullptr && is_plain_repository(record)) use(record);
  }
}

void check_absolute(const Product& product, Reporter& reporter) {
  for_each_placed(product, [&](const Record& record) {
    const std::string_view text = record.repository();
    if (!text.starts_with('/') && !has_drive_letter(text)) return;
    std::string message = in_quotes(text) + " is not recognised as absolute";
    if (product.has_components) message += ": it becomes " + std::string(path_of(record));
    reporter.report(record.place(0), std::move(message));
  });
}

void check_url(const Product& product, Reporter& reporter) {
  for_each_placed(product, [&](const Record& record) {
    if (!has_scheme(record.repository())) return;
    reporter.report(record.place(0),
                    "URLs are not understood here: " + in_quotes(record.repository()) + " is taken for a path");
  });
}

void check_archive_name(const Product& product, Reporter& reporter) {
  for_each_placed(product, [&](const Record& record) {
    if (is_archive(record) || (record.site != nullptr && record.site->is_directory)) return;
    const std::string name = lower_case(record.repository());
    for (const std::string_view ending : {".zip", ".jar", ".tar", ".tar.gz", ".tgz", ".tar.xz", ".7z"}) {
      if (!name.ends_with(ending) || has_scheme(name)) continue;
      Place place = record.place(0);
      place.column += place.length - ending.size();
      place.length = ending.size();
      reporter.report(std::move(place), "only \".zip\", in lower case, is an archive");
    }
  });
}

void check_zip_folder(const Product& product, Reporter& reporter) {
  for_each_looked_into(product, [&](const Record& record) {
    if (!is_archive(record) || !record.site->is_directory) return;
    reporter.report(record.place(0), in_quotes(record.repository()) + " is a folder, but its name makes it an archive");
  });
}

/// Where in the column one of these characters stands, or else that it stands in the component's folder.
void report_characters(const Product& product, const Record& record, std::string_view characters, const std::string& what,
                       Reporter& reporter) {
  const std::string_view text = record.repository();
  const std::size_t at = text.find_first_of(characters);
  if (at != text.npos) {
    reporter.report(record.descriptor->place(*record.line, 0, at, 1), what + " in the repository");
  } else if (base_of(product, record).find_first_of(characters) != std::string_view::npos) {
    reporter.report(record.place(0), what + " in the path of the component's folder, " + in_quotes(record.config->base_dir));
  }
}

bool is_odd_for_other_reasons(std::string_view text) {
  return text != without_blanks(text) || text.starts_with('#') || text.starts_with('"') || text.starts_with('\'');
}

void check_blank(const Product& product, Reporter& reporter) {
  for_each_placed(product, [&](const Record& record) {
    if (is_archive(record) || is_odd_for_other_reasons(record.repository())) return;
    report_characters(product, record, " \t", "a blank", reporter);
  });
}

void check_shell(const Product& product, Reporter& reporter) {
  for_each_placed(product, [&](const Record& record) {
    if (is_odd_for_other_reasons(record.repository())) return;
    report_characters(product, record, is_archive(record) ? special_in_quotes : special_without_quotes,
                      "the shell's own character", reporter);
  });
}

void check_comma(const Product& product, Reporter& reporter) {
  for_each_placed(product, [&](const Record& record) { report_characters(product, record, ",", "a comma", reporter); });
}

/// Where an escape, a fragment or a query of a URL begins; npos where none does.
std::size_t url_syntax_in(std::string_view text) {
  for (std::size_t at = text.find_first_of("%#?"); at != text.npos; at = text.find_first_of("%#?", at + 1)) {
    const auto is_digit = [&](std::size_t i) {
      return i < text.size() && std::isxdigit(static_cast<unsigned char>(text[i])) != 0;
    };
    if (text[at] != '%' || (is_digit(at + 1) && is_digit(at + 2))) return at;
  }
  return text.npos;
}

void check_url_characters(const Product& product, Reporter& reporter) {
  for_each_placed(product, [&](const Record& record) {
    const std::string_view text = record.repository();
    if (text.starts_with('#') || has_scheme(text)) return;
    const std::size_t at = url_syntax_in(text);
    if (at != text.npos) {
      reporter.report(record.descriptor->place(*record.line, 0, at, 1), "a URL reads this character in its own way");
    } else if (url_syntax_in(base_of(product, record)) != text.npos) {
      reporter.report(record.place(0), "a URL reads the path of the component's folder, " + in_quotes(record.config->base_dir) +
                                           ", in its own way");
    }
  });
}

void check_backslash(const Product& product, Reporter& reporter) {
  for_each_placed(product, [&](const Record& record) {
    if (has_drive_letter(record.repository())) return;
    report_characters(product, record, "\\", "a backslash", reporter);
  });
}

void check_site_exists(const Product& product, Reporter& reporter) {
  for_each_looked_into(product, [&](const Record& record) {
    if (!record.site->exists) reporter.report(record.place(0), "there is no site at " + std::string(path_of(record)));
  });
}

void check_metadata(const Product& product, Reporter& reporter) {
  for_each_looked_into(product, [&](const Record& record) {
    const Site& site = *record.site;
    if (!site.exists || site.is_repository || (is_archive(record) && site.is_directory)) return;
    if (!is_archive(record) && !site.is_directory) return;
    std::string message = in_quotes(record.repository()) +
                          " is no p2 repository: it has neither content.jar nor content.xml nor a composite of them";
    if (site.nested.empty()) {
      reporter.report(record.place(0), std::move(message));
    } else {
      reporter.report(record.place(0), std::move(message),
                      "its folder " + in_quotes(site.nested) + " is one: " +
                          (is_archive(record) ? "pack the content of that folder, not the folder" : "name that folder"));
    }
  });
}

void check_spelling(const Product& product, Reporter& reporter) {
  std::map<std::string, const Record*> first;
  std::set<std::pair<std::string_view, std::string_view>> spellings;
  for_each_placed(product, [&](const Record& record) {
    if (!spellings.emplace(record.config->base_dir, record.repository()).second) return;
    std::string normal = fs::path(record.config->base_dir + "/" + record.config->repository).lexically_normal().string();
    if (normal.ends_with('/')) normal.pop_back();
    const auto [known, is_new] = first.emplace(std::move(normal), &record);
    const Record& other = *known->second;
    if (is_new || other.config->base_dir != record.config->base_dir) return;
    reporter.report(record.place(0), "the same place as " + in_quotes(other.repository()) + " in " + other.where());
  });
}

void check_use(const Product& product, Reporter& reporter) {
  std::map<std::string_view, const Record*> listed;  // the record of each feature whose place counts
  for_each_placed(product, [&](const Record& record) {
    const auto [known, is_new] = listed.emplace(record.config->feature, &record);
    if (!is_new && record.placement->slot < known->second->placement->slot) known->second = &record;
  });
  std::map<std::string_view, const Record*> first;
  std::set<std::string_view> used;
  for_each_placed(product, [&](const Record& record) {
    const std::string_view url = record.placement->url;
    first.emplace(url, &record);
    if (!record.config->feature.empty() && listed.at(record.config->feature)->placement->url == url) used.insert(url);
  });
  for (const auto& [url, record] : first) {
    if (used.count(url) != 0) continue;
    reporter.report(record->place(0), "no feature is taken from this repository");
  }
}

}  // namespace

std::vector<Rule> rules_for_repositories() {
  return {
      {.name = "absolute-repository",
       .severity = Severity::error,
       .title = "a repository is an absolute path",
       .effect = "It is not recognised as absolute but looked for below the component's folder, where it is not.",
       .mend = "write the path from the component's folder",
       .bad = lines("/opt/site\torg.example.alpha.feature.group\n"),
       .good = good_lines(),
       .check = check_absolute},
      {.name = "url-repository",
       .severity = Severity::error,
       .title = "a repository is a URL",
       .effect = "It is taken for a path below the component's folder, where it is not.",
       .mend = "ship the site with the component and write its path from the component's folder",
       .bad = lines("https://example.org/site\torg.example.alpha.feature.group\n"),
       .good = good_lines(),
       .check = check_url},
      {.name = "archive-not-recognised",
       .severity = Severity::error,
       .title = "an archive's name does not end in \".zip\"",
       .effect = "It is given to the director like a directory, which cannot load it.",
       .mend = "make it a zip archive whose name ends in .zip, in lower case",
       .bad = lines("sites/alpha.ZIP\torg.example.alpha.feature.group\n"),
       .good = lines("sites/alpha.zip\torg.example.alpha.feature.group\n"),
       .check = check_archive_name},
      {.name = "folder-called-zip",
       .severity = Severity::error,
       .title = "a folder's name ends in \".zip\"",
       .effect = "It is given to the director as an archive, which cannot load it.",
       .mend = "rename the folder, or pack it",
       .bad = folder("site.zip\torg.example.one.feature.group\n", {{"tools/site.zip/content.xml", offer_of_one}}),
       .good = good_folder(),
       .check = check_zip_folder},
      {.name = "blank-in-repository",
       .severity = Severity::error,
       .title = "a blank stands in the path of a repository that is no archive",
       .effect = "Nothing is quoted, so the shell splits the director's command there: every command of the session fails, "
                 "those of other components too. An archive is not harmed: it stands in quotes.",
       .mend = "use a .zip archive, or a path without blanks",
       .bad = lines("my site\torg.example.alpha.feature.group\n"),
       .good = lines("my site.zip\torg.example.alpha.feature.group\n"),
       .check = check_blank},
      {.name = "repository-needs-shell-quoting",
       .severity = Severity::error,
       .title = "a repository holds a character that the shell interprets",
       .effect = "Nothing is quoted: the shell runs, expands or redirects what stands there, or finds a syntax error. What a "
                 "package says is then executed, and every command of the session fails.",
       .mend = "rename the site so that it needs no quoting",
       .bad = lines("sites/a;b\torg.example.alpha.feature.group\n"),
       .good = good_lines(),
       .check = check_shell},
      {.name = "comma-in-repository",
       .severity = Severity::error,
       .title = "a comma stands in a repository",
       .effect = "The director takes a comma for the end of a repository and cannot read the rest: every command of the "
                 "session fails.",
       .mend = "rename the site",
       .bad = lines("sites/a,b\torg.example.alpha.feature.group\n"),
       .good = good_lines(),
       .check = check_comma},
      {.name = "url-character-in-repository",
       .severity = Severity::error,
       .title = "a repository holds \"#\", \"?\", or \"%\" with two hexadecimal digits behind it",
       .effect = "The path becomes a URL as it is: the director takes these for a fragment, a query or an escape, and cannot "
                 "load the repository.",
       .mend = "rename the site",
       .bad = lines("sites/a%20b\torg.example.alpha.feature.group\n"),
       .good = good_lines(),
       .check = check_url_characters},
      {.name = "backslash-in-repository",
       .severity = Severity::error,
       .title = "a repository is written with backslashes",
       .effect = "Backslashes are made slashes in listed file names only. Here the shell drops them, or the director looks for "
                 "a file with a backslash in its name.",
       .mend = "separate folders by \"/\"",
       .bad = lines("sites\\alpha\torg.example.alpha.feature.group\n"),
       .good = good_lines(),
       .check = check_backslash},
      {.name = "site-missing",
       .severity = Severity::error,
       .title = "a repository is not on disk",
       .effect = "While others can be loaded, the director only mentions errors, and the features of this one are not found. "
                 "Alone it makes the director fail.",
       .mend = "ship the site with the component, or correct the path",
       .bad = folder("site\torg.example.one.feature.group\n", {{"tools/sites/content.xml", offer_of_one}}),
       .good = good_folder(),
       .check = check_site_exists},
      {.name = "site-without-metadata",
       .severity = Severity::error,
       .title = "a repository has no p2 metadata",
       .effect = "The director cannot load it. While it can load others, it only mentions errors.",
       .mend = "publish the site with p2's publisher, which writes content.jar and artifacts.jar",
       .bad = folder("site\torg.example.one.feature.group\n", {{"tools/site/repository/content.xml", offer_of_one}}),
       .good = good_folder(),
       .check = check_metadata},
      {.name = "site-spelled-differently",
       .severity = Severity::warning,
       .title = "one repository is written in several ways",
       .effect = "It depends on the installer's way to normalise paths whether the director gets it once or several times.",
       .mend = "write it the same way everywhere",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\n./sites/alpha\torg.example.beta.feature.group\n"),
       .good = lines("sites/alpha\torg.example.alpha.feature.group\nsites/alpha\torg.example.beta.feature.group\n"),
       .check = check_spelling},
      {.name = "repository-without-features",
       .severity = Severity::warning,
       .title = "no feature is taken from a repository",
       .effect = "Every start of the director loads it all the same.",
       .mend = "take its lines out, or write the features that it is there for",
       .bad = folder("site\torg.example.one.feature.group\nother\t\n"
                     "other\torg.example.one.feature.group\n",
                     {{"tools/site/content.xml", offer_of_one}, {"tools/other/content.xml", offer_of_two}}),
       .good = good_folder(),
       .check = check_use},
  };
}

}  // namespace eclipse_lint
