// The exact places of findings, and where a rule begins and ends.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>

#include "base/file.h"
#include "base/limits.h"
#include "base/packing.h"
#include "base/printable.h"
#include "base/text.h"
#include "lint/rule.h"
#include "lint/samples.h"

using namespace eclipse_lint;
using namespace lint_test;
using fake::write_file;
namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

namespace {

constexpr const char* content_of_one =
    "<?xml version='1.0'?><repository><units>"
    "<unit id='org.example.one.feature.group' version='1.0.0'/><unit id='org.example.one.plugin' version='1.0.0'/>"
    "</units></repository>";

/// Of the first finding in a component with this line of a descriptor file and these files.
std::string first_message(const std::string& line, const std::vector<SampleFile>& files, Severity severity) {
  const fake::TemporaryDirectory directory;
  std::vector<SampleFile> all = files;
  all.push_back({"tools/etc/eclipse/tools.txt", line});
  write_sample({"tools", all});
  const Findings findings = findings_in("tools");
  if (findings.empty()) return "none";
  EXPECT_EQ(findings.front().severity, severity);
  return findings.front().message + " FIX " + findings.front().fix;
}

/// The findings in a descriptor file by itself.
Texts findings_in_lines(const std::string& content) {
  const fake::TemporaryDirectory directory;
  write_file("t", content);
  return summary_of(findings_in("t"));
}

/// The shell would end the command there.
TEST(Findings, NameALineFeedInTheDirectoryOfAComponent) {
  const fake::TemporaryDirectory directory;
  write_file("to\nols/etc/eclipse/tools.txt", "site\torg.example.one.feature.group\n");
  write_file("to\nols/site/content.xml", content_of_one);
  const Findings findings = findings_in("to\nols");
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings.front().rule->name, "repository-needs-shell-quoting");
}

/// A file of 64 MiB can have millions, which would take gigabytes.
TEST(Findings, OfOneRuleAreLimited) {
  const fake::TemporaryDirectory directory;
  std::string content = "site\torg.example.one.feature.group\n";
  for (std::size_t i = 0; i < eclipse_base::largest::findings + 5; ++i) content += "site org.example.one.feature.group\n";
  write_file("t", content);
  const Findings findings = findings_in("t");
  const auto is_of_rule = [](const Finding& finding) { return finding.rule->name == "line-without-tab"; };
  EXPECT_EQ(static_cast<std::size_t>(std::count_if(findings.begin(), findings.end(), is_of_rule)),
            eclipse_base::largest::findings + 1);
  const auto first = std::find_if(findings.begin(), findings.end(), is_of_rule);
  EXPECT_EQ(first->location.file, "t");
  EXPECT_EQ(first->location.line, 0U) << "it is about the whole file";
  EXPECT_EQ(first->message, "there are 5 more findings of this rule, here and in later files, which are left out");
  EXPECT_EQ(findings.back().location.line, eclipse_base::largest::findings + 1);
}

TEST(Findings, OfARepeatedFeatureNameBothVersions) {
  const std::string feature = "site\torg.example.one.feature.group";
  const std::string content =
      "<repository><units><unit id='org.example.one.feature.group' version='1.0.0'/>"
      "<unit id='org.example.one.feature.group' version='2.0.0'/></units></repository>";
  const std::vector<SampleFile> site = {{"tools/site/content.xml", content}};
  const std::string fix = " FIX remove the version in all lines";
  const std::string message = "the feature is pinned to version 1.0.0, but the director takes version 2.0.0 for ";
  EXPECT_EQ(first_message(feature + "/1.0.0\n" + feature + "/2.0\n", site, Severity::error),
            message + "tools/etc/eclipse/tools.txt:2" + fix);
  EXPECT_EQ(first_message(feature + "\n" + feature + "/1.0.0\n", site, Severity::error),
            message + "tools/etc/eclipse/tools.txt:1" + fix);
  EXPECT_EQ(first_message(feature + "\n" + feature + "/2.0.0\n", site, Severity::warning),
            "the feature is pinned to version 2.0.0 FIX remove the version");
}

TEST(Findings, NameAnArchiveInARepository) {
  const std::string feature = "\torg.example.one.feature.group\n";
  const std::string lacks =
      " is not a p2 repository: it has no content.jar, no content.xml and no composite of them; it holds the "
      "archive \"one-1.0.zip\" FIX ";
  EXPECT_EQ(
      first_message("one.zip" + feature, {{.name = "tools/one.zip", .entries = {{"one-1.0.zip", "PK"}}}}, Severity::error),
      "\"one.zip\"" + lacks + "unpack it once: ship \"one-1.0.zip\" itself, and write its path");
  const SampleFile archive = {.name = "tools/one/one-1.0.zip", .entries = {{"content.xml", content_of_one}}};
  EXPECT_EQ(first_message("one" + feature, {archive}, Severity::error), "\"one\"" + lacks + "write one/one-1.0.zip");
}

TEST(Findings, NameAnArtifactThatIsElsewhere) {
  const auto artifacts = [](const std::string& output) {
    return "<repository><mappings><rule filter='(classifier=x)' output='" + output +
           "'/></mappings><artifacts><artifact classifier='x' id='org.example.one.feature.group' version='1.0.0'/></artifacts>"
           "</repository>";
  };
  EXPECT_EQ(
      first_message("site\torg.example.one.feature.group\n",
                    {{"tools/site/content.xml", content_of_one},
                     {"tools/site/artifacts.xml", artifacts("http://www.example.org/${id}.jar")}},
                    Severity::warning),
      "\"site\": a mapping rule of its artifacts.xml leads to \"http://www.example.org/org.example.one.feature.group.jar\","
      " which is not in the repository FIX ship the file with the repository, and begin the output of the rule with "
      "${repoUrl}/; if every machine has access to that location, ignore this finding");
}

TEST(Findings, OfPathsThatAreNotAsciiDependOnTheLocale) {
  const char* const before = std::getenv("LC_ALL");
  const std::string kept = before == nullptr ? "" : before;
  const std::vector<std::pair<const char*, Texts>> cases = {
      {"C", {"t:1:1+4 repository-not-utf-8"}}, {"xx_XX.UTF-8", {"t:1:1+4 repository-not-utf-8"}}, {"C.utf8", {}}};
  for (const auto& [locale, findings] : cases) {
    setenv("LC_ALL", locale, 1);
    EXPECT_EQ(findings_in_lines("b\xC3\xA4r\tx.y.feature.group\n"), findings) << locale;
    EXPECT_EQ(findings_in_lines("bar\tx.y.feature.group\n"), Texts()) << locale;
  }
  kept.empty() ? unsetenv("LC_ALL") : setenv("LC_ALL", kept.c_str(), 1);
}

TEST(Findings, OfPermissionsNeedAReadableDescriptor) {
  const auto findings_with = [](fs::perms of_descriptor, fs::perms of_site, fs::perms of_metadata) {
    const fake::TemporaryDirectory directory;
    write_file("tools/etc/eclipse/tools.txt", "sites/one\torg.example.one.feature.group\n");
    write_file("tools/sites/one/content.xml", content_of_one);
    for (const std::string path : {"tools", "tools/etc", "tools/etc/eclipse", "tools/sites"})
      fs::permissions(path, fs::perms(0755));
    fs::permissions("tools/etc/eclipse/tools.txt", of_descriptor);
    fs::permissions("tools/sites/one/content.xml", of_metadata);
    fs::permissions("tools/sites/one", of_site);
    return summary_of(findings_in("tools"));
  };
  const Texts closed = {"tools/etc/eclipse/tools.txt:1:1+9 repository-not-readable-by-others"};
  EXPECT_EQ(findings_with(fs::perms(0644), fs::perms(0755), fs::perms(0644)), Texts());
  EXPECT_EQ(findings_with(fs::perms(0644), fs::perms(0700), fs::perms(0644)), closed);
  EXPECT_EQ(findings_with(fs::perms(0644), fs::perms(0755), fs::perms(0640)), closed);
  EXPECT_EQ(findings_with(fs::perms(0640), fs::perms(0750), fs::perms(0640)), Texts());
}

TEST(Findings, HaveTheirLocations) {
  const std::vector<std::pair<std::string, Texts>> cases = {
      {"s org.example.a.feature.group\n", {"t:1:1+29 line-without-tab", "t descriptor-without-data"}},
      {"\n\ns,org.example.a.feature.group\n", {"t:3:1+29 line-without-tab", "t descriptor-without-data"}},
      {"Repository;Feature\ns\tx.y.feature.group\n", {"t:1:1+18 line-without-tab"}},
      {"# sites/a org.example.a.feature.group\ns\tx.y.feature.group\n", {}},
      {"The tools of Example\ns\tx.y.feature.group\n", {}},
      {"sites/a\ns\tx.y.feature.group\n", {"t:1:1+7 feature-column-missing"}},
      {"s\t\ns\tx.y.feature.group\n", {"t:1:1+1 feature-column-missing"}},
      {"Repository\t\ns\tx.y.feature.group\n", {}},
      {"\tx.y.feature.group\n", {"t:1:2+17 repository-empty"}},
      {"\t\t\n", {"t descriptor-without-data"}},
      {" \t\t\n", {"t:1:1+3 row-of-tabs", "t descriptor-without-data"}},
      {"s\t\tx.y.feature.group\t1\n", {"t:1:4+17 feature-in-third-column"}},
      {"#Repository\tFeature\ns\tx.y.feature.group\n", {"t:1:1+11 header-not-recognised"}},
      {"\"Repository\"\t\"Feature\"\ns\tx.y.feature.group\n", {"t:1:1+12 header-not-recognised"}},
      {"repository\tx.y.feature.group\n", {}},
      {"sites/repository\tx.y\n", {"t:1:18+3 feature-without-group-suffix"}},
      {"s\tx.~y\n", {"t:1:3+4 feature-without-group-suffix"}},
      {"\xEF\xBB\xBFs\tx.y.feature.group\n", {"t:1:1+3 byte-order-mark"}},
      {"\xFF\xFEs\tx.y.feature.group\n", {"t not-8-bit-text"}},
      {std::string("s\0\tf\n", 5), {"t not-8-bit-text"}},
      {"s\tx.y.feature.group\rs\tx.z.feature.group", {"t cr-line-endings"}},
      {"s\tx.y.feature.group\r", {"t:1:20+1 crlf-line-endings"}},
      {"Repository\tFeature\r\ns\tx.y.feature.group\r\ns\tx.z.feature.group\r\n", {"t:2:20+1 crlf-line-endings"}},
      {"Repository\tFeature\r\ns\tx.y.feature.group\n", {}},
      {"Repository\tx.y.feature.group\ns\tx.z.feature.group\n", {"t:1:1+10 site-named-repository"}},
      {"s\t x.y.feature.group\n", {"t:1:3+18 space-around-column"}},
      {"s\t'x.y.feature.group'\n", {"t:1:3+19 quoted-column"}},
      {"s\tx.y.feature.group\t\t1\ta\tb\n", {"t:1:24+1 extra-columns"}},
      {"s\tx.y.feature.group\t\n", {"t:1:20+1 trailing-tab"}},
      {"s\tx.y.feature.group\tx\n", {"t:1:21+1 third-column-ignored"}},
      {"", {"t descriptor-without-data"}},
      {"s\tx.y.feature.group\ns\tx.y.feature.group\n", {"t:2:1+19 duplicate-line"}},
      {"C:\\s\tx.y.feature.group\n", {"t:1:1+4 absolute-repository"}},
      {"s\tx.y.feature.group\n/s\tx.z.feature.group\n", {"t:2:1+2 absolute-repository"}},
      {"// s\tx.y.feature.group\n", {"t:1:1+4 comment-is-data"}},
      {"sites/a,x.y.feature.group\ns\tx.y.feature.group\n", {"t:1:1+25 line-without-tab"}},
      {"jar:file:/s.zip!/\tx.y.feature.group\n", {"t:1:1+17 url-repository"}},
      {"s.tar.gz\tx.y.feature.group\n", {"t:1:2+7 archive-not-recognised"}},
      {"a/$HOME.zip\tx.y.feature.group\n", {"t:1:3+1 repository-needs-shell-quoting"}},
      {"a&b.zip\tx.y.feature.group\n", {}},
      {"a*\tx.y.feature.group\n", {"t:1:2+1 glob-in-repository"}},
      {"a*.zip\tx.y.feature.group\n", {}},
      {"a]\tx.y.feature.group\n", {"t:1:2+1 url-character-in-repository"}},
      {"a[].zip\tx.y.feature.group\n", {}},
      {"a?b\tx.y.feature.group\n", {"t:1:2+1 glob-in-repository", "t:1:2+1 url-character-in-repository"}},
      {"a?b/c?.zip\tx.y.feature.group\n", {}},
      {"a#b.zip\tx.y.feature.group\n", {"t:1:2+1 url-character-in-repository"}},
      {"a!/b.zip\tx.y.feature.group\n", {"t:1:2+1 url-character-in-repository"}},
      {"a!/b\tx.y.feature.group\n", {}},
      {"a/\xE4.zip\tx.y.feature.group\n", {"t:1:3+1 repository-not-utf-8"}},
      {"x.y.feature.group\ns\tx.y.feature.group\n", {"t:1:1+17 feature-column-missing"}},
      {"x.y.feature.group/1.0.0\ns\tx.y.feature.group\n", {"t:1:1+23 feature-column-missing"}},
      {"x.y.feature.group\tsites/alpha\n", {"t:1:1+17 columns-swapped"}},
      {"x.y.feature.group\ta.zip\t\tfirst\n", {"t:1:1+17 columns-swapped"}},
      {"x.y.feature.group\tx.z.feature.group/1.0.0\n", {"t:1:19+23 feature-pinned"}},
      {"Repo\tFeature\tExtra\tOrder\ns\tx.y.feature.group\n", {"t:1:1+4 header-not-recognised"}},
      {"Repositories\tFeature\tExtra\tOrder\ns\tx.y.feature.group\n", {"t:1:1+12 header-not-recognised"}},
      {"\xEF\xBB\xBFRepository\tFeature\tExtra\tOrder\ns\tx.y.feature.group\n", {"t:1:1+3 byte-order-mark"}},
      {"#s\tx.y\n", {"t:1:1+2 comment-is-data"}},
      {"a b,c\tx.y.feature.group\n", {"t:1:2+1 space-in-repository", "t:1:4+1 comma-in-repository"}},
      {"100%\tx.y.feature.group\n", {}},
      {"a#b\tx.y.feature.group\n", {"t:1:2+1 url-character-in-repository"}},
      {"a\\b\tx.y.feature.group\n", {"t:1:2+1 backslash-in-repository"}},
      {"s/\tx.y.feature.group\n./s\tx.z.feature.group\n", {"t:2:1+3 repository-spelled-differently"}},
      {"s\tx.y\n", {"t:1:3+3 feature-without-group-suffix"}},
      {"s\tx.y.feature.group/1.0.0.v2\n", {"t:1:3+26 feature-pinned"}},
      {"s\tx.y.feature.group/1.0.0.0.0\n", {"t:1:3+27 feature-version-invalid"}},
      {"s\tx.y.feature.group/\n", {}},
      {"s\tx.y.feature.group/0.0.0\n", {}},
      {"s\tx.y.feature.group//1.0/latest\n", {"t:1:3+29 feature-pinned"}},
      {"s\tx.y.feature.group,x.z\n", {"t:1:20+1 comma-in-feature", "t:1:21+3 feature-without-group-suffix"}},
      {"s\tx.y.feature.group,\n", {"t:1:20+1 comma-in-feature"}},
      {"s\t,x.y.feature.group\n", {"t:1:3+1 comma-in-feature"}},
      {"s\t#x.y\n", {"t:1:3+1 feature-needs-shell-quoting"}},
      {"s\t-x.y.feature.group\n", {"t:1:3+1 feature-looks-like-option"}},
      {"s\tx.y.feature.group]\n", {"t:1:3+18 feature-without-group-suffix"}},
      {"s\tx.y$\n", {"t:1:3+4 feature-without-group-suffix"}},
      {"s\tx=y.feature.group\n", {}},
      {"s\tx.y.feature.group 2>&1\n", {"t:1:20+1 feature-needs-shell-quoting"}},
      {"s\t2>x.y\n", {"t:1:4+1 feature-needs-shell-quoting"}},
      {"\"a.zip\tx.y.feature.group\n", {"t:1:1+6 quoted-column"}},
      {"'a.zip\tx.y.feature.group\n", {}},
      {"a\\`b.zip\tx.y.feature.group\n", {"t:1:2+1 backslash-in-repository", "t:1:2+1 repository-needs-shell-quoting"}},
      {"s\xC2\xA0\tx.\fy\x7F.feature.group\n",
       {"t:1:2+2 invisible-character", "t:1:7+1 invisible-character", "t:1:9+1 invisible-character"}},
      {"s\tx.y\xE2\x80\x8B.feature.group\n", {"t:1:6+3 invisible-character"}},
      {"s\tx y.feature.group\n", {"t:1:4+1 feature-needs-shell-quoting"}},
      {"s\tx.`id`\n", {"t:1:5+1 feature-needs-shell-quoting"}},
      {"s\tx.y.feature.group\t\tundefined\n", {}},
      {"s\tx.y.feature.group\t\tundefined\r\n", {"t:1:31+1 crlf-line-endings"}},
      {"s\tx.y.feature.group\t\tUndefined\n", {"t:1:22+9 order-not-a-number"}},
      {"s\tx.y.feature.group\t\t0x10\n", {"t:1:22+4 order-trailing-characters"}},
      {"s\tx.y.feature.group\t\t 7\n", {}},
      {"s\tx.y.feature.group\t\t2147483647\n", {}},
      {"s\tx.y.feature.group\t\t2147483648\n", {"t:1:22+10 order-out-of-range"}},
      {"s\tx.y.feature.group\t\t-2147483649\n", {"t:1:22+11 order-out-of-range", "t:1:22+11 order-not-positive"}},
      {"s\tx.y.feature.group\t\t0000000001\n", {}},
      {"s\tx.y.feature.group\t\t-1\n", {"t:1:22+2 order-not-positive"}},
      {"s\tx.y.feature.group\ns\tx.z.feature.group\ns\tx.w.feature.group\t\t1\n", {"t:3:22+1 order-taken"}},
  };
  for (const auto& [content, findings] : cases) {
    Texts expected = findings;
    std::sort(expected.begin(), expected.end());
    Texts found = findings_in_lines(content);
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, expected) << testing::PrintToString(content);
  }
}

TEST(Findings, MessagesNameTheOtherLine) {
  const fake::TemporaryDirectory directory;
  write_file("t", "s\tx.y.feature.group\t\t3\ns\tx.z.feature.group\t\t3\n");
  const Findings findings = findings_in("t");
  ASSERT_EQ(summary_of(findings), Texts({"t:2:22+1 order-taken"}));
  EXPECT_EQ(findings[0].message, "order 3 is already taken by t:1; this line gets 4");
}

TEST(Findings, SuggestLikelyIds) {
  const fake::TemporaryDirectory directory;
  write_file("t", "s\tx.a\ns\tx.b.feature\ns\tx.c.feature.jar\ns\tx.d.plugin\n");
  Texts fixes;
  for (const Finding& finding : findings_in("t")) fixes.push_back(finding.fix);
  EXPECT_EQ(fixes, Texts({"write x.a.feature.group", "write x.b.feature.group", "write x.c.feature.group",
                          "write the id of the feature that contains it, followed by .feature.group"}));
}

TEST(Findings, CommentIsARepositoryOfThatName) {
  const fake::TemporaryDirectory directory;
  write_file("t", "#sites/alpha\tx.y.feature.group\n");
  EXPECT_EQ(findings_in("t").at(0).message, "this comment is read as data with the repository \"#sites/alpha\"");
}

TEST(Findings, ActiveCommentNamesItsFeature) {
  EXPECT_EQ(
      first_message("//site\torg.example.one.feature.group\n", {{"tools/site/content.xml", content_of_one}}, Severity::error)
          .substr(0, 106),
      "this line is active, since \"//site\" is an existing path: the director gets \"org.example.one.feature.group\"");
}

TEST(Findings, FeatureIsLookedUpWhateverItsCharacters) {
  for (const std::string id : {"x.~y", "x.\xC3\xA4", "x.@", "x.%", "x.:y", "!x.y", "{x.y", "~x.y", "-x.y"}) {
    const fake::TemporaryDirectory directory;
    write_file("c/etc/eclipse/t", "site\t" + id + ".feature.group\nsite\torg.example.one.feature.group\n");
    write_file("c/site/content.xml", content_of_one);
    const std::string rule = id.starts_with('~')   ? ":1:6+1 feature-needs-shell-quoting"
                             : id.starts_with('-') ? ":1:6+1 feature-looks-like-option"
                                                   : ":1:6+" + std::to_string(id.size() + 14) + " feature-not-found";
    EXPECT_EQ(summary_of(findings_in("c")), Texts({"c/etc/eclipse/t" + rule})) << id;
  }
}

TEST(Findings, PinnedVersionIsLookedUpAsTheDirectorReadsIt) {
  for (const std::string version : {"1", "1.0", "01.0.0", "1.0.0", "0.0.0", "2.0.0", "1.0.0.x", "1.0.1"}) {
    const fake::TemporaryDirectory directory;
    write_file("c/etc/eclipse/t", "site\torg.example.one.feature.group/" + version + "\n");
    write_file("c/site/content.xml", content_of_one);
    const Findings findings = findings_in("c", {.disabled = {"feature-pinned"}, .suppressions = {}});
    const bool is_offered = version.size() < 5 || version == "01.0.0" || version == "1.0.0" || version == "0.0.0";
    ASSERT_EQ(findings.size(), is_offered ? 0U : 1U) << version;
    if (is_offered) continue;
    EXPECT_EQ(findings[0].rule->name, "feature-not-found");
    EXPECT_EQ(findings[0].message, "no repository has version " + version + " of \"org.example.one.feature.group\"");
    EXPECT_EQ(findings[0].fix, "the repositories have version 1.0.0: write org.example.one.feature.group");
  }
}

TEST(Findings, ArtifactsMayComeFromAnyRepository) {
  const auto content_of = [](const std::string& name) {
    return "<repository><units><unit id='org.example." + name + ".feature.group' version='1.0.0'/><unit id='" + name +
           "' version='1.0.0'><artifacts><artifact classifier='osgi.bundle' id='" + name +
           "' version='1.0.0'/></artifacts></unit></units></repository>";
  };
  constexpr const char* artifacts_of_one =
      "<repository><mappings><rule filter='(&amp; (classifier=osgi.bundle))' "
      "output='${repoUrl}/plugins/${id}_${version}.jar'/></mappings>"
      "<artifacts><artifact classifier='osgi.bundle' id='one' version='1.0.0'/></artifacts></repository>";
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/t", "site\torg.example.one.feature.group\nmore\torg.example.two.feature.group\n");
  write_file("c/site/content.xml", content_of("one"));
  write_file("c/more/content.xml",
             "<repository><units><unit id='org.example.two.feature.group' version='1'/></units></repository>");
  const Findings without_list = findings_in("c");
  ASSERT_EQ(summary_of(without_list), Texts({"c/etc/eclipse/t:1:1+4 repository-without-artifacts"}));
  EXPECT_EQ(
      without_list[0].message,
      "\"site\" has no artifacts.jar, no artifacts.xml and no composite of them; no repository has \"osgi.bundle,one,1.0.0\"");
  write_file("c/more/artifacts.xml", artifacts_of_one);
  write_file("c/more/plugins/one_1.0.0.jar", "PK\x05\x06" + std::string(18, '\0'));
  EXPECT_EQ(summary_of(findings_in("c")), Texts());
  std::filesystem::remove_all("c/more/plugins");
  const Findings without_files = findings_in("c");
  ASSERT_EQ(summary_of(without_files), Texts({"c/etc/eclipse/t:1:1+4 repository-without-artifacts",
                                              "c/etc/eclipse/t:2:1+4 repository-without-artifacts"}));
  EXPECT_EQ(without_files[1].message, "\"more\" lacks \"plugins/one_1.0.0.jar\", which its metadata lists");
}

TEST(Findings, UnreadableRepositoriesDifferFromDamagedOnes) {
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/t",
             "a.zip\torg.example.one.feature.group\nb\torg.example.one.feature.group\nd\torg.example.one.feature.group\n");
  write_file("c/a.zip", "an archive");
  write_file("c/b/content.xml", content_of_one);
  write_file("c/d/artifacts.xml", "<repository");
  write_file("c/d/content.xml", content_of_one);
  for (const std::string closed : {"c/a.zip", "c/b/content.xml"})
    std::filesystem::permissions(closed, std::filesystem::perms(0));
  Texts messages;
  for (const Finding& finding : findings_in("c", {.disabled = {"feature-from-two-repositories"}, .suppressions = {}})) {
    messages.push_back(finding.message + "; " + finding.fix);
  }
  EXPECT_EQ(
      messages,
      Texts(
          {"cannot load \"a.zip\": it cannot be read; make it readable for the user who runs the installer",
           "cannot load \"b\": content.xml cannot be read; make it readable for the user who runs the installer",
           "cannot load \"d\": artifacts.xml is not well-formed XML; publish the repository again, and check that it is copied "
           "completely"}));
}

TEST(Findings, SayWhatToDoAboutEachErrorOfARepository) {
  const auto of = [](const std::vector<SampleFile>& files) {
    return first_message("site\torg.example.one.feature.group\n", files, Severity::error);
  };
  const std::string begin = "cannot load \"site\": ";
  EXPECT_EQ(of({{"tools/site/content.xml", content_of_one},
                {"tools/site/p2.index", "version=1\nmetadata.repository.factory.order=!\n"}}),
            begin + "p2.index excludes every metadata file that exists FIX correct the order in p2.index, or delete the file");
  EXPECT_EQ(of({{"tools/site/content.xml", "<?xml version='1.0' encoding='UTF-8'?><repository name='\xFF'/>"}}),
            begin +
                "content.xml is not UTF-8 in line 1, although it says so or names no other encoding FIX save the file in "
                "UTF-8, or name its encoding in its first line");
  EXPECT_EQ(of({{"tools/site/content.xml", "<?xml version='1.0' encoding='UTF-16'?><repository/>"}}),
            begin +
                "content.xml is not in the encoding that its first line names FIX name the encoding of the file in its first "
                "line");
  EXPECT_EQ(of({{"tools/site/content.jar", base_test::zipped({{"content.xml", content_of_one}}, "secret")}}),
            begin + "content.jar is encrypted FIX pack the archive again, without a password");
  EXPECT_EQ(
      of({{"tools/site/content.xml", "<repository>"}}),
      begin + "content.xml is not well-formed XML FIX publish the repository again, and check that it is copied completely");
}

TEST(Findings, DirectoryNamedLikeAFileIsNotAFile) {
  const fake::TemporaryDirectory directory;
  std::filesystem::create_directories("c/etc/eclipse/a.txt");
  std::filesystem::create_directories("c/etc/eclipse/sub");
  EXPECT_EQ(summary_of(findings_in("c")), Texts({"c/etc/eclipse/a.txt descriptor-not-a-file"}));
  const Findings findings = findings_in("c/etc/eclipse/a.txt");
  ASSERT_EQ(summary_of(findings), Texts({"c/etc/eclipse/a.txt descriptor-not-a-file"}));
  EXPECT_EQ(findings[0].message, "\"etc/eclipse/a.txt\" is a directory, not a file");
}

TEST(Findings, FileThatIsNotADescriptorHasNoOtherFinding) {
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/README.md", "# Hello\n\nThis\tis\n");
  write_file("c/etc/eclipse/b.xml", "<?xml version='1.0'?>\n<a>\n\t<b/>\n</a>\n");
  write_file("c/etc/eclipse/c.png", std::string("\x89PNG\0\t\n", 7));
  write_file("c/etc/eclipse/d.properties", "site\torg.example.one.feature.group\n");
  write_file("c/site/content.xml", content_of_one);
  const Findings findings = findings_in("c");
  EXPECT_EQ(summary_of(findings), Texts({"c/etc/eclipse/README.md not-a-descriptor", "c/etc/eclipse/b.xml not-a-descriptor",
                                         "c/etc/eclipse/c.png not-a-descriptor"}));
  EXPECT_EQ(findings.at(0).severity, Severity::error);
  EXPECT_EQ(findings.at(1).severity, Severity::note) << "its only record is passed over";
  EXPECT_EQ(findings.at(2).severity, Severity::error);
}

TEST(Findings, CopiesHaveTheNamesThatFileManagersGiveThem) {
  const fake::TemporaryDirectory directory;
  write_file("c/site/content.xml", "<repository><units><unit id='x.y.feature.group' version='1.0.0'/></units></repository>");
  Texts expected;
  for (const char* const name :
       {"#tools.txt#", "Copy of tools.txt", "Kopie von tools.txt", "tools (1).txt", "tools - Copy.txt", "tools - Kopie.txt",
        "tools copy.txt", "tools.txt.bak", "tools.txt.dpkg-dist", "tools.txt.rpmnew", "tools_old.txt"}) {
    write_file(std::string("c/etc/eclipse/") + name, "site\tx.y.feature.group\n");
    expected.push_back(std::string("c/etc/eclipse/") + name + " unusual-descriptor-name");
  }
  for (const char* const name : {"copy.txt", "photocopy.txt", "tools.txt"})
    write_file(std::string("c/etc/eclipse/") + name, "site\tx.y.feature.group\n");
  Texts found;
  for (const std::string& finding : summary_of(findings_in("c"))) {
    if (finding.ends_with("unusual-descriptor-name")) found.push_back(finding);
  }
  EXPECT_EQ(found, expected);
}

TEST(Findings, ControlCharacterHidesNoOtherFinding) {
  const std::string content = "Repository\tFeature\nsi\fte\tx.a.feature.group\ns\tx.b.feature.group\n/s\tx.c.feature.group\n";
  EXPECT_EQ(findings_in_lines(content), Texts({"t:2:3+1 invisible-character", "t:4:1+2 absolute-repository"}));
  EXPECT_EQ(findings_in_lines("s\tx.a.\v\v.feature.group\n" + std::string(100, '\n')),
            Texts({"t:1:7+1 invisible-character", "t:1:8+1 invisible-character"}));
  EXPECT_EQ(findings_in_lines("s\tx.\v\v.group\n"), Texts({"t not-a-descriptor"}));
}

TEST(Findings, InvisibleCharactersAreNamed) {
  const fake::TemporaryDirectory directory;
  write_file("t", "s\f\tx.y\xE2\x80\x8B.feature.group\ns\xC2\xA0z\tx.z\xF3\xA0\x80\x81.feature.group\n");
  Texts messages;
  for (const Finding& finding : findings_in("t")) messages.push_back(finding.message);
  EXPECT_EQ(messages,
            Texts({"control character \\x0C in the repository", "invisible character \\u200B in the feature",
                   "invisible character \\u00A0 in the repository", "invisible character \\U000E0001 in the feature"}));
}

TEST(Findings, InvisibleCharacterInTheNameOfADirectoryIsRight) {
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/t", "si\xC2\xA0te\torg.example.one.feature.group\n");
  write_file("c/si\xC2\xA0te/content.xml", content_of_one);
  EXPECT_EQ(summary_of(findings_in("c")), Texts());
}

TEST(Findings, ShellMetacharactersAreNamed) {
  const fake::TemporaryDirectory directory;
  write_file("t", "a;b\tx y.feature.group\na*b\tx`y.feature.group\na$b.zip\tx.z.feature.group\n");
  Texts messages;
  for (const Finding& finding : findings_in("t")) messages.push_back(finding.message);
  EXPECT_EQ(messages, Texts({"shell metacharacter ';' in the repository", "space in the feature",
                             "shell metacharacter '*' in the repository", "shell metacharacter '`' in the feature",
                             "shell metacharacter '$' in the repository"}));
}

TEST(Findings, TargetOfASymlinkIsNotADescriptorOutside) {
  const fake::TemporaryDirectory directory;
  write_file("c/real.txt", "Repository\tFeature\nsite\torg.example.one.feature.group\n");
  write_file("c/site/content.xml", content_of_one);
  std::filesystem::create_directories("c/etc/eclipse");
  std::filesystem::create_symlink("../../real.txt", "c/etc/eclipse/a.txt");
  EXPECT_EQ(summary_of(findings_in("c")), Texts());
  std::filesystem::remove("c/etc/eclipse/a.txt");
  EXPECT_EQ(summary_of(findings_in("c")), Texts({"c/real.txt descriptor-outside-etc-eclipse"}));
}

TEST(Findings, CommasAreNotCountedAsFeatures) {
  const fake::TemporaryDirectory directory;
  write_file("t", "s\tx.a.feature.group,\ns\t,x.b.feature.group\ns\tx.c.feature.group,,x.d.feature.group,\n");
  const Findings findings = findings_in("t");
  ASSERT_EQ(findings.size(), 3U);
  EXPECT_EQ(findings[0].message, "comma after the feature");
  EXPECT_EQ(findings[1].message, "comma before the feature");
  EXPECT_EQ(findings[1].severity, Severity::error);
  EXPECT_EQ(findings[2].message, "2 features in one line");
}

TEST(Findings, AbsolutePathThatExistsIsAWarning) {
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/t", "/site\torg.example.one.feature.group\n");
  write_file("c/site/content.xml", content_of_one);
  const Findings findings = findings_in("c");
  ASSERT_EQ(summary_of(findings), Texts({"c/etc/eclipse/t:1:1+5 absolute-repository"}));
  EXPECT_EQ(findings[0].severity, Severity::warning);
  EXPECT_EQ(findings[0].message, "absolute path \"/site\" is read as " + directory.path() + "/c/site, which exists");
}

TEST(Findings, AbsolutePathInTheComponentHasARelativeOne) {
  const fake::TemporaryDirectory directory;
  const std::string inside = directory.path() + "/c/sites/one";
  write_file("c/etc/eclipse/t", inside + "\torg.example.one.feature.group\n/nowhere\torg.example.one.feature.group\n");
  write_file("c/sites/one/content.xml", content_of_one);
  Texts fixes;
  for (const Finding& finding : findings_in("c")) {
    if (finding.rule->name == "absolute-repository") fixes.push_back(finding.fix);
  }
  EXPECT_EQ(fixes, Texts({"write \"sites/one\"",
                          "ship the repository with the component, and write its path relative to the component's directory"}));
}

TEST(Findings, PointerInPlaceOfADescriptorFileIsNamed) {
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/t", "version https://git-lfs.github.com/spec/v1\noid sha256:00\nsize 5\n");
  const Findings findings = findings_in("c");
  ASSERT_EQ(summary_of(findings), Texts({"c/etc/eclipse/t descriptor-without-data"}));
  EXPECT_EQ(findings[0].severity, Severity::error);
  EXPECT_EQ(findings[0].message, "the file is a Git LFS pointer, not the file that it stands for");
  EXPECT_EQ(findings[0].fix, "run git lfs pull in the clone that it comes from");
}

/// The good sample of a rule about artifacts, with the jar moved to another path, and a symbolic link to there if it is wanted.
Findings findings_with_jar_at(const std::string& path, bool is_linked) {
  const fake::TemporaryDirectory directory;
  write_sample(find_rule("artifact-damaged")->good);
  const std::string jar = "tools/site/plugins/org.example.one.plugin_1.0.0.jar";
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::filesystem::rename(jar, path);
  if (is_linked) std::filesystem::create_symlink(std::filesystem::absolute(path), jar);
  return findings_in("tools");
}

TEST(Findings, JarsInAnotherLetterCaseOrElsewhere) {
  const Findings in_capitals = findings_with_jar_at("tools/site/Plugins/org.example.one.plugin_1.0.0.jar", false);
  ASSERT_EQ(in_capitals.size(), 1U);
  EXPECT_EQ(in_capitals[0].fix,
            "rename \"Plugins/org.example.one.plugin_1.0.0.jar\" to \"plugins/org.example.one.plugin_1.0.0.jar\"; paths are "
            "case-sensitive");
  const Findings elsewhere = findings_with_jar_at("cache/one.jar", true);
  ASSERT_EQ(elsewhere.size(), 1U);
  EXPECT_EQ(elsewhere[0].rule->name, "repository-outside-component");
  EXPECT_EQ(elsewhere[0].fix, "put the file itself in the place of the link");
  EXPECT_EQ(summary_of(findings_with_jar_at("tools/jars/one.jar", true)), Texts());
}

TEST(Findings, FileThatIsNotAnArchiveIsNotARepository) {
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/t", "notes\torg.example.one.feature.group\n");
  write_file("c/notes", "the sites of the component\n");
  const Findings findings = findings_in("c");
  ASSERT_EQ(summary_of(findings), Texts({"c/etc/eclipse/t:1:1+5 archive-not-recognised"}));
  EXPECT_EQ(findings[0].message, "\"notes\" is a file whose name does not end in \".zip\"");
}

TEST(Findings, RepositoryIsUnusedOnlyWhereThatIsCertain) {
  constexpr const char* content_of_two =
      "<repository><units><unit id='org.example.two.feature.group' version='1.0.0'/></units></repository>";
  const auto findings_with = [&](const std::string& lines, const std::string& content_of_other) {
    const fake::TemporaryDirectory directory;
    write_file("c/etc/eclipse/t", "site\torg.example.one.feature.group\n" + lines);
    write_file("c/site/content.xml", content_of_one);
    write_file("c/other/content.xml", content_of_other);
    return summary_of(findings_in("c", {.disabled = {"feature-from-two-repositories"}, .suppressions = {}}));
  };
  const std::string again = "other\torg.example.one.feature.group\n";
  EXPECT_EQ(findings_with(again, content_of_two), Texts({"c/etc/eclipse/t:2:1+5 unused-repository"}));
  EXPECT_EQ(findings_with(again, content_of_one), Texts());
  EXPECT_EQ(findings_with(again + "other\torg.example.two.feature.group\n", content_of_two), Texts());
  EXPECT_EQ(findings_with(again + "site\torg.example.two.feature.group/1.0.0\n", content_of_two),
            Texts({"c/etc/eclipse/t:3:6+35 feature-pinned"}));
  EXPECT_EQ(findings_with("other\torg.example.too.feature.group\n", content_of_two),
            Texts({"c/etc/eclipse/t:2:7+29 feature-not-found"}));
  EXPECT_EQ(findings_with("other\t\t\n", content_of_two), Texts({"c/etc/eclipse/t:2:1+5 feature-empty"}));
  EXPECT_EQ(findings_with("other\t\t\n", "<repository><units><unit id='x.bundle' version='1.0.0'/></units></repository>"),
            Texts());
  EXPECT_EQ(findings_with(again, "<repository"), Texts({"c/etc/eclipse/t:2:1+5 repository-not-loadable"}));
}

/// The director gets the repository, and takes from it what a feature of another line requires.
TEST(Findings, RepositoryWithoutAFeatureIsAnErrorOnlyWhereNothingIsInstalled) {
  const auto severity_with = [](const std::string& lines) {
    const fake::TemporaryDirectory directory;
    write_file("t", lines);
    const Findings findings = findings_in("t");
    return findings.size() == 1 && findings[0].rule->name == "feature-empty" ? name_of(findings[0].severity) : "other";
  };
  EXPECT_EQ(severity_with("site\t\t\n"), "error");
  EXPECT_EQ(severity_with("site\t\t\nother\torg.example.one.feature.group\n"), "note");
}

TEST(Findings, DanglingSymlinksAndPipesAreReportedAndNotRead) {
  const fake::TemporaryDirectory directory;
  std::filesystem::create_directories("c/etc/eclipse/sub");
  ASSERT_EQ(mkfifo("c/etc/eclipse/sub/pipe", 0644), 0);
  std::filesystem::create_symlink("nowhere", "c/etc/eclipse/link");
  std::filesystem::create_symlink("nowhere", "c/link");
  const Findings findings = findings_in("c");
  EXPECT_EQ(summary_of(findings),
            Texts({"c/etc/eclipse/link descriptor-not-a-file", "c/etc/eclipse/sub/pipe descriptor-not-a-file"}));
  EXPECT_EQ(findings[0].message, "\"etc/eclipse/link\" is a dangling symlink, not a file");
  EXPECT_EQ(findings[1].message, "\"etc/eclipse/sub/pipe\" is a pipe, not a file");
}

TEST(Findings, PipesDoNotBlock) {
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/t", "site\torg.example.one.feature.group\npipe.zip\torg.example.two.feature.group\n");
  std::filesystem::create_directories("c/site");
  for (const std::string pipe : {"c/site/content.xml", "c/pipe.zip", "session.json", "suppressions.json"}) {
    ASSERT_EQ(mkfifo(pipe.c_str(), 0644), 0);
  }
  EXPECT_EQ(summary_of(findings_in("c")),
            Texts({"c/etc/eclipse/t:1:1+4 repository-not-loadable", "c/etc/eclipse/t:2:1+8 repository-not-loadable"}));
  EXPECT_THROW(findings_in("session.json"), eclipse_base::FileError);
  EXPECT_THROW(read_suppressions("suppressions.json"), eclipse_base::FileError);
}

TEST(Findings, FeatureIsLookedUpInAllRepositoriesOfTheComponent) {
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/t", "site\torg.example.one\nsite\torg.example.Ones.feature.group\nsite\torg.example.one.plugin\n");
  write_file("c/site/content.xml", content_of_one);
  const Findings findings = findings_in("c");
  EXPECT_EQ(summary_of(findings),
            Texts({"c/etc/eclipse/t:1:6+15 feature-without-group-suffix", "c/etc/eclipse/t:2:6+30 feature-not-found",
                   "c/etc/eclipse/t:3:6+22 unit-not-a-feature"}));
  EXPECT_EQ(findings[0].severity, Severity::error);
  EXPECT_EQ(findings[0].fix, "write org.example.one.feature.group");
  EXPECT_EQ(findings[1].fix, "write an id that the repositories have: \"org.example.one.feature.group\"");
}

/// What one line of a descriptor gives, with what the findings say to do.
Texts advice_on(const std::string& line) {
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/t", line + "\n");
  write_file("c/sites/one/content.xml",
             "<repository><units><unit id='org.example.one.feature.group' version='1.0.0'/>"
             "<unit id='org.example.one.feature.jar' version='1.0.0'/><unit id='org.example.one' version='1.0.0'/>"
             "<unit id='all' version='1.0.0'><properties><property name='org.eclipse.equinox.p2.type.category' value='true'/>"
             "</properties></unit></units></repository>");
  Texts advice;
  for (const Finding& finding : findings_in("c")) {
    advice.push_back(std::string(name_of(finding.severity)) + " " + std::string(finding.rule->name) + ": " + finding.fix);
  }
  return advice;
}

TEST(Findings, SayWhatIsMeant) {
  const std::string feature = "org.example.one.feature.group";
  const std::string moved =
      "error columns-swapped: write the repository in column 1 and the feature in column 2; an order belongs in column 4";
  const std::string no_tab = "error line-without-tab: separate the repository and the feature with a tab";
  const std::string version = "error feature-version-invalid: write the id without a version";
  const std::string several =
      "error several-repositories: write a line for each repository; end one for which no feature is left in two tabs";
  const std::string active = "delete the line, or remove its tabs; if it is no comment, delete the slashes at its beginning";
  const std::vector<std::pair<std::string, Texts>> lines = {
      {"sites/one\t" + feature, {}},
      {"sites/one\t" + feature + "\n\t\t\t\n\t \t\n\t", {}},
      {"sites/one\t" + feature + "\n \t\t", {"error row-of-tabs: delete the line"}},
      {"c/sites/one\t" + feature,
       {"error repository-missing: write \"sites/one\"; paths are relative to the component's directory"}},
      {"../../sites/one\t" + feature,
       {"error repository-missing: write \"sites/one\"; paths are relative to the component's directory"}},
      {"Sites/One\t" + feature, {"error repository-missing: write sites/one; paths are case-sensitive"}},
      {"sites/one.zip\t" + feature, {"error repository-missing: write \"sites/one\""}},
      {"../sites/one\t" + feature, {"error repository-missing: write \"sites/one\""}},
      {"../../../sites/one.zip\t" + feature, {"error repository-missing: write \"sites/one\""}},
      {"one\t" + feature, {"error repository-missing: write \"sites/one\""}},
      {"repositories/One.ZIP/\t" + feature, {"error repository-missing: write \"sites/one\""}},
      {"sites/noe\t" + feature,
       {"error repository-missing: ship the repository with the component, or correct the path; the component has "
        "\"sites/one\""}},
      {"sites/onee\t" + feature, {"error repository-missing: write \"sites/one\""}},
      {"sites/onee\torg.example.one\nsites/one\t" + feature,
       {"error repository-missing: write \"sites/one\"",
        "warning feature-without-group-suffix: write org.example.one.feature.group"}},
      {"sites/onee\torg.example.three.feature.group\nsites/one\t" + feature,
       {"error repository-missing: ship the repository with the component, or correct the path"}},
      {"sites/two\t" + feature,
       {"error repository-missing: ship the repository with the component, or correct the path; the component has "
        "\"sites/one\""}},
      {"sites/one\torg.example.one", {"error unit-not-a-feature: write org.example.one.feature.group"}},
      {"sites/one\torg.example.one.feature.jar", {"error unit-not-a-feature: write org.example.one.feature.group"}},
      {"sites/one\tall", {"warning unit-not-a-feature: list the features that are in it"}},
      {"sites/one\t" + feature + "\t10", {"warning third-column-ignored: add a tab before the number"}},
      {"sites/one\t" + feature + "\tthe 10th",
       {"note third-column-ignored: leave the column empty, unless it holds a comment of yours"}},
      {"\tsites/one\t" + feature, {"error repository-empty: delete the tab at the beginning of the line"}},
      {"\tsites/one\t" + feature + "\t\t1\t\n\tone\t" + feature,
       {"error repository-empty: delete the tab at the beginning of the line",
        "error repository-empty: delete the tab at the beginning of the line"}},
      {"\t\tsites/one\t" + feature + "\t1\n\t\t\t10\n\t\tRepository\tFeature\n",
       {"error repository-empty: write the repository in column 1 and the feature in column 2"}},
      {"\tRepository\tFeature\nsites/one\t" + feature, {"note repository-empty: delete the tab at the beginning of the line"}},
      {"\tFeature ID\tUpdate site\nsites/one\t" + feature,
       {"note repository-empty: delete the tab at the beginning of the line"}},
      {"\t" + feature + "\t1.0.0\nsites/one\t" + feature + "\t \n",
       {"error repository-empty: write the repository in column 1, even if the line above has the same one",
        "note third-column-ignored: leave the column empty, unless it holds a comment of yours"}},
      {"//sites/one\t" + feature, {"error comment-is-data: " + active}},
      {"//sites/one\t" + feature + "\nsites/one\t" + feature, {"warning comment-is-data: " + active}},
      {"sites/one\t" + feature + "\n//sites/one\t\t", {"warning comment-is-data: " + active}},
      {"//sites/two\t" + feature, {"error comment-is-data: delete the line, or remove its tabs"}},
      {"-- sites/one\t" + feature, {"error comment-is-data: delete the line, or remove its tabs"}},
      {"/* sites/one\t" + feature + " */", {"error comment-is-data: delete the line, or remove its tabs"}},
      {"Rem sites/one\t" + feature, {"error comment-is-data: delete the line, or remove its tabs"}},
      {"<!--sites/one\t" + feature + "-->", {"error comment-is-data: delete the line, or remove its tabs"}},
      {"Update site\tFeature\nsites/one\t" + feature,
       {"error header-not-recognised: write Repository, with a capital R and nothing around it"}},
      {"Feature/Repository\tFeature ID\nsites/one\t" + feature,
       {"error header-not-recognised: write Repository, with a capital R and nothing around it"}},
      {"Feature ID\tRepository\nsites/one\t" + feature,
       {"error header-not-recognised: write Repository in column 1 and Feature in column 2"}},
      {"Feature\tUpdate site\n" + feature + "\tsites/one",
       {"error header-not-recognised: write Repository in column 1 and Feature in column 2, and swap the columns of these "
        "lines, too",
        "error columns-swapped: write the repository in column 1 and the feature in column 2"}},
      {"sites/one\t" + feature + ";org.example.two", {"error feature-needs-shell-quoting: write a line for each feature"}},
      {"sites/one\t" + feature + " org.example.two", {"error feature-needs-shell-quoting: write a line for each feature"}},
      {"sites/one\t" + feature + ", org.example.two", {"error feature-needs-shell-quoting: write a line for each feature"}},
      {"sites/one\t" + feature + " | org.example.two", {"error feature-needs-shell-quoting: write a line for each feature"}},
      {"sites/one\t" + feature + "/[1.0.0,2.0.0)", {version}},
      {"sites/one\t" + feature + "/[1.0.0,2.0.0]", {version}},
      {"sites/one\t" + feature + " [1.0.0,2.0.0)", {version}},
      {"sites/one\t" + feature + "/>=1.0", {version}},
      {"sites/one\t" + feature + "=1.0", {version}},
      {"sites/one\t" + feature + " 1.0.0", {version}},
      {"sites/one\t" + feature + "/ 1.0.0", {version}},
      {"sites/one\t" + feature + " (1.0.0)", {version}},
      {"sites/one\t" + feature + " x",
       {"error feature-needs-shell-quoting: correct the id; ids consist of letters, digits, \".\", \"_\" and \"-\""}},
      {"sites/one,sites/two\t" + feature, {several}},
      {"sites/one; sites/two\t" + feature, {several}},
      {"sites/one|sites/two.zip\t" + feature, {several}},
      {"sites/one sites/uno.zip\t" + feature,
       {"error repository-missing: ship the repository with the component, or correct the path; the component has "
        "\"sites/one\""}},
      {"sites/one ./sites/one\t" + feature, {several}},
      {"sites/one sites\t" + feature, {several}},
      {"one;sites\t" + feature, {"error repository-needs-shell-quoting: rename the repository"}},
      {"sites/my one sites/two\t" + feature, {"error space-in-repository: use a .zip archive, or a path without spaces"}},
      {"1\tsites/one\t" + feature, {moved}},
      {"Order\tRepository\tFeature\nsites/one\t" + feature, {moved}},
      {"sites/one -> " + feature + "\nsites/one\t" + feature, {no_tab}},
      {"| sites/one | " + feature + " |\nsites/one\t" + feature, {no_tab}},
      {"see sites/one for " + feature + " too\nsites/one\t" + feature, {}},
      {"sites/one/content.xml\t" + feature, {"error archive-not-recognised: write the path of the repository, \"sites/one\""}},
  };
  for (const auto& [line, advice] : lines) EXPECT_EQ(advice_on(line), advice) << line;
}

TEST(Findings, KnowTheHeadersThatPeopleWrite) {
  const std::vector<std::string> in_order = {"Update Site URL\tFeature ID",
                                             "P2 repository\tFeature id",
                                             "Site location\tFeature group",
                                             "Path\tID",
                                             "Repository name\tIU",
                                             "p2 site\tInstallable unit",
                                             "Site\tUnit ID",
                                             "Archive\tFeature",
                                             "Zip file\tFeature",
                                             "Repository (path)\tFeature (ID)",
                                             "Folder\tPlugins",
                                             "# Repository\tFeature",
                                             "Update Sites\tFeatures",
                                             "Site/Feature ID\tName",
                                             "\"Repository\"\t\"Feature\"",
                                             "repo\tsomething"};
  const std::vector<std::string> exchanged = {
      "Feature ID\tRepository",           "Feature\tSite",     "ID\tRepository", "Plugin\tPath",
      "Installable Unit\tRepository URL", "# feature\tp2 repo"};
  const std::string line = "\nsite\torg.example.one.feature.group\n";
  for (const std::string& header : in_order) {
    const std::string length = std::to_string(header.find('\t'));
    EXPECT_EQ(findings_in_lines(header + line), Texts{"t:1:1+" + length + " header-not-recognised"}) << header;
  }
  for (const std::string& header : exchanged) {
    const std::string length = std::to_string(header.find('\t'));
    EXPECT_EQ(findings_in_lines(header + line), Texts{"t:1:1+" + length + " header-not-recognised"}) << header;
  }
}

/// Spreadsheets give every row as many tabs as the longest one.
TEST(Findings, OfATableAreNoneAboutEmptyCells) {
  const std::string row = "s\tx.y.feature.group";
  for (const std::string end : {"\n", "\r\n"}) {
    const std::string content =
        "Repository\tFeature\tExtra\tOrder\n" + row + "\t\t" + end + "s\tx.z.feature.group\t\t2\n\t\t\t\n\t\t\t\n";
    EXPECT_EQ(findings_in_lines(content), end == "\n" ? Texts() : Texts{"t:2:22+1 crlf-line-endings"});
  }
  EXPECT_EQ(findings_in_lines("Repository\tFeature\t\t\t\t\n" + row + "\t\t\t\t\n\t\t\t\t\t\n# all\n"), Texts());
  EXPECT_EQ(findings_in_lines(row + "\t\ns\tx.z.feature.group\n"), Texts{"t:1:20+1 trailing-tab"});
  EXPECT_EQ(findings_in_lines("Repository\tFeature\tA\tB\tC\n" + row + "\t\t1\tnew\t\n"),
            (Texts{"t:2:24+3 extra-columns", "t:2:27+1 trailing-tab"}));
  EXPECT_EQ(findings_in_lines("Repository\tFeature\t\t\t\n" + row + "\t\t\t\n"), Texts());
}

TEST(Findings, NameASimilarRepositoryOnlyIfOneIsNearest) {
  const auto fix_with = [](const std::string& repository, const std::vector<std::string>& others) {
    const fake::TemporaryDirectory directory;
    write_file("c/etc/eclipse/t", repository + "\torg.example.one.feature.group\n");
    for (const std::string& other : others) write_file("c/" + other + "/content.xml", content_of_one);
    const Findings findings = findings_in("c");
    const bool is_asked = !findings.empty() && findings[0].fix.starts_with("write ");
    return is_asked ? findings[0].fix.substr(6) : "";
  };
  EXPECT_EQ(fix_with("sites/alhpa", {"sites/alpha", "sites/alphabet", "sites/beta"}), "\"sites/alpha\"");
  EXPECT_EQ(fix_with("sites/beta", {"sites/beta1", "sites/beta2"}), "");
  EXPECT_EQ(fix_with("sites/beta", {"sites/beta1", "sites/beta22"}), "\"sites/beta1\"");
  EXPECT_EQ(fix_with("sites/beta", {"old/beta", "new/beta", "sites/beta1"}), "\"sites/beta1\"");
  EXPECT_EQ(fix_with("sites/a", {"sites/b"}), "");
  EXPECT_EQ(fix_with("sites/alpha-1.0.0", {"sites/alpha-1.1.0"}), "\"sites/alpha-1.1.0\"");
  EXPECT_EQ(fix_with("sites/gamma", {"sites/alpha", "sites/beta"}), "");
  std::vector<std::string> many;
  for (int i = 0; i < 101; ++i)
    many.push_back("sites/" + std::string(1, static_cast<char>('a' + i % 26)) + std::to_string(i * 1111));
  EXPECT_EQ(fix_with("site/a0", many), "");
  many.pop_back();
  EXPECT_EQ(fix_with("site/a0", many), "\"sites/a0\"");
}

/// The only finding's "RULE: MESSAGE | FIX" in the component c, whose descriptor has this line.
std::string only_finding(const std::string& line) {
  write_file("c/etc/eclipse/t", line + "\n");
  const Findings findings = findings_in("c");
  if (findings.size() != 1) return std::to_string(findings.size()) + " findings";
  return std::string(findings[0].rule->name) + ": " + findings[0].message + " | " + findings[0].fix;
}

TEST(Findings, NameTheRepositoriesThatThereAre) {
  const fake::TemporaryDirectory directory;
  const std::string missing =
      "repository-missing: repository does not exist: " + std::filesystem::absolute("c/sites/b").string() + " | ";
  const std::string ship = "ship the repository with the component, or correct the path";
  const std::string line = "sites/b\torg.example.one.feature.group";
  EXPECT_EQ(only_finding(line), missing + ship);
  write_file("c/sites/a/content.xml", content_of_one);
  EXPECT_EQ(only_finding(line), missing + ship + "; the component has \"sites/a\"");
  write_file("c/etc/eclipse/u", "sites/a\torg.example.one.feature.group\n");
  EXPECT_EQ(only_finding("sites/b\torg.example.two.feature.group"), missing + ship) << "that one lacks the feature";
}

TEST(Findings, NameTheTargetOfADanglingRepository) {
  const fake::TemporaryDirectory directory;
  std::filesystem::create_directories("c/sites");
  std::filesystem::create_symlink("/missing/build", "c/sites/a");
  for (const std::string path : {"sites/a", "sites/a/repository"}) {
    EXPECT_EQ(only_finding(path + "\torg.example.one.feature.group"),
              "repository-missing: repository does not exist: " + std::filesystem::absolute("c/" + path).string() +
                  "; it is, or is below, a dangling symlink to \"/missing/build\" | "
                  "ship the repository itself with the component instead of the symlink");
  }
}

TEST(Findings, NameTheRepositoryOfItsParts) {
  const fake::TemporaryDirectory directory;
  write_file("c/site/content.xml", content_of_one);
  write_file("c/site/features/one.jar", "jar");
  const std::string feature = "\torg.example.one.feature.group";
  EXPECT_EQ(only_finding("site/features" + feature),
            "repository-without-metadata: \"site/features\" is not a p2 repository: it has no content.jar, no content.xml and "
            "no composite of them | write the path of the repository, \"site\"");
  EXPECT_EQ(only_finding("site/features/one.jar" + feature),
            "archive-not-recognised: \"site/features/one.jar\" is a file of a repository | write the path of the repository, "
            "\"site\"");
  std::filesystem::rename("c/site/content.xml", "c/site/Content.xml");
  EXPECT_EQ(only_finding("site" + feature),
            "repository-without-metadata: \"site\" is not a p2 repository: it has no content.jar, no content.xml and no "
            "composite of them; names are case-sensitive | rename \"Content.xml\" to \"content.xml\"");
}

TEST(Findings, SayWhatToWriteInAComposite) {
  const fake::TemporaryDirectory directory;
  write_file("c/sites/a/content.xml", content_of_one);
  write_file("c/sites/b.zip", "PK");
  const auto fix_of_child = [](const std::string& location) {
    write_file("c/all/compositeContent.xml",
               "<repository><children><child location='" + location + "'/></children></repository>");
    write_file("c/etc/eclipse/t", "all\torg.example.one.feature.group\n");
    std::vector<std::string> fixes;
    for (const Finding& finding : findings_in("c")) {
      if (finding.rule->name == std::string("repository-not-loadable")) fixes.push_back(finding.fix);
    }
    return fixes;
  };
  EXPECT_EQ(fix_of_child("../Sites/a"), Texts{"write \"../sites/a\" in the composite"});
  EXPECT_EQ(fix_of_child("..\\sites\\a"), Texts{"write \"../sites/a\" in the composite"});
  EXPECT_EQ(fix_of_child("../sites/b.zip"), Texts{"unpack the archive, and write the path of its directory in the composite"});
  EXPECT_EQ(fix_of_child("../sites/c"), Texts{"ship that repository, too, or remove it from the composite"});
}

TEST(Findings, ByteOrderMarksMayBeInAnyLine) {
  const std::string header = "\xEF\xBB\xBFRepository\tFeature\n";
  const std::string line = "s\tx.y.feature.group\n";
  EXPECT_EQ(findings_in_lines(line + header + line), (Texts{"t:2:1+3 byte-order-mark", "t:3:1+19 duplicate-line"}));
  EXPECT_EQ(findings_in_lines("\xEF\xBB\xBF# no data\n" + line), Texts{"t:1:1+3 byte-order-mark"});
  EXPECT_EQ(findings_in_lines(line + "\xEF\xBB\xBF# no data\n"), Texts());
}

TEST(Findings, BackslashAndLetterAreNoTab) {
  EXPECT_EQ(findings_in_lines("sites/a\\torg.example.one.feature.group\ns\tx.y.feature.group\n"),
            Texts{"t:1:1+38 line-without-tab"});
  EXPECT_EQ(findings_in_lines("Repository\\tFeature\ns\tx.y.feature.group\n"), Texts{"t:1:1+19 line-without-tab"});
}

TEST(Findings, MessagesAndFixesArePrintable) {
  const fake::TemporaryDirectory directory;
  write_file("c\x1B/etc/eclipse/t", "site\torg.example.one.feature.group\n");
  Texts messages;
  for (const Finding& finding : findings_in("c\x1B")) {
    EXPECT_EQ(finding.message, eclipse_base::printable(finding.message));
    EXPECT_EQ(finding.fix, eclipse_base::printable(finding.fix));
    if (finding.rule->name == "repository-missing") messages.push_back(finding.message);
  }
  EXPECT_EQ(messages, Texts{"repository does not exist: " + std::filesystem::absolute("c").string() + "\\x1B/site"});
}

TEST(Findings, DirectoryWithAColonIsNoUrl) {
  const fake::TemporaryDirectory directory;
  write_file("c/rel:1/a/content.xml", content_of_one);
  EXPECT_EQ(only_finding("rel:1/a\torg.example.one.feature.group"), "0 findings");
}

TEST(Findings, NameWhatIsBetweenRepositories) {
  const auto message_of = [](const std::string& repositories) {
    const fake::TemporaryDirectory directory;
    write_file("t", repositories + "\tx.y.feature.group\n");
    const Findings findings = findings_in("t");
    return findings.size() == 1 ? findings[0].message : "";
  };
  EXPECT_EQ(message_of("sites/a;sites/b"), "2 repositories in one line, with \";\" between them");
  EXPECT_EQ(message_of("a.zip, b.zip ,c.zip"), "3 repositories in one line, with \",\" between them");
  EXPECT_EQ(message_of("sites/a sites/b"), "2 repositories in one line, with a space between them");
  EXPECT_EQ(message_of("my sites/a"), "space in the repository");
  EXPECT_EQ(message_of("my tools/a your tools/b"), "space in the repository");
  EXPECT_EQ(message_of("sites/a;b"), "shell metacharacter ';' in the repository");
}

TEST(Findings, NameAFeatureBeforeItsRepository) {
  const std::vector<std::pair<std::string, std::string>> lines = {
      {"org.example.one.feature.group\tsites/one", "columns-swapped"},
      {"org.example.one\tsites/one", "columns-swapped"},
      {"org.example.one.feature.group\tsite", "columns-swapped"},
      {"org.example.one.feature.group\t1.0.0", "feature-without-group-suffix"}};
  for (const auto& [line, rule] : lines) {
    const Texts found = findings_in_lines(line + "\n");
    ASSERT_EQ(found.size(), 1U) << line;
    EXPECT_TRUE(found[0].ends_with(rule)) << found[0];
  }
}

TEST(Findings, SayWhatALineWithARepositoryAloneLacks) {
  const std::string line = "sites/one\torg.example.one.feature.group\n";
  const auto advice_with = [&](const std::string& before, const std::string& more, const std::string& content) {
    const fake::TemporaryDirectory directory;
    write_file("c/etc/eclipse/t", before + more + "\n");
    write_file("c/sites/one/content.xml", content_of_one);
    write_file("c/sites/lib/content.xml", "<repository><units>" + content + "</units></repository>");
    const Findings findings = findings_in("c");
    const bool is_one = findings.size() == 1 && findings[0].rule->name == "feature-column-missing";
    return is_one ? findings[0].message + ": " + findings[0].fix : "";
  };
  const std::string message = "the feature column is missing after \"sites/lib\": ";
  const std::string bundle = "<unit id='org.example.lib' version='1.0.0'/>";
  const std::string two = "<unit id='org.example.two.feature.group' version='1.0.0'/>";
  const std::string three = "<unit id='org.example.three.feature.group' version='1.0.0'/>";
  const std::string any =
      "write a tab and the feature after the repository; or end the line in two tabs, if features of other lines require units "
      "of "
      "the repository";
  for (const std::string more : {"sites/lib", "sites/lib\t", " sites/lib\r"}) {
    EXPECT_EQ(advice_with(line, more, bundle),
              message +
                  "end the line in two tabs: the repository has no features, only units that features of other lines may "
                  "require");
    EXPECT_EQ(advice_with(line, more, bundle + two), message + "write a tab and org.example.two.feature.group");
    EXPECT_EQ(advice_with(line, more, two + three), message + any);
  }
  EXPECT_EQ(advice_with("", "sites/lib\n", bundle), "") << "then there is also no data line";
  EXPECT_EQ(advice_with(line, "sites/lip", bundle), "the feature column is missing after \"sites/lip\": " + any);
  EXPECT_EQ(advice_with(line, "sites/lib\t\t", bundle), "");
}

TEST(Findings, OfDataWithTheWordsOfAHeaderAreOthers) {
  const Texts suffix = {"t:1:10+7 feature-without-group-suffix"};
  EXPECT_EQ(findings_in_lines("site.zip\tfeature\n"), suffix);
  EXPECT_EQ(findings_in_lines("p2/repository\torg.example.one.feature.group\n"), Texts());
  EXPECT_EQ(findings_in_lines("site\tp.plugin.feature.group\n"), Texts());
  EXPECT_EQ(findings_in_lines("site\tp.feature.group\n"), Texts());
  EXPECT_EQ(findings_in_lines("./Repository\t\"org.example.one.feature.group\"\n"), Texts{"t:1:14+31 quoted-column"});
  EXPECT_EQ(findings_in_lines("#repository\torg.example.one.feature.group\n"), Texts{"t:1:1+11 comment-is-data"});
}

TEST(Findings, NameTheFeatureThatContainsABundle) {
  const fake::TemporaryDirectory directory;
  const auto write_site = [](const std::string& more) {
    write_file("c/site/content.xml",
               "<repository><units><unit id='a.feature.group' version='1.0.0'><properties><property "
               "name='org.eclipse.equinox.p2.type.group' value='true'/></properties><requires><required "
               "namespace='org.eclipse.equinox.p2.iu' name='a.plugin' range='[1.0.0,1.0.0]'/></requires></unit>"
               "<unit id='a.plugin' version='1.0.0'/>" +
                   more + "</units></repository>");
  };
  write_file("c/etc/eclipse/t", "site\ta.plugin\n");
  write_site("");
  const Findings findings = findings_in("c");
  ASSERT_EQ(summary_of(findings), Texts({"c/etc/eclipse/t:1:6+8 unit-not-a-feature"}));
  EXPECT_EQ(findings[0].message, "\"a.plugin\" is not a feature; \"a.feature.group\" contains it");
  EXPECT_EQ(findings[0].fix, "write a.feature.group");
}

TEST(Findings, NameTheHigherOfTwoVersions) {
  const fake::TemporaryDirectory directory;
  const auto content = [](const std::string& version) {
    return "<repository><units><unit id='a.b.feature.group' version='" + version + "'/></units></repository>";
  };
  write_file("c/etc/eclipse/t", "one\ta.b.feature.group\ntwo\ta.b.feature.group\n");
  for (const std::string version : {"1.9.0", "1.10.0", "1.11.0"}) {
    write_file("c/one/content.xml", content("1.10.0"));
    write_file("c/two/content.xml", content(version));
    const Findings findings = findings_in("c", {.disabled = {"unused-repository"}, .suppressions = {}});
    ASSERT_EQ(summary_of(findings), Texts({"c/etc/eclipse/t:2:5+17 feature-from-two-repositories"}));
    EXPECT_EQ(findings[0].severity, version == "1.10.0" ? Severity::note : Severity::warning);
    const std::string winner = version == "1.9.0"    ? ": 1.10.0 of c/one wins over 1.9.0 of c/two"
                               : version == "1.11.0" ? ": 1.11.0 of c/two wins over 1.10.0 of c/one"
                                                     : "";
    EXPECT_EQ(findings[0].message, "\"a.b.feature.group\" is also in c/etc/eclipse/t:1, with another repository" + winner);
  }
}

TEST(Findings, NameADirectoryInAnotherUnicodeNormalization) {
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/t",
             "pr\xC3\xBC"
             "fer\torg.example.one.feature.group\n");
  write_file(
      "c/pru\xCC\x88"
      "fer/content.xml",
      content_of_one);
  const auto missing = [] {
    for (const Finding& finding : findings_in("c")) {
      if (finding.rule->name == "repository-missing") return finding.fix;
    }
    return std::string("none");
  };
  EXPECT_EQ(missing(),
            "rename it to \"pr\xC3\xBC"
            "fer\", as the descriptor file has it");
  std::filesystem::rename(
      "c/pru\xCC\x88"
      "fer",
      "c/pr\xC3\xB6"
      "fer");
  EXPECT_EQ(missing(),
            "write \"pr\xC3\xB6"
            "fer\"");
}

TEST(Findings, FeaturesOfARepositoryThatCannotBeExaminedAreNotLookedUp) {
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/t", "site\torg.example.two.feature.group\nremote\torg.example.three.feature.group\n");
  write_file("c/site/content.xml", content_of_one);
  write_file("c/remote/compositeContent.xml",
             "<repository><children><child location='https://example.org/site'/></children></repository>");
  const Findings findings = findings_in("c");
  ASSERT_EQ(summary_of(findings),
            Texts({"c/etc/eclipse/t:1:6+29 feature-not-found", "c/etc/eclipse/t:2:1+6 repository-not-examined"}));
  EXPECT_EQ(findings[0].severity, Severity::warning);
  EXPECT_EQ(findings[1].message, "cannot examine all of \"remote\": its child https://example.org/site is not on this disk");
}

TEST(Findings, SpaceInTheComponentsDirectoryIsReportedForADirectory) {
  const fake::TemporaryDirectory directory;
  write_file("my tools/etc/eclipse/t", "site\torg.example.one.feature.group\n");
  write_file("my tools/site/content.xml", content_of_one);
  const Findings findings = findings_in("my tools");
  ASSERT_EQ(summary_of(findings), Texts({"my tools/etc/eclipse/t:1:1+4 space-in-repository"}));
  EXPECT_EQ(findings[0].message, "space in the component's directory, \"" + directory.path() + "/my tools\"");
}

TEST(Findings, OrdersApplyToAllFilesOfAComponent) {
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/a", "site\torg.example.one.feature.group\t\t1\n");
  write_file("c/etc/eclipse/b", "site\torg.example.one.plugin\t\t1\n");
  write_file("c/site/content.xml", content_of_one);
  const Findings findings = findings_in("c", {.disabled = {"unit-not-a-feature"}, .suppressions = {}});
  ASSERT_EQ(summary_of(findings), Texts({"c/etc/eclipse/b:1:30+1 order-taken"}));
  EXPECT_EQ(findings[0].message, "order 1 is already taken by c/etc/eclipse/a:1; this line gets 2");
}

TEST(Findings, ManyRecordsHaveTheirOwnLocations) {
  const fake::TemporaryDirectory directory;
  std::string content;
  Texts expected;
  for (int i = 1; i <= 1000; ++i) {
    const bool is_odd = i % 100 == 0;
    content += "s\tx.f" + std::to_string(i) + ".feature.group\t\t" + (is_odd ? "7x" : std::to_string(10 * i)) + "\n";
    const std::string column = std::to_string(std::to_string(i).size() + 22);
    if (is_odd) expected.push_back("t:" + std::to_string(i) + ":" + column + "+2 order-trailing-characters");
  }
  write_file("t", content);
  EXPECT_EQ(summary_of(findings_in("t", {.disabled = {"order-as-dependency"}, .suppressions = {}})), expected);
}

TEST(Findings, DirectoryThatCannotBeSearchedIsAnError) {
  const fake::TemporaryDirectory directory;
  write_file("c/closed/t", "");
  std::filesystem::permissions("c/closed", std::filesystem::perms(0));
  try {
    findings_in("c");
    ADD_FAILURE() << "no error";
  } catch (const eclipse_base::FileError& error) {
    EXPECT_STREQ(error.what(), "c: cannot be searched: Permission denied; make it and the directories in it readable");
  }
  std::filesystem::permissions("c/closed", std::filesystem::perms(0755));
}

TEST(Findings, MissingInputIsAnError) {
  const fake::TemporaryDirectory directory;
  ASSERT_EQ(mkfifo("pipe", 0644), 0);
  for (const auto& [input, message] : std::map<std::string, std::string>{
           {"missing", "does not exist; give a descriptor file, a directory of components or a session file (.json)"},
           {"missing.json", "cannot be read: No such file or directory; give the path of a JSON file"},
           {"pipe",
            "is not a file or directory; give a descriptor file, a directory of components or a session file (.json)"}}) {
    try {
      findings_in(input);
      ADD_FAILURE() << "no error of " << input;
    } catch (const eclipse_base::FileError& error) {
      EXPECT_EQ(error.what(), input + ": " + message);
    }
  }
}

TEST(Findings, CarriageReturnsEndLinesUnlessTheyEndTheFileOrThereAreLineFeeds) {
  const Texts ended = {"t cr-line-endings"};
  const Texts one_record = {"t:1:18+1 crlf-line-endings"};
  EXPECT_EQ(findings_in_lines("s\ta.feature.group"), Texts());
  EXPECT_EQ(findings_in_lines("s\ta.feature.group\r"), one_record);
  EXPECT_EQ(findings_in_lines("s\ta.feature.group\r\n"), one_record);
  EXPECT_EQ(findings_in_lines("s\ta.feature.group\rx"), ended);
  EXPECT_EQ(findings_in_lines("\rs\ta.feature.group"), ended);
}

/// A line that names an archive, whose repository lists a bundle with this jar, and its properties in artifacts.xml.
std::string message_for_packed_jar(const std::string& jar, const std::string& properties) {
  const std::string content =
      "<repository><units><unit id='org.example.one.feature.group' version='1.0.0'>"
      "<properties><property name='org.eclipse.equinox.p2.type.group' value='true'/></properties>"
      "<requires><required namespace='org.eclipse.equinox.p2.iu' name='org.example.one.plugin'/></requires></unit>"
      "<unit id='org.example.one.plugin' version='1.0.0'/></units></repository>";
  const std::string artifacts =
      "<repository><mappings><rule filter='(&amp; (classifier=osgi.bundle))' "
      "output='${repoUrl}/plugins/${id}_${version}.jar'/></mappings><artifacts>"
      "<artifact classifier='osgi.bundle' id='org.example.one.plugin' version='1.0.0'><properties>" +
      properties + "</properties></artifact></artifacts></repository>";
  const std::string message = first_message("site.zip\torg.example.one.feature.group\n",
                                            {{.name = "tools/site.zip",
                                              .entries = {{"content.xml", content},
                                                          {"artifacts.xml", artifacts},
                                                          {"plugins/org.example.one.plugin_1.0.0.jar", jar}}}},
                                            jar.size() < eclipse_base::largest::mebibyte ? Severity::error : Severity::note);
  return message.substr(0, message.find(" FIX "));
}

TEST(Findings, AreOfTheJarsInAnArchiveToo) {
  const std::string jar = std::string("PK\x05\x06") + std::string(18, '\0');
  const std::string begin = "\"site.zip\": plugins/org.example.one.plugin_1.0.0.jar ";
  EXPECT_EQ(message_for_packed_jar(jar, "<property name='download.md5' value='76cdb2bad9582d23c1f6f4d868218d6c'/>"), "none");
  EXPECT_EQ(message_for_packed_jar(jar, "<property name='download.md5' value='00'/>"),
            begin + "does not have the listed checksum: MD5 00, but 76cdb2bad9582d23c1f6f4d868218d6c");
  EXPECT_EQ(message_for_packed_jar("PK and no end", ""),
            begin + "is cut off: the central directory of a zip archive is missing at its end");
  EXPECT_EQ(
      message_for_packed_jar(std::string(3 * eclipse_base::largest::mebibyte, '\0'), ""),
      "cannot examine all of \"site.zip\": plugins/org.example.one.plugin_1.0.0.jar unpacks to more than 250 times its size");
}

/// The rules broken by a session with an instance that has the bundle b in version 3.1.0, and with a feature that has these
/// <required> elements and these other units beside it.
Texts rules_for_requirements(const std::string& required, const std::string& units, const std::string& more = "") {
  const fake::TemporaryDirectory directory;
  const auto rule_with_instance =
      std::find_if(rules().begin(), rules().end(), [](const Rule& rule) { return rule.name == "other-version-installed"; });
  Sample sample = rule_with_instance->good;
  for (SampleFile& file : sample.files) {
    if (file.name == "tools/site/content.xml") {
      file.content = "<repository>" + more +
                     "<units><unit id='org.example.one.feature.group' version='2.0.0'><properties>"
                     "<property name='org.eclipse.equinox.p2.type.group' value='true'/></properties><requires>" +
                     required + "</requires></unit>" + units + "</units></repository>";
    }
    if (file.name.ends_with(".profile")) file.content = "<profile><units><unit id='b' version='3.1.0'/></units></profile>";
  }
  write_sample(sample);
  Texts rules;
  for (const Finding& finding : findings_in(sample.input)) rules.emplace_back(finding.rule->name);
  return rules;
}

std::string required(const std::string& name, const std::string& range, const std::string& more = "/>",
                     const std::string& name_space = "osgi.bundle") {
  return "<required namespace='" + name_space + "' name='" + name + "' range='" + range + "'" + more;
}

TEST(Requirements, ThatNothingMeetsAreFound) {
  const std::string a = "<unit id='a' version='1.9.0'/>";
  const Texts unmet = {"requirement-not-met"};
  EXPECT_EQ(rules_for_requirements(required("a", "[2.0.0,3.0.0)"), a), unmet);
  EXPECT_EQ(rules_for_requirements(required("a", "2.0.0"), a), unmet);
  EXPECT_EQ(rules_for_requirements(required("b", "[4.0.0,5.0.0)"), ""), unmet) << "installed in another version";
  EXPECT_EQ(
      rules_for_requirements(required("a", "1.0.0"), "<unit id='a' version='1.9.0'><filter>(osgi.ws=win32)</filter></unit>"),
      unmet);
  const std::string needs_b = "<unit id='a' version='1.9.0'><requires>" + required("b", "[4.0.0,5.0.0)") + "</requires></unit>";
  EXPECT_EQ(rules_for_requirements(required("a", "1.0.0"), needs_b), unmet) << "by a bundle that must be taken";
}

std::string included(const std::string& name, const std::string& more = "/>") {
  return required(name, "[2.0.0,2.0.0]", more, "org.eclipse.equinox.p2.iu");
}

TEST(Requirements, OnWhatAFeatureIncludesMustBeMet) {
  const std::string a = "<unit id='a' version='1.9.0'/>";
  EXPECT_EQ(rules_for_requirements(included("nowhere"), a), Texts{"requirement-not-met"});
  EXPECT_EQ(rules_for_requirements(included("nowhere", " optional='true'/>"), a), Texts());
  EXPECT_EQ(
      rules_for_requirements(included("nowhere", "><filter>(osgi.os=win32)</filter></required>") + required("b", "0.0.0"), a),
      Texts());
  EXPECT_EQ(rules_for_requirements(required("nowhere", "[2.0.0,2.0.0]"), a), Texts()) << "another unit may have the bundle";
  const std::string bundle_with_pin = "<unit id='a' version='1.9.0'><requires>" + included("nowhere") + "</requires></unit>";
  EXPECT_EQ(rules_for_requirements(required("a", "1.0.0"), bundle_with_pin), Texts()) << "a bundle includes nothing";
}

TEST(Requirements, ThatMayBeMetAreNotReported) {
  const std::string a = "<unit id='a' version='1.9.0'/>";
  const std::string range = "[2.0.0,3.0.0)";
  for (const auto& [requirement, units] : std::vector<std::pair<std::string, std::string>>{
           {required("a", "[1.0.0,2.0.0)"), a},
           {required("b", "[3.0.0,4.0.0)"), "<unit id='b' version='5.0.0'/>"},
           {required("nowhere", range), a},
           {required("a", range, " optional='true'/>"), a},
           {required("a", range, " min='0'/>"), a},
           {required("a", range, " min='0' max='0'/>"), a},
           {required("a", range, " greedy='false'/>"), a},
           {required("a", range, "><filter>(osgi.os=win32)</filter></required>") + required("b", "0.0.0"), a},
           {required("a", range, "><filter>(osgi.nl=de)</filter></required>"), a},
           {required("JavaSE", range, "/>", "osgi.ee"), "<unit id='JavaSE' version='1.0.0'/>"},
           {required("a.jre.javase", range), "<unit id='a.jre.javase' version='1.0.0'/>"},
           {required("a", range), a + "<unit id='c' version='1'><provides><provided namespace='osgi.bundle' name='a' "
                                      "version='2.1.0'/></provides></unit>"},
           {required("a", range), a + "<unit id='patch' version='1'><changes><change><from>" + required("a", range) +
                                      "</from></change></changes></unit>"},
           // Another version of the bundle would do.
           {required("a", "1.0.0"),
            a + "<unit id='a' version='1.9.1'><requires>" + required("b", "9") + "</requires></unit>"}}) {
    EXPECT_EQ(rules_for_requirements(requirement, units), Texts()) << requirement << units;
  }
}

TEST(Requirements, ThatOnlyAReferencedRepositoryMayMeetAreFound) {
  EXPECT_EQ(rules_for_requirements(required("a", "2.0.0"), "<unit id='a' version='1.9.0'/>",
                                   "<references><repository uri='file:/elsewhere' type='0' options='1'/></references>"),
            Texts({"requirement-not-met"}));
}

/// The findings in a component whose feature requires "lib" 1.0.0, with this repository beside its own.
Findings findings_with_repository_beside(const std::string& place, const std::string& versions_of_lib,
                                         const std::string& lines = "") {
  write_file("c/etc/eclipse/t", "sites/one\torg.example.one.feature.group\n" + lines);
  write_file("c/sites/one/content.xml",
             "<repository><units><unit id='org.example.one.feature.group' version='1.0.0'><requires>" +
                 required("lib", "[1.0.0,2.0.0)") + required("platform", "0.0.0") + "</requires></unit></units></repository>");
  write_file("c/" + place + "/content.xml",
             "<repository><units><unit id='lib' version='" + versions_of_lib + "'/></units></repository>");
  return findings_in("c");
}

/// The severities of the findings in a component, with no instance, whose feature requires this unit from 2.0.0 on, while its
/// repository has that in 1.9.0.
std::vector<Severity> severities_without_instance(const std::string& feature, const std::string& name) {
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/t", "site\t" + feature + "\n");
  write_file("c/site/content.xml", "<repository><units><unit id='" + feature + "' version='1.0.0'><requires>" +
                                       required(name, "[2.0.0,3.0.0)") + "</requires></unit><unit id='" + name +
                                       "' version='1.9.0'/></units></repository>");
  std::vector<Severity> severities;
  for (const Finding& finding : findings_in("c")) {
    if (finding.rule->name == "requirement-not-met") severities.push_back(finding.severity);
  }
  return severities;
}

TEST(Requirements, OfTheProductItselfAreFoundWithoutAnInstance) {
  const std::vector<Severity> warning = {Severity::warning};
  const std::vector<Severity> none;
  EXPECT_EQ(severities_without_instance("org.example.one.feature.group", "org.example.base"), warning);
  EXPECT_EQ(severities_without_instance("org.example.one.feature.group", "org.example"), warning);
  EXPECT_EQ(severities_without_instance("org.example.one.feature.group", "org.examples.base"), none);
  EXPECT_EQ(severities_without_instance("org.example.one.feature.group", "com.example.base"), none);
  EXPECT_EQ(severities_without_instance("org.eclipse.one.feature.group", "org.eclipse.base"), none);
  EXPECT_EQ(severities_without_instance("one", "one_base"), none);
}

TEST(Requirements, OfBundlesOfAnotherVendorAreNotFoundWithoutAnInstance) {
  const auto rules_without_instance = [](const std::string& vendor) {
    const fake::TemporaryDirectory directory;
    write_file("c/etc/eclipse/t", "site\torg.example.one.feature.group\n");
    write_file("c/site/content.xml", "<repository><units><unit id='org.example.one.feature.group' version='1.0.0'><requires>" +
                                         required(vendor + ".a", "0.0.0") + "</requires></unit><unit id='" + vendor +
                                         ".a' version='1.0.0'><requires>" + required(vendor + ".b", "[2.0.0,3.0.0)") +
                                         "</requires></unit><unit id='" + vendor +
                                         ".b' version='1.9.0'/></units></repository>");
    return summary_of(findings_in("c"));
  };
  EXPECT_EQ(rules_without_instance("org.example"), Texts({"c/etc/eclipse/t:1:6+29 requirement-not-met"}));
  EXPECT_EQ(rules_without_instance("org.other"), Texts()) << "the instance may have another version of all that it makes";
}

TEST(Requirements, OnWhatAFeatureIncludesOfItsVendorAreFoundWithoutAnInstance) {
  const auto messages_for = [](const std::string& unit) {
    const fake::TemporaryDirectory directory;
    write_file("c/etc/eclipse/t", "site\torg.example.one.feature.group\n");
    write_file("c/site/content.xml",
               "<repository><units><unit id='org.example.one.feature.group' version='1.0.0'><properties>"
               "<property name='org.eclipse.equinox.p2.type.group' value='true'/></properties><requires>" +
                   included(unit) + "</requires></unit></units></repository>");
    Texts messages;
    for (const Finding& finding : findings_in("c")) messages.push_back(finding.message + " FIX " + finding.fix);
    return messages;
  };
  EXPECT_EQ(messages_for("org.example.plugin"),
            Texts({"\"org.example.one.feature.group/1.0.0\" requires version 2.0.0 of \"org.example.plugin\", which no listed "
                   "repository has FIX publish it in a repository of the component, and name that in a line"}));
  EXPECT_EQ(messages_for("org.other.plugin"), Texts());
}

TEST(Requirements, ThatARepositoryWithoutALineMeetsAreFound) {
  const fake::TemporaryDirectory directory;
  const Findings findings = findings_with_repository_beside("sites/lib", "1.2.0");
  ASSERT_EQ(summary_of(findings), Texts({"c/etc/eclipse/t:1:11+29 requirement-not-met"}));
  EXPECT_EQ(findings[0].message,
            "\"org.example.one.feature.group/1.0.0\" requires a version in [1.0.0,2.0.0) of \"lib\", which no listed "
            "repository has; \"sites/lib\" has it, but no line names this repository");
  EXPECT_EQ(findings[0].fix, "add a line with \"sites/lib\" and two tabs");
  EXPECT_EQ(findings[0].severity, Severity::warning) << "the instance may have it";
}

TEST(Requirements, ThatNoRepositoryOfTheComponentMeetsMayBeMetByTheInstance) {
  const fake::TemporaryDirectory directory;
  EXPECT_EQ(summary_of(findings_with_repository_beside("sites/lib", "2.0.0")), Texts());
  EXPECT_EQ(summary_of(findings_with_repository_beside("../other/sites/lib", "1.2.0")), Texts());
  EXPECT_EQ(summary_of(findings_with_repository_beside("sites/lib", "1.2.0", "sites/lib\t\t\n")), Texts());
}

/// An instance may have another version, unless only one will do.
TEST(Requirements, AreComparedWithoutAnInstanceWhenOneVersionIsRequired) {
  const auto severities_for = [](const std::string& range) {
    const fake::TemporaryDirectory directory;
    write_file("tools/etc/eclipse/tools.txt", "site\torg.example.one.feature.group\n");
    write_file("tools/site/content.xml",
               "<repository><units><unit id='org.example.one.feature.group' version='1.0.0'><requires>" + required("a", range) +
                   "</requires></unit><unit id='a' version='1.9.0'/></units></repository>");
    std::vector<Severity> severities;
    for (const Finding& finding : findings_in("tools")) severities.push_back(finding.severity);
    return severities;
  };
  EXPECT_EQ(severities_for("[1.8.0,1.8.0]"), std::vector<Severity>{Severity::warning});
  EXPECT_EQ(severities_for("[1.9.0,1.9.0]"), std::vector<Severity>());
  EXPECT_EQ(severities_for("[2.0.0,3.0.0)"), std::vector<Severity>());
}

/// What is said of two features, of which each has these <required> elements, beside two versions of a bundle.
Texts messages_for_singletons(const std::string& by_one, const std::string& by_two, const std::string& attributes_of_first = "",
                              const std::string& attributes_of_second = "", const std::string& more = "") {
  const auto feature = [](const std::string& name, const std::string& requires_these) {
    return "<unit id='" + name + "' version='1.0.0' singleton='false'>" +
           "<properties><property name='org.eclipse.equinox.p2.type.group' value='true'/></properties><requires>" +
           requires_these + "</requires></unit>";
  };
  const fake::TemporaryDirectory directory;
  write_file("c/etc/eclipse/t", "site\tx.one.feature.group\nsite\tx.two.feature.group\n");
  write_file("c/site/content.xml", "<repository><units>" + feature("x.one.feature.group", by_one) +
                                       feature("x.two.feature.group", by_two) + "<unit id='a' version='1.0.0'" +
                                       attributes_of_first + "/><unit id='a' version='2.0.0'" + attributes_of_second + "/>" +
                                       (more.empty() ? "" : feature("part", more)) + "</units></repository>");
  Texts messages;
  for (const Finding& finding : findings_in("c")) {
    if (finding.rule->name == "singleton-in-two-versions") messages.push_back(finding.message);
  }
  return messages;
}

TEST(Singletons, InTwoVersionsAreFoundWhicheverFeatureHasThem) {
  const auto included = [](const std::string& name, const std::string& range) {
    return required(name, range, "/>", "org.eclipse.equinox.p2.iu");
  };
  const std::string first = included("a", "[1.0.0,1.0.0]");
  const std::string second = included("a", "[2.0.0,2.0.0]");
  const std::string part = included("part", "[1.0.0,1.0.0]");
  const std::string no_singleton = " singleton='false'";
  const Texts rivals = {
      "\"x.two.feature.group/1.0.0\" includes a/2.0.0, but \"x.one.feature.group/1.0.0\" (c/etc/eclipse/t:1) "
      "includes version 1.0.0, and an instance can have only one of them"};
  EXPECT_EQ(messages_for_singletons(first, second), rivals);
  EXPECT_EQ(messages_for_singletons(first, second, no_singleton), rivals) << "one that is a singleton suffices";
  EXPECT_EQ(messages_for_singletons(first, second, "", no_singleton), rivals);
  EXPECT_EQ(messages_for_singletons(first, second, no_singleton, no_singleton), Texts());
  EXPECT_EQ(messages_for_singletons(first, part, "", "", second), rivals) << "through a feature that it includes";
  EXPECT_EQ(messages_for_singletons(first, part, "", "", first), Texts());
  EXPECT_EQ(messages_for_singletons(first, included("a", "[1.0.0,2.0.0]")), Texts()) << "the director has a choice";
  EXPECT_EQ(messages_for_singletons("", first + second),
            Texts({"\"x.two.feature.group/1.0.0\" includes both a/1.0.0 and a/2.0.0, and an instance can "
                   "have only one of them"}));
}

/// Whether a rule still finds something in its bad sample, whose session has `to` in place of `from`.
bool is_found_with(const std::string& rule, const std::string& from, const std::string& to) {
  Sample sample = find_rule(rule)->bad;
  for (SampleFile& file : sample.files) file.content = eclipse_base::replaced(file.content, from, to);
  const fake::TemporaryDirectory directory;
  write_sample(sample);
  const Findings findings = findings_in(sample.input);
  return std::any_of(findings.begin(), findings.end(), [&](const Finding& finding) { return finding.rule->name == rule; });
}

TEST(Findings, MinimumVersionIsOneOfAnEclipse) {
  for (const char* const version : {"2022-12", "26", "04.26", "v4", "x"})
    EXPECT_TRUE(is_found_with("minimum-version-of-another-kind", "2022-12", version)) << version;
  for (const char* const version : {"4", "4.26", "4.26.0.v2022", "9", "5.0"})
    EXPECT_FALSE(is_found_with("minimum-version-of-another-kind", "2022-12", version)) << version;
}

TEST(Findings, NamesOfVariablesMatchExactly) {
  for (const char* const name : {"CACHED_ECLIPSE_PATH", "Cashed_Eclipse_Path", "eclipse_bin", "ECLIPSE_MIN_VERSION"})
    EXPECT_TRUE(is_found_with("variable-misspelled", "CACHED_ECLIPSE_PATH", name)) << name;
  EXPECT_FALSE(is_found_with("variable-misspelled", "CACHED_ECLIPSE_PATH", "MY_OWN"));
}

/// What is said of a feature that includes the bundle a in version 2.0.0, where the unit "root", which was installed by name,
/// includes it in 1.0.0.
Texts messages_for_installed_singleton(const std::string& root, const std::string& attributes = "",
                                       const std::string& more = "", const std::string& attributes_of_installed = "") {
  const auto rule_with_instance =
      std::find_if(rules().begin(), rules().end(), [](const Rule& rule) { return rule.name == "other-version-installed"; });
  const auto includes_a = [](const std::string& version) {
    return "<requires>" + required("a", "[" + version + "," + version + "]", "/>", "org.eclipse.equinox.p2.iu") + "</requires>";
  };
  Sample sample = rule_with_instance->good;
  for (SampleFile& file : sample.files) {
    if (file.name == "tools/site/content.xml") {
      file.content =
          "<repository><units><unit id='org.example.one.feature.group' version='2.0.0'><properties>"
          "<property name='org.eclipse.equinox.p2.type.group' value='true'/></properties>" +
          includes_a("2.0.0") + "</unit><unit id='a' version='2.0.0'" + attributes + "/></units></repository>";
    }
    if (file.name.ends_with(".profile")) {
      file.content = "<profile><units><unit id='" + root + "' version='1.0.0'>" + includes_a("1.0.0") +
                     "</unit><unit id='a' version='1.0.0'" + attributes_of_installed + "/>" + more +
                     "</units><iusProperties><iuProperties id='" + root +
                     "' version='1.0.0'><properties><property name='org.eclipse.equinox.p2.type.root' value='true'/>"
                     "</properties></iuProperties></iusProperties></profile>";
    }
  }
  const fake::TemporaryDirectory directory;
  write_sample(sample);
  Texts messages;
  for (const Finding& finding : findings_in(sample.input)) {
    if (finding.rule->name == "singleton-in-two-versions") messages.push_back(finding.message + " FIX " + finding.fix);
  }
  return messages;
}

TEST(Singletons, OfInstalledFeaturesAreFound) {
  EXPECT_EQ(
      messages_for_installed_singleton("root"),
      Texts({"\"org.example.one.feature.group/2.0.0\" includes a/2.0.0, but \"root\", which was installed by name, requires "
             "version 1.0.0, and an instance can have only one of them FIX build the feature with this version of the "
             "bundle, or first remove or update \"root\""}));
  EXPECT_EQ(messages_for_installed_singleton("root", " singleton='false'").size(), 1U) << "the installed one is a singleton";
  EXPECT_EQ(messages_for_installed_singleton("root", " singleton='false'", "", " singleton='false'"), Texts());
  EXPECT_EQ(messages_for_installed_singleton("root", "", "<unit id='a' version='2.0.0'/>"), Texts()) << "it has both";
  EXPECT_EQ(messages_for_installed_singleton("org.example.one.feature.group"), Texts()) << "another rule reports the version";
}

TEST(Findings, ListedJarThatARemovalLeftMustBeThere) {
  const auto rule_with_instance =
      std::find_if(rules().begin(), rules().end(), [](const Rule& rule) { return rule.name == "other-version-installed"; });
  const auto messages_with = [&](const std::vector<SampleFile>& more) {
    Sample sample = rule_with_instance->good;
    for (SampleFile& file : sample.files) {
      if (file.name == "tools/site/content.xml") {
        file.content = "<repository><units><unit id='org.example.one.feature.group' version='1.0.0'><requires>" +
                       required("a", "0.0.0") + "</requires></unit><unit id='a' version='1.0.0'/></units></repository>";
      }
      if (file.name.ends_with(".profile")) file.content = "<profile><units><unit id='b' version='3.1.0'/></units></profile>";
    }
    sample.files.insert(sample.files.end(), more.begin(), more.end());
    const fake::TemporaryDirectory directory;
    write_sample(sample);
    Texts messages;
    for (const Finding& finding : findings_in(sample.input)) {
      if (finding.rule->name == "installed-file-missing") messages.push_back(finding.message + " FIX " + finding.fix);
    }
    for (std::string& message : messages) message = eclipse_base::replaced(message, directory.path(), "DIRECTORY");
    return messages;
  };
  const SampleFile list = {"ide/artifacts.xml",
                           "<repository><artifacts><artifact classifier='osgi.bundle' id='a' version='1.0.0'/>"
                           "</artifacts></repository>"};
  EXPECT_EQ(
      messages_with({list, {"ide/plugins/b_3.1.0.jar", ""}}),
      Texts({"DIRECTORY/ide/artifacts.xml lists a/1.0.0, which an earlier removal left, but its jar does not exist, so the "
             "director cannot install it FIX let p2 clear its list: run 'DIRECTORY/ide/eclipse' -application "
             "org.eclipse.equinox.p2.garbagecollector.application -profile IDE"}));
  EXPECT_EQ(messages_with({list, {"ide/plugins/a_1.0.0.jar", ""}}), Texts());
  EXPECT_EQ(messages_with({list}), Texts()) << "the bundles are elsewhere";
  EXPECT_EQ(messages_with({{"ide/plugins/b_3.1.0.jar", ""}}), Texts());
}

/// What is said of the session in the sample of the rule, where "site.zip" has these files now, and the instance has cached
/// `cached` of it.
Texts messages_for_cached(const std::map<std::string, std::string>& now, const SampleFile& cached,
                          const std::vector<SampleFile>& more = {}, const std::string& lines = "") {
  const std::string cache = "ide/p2/org.eclipse.equinox.p2.repository/cache/";
  const auto rule =
      std::find_if(rules().begin(), rules().end(), [](const Rule& each) { return each.name == "cached-metadata-outdated"; });
  Sample sample = rule->bad;
  for (SampleFile& file : sample.files) {
    if (file.name == "tools/site.zip") file.entries = now;
    if (file.name == "tools/etc/eclipse/tools.txt") file.content += lines;
    if (!file.cached_of.empty()) file = {.name = cache + cached.name, .content = cached.content, .cached_of = file.cached_of};
  }
  sample.files.insert(sample.files.begin(), more.begin(), more.end());
  const fake::TemporaryDirectory directory;
  write_sample(sample);
  Texts messages;
  for (const Finding& finding : findings_in(sample.input)) {
    if (finding.rule->name == rule->name)
      messages.push_back((finding.severity == Severity::error ? "! " : "? ") + finding.message);
  }
  return messages;
}

std::string messages_begin(const std::string& archive) {
  return "the director reads metadata that the instance has cached of an earlier \"" + archive + "\": it ";
}

const std::map<std::string, std::string> zip_with_one = {{"content.xml", content_of_one}};

TEST(CachedMetadata, LacksWhatTheArchiveHas) {
  const SampleFile nothing = {"content.xml", "<repository><units/></repository>\n"};
  const std::string line = "more.zip\torg.example.one.feature.group\n";
  const Texts lacking = {"! " + messages_begin("site.zip") + "lacks \"org.example.one.feature.group/1.0.0\""};
  EXPECT_EQ(messages_for_cached(zip_with_one, nothing), lacking);
  const SampleFile more = {.name = "tools/more.zip", .entries = zip_with_one};
  EXPECT_EQ(messages_for_cached(zip_with_one, nothing, {more}), lacking) << "no line names the other archive";
  EXPECT_EQ(messages_for_cached(zip_with_one, nothing, {more}, line), Texts()) << "another archive has it";
}

TEST(CachedMetadata, OfTwoArchivesMayLackTheSame) {
  const SampleFile nothing = {"content.xml", "<repository><units/></repository>\n"};
  const SampleFile more = {.name = "tools/more.zip", .entries = zip_with_one};
  const SampleFile cached = {.name = "ide/p2/org.eclipse.equinox.p2.repository/cache/content.xml",
                             .content = nothing.content,
                             .cached_of = "tools/more.zip"};
  EXPECT_EQ(messages_for_cached(zip_with_one, nothing, {more, cached}, "more.zip\torg.example.one.feature.group\n"),
            Texts({"! " + messages_begin("site.zip") + "lacks \"org.example.one.feature.group/1.0.0\"",
                   "! " + messages_begin("more.zip") + "lacks \"org.example.one.feature.group/1.0.0\""}));
}

TEST(CachedMetadata, MayHaveAnotherVersionOrOtherRequirements) {
  EXPECT_EQ(messages_for_cached(zip_with_one, {"content.xml", eclipse_base::replaced(content_of_one, "1.0.0", "0.9.0")}),
            Texts({"! " + messages_begin("site.zip") + "has \"org.example.one.feature.group\" in version 0.9.0, not 1.0.0"}));
  const std::string other = eclipse_base::replaced(
      content_of_one, "'1.0.0'/><unit id='org.example.one.plugin'",
      "'1.0.0'><requires>" + required("x", "0", " optional='true'/>") + "</requires></unit><unit id='org.example.one.plugin'");
  EXPECT_EQ(messages_for_cached(zip_with_one, {"content.xml", other}),
            Texts({"? " + messages_begin("site.zip") +
                   "lacks \"org.example.one.feature.group/1.0.0\", or has it with other requirements"}));
  EXPECT_EQ(messages_for_cached(zip_with_one, {"content.xml", content_of_one}), Texts());
}

TEST(CachedMetadata, MayListOtherFiles) {
  const auto list_with = [](const std::string& md5) {
    return "<repository><mappings><rule filter='(&amp; (classifier=osgi.bundle))' "
           "output='${repoUrl}/plugins/${id}_${version}.jar'/>"
           "</mappings><artifacts><artifact classifier='osgi.bundle' id='b' version='1.0.0'><properties>"
           "<property name='download.checksum.md5' value='" +
           md5 + "'/></properties></artifact></artifacts></repository>\n";
  };
  std::map<std::string, std::string> now = {
      {"content.xml", "<repository><units><unit id='org.example.one.feature.group' version='1.0.0'><requires>" +
                          required("b", "[1.0.0,1.0.0]", "/>", "org.eclipse.equinox.p2.iu") +
                          "</requires></unit><unit id='b' version='1.0.0'><artifacts><artifact classifier='osgi.bundle' id='b' "
                          "version='1.0.0'/></artifacts></unit></units></repository>"},
      {"artifacts.xml", list_with("0cc175b9c0f1b6a831c399e269772661")},
      {"plugins/b_1.0.0.jar", "a"}};
  const SampleFile cached = {"artifacts.xml", list_with("92eb5ffee6ae2fec3ad71c777531578f")};
  const Texts rejected = {"! " + messages_begin("site.zip") + "lists another file of the bundle b 1.0.0"};
  EXPECT_EQ(messages_for_cached(now, cached), rejected);
  const SampleFile list = {"ide/artifacts.xml", list_with("")};
  for (const char* const left : {"ide/plugins/b_1.0.0.jar", "ide/plugins/b_1.0.0/"}) {
    EXPECT_EQ(messages_for_cached(now, cached, {{left, ""}, list}), Texts()) << "the director takes what is there";
    EXPECT_EQ(messages_for_cached(now, cached, {{left, ""}}), rejected) << "the director overwrites it";
  }
  EXPECT_EQ(messages_for_cached(now, cached, {{"ide/plugins/c_1.0.0.jar", ""}, list}), rejected);
}

TEST(CachedMetadata, MayRequireFilesThatAreNoLongerThere) {
  const auto content_with = [](const std::string& version, const std::string& environment) {
    return "<repository><units><unit id='org.example.one.feature.group' version='1.0.0'><requires>" +
           required("b", "[" + version + "," + version + "]", "><filter>" + environment + "</filter></required>",
                    "org.eclipse.equinox.p2.iu") +
           "</requires></unit><unit id='b' version='" + version +
           "'><artifacts><artifact classifier='osgi.bundle' id='b' version='" + version +
           "'/></artifacts></unit></units></repository>\n";
  };
  const std::string list =
      "<repository><mappings><rule filter='(&amp; (classifier=osgi.bundle))' output='${repoUrl}/plugins/${id}_${version}.jar'/>"
      "</mappings><artifacts><artifact classifier='osgi.bundle' id='b' version='1.0.1'/></artifacts></repository>\n";
  const std::map<std::string, std::string> now = {
      {"content.xml", content_with("1.0.1", "")}, {"artifacts.xml", list}, {"plugins/b_1.0.1.jar", "a"}};
  EXPECT_EQ(messages_for_cached(now, {"content.xml", content_with("1.0.0", "")}),
            Texts({"! " + messages_begin("site.zip") + "requires \"b/1.0.0\", whose files are no longer there"}));
  EXPECT_EQ(messages_for_cached(now, {"content.xml", content_with("1.0.0", "(osgi.os=win32)")}).front().substr(0, 1), "?");
  const SampleFile more = {.name = "tools/more.zip", .entries = {{"content.xml", content_with("1.0.0", "")}}};
  EXPECT_EQ(
      messages_for_cached(now, {"content.xml", content_with("1.0.0", "")}, {more}, "more.zip\torg.example.x.feature.group\n")
          .front()
          .substr(0, 1),
      "?");
}

TEST(CachedMetadata, OfAnArchiveThatLacksItsFilesIsNotOutdated) {
  const std::string content =
      "<repository><units><unit id='org.example.one.feature.group' version='1.0.0'><requires>" +
      required("b", "[1.0.0,1.0.0]", "/>", "org.eclipse.equinox.p2.iu") +
      "</requires></unit><unit id='b' version='1.0.0'><artifacts><artifact classifier='osgi.bundle' id='b' version='1.0.0'/>"
      "</artifacts></unit></units></repository>\n";
  const std::map<std::string, std::string> now = {{"content.xml", content}, {"artifacts.xml", "<repository/>"}};
  EXPECT_EQ(messages_for_cached(now, {"content.xml", content}), Texts());
}

TEST(CachedMetadata, MayHaveAHigherVersionThanIsOfferedAnywhere) {
  const std::string newer = eclipse_base::replaced(content_of_one, "1.0.0", "2.0.0");
  const SampleFile more = {.name = "tools/more.zip", .entries = zip_with_one};
  EXPECT_EQ(messages_for_cached(zip_with_one, {"content.xml", newer}, {more}, "more.zip\torg.example.one.feature.group\n"),
            Texts({"! " + messages_begin("site.zip") + "has \"org.example.one.feature.group\" in version 2.0.0, not 1.0.0"}));
}

}  // namespace
