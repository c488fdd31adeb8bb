// Rules about the first column.
#include <algorithm>
#include <map>
#include <set>

#include "base/json_document.h"
#include "base/printable.h"
#include "lint/rule.h"
#include "lint/sample_products.h"
#include "lint/texts.h"

using namespace eclipse_base;
using namespace eclipse_p2;

namespace fs = std::filesystem;
using eclipse_base::in_quotes;
using namespace eclipse_lint::samples;

namespace eclipse_lint {

namespace {

constexpr const char* publish_anew = "publish the site anew, and see that it is copied whole";
constexpr const char* offer_of_files =
    "<?xml version='1.0'?>\n<repository><units>\n"
    "  <unit id='org.example.one.feature.group' version='1.0.0'/>\n"
    "  <unit id='org.example.one.plugin' version='1.0.0'><artifacts>\n"
    "    <artifact classifier='osgi.bundle' id='org.example.one.plugin' version='1.0.0'/></artifacts></unit>\n"
    "</units></repository>\n";
constexpr const char* list_of_files =
    "<?xml version='1.0'?>\n<repository><mappings>\n"
    "  <rule filter='(&amp; (classifier=osgi.bundle))' output='${repoUrl}/plugins/${id}_${version}.jar'/>\n"
    "</mappings><artifacts>\n"
    "  <artifact classifier='osgi.bundle' id='org.example.one.plugin' version='1.0.0'/>\n</artifacts></repository>\n";
constexpr const char* offer_of_two =
    "<?xml version='1.0'?>\n<repository><units>\n"
    "  <unit id='org.example.two.feature.group' version='1.0.0'/>\n</units></repository>\n";

/// A descriptor file by itself.
Sample lines(const std::string& content) { return {"tools.txt", {{"tools.txt", content}}}; }

/// A component's directory with a descriptor file and other files.
Sample directory(const std::string& descriptor, std::vector<SampleFile> others) {
  others.insert(others.begin(), {"tools/etc/eclipse/tools.txt", descriptor});
  return {"tools", std::move(others)};
}

Sample good_lines() { return lines("sites/alpha\torg.example.alpha.feature.group\n"); }

Sample good_directory() {
  return directory("site\torg.example.one.feature.group\n", {{"tools/site/content.xml", offer_of_one}});
}

/// What stands before the repository in its URL: the component's directory.
std::string_view base_of(const Input& input, const Record& record) {
  return input.has_components ? std::string_view(record.config->base_dir) : std::string_view();
}

/// Those that are not passed over.
template <typename Use>
void for_each_placed(const Input& input, const Use& use) {
  for (const Record& record : input.records) {
    if (record.placement) use(record);
  }
}

/// Those whose repository is a plain path, so that what is said of the place is not said of a mistake in its text.
template <typename Use>
void for_each_looked_into(const Input& input, const Use& use) {
  for (const Record& record : input.records) {
    if (record.site != nullptr && is_plain_repository(record)) use(record);
  }
}

bool is_absolute(std::string_view repository) {
  return (repository.starts_with('/') && !is_comment(repository)) || has_drive_letter(repository);
}

void check_absolute(const Input& input, Reporter& reporter) {
  for_each_placed(input, [&](const Record& record) {
    const std::string_view text = record.repository();
    if (!is_absolute(text)) return;
    std::string message = in_quotes(text) + " is not recognised as absolute";
    if (input.has_components) message += ": it becomes " + std::string(path_in(record.placement->url));
    if (record.site != nullptr && record.site->exists) {
      reporter.report(Severity::warning, record.location(0), message + ", which is there",
                      "write it without the slash in front");
    } else {
      reporter.report(record.location(0), std::move(message));
    }
  });
}

void check_url(const Input& input, Reporter& reporter) {
  for_each_placed(input, [&](const Record& record) {
    if (!has_scheme(record.repository())) return;
    reporter.report(record.location(0),
                    "URLs are not understood here: " + in_quotes(record.repository()) + " is taken for a path");
  });
}

/// How a name ends that is an archive's, but not one that is recognised; empty when it is not.
std::string_view other_archive_ending(std::string_view repository) {
  const std::string name = lower_case(repository);
  for (const std::string_view ending : {".zip", ".jar", ".tar", ".tar.gz", ".tgz", ".tar.xz", ".7z"}) {
    if (name.ends_with(ending) && !has_scheme(name)) return ending;
  }
  return "";
}

void check_archive_name(const Input& input, Reporter& reporter) {
  for_each_placed(input, [&](const Record& record) {
    if (is_archive(record) || (record.site != nullptr && record.site->is_directory)) return;
    Location location = record.location(0);
    const std::size_t length = other_archive_ending(record.repository()).size();
    const bool is_file = record.site != nullptr && record.site->exists && is_plain_repository(record);
    if (length != 0) {
      location.column += location.length - length;
      location.length = length;
      reporter.report(std::move(location), "only \".zip\", in lower case, is an archive");
    } else if (is_file) {
      reporter.report(std::move(location),
                      in_quotes(record.repository()) + " is a file, and its name does not end in \".zip\"");
    }
  });
}

void check_zip_directory(const Input& input, Reporter& reporter) {
  for_each_looked_into(input, [&](const Record& record) {
    if (!is_archive(record) || !record.site->is_directory) return;
    reporter.report(record.location(0), in_quotes(record.repository()) + " is a directory, but its name makes it an archive");
  });
}

/// Where in the column one of these characters stands, or else that it stands in the component's directory.
void report_characters(const Input& input, const Record& record, std::string_view characters, const std::string& what,
                       Reporter& reporter) {
  const std::string_view text = record.repository();
  const std::size_t at = text.find_first_of(characters);
  if (at != text.npos) {
    reporter.report(record.descriptor->location(*record.line, 0, at, 1), what + " in the repository");
  } else if (base_of(input, record).find_first_of(characters) != std::string_view::npos) {
    reporter.report(record.location(0),
                    what + " in the path of the component's directory, " + in_quotes(record.config->base_dir));
  }
}

bool is_odd_for_other_reasons(std::string_view text) {
  return text != without_spaces(text) || is_comment(text) || text.starts_with('"') || text.starts_with('\'');
}

void check_space(const Input& input, Reporter& reporter) {
  for_each_placed(input, [&](const Record& record) {
    if (is_archive(record) || is_odd_for_other_reasons(record.repository())) return;
    report_characters(input, record, " \t", "a space", reporter);
  });
}

void check_shell(const Input& input, Reporter& reporter) {
  for_each_placed(input, [&](const Record& record) {
    if (is_odd_for_other_reasons(record.repository())) return;
    report_characters(input, record, special_in(is_archive(record)), "the shell's own character", reporter);
  });
}

/// As long as nothing is called like the whole URL, which it would have to be from the working directory on.
void check_pattern(const Input& input, Reporter& reporter) {
  for_each_placed(input, [&](const Record& record) {
    if (is_archive(record) || is_odd_for_other_reasons(record.repository())) return;
    report_characters(input, record, "*", "the shell's mark of a pattern", reporter);
  });
}

void check_encoding(const Input& input, Reporter& reporter) {
  for_each_placed(input, [&](const Record& record) {
    const std::string_view text = record.repository();
    if (is_utf8(text) && is_utf8(base_of(input, record))) return;
    std::size_t start = 0;
    while (start < text.size() && character_length(text.substr(start)) != 0) start += character_length(text.substr(start));
    if (start < text.size()) {
      reporter.report(record.descriptor->location(*record.line, 0, start, 1), "a byte in the repository is no UTF-8");
    } else {
      reporter.report(record.location(0), "the path of the component's directory is no UTF-8");
    }
  });
}

void check_comma(const Input& input, Reporter& reporter) {
  for_each_placed(input, [&](const Record& record) { report_characters(input, record, ",", "a comma", reporter); });
}

void check_url_characters(const Input& input, Reporter& reporter) {
  for_each_placed(input, [&](const Record& record) {
    const std::string_view text = record.repository();
    if (is_comment(text) || has_scheme(text)) return;
    const bool archive = is_archive(record);
    const std::size_t at = url_syntax_in(text, archive);
    if (at != text.npos) {
      reporter.report(record.descriptor->location(*record.line, 0, at, 1), "a URL reads this character in its own way");
    } else if (url_syntax_in(std::string(base_of(input, record)) + "/", archive) != text.npos) {
      reporter.report(record.location(0), "a URL reads the path of the component's directory, " +
                                              in_quotes(record.config->base_dir) + ", in its own way");
    }
  });
}

void check_backslash(const Input& input, Reporter& reporter) {
  for_each_placed(input, [&](const Record& record) {
    if (has_drive_letter(record.repository())) return;
    report_characters(input, record, "\\", "a backslash", reporter);
  });
}

void check_site_exists(const Input& input, Reporter& reporter) {
  for_each_looked_into(input, [&](const Record& record) {
    if (!record.site->exists)
      reporter.report(record.location(0), "there is no site at " + std::string(path_in(record.placement->url)));
  });
}

void check_metadata(const Input& input, Reporter& reporter) {
  for_each_looked_into(input, [&](const Record& record) {
    const Site& site = *record.site;
    if (!site.exists || site.is_repository || !site.damage.empty() || is_archive(record) == site.is_directory) return;
    std::string message = in_quotes(record.repository()) +
                          " is no p2 repository: it has neither content.jar nor content.xml nor a composite of them";
    if (site.nested.empty()) {
      reporter.report(record.location(0), std::move(message));
    } else {
      reporter.report(
          record.location(0), std::move(message),
          "its directory " + in_quotes(site.nested) + " is one: " +
              (is_archive(record) ? "pack the content of that directory, not the directory" : "name that directory"));
    }
  });
}

/// A file that is not called an archive is another rule's matter.
void check_damage(const Input& input, Reporter& reporter) {
  for_each_looked_into(input, [&](const Record& record) {
    const Site& site = *record.site;
    if (!site.damage.empty() && (is_archive(record) || site.is_directory)) {
      reporter.report(record.location(0), in_quotes(record.repository()) + " cannot be loaded: " + site.damage,
                      site.is_closed ? "make it readable for whoever runs the installer" : publish_anew);
    }
    for (const std::string& child : site.lost_children) {
      reporter.report(Severity::warning, record.location(0),
                      in_quotes(record.repository()) + " is a composite whose child " + in_quotes(child) + " cannot be loaded",
                      "ship that repository, too, or take it out of the composite");
    }
  });
}

// ---- Artifacts ----

/// The artifacts that a site should have, each with its file where that is known.
std::map<std::string, std::string> missing_artifacts(const Site& site) {
  if (site.lists_artifacts) return site.lost_artifacts;
  std::map<std::string, std::string> missing;
  for (const std::string& name : site.needed_artifacts) missing.emplace(name, "");
  return missing;
}

std::string lack_of_artifacts(const Record& record, const std::map<std::string, std::string>& missing) {
  const auto& [name, file] = *missing.begin();
  const std::string begin = in_quotes(record.repository()) + " has ";
  if (!record.site->lists_artifacts)
    return begin + "no artifacts.jar, artifacts.xml or composite of them: no site has \"" + name + "\"";
  const std::size_t others = missing.size() - 1;
  return begin + "no " + in_quotes(file) + (others == 0 ? "" : " and not " + std::to_string(others) + " other files") +
         ", which its metadata lists";
}

/// The director takes an artifact from any site that has it.
void check_artifacts(const Input& input, Reporter& reporter) {
  std::map<const Site*, const Record*> sites;
  std::set<std::string> all;
  bool is_certain = true;
  for_each_placed(input, [&](const Record& record) {
    if (record.site == nullptr || !record.site->is_repository) return;
    if (is_plain_repository(record)) sites.emplace(record.site, &record);
    is_certain = is_certain && (record.site->artifacts || !record.site->damage.empty());
    if (record.site->artifacts) all.insert(record.site->artifacts->begin(), record.site->artifacts->end());
  });
  if (!is_certain) return;
  for (const auto& [site, record] : sites) {
    auto missing = site->damage.empty() ? missing_artifacts(*site) : std::map<std::string, std::string>();
    std::erase_if(missing, [&](const auto& artifact) { return all.count(artifact.first) != 0; });
    if (!missing.empty()) reporter.report(record->location(0), lack_of_artifacts(*record, missing));
  }
}

void check_spelling(const Input& input, Reporter& reporter) {
  std::map<std::string, const Record*> first;
  std::set<std::pair<std::string_view, std::string_view>> spellings;
  for_each_placed(input, [&](const Record& record) {
    if (is_absolute(record.repository()) || has_scheme(record.repository())) return;
    if (!spellings.emplace(record.config->base_dir, record.repository()).second) return;
    std::string normal = fs::path(record.config->base_dir + "/" + record.config->repository).lexically_normal().string();
    if (normal.ends_with('/')) normal.pop_back();
    const auto [known, is_new] = first.emplace(std::move(normal), &record);
    const Record& other = *known->second;
    if (is_new || other.config->base_dir != record.config->base_dir) return;
    reporter.report(record.location(0), "the same place as " + in_quotes(other.repository()) + " in " + other.where());
  });
}

bool offers(const Units& units, std::string_view feature) {
  const auto named = split(feature, ',');
  return std::any_of(named.begin(), named.end(),
                     [&](const std::string& text) { return units.count(text.substr(0, text.find('/'))) != 0; });
}

using Records = std::vector<const Record*>;

bool are_all_offered(const Units& units, const Records& records) {
  return std::all_of(records.begin(), records.end(), [&](const Record* record) { return offers(units, record->feature()); });
}

bool is_any_offered(const Units& units, const Records& records) {
  return std::any_of(records.begin(), records.end(), [&](const Record* record) { return offers(units, record->feature()); });
}

/// Nothing is said of a site whose own lines name what no site has: they are wrong in another way.
void check_use(const Input& input, Reporter& reporter) {
  if (!input.offered) return;
  Records all;
  for_each_placed(input, [&](const Record& record) { all.push_back(&record); });
  std::map<const Site*, Records> by_site;
  for_each_looked_into(input, [&](const Record& record) { by_site[record.site].push_back(&record); });
  for (const auto& [site, records] : by_site) {
    if (is_any_offered(*site->units, records) || !are_all_offered(*input.offered, records)) continue;
    if (is_any_offered(*site->units, all)) continue;
    reporter.report(records.front()->location(0), "none of the listed features is in this repository");
  }
}

}  // namespace

std::vector<Rule> rules_for_repositories() {
  return {
      {.name = "absolute-repository",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "a repository is an absolute path",
       .why = "It is not recognised as absolute but looked for below the component's directory, where it is not.",
       .fix = "write the path from the component's directory",
       .bad = lines("/opt/site\torg.example.alpha.feature.group\n"),
       .good = good_lines(),
       .check = check_absolute,
       .concerns_removals = false},
      {.name = "url-repository",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "a repository is a URL",
       .why = "It is taken for a path below the component's directory, where it is not.",
       .fix = "ship the site with the component and write its path from the component's directory",
       .bad = lines("https://example.org/site\torg.example.alpha.feature.group\n"),
       .good = good_lines(),
       .check = check_url,
       .concerns_removals = false},
      {.name = "archive-not-recognised",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "an archive's name does not end in \".zip\"",
       .why = "It is given to the director like a directory, which cannot load it.",
       .fix = "make it a zip archive whose name ends in .zip, in lower case",
       .bad = lines("sites/alpha.ZIP\torg.example.alpha.feature.group\n"),
       .good = lines("sites/alpha.zip\torg.example.alpha.feature.group\n"),
       .check = check_archive_name,
       .concerns_removals = false},
      {.name = "directory-called-zip",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "a directory's name ends in \".zip\"",
       .why = "It is given to the director as an archive, which cannot load it.",
       .fix = "rename the directory, or pack it",
       .bad = directory("site.zip\torg.example.one.feature.group\n", {{"tools/site.zip/content.xml", offer_of_one}}),
       .good = good_directory(),
       .check = check_zip_directory,
       .concerns_removals = false},
      {.name = "space-in-repository",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "a space stands in the path of a repository that is no archive",
       .why = "Nothing is quoted, so the shell splits the director's command there: every command of the session fails, "
              "those of other components too. An archive is not harmed: it stands in quotes.",
       .fix = "use a .zip archive, or a path without spaces",
       .bad = lines("my site\torg.example.alpha.feature.group\n"),
       .good = lines("my site.zip\torg.example.alpha.feature.group\n"),
       .check = check_space,
       .concerns_removals = false},
      {.name = "repository-needs-shell-quoting",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "a repository holds a character that the shell interprets",
       .why = "Nothing is quoted: the shell runs, expands or redirects what stands there, or finds a syntax error. What a "
              "package says is then executed, and every command of the session fails.",
       .fix = "rename the site so that it needs no quoting",
       .bad = lines("sites/a;b\torg.example.alpha.feature.group\n"),
       .good = good_lines(),
       .check = check_shell,
       .concerns_removals = false},
      {.name = "pattern-in-repository",
       .group = Group::repositories,
       .severity = Severity::warning,
       .title = "\"*\" stands in the path of a repository that is no archive",
       .why = "Nothing is quoted, so the shell takes the repository for a pattern of file names. It stays as it is only "
              "because no file is called like the whole URL. An archive stands in quotes.",
       .fix = "rename the site",
       .bad = directory("si*te\torg.example.one.feature.group\n", {{"tools/si*te/content.xml", offer_of_one}}),
       .good = good_directory(),
       .check = check_pattern,
       .concerns_removals = false},
      {.name = "repository-not-utf-8",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "bytes that are no UTF-8 stand in a repository",
       .why = "The director makes other characters of them, so it cannot find and load the repository.",
       .fix = "rename the site, best with ASCII letters only",
       .bad = lines("sites/b\xE4r\torg.example.alpha.feature.group\n"),
       .good = lines("sites/b\xC3\xA4r\torg.example.alpha.feature.group\n"),
       .check = check_encoding,
       .concerns_removals = false},
      {.name = "comma-in-repository",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "a comma stands in a repository",
       .why = "The director takes a comma for the end of a repository and cannot read the rest: every command of the "
              "session fails.",
       .fix = "rename the site",
       .bad = lines("sites/a,b\torg.example.alpha.feature.group\n"),
       .good = good_lines(),
       .check = check_comma,
       .concerns_removals = false},
      {.name = "url-character-in-repository",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "a repository holds \"#\", \"%\" with two hexadecimal digits behind it, or another character of URLs",
       .why = "The path becomes a URL as it is: the director takes these for a fragment or an escape, and cannot load the "
              "repository. The same goes for \"?\", \"[\" and \"]\" in a directory's path, and for \"!/\" in that of an "
              "archive, which ends there.",
       .fix = "rename the site",
       .bad = lines("sites/a%20b\torg.example.alpha.feature.group\n"),
       .good = good_lines(),
       .check = check_url_characters,
       .concerns_removals = false},
      {.name = "backslash-in-repository",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "a repository is written with backslashes",
       .why = "Backslashes are made slashes in listed file names only. Here the shell drops them, or the director looks for "
              "a file with a backslash in its name.",
       .fix = "separate directories by \"/\"",
       .bad = lines("sites\\alpha\torg.example.alpha.feature.group\n"),
       .good = good_lines(),
       .check = check_backslash,
       .concerns_removals = false},
      {.name = "site-missing",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "a repository is not on disk",
       .why = "While others can be loaded, the director only mentions errors, and the features of this one are not found. "
              "Alone it makes the director fail.",
       .fix = "ship the site with the component, or correct the path",
       .bad = directory("site\torg.example.one.feature.group\n", {{"tools/sites/content.xml", offer_of_one}}),
       .good = good_directory(),
       .check = check_site_exists,
       .concerns_removals = false},
      {.name = "site-without-metadata",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "a repository has no p2 metadata",
       .why = "The director cannot load it. While it can load others, it only mentions errors.",
       .fix = "publish the site with p2's publisher, which writes content.jar and artifacts.jar",
       .bad = directory("site\torg.example.one.feature.group\n", {{"tools/site/repository/content.xml", offer_of_one}}),
       .good = good_directory(),
       .check = check_metadata,
       .concerns_removals = false},
      {.name = "site-metadata-damaged",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "the p2 metadata of a repository cannot be read",
       .why =
           "The director cannot load it. While it can load others, it only mentions errors, and the features of this one are "
           "not found. A child of a composite is passed over silently.",
       .fix = publish_anew,
       .bad = directory("site\torg.example.one.feature.group\n", {{"tools/site/content.xml", "<repository><units>\n"}}),
       .good = good_directory(),
       .check = check_damage,
       .concerns_removals = false},
      {.name = "site-without-artifacts",
       .group = Group::repositories,
       .severity = Severity::error,
       .title = "a repository lacks the files that its units consist of, or the list of them",
       .why = "The director finds the feature but not its files: the run for all features at once fails, those of other sites "
              "too; then each is tried alone.",
       .fix = publish_anew,
       .bad = directory("site\torg.example.one.feature.group\n", {{"tools/site/content.xml", offer_of_files}}),
       .good = directory("site\torg.example.one.feature.group\n",
                         {{"tools/site/content.xml", offer_of_files},
                          {"tools/site/artifacts.xml", list_of_files},
                          {"tools/site/plugins/org.example.one.plugin_1.0.0.jar", "a jar\n"}}),
       .check = check_artifacts,
       .concerns_removals = false},
      {.name = "site-spelled-differently",
       .group = Group::repositories,
       .severity = Severity::warning,
       .title = "one repository is written in several ways",
       .why = "It depends on the installer's way to normalise paths whether the director gets it once or several times.",
       .fix = "write it the same way everywhere",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\n./sites/alpha\torg.example.beta.feature.group\n"),
       .good = lines("sites/alpha\torg.example.alpha.feature.group\nsites/alpha\torg.example.beta.feature.group\n"),
       .check = check_spelling,
       .concerns_removals = false},
      {.name = "repository-without-features",
       .group = Group::repositories,
       .severity = Severity::warning,
       .title = "none of the features is in a repository",
       .why = "Other repositories have them. Every start of the director loads this one all the same, though nothing can come "
              "from it but what the features require.",
       .fix = "take its lines out, or write the features that it is there for",
       .bad = directory("site\torg.example.one.feature.group\nother\torg.example.one.feature.group\n",
                        {{"tools/site/content.xml", offer_of_one}, {"tools/other/content.xml", offer_of_two}}),
       .good = good_directory(),
       .check = check_use,
       .concerns_removals = false},
  };
}

}  // namespace eclipse_lint
