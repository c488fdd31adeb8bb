// What lint corrects by itself, and that it leaves everything else alone.
#include "lint/fix.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

#include "base/file_error.h"
#include "lint/samples.h"

using namespace eclipse_lint;
using namespace lint_test;
using fake::write_file;

namespace {

/// The descriptor files of an input as lint corrects them. Nothing is written.
FixResult fixed(const std::string& input, bool with_unsafe, const Settings& settings = {}) {
  library();
  const WithoutRights without_rights;
  return fix(
      [&](eclipse_dry_run::DescriptorFiles& files) {
        eclipse_p2::Repositories sites;
        eclipse_p2::ProfileStates states;
        return lint(library(), sites, states, files, input, settings);
      },
      with_unsafe);
}

/// A descriptor file by itself, corrected.
std::string corrected(const std::string& content, bool with_unsafe = false) {
  const fake::TemporaryDirectory directory;
  write_file("t", content);
  const FixResult result = fixed("t", with_unsafe);
  return result.files.empty() ? content : result.files.at(0).after;
}

TEST(Fix, LeavesAnOrderThatATabAtTheBeginningOfItsLineMoved) {
  EXPECT_EQ(corrected("\tsites/alpha\torg.example.One.feature.group\t\t1\n", true),
            "sites/alpha\torg.example.One.feature.group\t\t1\n");
}

/// The corrected descriptor file of a component with these files, too.
std::string corrected_with(const std::string& content, const std::vector<std::string>& others, bool with_unsafe = false) {
  const fake::TemporaryDirectory directory;
  write_file("tools/etc/eclipse/t", content);
  for (const std::string& file : others) {
    write_file("tools/" + file,
               "<repository><units><unit id='org.example.One.feature.group' version='1.0.0'/></units></repository>");
  }
  const FixResult result = fixed("tools", with_unsafe);
  return result.files.empty() ? content : result.files.at(0).after;
}

bool has_unsafe(Corrects corrects) { return corrects == Corrects::unsafely || corrects == Corrects::both; }
bool has_safe(Corrects corrects) { return corrects == Corrects::safely || corrects == Corrects::both; }

// ---- All rules ----

class CorrectionsOf : public testing::TestWithParam<const Rule*> {};

TEST_P(CorrectionsOf, OnlyHasTheCorrectionsThatItClaims) {
  const fake::TemporaryDirectory directory;
  write_sample(GetParam()->bad);
  for (const Finding& finding : findings_in(GetParam()->bad.input)) {
    if (!finding.correction) continue;
    const Corrects corrects = finding.rule->corrects;
    EXPECT_TRUE(finding.correction->is_safe ? has_safe(corrects) : has_unsafe(corrects)) << finding.rule->name;
    EXPECT_NE(finding.correction->title, "") << finding.rule->name;
    EXPECT_FALSE(finding.correction->edits.empty()) << finding.rule->name;
  }
}

TEST_P(CorrectionsOf, LeavesNothingToSayOfItsCorrectedSample) {
  if (GetParam()->corrects == Corrects::no) return;
  const fake::TemporaryDirectory directory;
  write_sample(GetParam()->bad);
  const FixResult result = fixed(GetParam()->bad.input, has_unsafe(GetParam()->corrects));
  EXPECT_EQ(summary_of(result.remaining), std::vector<std::string>());
  ASSERT_EQ(result.files.size(), 1U);
  // As it would be written.
  write_file(result.files[0].file, result.files[0].after);
  EXPECT_EQ(summary_of(findings_in(GetParam()->bad.input)), std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Lint, CorrectionsOf, testing::ValuesIn(every_rule()),
                         [](const auto& parameter) { return test_name_of(*parameter.param); });

// ---- Single corrections ----

TEST(Fix, SeparatesColumnsThatAreCertain) {
  EXPECT_EQ(corrected("  sites/a , org.x.y.feature.group \nsites/a;org.x.z.feature.group\r\n"),
            "sites/a\torg.x.y.feature.group\nsites/a\torg.x.z.feature.group\n");
  EXPECT_EQ(corrected("Repository Feature Extra Order\ns\tx.y.z.feature.group\n"),
            "Repository\tFeature\tExtra\tOrder\ns\tx.y.z.feature.group\n");
  EXPECT_EQ(corrected("sites/a,org.x.y.feature.group,,1\n"), "sites/a\torg.x.y.feature.group\t\t1\n");
  for (const std::string line :
       {"sites/a org.x.y.feature.group 1", "sites/a org.x.y.feature.group,org.x.z.feature.group",
        "sites/a,org.x.y.feature.group,org.x.z.feature.group", "docs/readme explained", "Tools org.example.tools"}) {
    EXPECT_EQ(corrected(line + "\n"), line + "\n");
  }
  EXPECT_EQ(corrected("Tools org.example.tools\n", true), "Tools\torg.example.tools.feature.group\n");
}

TEST(Fix, ConvertsUtf16) {
  const std::string both_orders[] = {std::string("\xFF\xFEs\0\t\0\xE4\0\x3D\xD8\x00\xDE\n\0", 14),
                                     std::string("\xFE\xFF\0s\0\t\0\xE4\xD8\x3D\xDE\x00\0\n", 14)};
  for (const std::string& content : both_orders) EXPECT_EQ(corrected(content), "s\t\xC3\xA4\xF0\x9F\x98\x80\n");
  EXPECT_EQ(corrected(std::string("\0s\0\t\0f\0.\0g\0.\0h\0\n", 16)), "s\tf.g.h\n");
  // Half a character, half a pair, NUL bytes in another place.
  for (const std::string& content :
       {std::string("\xFF\xFEs\0\t", 5), std::string("\xFF\xFEs\0\x3D\xD8\n\0", 8), std::string("\xFF\xFEs\0\x00\xDE\n\0", 8),
        std::string("s\0\t\0f\0\0\0", 8), std::string("s\0\tf", 4)}) {
    EXPECT_EQ(corrected(content, true), content);
  }
}

TEST(Fix, RemovesEveryMarkAndReturn) {
  EXPECT_EQ(corrected("\xEF\xBB\xBF\xEF\xBB\xBFRepository\tFeature\ns\tx.y.feature.group\n"),
            "Repository\tFeature\ns\tx.y.feature.group\n");
  EXPECT_EQ(corrected("Repository\tFeature\r\n# x\r\r\ns\tx.y.feature.group\t\r\n\r\n"),
            "Repository\tFeature\n# x\ns\tx.y.feature.group\n\n");
  EXPECT_EQ(corrected("Repository\tFeature\rs\tx.y.feature.group"), "Repository\tFeature\ns\tx.y.feature.group");
}

TEST(Fix, RemovesSpacesAndQuotesAroundAColumn) {
  EXPECT_EQ(corrected(" \"sites/a\" \t 'x.y.feature.group'\n"), "sites/a\tx.y.feature.group\n");
  // Without its quotes, the shell would split or expand it. A column of spaces has nothing to leave.
  for (const std::string line : {"\"my site\"\tx.y.feature.group", "\"a\"b\"\tx.y.feature.group", "s\t\"x.$y.feature.group\"",
                                 "\"\"\tx.y.feature.group", "   \tx.y.feature.group"}) {
    EXPECT_EQ(corrected(line + "\n"), line + "\n");
  }
}

TEST(Fix, KeepsSpacesThatBelongToAnArchive) {
  EXPECT_EQ(corrected_with(" site.zip\torg.example.One.feature.group\n", {" site.zip"}),
            " site.zip\torg.example.One.feature.group\n");
}

TEST(Fix, WritesTheHeaderThatIsRead) {
  EXPECT_EQ(corrected("\"repositories\" \tFeature\ns\tx.y.feature.group\n"), "Repository\tFeature\ns\tx.y.feature.group\n");
  EXPECT_EQ(corrected("repo\tx.y\n"), "repo\tx.y\n");
  const std::string line = "s\tx.y.feature.group\n";
  EXPECT_EQ(corrected("P2 repository\tFeature ID\tNotes\n" + line), "Repository\tFeature ID\tNotes\n" + line);
  EXPECT_EQ(corrected("Feature ID\tUpdate site\tNotes\n" + line), "Repository\tFeature\tNotes\n" + line);
  EXPECT_EQ(corrected("Feature\tRepository\norg.example.one.feature.group\tsites/one\n", true),
            "Repository\tFeature\nsites/one\torg.example.one.feature.group\n");
}

TEST(Fix, DeletesEmptyRowsAndDuplicates) {
  EXPECT_EQ(corrected(" \t\t\r\ns\tx.y.feature.group\n \t \n\t\n\ns\tx.y.feature.group\ns\tx.y.feature.group"),
            "s\tx.y.feature.group\n\t\n\n");
  const std::string with_orders = "s\tx.y.feature.group\ns\tx.y.feature.group\ns\tx.z.feature.group\t\t1\n";
  EXPECT_EQ(corrected(with_orders), with_orders);
  EXPECT_EQ(corrected(with_orders, true), "s\tx.y.feature.group\ns\tx.z.feature.group\t\t1\n");
}

TEST(Fix, WritesSlashesWhereBackslashesSeparate) {
  EXPECT_EQ(corrected("sites\\a\\b.zip\tx.y.feature.group\n"), "sites/a/b.zip\tx.y.feature.group\n");
  for (const std::string site : {"my\\ site", "\\\\server\\site", "C:\\site", "sites\\", "sites\\\\a", "a\\$b"}) {
    EXPECT_EQ(corrected(site + "\tx.y.feature.group\n"), site + "\tx.y.feature.group\n");
  }
}

TEST(Fix, WritesIdsAndPathsAsTheyAre) {
  EXPECT_EQ(corrected_with("sites/A\torg.example.one.feature.group\n", {"Sites/a/content.xml"}),
            "Sites/a\torg.example.One.feature.group\n");
  EXPECT_EQ(corrected_with("sites/a/\torg.example.One/1.0.0\n", {"sites/a/content.xml"}),
            "sites/a/\torg.example.One.feature.group/1.0.0\n");
  // Either can be meant.
  EXPECT_EQ(corrected_with("SITE\torg.example.One.feature.group\n", {"Site/content.xml", "site/content.xml"}),
            "SITE\torg.example.One.feature.group\n");
}

TEST(Fix, WritesALineForEachFeature) {
  const std::string both = "s\tx.y.feature.group\ns\tx.z.feature.group\n";
  for (const std::string separator : {",", ";", " ", ", ", " | ", " ,"}) {
    const std::string line = "s\tx.y.feature.group" + separator + "x.z.feature.group\n";
    EXPECT_EQ(corrected(line, true), both) << separator;
    EXPECT_EQ(corrected(line), line) << separator;
  }
  EXPECT_EQ(corrected("s\tx.y.feature.group,x.z.feature.group,\r\n", true), both);
  const std::string with_order = "s\tx.y.feature.group,x.z.feature.group\t\t1\n";
  EXPECT_EQ(corrected(with_order, true), with_order);
}

TEST(Fix, RemovesAVersionRange) {
  for (const std::string version : {"/[1.0,2.0)", " [1.0,2.0)", " 1.0.0", "/ 1.0.0", " (1.0.0)", "/>=1.0"}) {
    const std::string line = "s\torg.example.one.feature.group" + version + "\n";
    EXPECT_EQ(corrected(line, true), "s\torg.example.one.feature.group\n") << version;
    EXPECT_EQ(corrected(line), line) << version;
  }
}

TEST(Fix, WritesASimilarRepository) {
  for (const std::string site : {"../sites/one", "sites/one.zip", "sites/oone", "one", "/sites/onne/"}) {
    const std::string line = "\torg.example.One.feature.group\n";
    const bool is_absolute = site.starts_with('/');
    EXPECT_EQ(corrected_with(site + line, {"sites/one/content.xml"}, true), (is_absolute ? site : "sites/one") + line);
    EXPECT_EQ(corrected_with(site + line, {"sites/one/content.xml"}), site + line);
  }
}

TEST(Fix, WritesTheOnlyFeatureThatIsLeft) {
  for (const std::string line : {"sites/a", "sites/a\t", " sites/a ", "sites/a\r"}) {
    EXPECT_EQ(corrected_with(line + "\n", {"sites/a/content.xml"}, true), "sites/a\torg.example.One.feature.group\n") << line;
    EXPECT_EQ(corrected_with(line + "\n", {"sites/a/content.xml"}, false), line + "\n") << line;
  }
}

TEST(Fix, RemovesATabAtTheBeginning) {
  const std::string line = "s\tx.y.feature.group\n";
  EXPECT_EQ(corrected("\tRepository\tFeature\n" + line), "Repository\tFeature\n" + line);
  EXPECT_EQ(corrected("\tSite\tFeature\n\t" + line, true), "Repository\tFeature\n" + line);
  EXPECT_EQ(corrected("\tSite\tFeature\n\t" + line), "\tSite\tFeature\n\t" + line);
}

TEST(Fix, WritesTheRepositoryOfTheLineAbove) {
  const std::string lines = "Site\tFeature\ns\tx.y.feature.group\n\tx.a.feature.group\n\t\n\tx.b.feature.group/1.0\n";
  EXPECT_EQ(corrected(lines, true),
            "Repository\tFeature\ns\tx.y.feature.group\ns\tx.a.feature.group\n\t\ns\tx.b.feature.group\n");
  EXPECT_EQ(corrected("\tx.a.feature.group\n", true), "\tx.a.feature.group\n");
  EXPECT_EQ(corrected("Site\tFeature\n\tx.a.feature.group\n", true), "Repository\tFeature\n\tx.a.feature.group\n");
  EXPECT_EQ(corrected("s\tx.y.feature.group\n\tnote\n", true), "s\tx.y.feature.group\n\tnote\n");
}

/// What begins with slashes may also be a path.
TEST(Fix, RemovesTheTabsOfComments) {
  EXPECT_EQ(corrected("-- s\tx.y.feature.group\t\t1\n"), "-- s x.y.feature.group  1\n");
  const std::string content = "//sites/a\torg.example.One.feature.group\n";
  EXPECT_EQ(corrected_with(content, {"sites/a/content.xml"}), content);
  EXPECT_EQ(corrected_with(content, {"sites/a/content.xml"}, true), "//sites/a org.example.One.feature.group\n");
}

TEST(Fix, WritesTheEndOfAnArchiveThatExists) {
  EXPECT_EQ(corrected_with("site.ZIP\torg.example.One.feature.group\n", {"site.zip"}),
            "site.zip\torg.example.One.feature.group\n");
  EXPECT_EQ(corrected_with("site.ZIP\torg.example.One.feature.group\n", {"site.ZIP"}),
            "site.ZIP\torg.example.One.feature.group\n");
}

// ---- What is applied ----

TEST(Fix, LeavesWhatIsSuppressedOrDisabled) {
  const fake::TemporaryDirectory directory;
  write_file("t", "s\tx.y.feature.group\t\n \t\t\t\n");
  EXPECT_EQ(fixed("t", true, {.disabled = {"trailing-tab"}, .suppressions = {}}).files.at(0).after, "s\tx.y.feature.group\t\n");
  const FixResult result = fixed("t", true, {.disabled = {}, .suppressions = {{"trailing-tab", {}, {}, "as it was"}}});
  EXPECT_EQ(result.files.at(0).after, "s\tx.y.feature.group\t\n");
  EXPECT_EQ(result.files.at(0).corrections, 1U);
  EXPECT_EQ(result.files.at(0).before, "s\tx.y.feature.group\t\n \t\t\t\n");
  EXPECT_EQ(summary_of(result.remaining), std::vector<std::string>{"t:1:20+1 trailing-tab"});
}

TEST(Fix, CorrectsAFileOnceThatHasSeveralNames) {
  const fake::TemporaryDirectory directory;
  write_file("tools/etc/eclipse/t", "site\torg.example.One.feature.group \n");
  std::filesystem::create_symlink("t", "tools/etc/eclipse/u");
  const FixResult result = fixed("tools", false);
  ASSERT_EQ(result.files.size(), 1U);
  EXPECT_EQ(result.files[0].after, "site\torg.example.One.feature.group\n");
}

TEST(Fix, EditsWhatIsNamed) {
  EXPECT_EQ(edited("abcdef", {{0, 1, "X"}, {2, 0, "-"}, {4, 2, ""}}), "Xb-cd");
  EXPECT_EQ(edited("", {{0, 0, "a"}}), "a");
}

Finding with_edits(const std::string& file, std::vector<Edit> edits) {
  Finding finding{nullptr, Severity::warning, {file}, "", ""};
  finding.correction = Correction{"", true, std::move(edits)};
  return finding;
}

/// What becomes of the files when all these findings come in one pass: "FILE CORRECTIONS TEXT;".
std::string corrected_at_once(const Findings& findings) {
  int passes = 0;
  // In the first one, the files are only read.
  const auto lint = [&](eclipse_dry_run::DescriptorFiles&) { return ++passes <= 2 ? findings : Findings(); };
  std::string text;
  for (const FixedFile& file : fix(lint, false).files) {
    text += file.file.filename().string() + " " + std::to_string(file.corrections) + " " + file.after + ";";
  }
  EXPECT_EQ(passes, 3);
  return text;
}

TEST(Fix, AppliesAtOnceWhatDoesNotMeet) {
  const fake::TemporaryDirectory directory;
  write_file("a", "0123456789");
  write_file("b", "0123456789");
  EXPECT_EQ(corrected_at_once({with_edits("a", {{5, 1, "A"}}), with_edits("b", {{0, 1, "B"}}), with_edits("a", {{0, 1, "C"}})}),
            "a 2 C1234A6789;b 1 B123456789;");
  const std::string only_first = "a 1 A123B56789;";
  const Finding two_places = with_edits("a", {{0, 1, "A"}, {4, 1, "B"}});
  EXPECT_EQ(corrected_at_once({two_places, with_edits("a", {{4, 1, "C"}})}), only_first);
  EXPECT_EQ(corrected_at_once({two_places, with_edits("a", {{5, 1, "C"}})}), only_first);
  EXPECT_EQ(corrected_at_once({two_places, with_edits("a", {{3, 1, "C"}})}), only_first);
  EXPECT_EQ(corrected_at_once({two_places, with_edits("a", {{2, 1, "C"}, {4, 1, "D"}})}), only_first) << "all or none";
}

TEST(Fix, LintsAgainWhatIsCorrected) {
  const fake::TemporaryDirectory directory;
  const std::vector<std::string> names = {"a", "b"};
  for (const std::string& name : names) write_file(name, "xx" + name);
  const auto lint = [&](eclipse_dry_run::DescriptorFiles& files) {
    Findings findings;
    for (const std::string& name : names) {
      if (files.at(name).bytes.starts_with('x')) findings.push_back(with_edits(name, {{0, 1, ""}}));
    }
    return findings;
  };
  const FixResult result = fix(lint, false);
  ASSERT_EQ(result.files.size(), 2U);
  EXPECT_EQ(result.files[0].after, "a");
  EXPECT_EQ(result.files[1].after, "b");
}

TEST(Fix, EndsWhenThereIsAlwaysSomethingLeft) {
  const fake::TemporaryDirectory directory;
  write_file("t", "");
  int passes = 0;
  const auto lint = [&](eclipse_dry_run::DescriptorFiles&) { return ++passes, Findings{with_edits("t", {{0, 0, "x"}})}; };
  EXPECT_EQ(fix(lint, false).files.at(0).after, std::string(99, 'x'));
  EXPECT_EQ(passes, 101);
}

TEST(Fix, TakesTheTextThatIsNotSaved) {
  const fake::TemporaryDirectory directory;
  write_file("t", "saved");
  eclipse_dry_run::DescriptorFiles unsaved;
  unsaved.set_unsaved("t", "unsaved");
  std::vector<std::string> linted;
  const auto lint = [&](eclipse_dry_run::DescriptorFiles& files) {
    linted.push_back(files.at("t").bytes);
    return linted.size() <= 2 ? Findings{with_edits("t", {{0, 2, ""}})} : Findings();
  };
  const FixResult result = fix(lint, false, unsaved);
  EXPECT_EQ(result.files.at(0).before, "unsaved");
  EXPECT_EQ(linted, (std::vector<std::string>{"unsaved", "unsaved", "saved"}));
}

TEST(Fix, NeedsAFileThatCanBeRead) {
  const fake::TemporaryDirectory directory;
  std::filesystem::create_directory("d");
  try {
    fix([](eclipse_dry_run::DescriptorFiles&) { return Findings{with_edits("d", {})}; }, false);
    ADD_FAILURE();
  } catch (const eclipse_base::FileError& error) {
    EXPECT_EQ(std::string(error.what()),
              directory.path() + "/d: is not a regular file; give a descriptor file that can be read");
  }
}

// ---- Any text ----

/// The lines of a text, with the records that the plug-in reads from each by itself.
std::multiset<std::string> records_in(const std::string& text) {
  std::multiset<std::string> records;
  for (const plugin_config& record : library().records("d", text)) {
    records.insert(record.repository + "|" + record.feature + "|" + record.order);
  }
  return records;
}

/// A line without mistakes, which is found again in the records.
const std::string good_line = "good/site\torg.example.good.feature.group\t\t77\n";

std::string random_content(std::mt19937& random) {
  static const std::vector<std::string> pieces = {"\t",         "\t",
                                                  "\t",         "\n",
                                                  "\n",         "\r\n",
                                                  " ",          "sites/a",
                                                  "org.x.y",    ".feature.group",
                                                  "Repository", "repository",
                                                  "\"",         "'",
                                                  "\\",         ",",
                                                  ";",          "\xEF\xBB\xBF",
                                                  "#",          "1",
                                                  "/1.0",       ".ZIP",
                                                  ".zip",       "\xC2\xA0",
                                                  "\xFF",       std::string(1, '\0'),
                                                  "./",         "Feature"};
  std::string content;
  for (std::size_t count = random() % 40; count > 0; --count) content += pieces[random() % pieces.size()];
  return content;
}

TEST(Fix, OfAnyTextEndsAndKeepsOtherLines) {
  const fake::TemporaryDirectory directory;
  std::mt19937 random(20261122);
  std::size_t corrections = 0;
  for (int i = 0; i < 1500; ++i) {
    std::string content = random_content(random);
    const bool is_text = content.find('\0') == content.npos && !content.starts_with("\xFF");
    content = (content.empty() || content.ends_with('\n') ? content : content + "\n") + good_line;
    write_file("t", content);
    const FixResult result = fixed("t", i % 2 == 0);
    for (const Finding& finding : result.remaining) {
      EXPECT_FALSE(finding.correction && (finding.correction->is_safe || i % 2 == 0)) << finding.rule->name;
    }
    if (result.files.empty()) continue;
    corrections += result.files[0].corrections;
    const auto records = records_in(result.files[0].after);
    if (!is_text) continue;
    EXPECT_EQ(records.count("good/site|org.example.good.feature.group|77"), 1U) << testing::PrintToString(content);
  }
  EXPECT_GT(corrections, 500U);
}

}  // namespace
