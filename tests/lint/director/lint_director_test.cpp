// What the rules of lint say about the director, with the director itself. Each test also lints the very session that it ran.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <tuple>

#include "cli/json_documents.h"
#include "director/product.h"
#include "p2/metadata_cache.h"
#include "shell/command_runner.h"

namespace fs = std::filesystem;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const fs::path prepared = ECLIPSE_INT_INSTANCE_DIRECTORY;

constexpr auto alpha = "sites/alpha\torg.example.alpha.feature.group\n";

/// The rules that have a finding in the session that the product ran last. `before` precedes the command.
std::vector<std::string> rules_broken_by(const Product& product, const std::string& before = "") {
  const std::string session = (product.directory() / "session.json").string();
  const std::string arguments = "lint --format json '" + session + "'";
  const auto lint = eclipse_shell::run_in_shell(before + " '" ECLIPSE_INT_COMMAND "' " + arguments);
  cli_test::keep_json_document(arguments, lint.output);
  std::vector<std::string> rules;
  const auto result = nlohmann::json::parse(lint.output);
  for (const auto& finding : result.at("findings")) rules.push_back(finding.at("rule"));
  return rules;
}

/// What the plan says of each feature.
std::vector<std::string> planned(const Outcome& outcome) {
  std::vector<std::string> changes;
  for (const auto& change : outcome.plan.at("changes")) changes.push_back(change.at("change"));
  return changes;
}

void write(const fs::path& file, const std::string& text) { std::ofstream(file, std::ios::binary) << text; }

std::string output_of(const Outcome& outcome, std::size_t command) { return outcome.result["commands"][command]["output"]; }

/// A product with the site alpha, and with a copy of it under another name.
void add_alpha_as(Product& product, const std::string& name, const std::string& descriptor) {
  product.component("tools", {"alpha"}, descriptor);
  const fs::path sites = product.directory() / "tools/sites";
  fs::copy(prepared / "sites/alpha", sites / name, fs::copy_options::recursive);
}

/// A product with the archive of alpha, that Python packs anew: `statements` copy `old` to `new`.
void add_repacked_alpha(Product& product, const std::string& statements, const std::string& options = "") {
  product.component("tools", {"alpha.zip"}, "sites/alpha.zip\torg.example.alpha.feature.group\n");
  const std::string sites = (product.directory() / "tools/sites").string();
  const std::string python = "import zipfile\nold = zipfile.ZipFile(\"alpha.zip\")\nnew = zipfile.ZipFile(\"new\", \"w\"" +
                             options + ")\n" + statements + "new.close()\n";
  ASSERT_EQ(eclipse_shell::run_in_shell("cd '" + sites + "' && python3 -c '" + python + "' && mv new alpha.zip").exit_code, 0);
}

}  // namespace

TEST(LintDirector, CleanProductHasNoFindingAndGoesIn) {
  Product product;
  product.component("tools", {"alpha", "beta.zip"},
                    std::string(alpha) + "sites/beta.zip\torg.example.beta.feature.group\t\t1\n");
  EXPECT_EQ(product.run("install").status, 0);
  EXPECT_THAT(rules_broken_by(product), IsEmpty());
  EXPECT_EQ(product.installed(), features({"alpha", "beta"}));
}

TEST(LintDirector, ArchiveInCapitalsCannotBeLoaded) {
  Product product;
  product.component("tools", {}, "sites/beta.ZIP\torg.example.beta.feature.group\n");
  fs::create_directories(product.directory() / "tools/sites");
  fs::copy(prepared / "sites/beta.zip", product.directory() / "tools/sites/beta.ZIP");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(planned(outcome), ElementsAre("fail"));
  EXPECT_THAT(rules_broken_by(product), Contains("archive-not-recognised"));
}

TEST(LintDirector, DirectoryCalledZipCannotBeLoaded) {
  Product product;
  add_alpha_as(product, "alpha.zip", "sites/alpha.zip\torg.example.alpha.feature.group\n");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(planned(outcome), ElementsAre("fail"));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("directory-named-zip"));
}

TEST(LintDirector, OtherVersionOfAFeatureIsNotReplaced) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  ASSERT_EQ(product.run("install").status, 0);
  const std::string site = (product.directory() / "tools/sites/alpha").string();
  ASSERT_EQ(eclipse_shell::run_in_shell(
                "cd '" + site + "' && unzip -p content.jar content.xml | sed 's/1\\.0\\.0/2.0.0/g' > content.xml && rm *.jar")
                .exit_code,
            0);
  const Outcome refused = product.run("install");
  EXPECT_EQ(refused.result.at("status"), "refused");
  const Child call = eclipse_int("call define_eclipse_path perform_integration --json " + product.write_session("install"));
  const Outcome outcome{call.status, call.result, {}};
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("Only one of the following can be installed at once"));
  EXPECT_THAT(rules_broken_by(product), Contains("other-version-installed"));
  EXPECT_EQ(refused.plan.at("changes").at(0).at("installed"), "1.0.0");
  EXPECT_EQ(product.installed(), features({"alpha"}));
}

TEST(LintDirector, CommaOrBracketInARepositoryMakesEveryCommandFail) {
  for (const auto& [name, rule] : {std::pair("a,b", "comma-in-repository"), std::pair("a]b", "url-character-in-repository")}) {
    Product product;
    product.component(
        "tools", {"alpha", "gamma"},
        "sites/" + std::string(name) + "\torg.example.alpha.feature.group\nsites/gamma\torg.example.gamma.feature.group\n");
    fs::rename(product.directory() / "tools/sites/alpha", product.directory() / "tools/sites" / name);
    const Outcome outcome = product.run("install");
    EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13, 13)) << name;
    EXPECT_THAT(planned(outcome), ElementsAre("fail", "fail")) << name;
    EXPECT_THAT(rules_broken_by(product), Contains(rule)) << name;
  }
}

TEST(LintDirector, OtherCharactersOfUrlsMakeTheirRepositoryUnloadable) {
  for (const std::string name : {"a%20b", "a#b", "a?b", "%41"}) {
    Product product;
    product.component("tools", {"alpha", "gamma"},
                      "sites/" + name + "\torg.example.alpha.feature.group\nsites/gamma\torg.example.gamma.feature.group\n");
    fs::rename(product.directory() / "tools/sites/alpha", product.directory() / "tools/sites" / name);
    const Outcome outcome = product.run("install");
    EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13, 0)) << name;
    EXPECT_THAT(planned(outcome), ElementsAre("fail", "add")) << name;
    EXPECT_THAT(rules_broken_by(product), Contains("url-character-in-repository")) << name;
  }
}

TEST(LintDirector, ComponentInADirectoryWithACommaOrAHash) {
  for (const std::string name : {"a,b", "a#b", "a%41b"}) {
    Product product(name);
    product.component("tools", {"alpha"}, alpha);
    const Outcome outcome = product.run("install");
    EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13)) << name;
    EXPECT_THAT(planned(outcome), ElementsAre("fail")) << name;
    EXPECT_THAT(rules_broken_by(product), testing::Not(IsEmpty())) << name;
  }
}

TEST(LintDirector, QuestionMarksAndBracketsDoAnArchiveNoHarm) {
  Product product;
  product.component("tools", {"alpha.zip"}, "sites/a?[b.zip\torg.example.alpha.feature.group\n");
  fs::rename(product.directory() / "tools/sites/alpha.zip", product.directory() / "tools/sites/a?[b.zip");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
  EXPECT_THAT(rules_broken_by(product), IsEmpty());
}

TEST(LintDirector, ArchiveBelowADirectoryThatEndsInAnExclamationMarkCannotBeLoaded) {
  Product product;
  product.component("tools", {"alpha.zip"}, "sites!/alpha.zip\torg.example.alpha.feature.group\n");
  fs::rename(product.directory() / "tools/sites", product.directory() / "tools/sites!");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(planned(outcome), ElementsAre("fail"));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("url-character-in-repository"));
}

TEST(LintDirector, StarThatMatchesNothingStays) {
  Product product;
  add_alpha_as(product, "a*b", "sites/a*b\torg.example.alpha.feature.group\n");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(0));
  EXPECT_THAT(planned(outcome), ElementsAre("add"));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("glob-in-repository"));
}

TEST(LintDirector, StarThatMatchesAFileNameIsReplaced) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.al*\n");
  const std::string session = product.write_session("install");
  const fs::path elsewhere = product.directory() / "elsewhere";
  fs::create_directories(elsewhere);
  write(elsewhere / "org.example.alpha.feature.group", "");
  // The shell makes of it what somebody may have meant, but nobody can know where the installer works.
  const std::string there = "cd '" + elsewhere.string() + "' && ";
  EXPECT_EQ(eclipse_int("run --json " + session, there).result.at("commands").at(0).at("exitCode"), 0);
  EXPECT_EQ(product.installed(), features({"alpha"}));
  EXPECT_EQ(eclipse_int("plan --json " + session, there).result.at("changes").at(0).at("change"), "fail");
  EXPECT_THAT(rules_broken_by(product, there), Contains("feature-needs-shell-quoting"));
}

TEST(LintDirector, QuotesAroundAColumnAreRemoved) {
  Product product;
  product.component(
      "tools", {"alpha", "gamma"},
      "\"sites/my alpha\"\t\"org.example.alpha.feature.group\"\nsites/gamma\t'org.example.gamma.feature.group'\n");
  fs::rename(product.directory() / "tools/sites/alpha", product.directory() / "tools/sites/my alpha");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(0));
  EXPECT_THAT(planned(outcome), ElementsAre("add", "add"));
  EXPECT_EQ(product.installed(), features({"alpha", "gamma"}));
  EXPECT_EQ(outcome.plan["lint"]["error"], 0);
  EXPECT_THAT(rules_broken_by(product), Each("quoted-column"));
}

TEST(LintDirector, ArchiveWithABackslashInItsNameIsLoaded) {
  Product product;
  product.component("tools", {"alpha.zip"}, "sites/a\\b.zip\torg.example.alpha.feature.group\n");
  const fs::path sites = product.directory() / "tools/sites";
  fs::rename(sites / "alpha.zip", sites / "a\\b.zip");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(0));
  EXPECT_EQ(outcome.plan["lint"]["error"], 0);
  EXPECT_THAT(rules_broken_by(product), ElementsAre("backslash-in-repository"));
}

/// A unit without anything in it, which a director installs under any name.
std::string unit_named(const std::string& id) {
  return "<unit id='" + id +
         "' version='1.0.0' singleton='false'><provides size='1'>"
         "<provided namespace='org.eclipse.equinox.p2.iu' name='" +
         id +
         "' version='1.0.0'/></provides>"
         "<touchpoint id='null' version='0.0.0'/></unit>";
}

/// Each is tried alone, since the shell rejects the command for all. What the plan says of it is what it comes to.
TEST(LintDirector, PlanTellsWhichOfTheOddNamesTheDirectorFinds) {
  const std::vector<std::pair<std::string, std::string>> names = {
      {"org.example.plain", "org.example.plain"}, {"\"org.example.quoted\"", "org.example.quoted"},
      {"org.example.a\\b", "org.example.ab"},     {"org.example.a b", "org.example.a b"},
      {"org.example.$HOME", "org.example.$HOME"}, {"#org.example.c", "#org.example.c"},
      {"org.example.a#b", "org.example.a#b"},     {"org.example.a*d", "org.example.a*d"},
      {"org.example.it's", "org.example.it"},     {",org.example.e", "org.example.e"},
      {"-org.example.f", "-org.example.f"},       {"org.example.\xC3\xA4", "org.example.\xC3\xA4"}};
  std::string lines;
  std::string units;
  for (const auto& [written, id] : names) {
    lines += "sites/odd\t" + written + "\n";
    units += unit_named(id);
  }
  Product product;
  product.component("tools", {}, lines);
  fs::create_directories(product.directory() / "tools/sites/odd");
  write(product.directory() / "tools/sites/odd/content.xml",
        "<?xml version='1.0' encoding='UTF-8'?>\n<?metadataRepository version='1.1.0'?>\n<repository name='odd' "
        "type='org.eclipse.equinox.internal.p2.metadata.repository.LocalMetadataRepository' version='1'><units size='" +
            std::to_string(names.size()) + "'>" + units + "</units></repository>\n");
  write(product.directory() / "tools/sites/odd/artifacts.xml",
        "<?xml version='1.0' encoding='UTF-8'?>\n<?artifactRepository version='1.1.0'?>\n<repository name='odd' "
        "type='org.eclipse.equinox.p2.artifact.repository.simpleRepository' version='1'><artifacts size='0'/></repository>\n");
  const char* const kept = std::getenv("LC_ALL");
  const std::string before = kept == nullptr ? "" : kept;
  setenv("LC_ALL", "C", 1);
  const Outcome outcome = product.run("install");
  before.empty() ? unsetenv("LC_ALL") : setenv("LC_ALL", before.c_str(), 1);
  const auto codes = outcome.exit_codes();
  const auto changes = planned(outcome);
  ASSERT_EQ(codes.size(), 1 + names.size());
  ASSERT_EQ(changes.size(), names.size());
  EXPECT_NE(codes.front(), 0);
  for (std::size_t i = 0; i < names.size(); ++i) EXPECT_EQ(changes[i], codes[i + 1] == 0 ? "add" : "fail") << names[i].first;
  EXPECT_THAT(product.installed(), ElementsAre("org.example.a#b/1.0.0", "org.example.a*d/1.0.0", "org.example.ab/1.0.0",
                                               "org.example.plain/1.0.0", "org.example.quoted/1.0.0"));
  EXPECT_EQ(outcome.plan["lint"]["error"], std::count(changes.begin(), changes.end(), "fail"));
}

TEST(LintDirector, EclipseDoesNotWorkBelowEveryPath) {
  for (const auto& [name, locale, works] :
       {std::tuple("\xC3\xBC", "C", false), std::tuple("\xC3\xBC", "C.UTF-8", true), std::tuple("a b", "C", false),
        std::tuple("a#b", "C", false), std::tuple("a%b", "C", false), std::tuple("a:b", "C", false),
        std::tuple("a+b", "C", true)}) {
    Product product(name);
    product.component("tools", {"alpha.zip"}, "sites/alpha.zip\torg.example.alpha.feature.group\n");
    // What is wrong with the path of a repository is another rule's matter.
    const fs::path elsewhere = product.directory().parent_path() / "plain";
    fs::rename(product.directory() / "tools", elsewhere);
    const auto at = product.write_session("install");
    nlohmann::json session = nlohmann::json::parse(std::ifstream(product.directory() / "session.json"));
    session["components"][0]["installBase"] = elsewhere.parent_path().string();
    session["components"][0]["installDir"] = "plain";
    session["components"][0]["package"] = {{"files", {"etc/eclipse/features.txt"}}};
    write(product.directory() / "session.json", session.dump());
    const std::string in_locale =
        std::string("LC_ALL=") + locale + " JAVA_TOOL_OPTIONS=-Duser.home='" + product.directory().parent_path().string() + "'";
    const Child plan = eclipse_int("plan --json " + at, in_locale);
    const Child run = eclipse_int("run --json " + at, in_locale);
    EXPECT_EQ(run.status == 0, works) << name << locale << run.result;
    EXPECT_EQ(plan.status == 0, works) << name << locale << plan.result;
    EXPECT_EQ(plan.result["changes"][0]["change"], works ? "add" : "fail") << name << locale;
    EXPECT_THAT(rules_broken_by(product, in_locale),
                testing::Conditional(works, IsEmpty(), Contains("executable-not-startable")))
        << name << locale;
  }
}

/// The command that precedes one, so that it is run by another user with a home of his own in this directory.
std::string as_another_user(const fs::path& directory) {
  constexpr const char* id = "65534";
  const std::string home = (directory / "home").string();
  fs::create_directories(home);
  fs::permissions(directory.parent_path(), fs::perms(0755));
  EXPECT_EQ(chown(home.c_str(), 65534, 65534), 0);
  return std::string("setpriv --reuid=") + id + " --regid=" + id + " --clear-groups env HOME='" + home +
         "' JAVA_TOOL_OPTIONS=-Duser.home='" + home + "'";
}

bool can_be_another_user() {
  return geteuid() == 0 &&
         eclipse_shell::run_in_shell("setpriv --reuid=65534 '" ECLIPSE_INT_COMMAND "' --version").exit_code == 0;
}

TEST(LintDirector, RepositoryThatOnlyItsOwnerMayReadCannotBeLoadedByOthers) {
  if (!can_be_another_user())
    GTEST_SKIP() << "only root can run the director as another user, who must be able to read the build";
  Product product;
  // Its files are listed: a directory that may not be read cannot be scanned.
  product.component("tools", {"alpha"}, alpha)["package"] = {{"files", {"etc/eclipse/features.txt"}}};
  const fs::path site = product.directory() / "tools/sites/alpha";
  fs::permissions(site, fs::perms(0700));
  const std::string session = product.write_session("install");
  const std::string other = as_another_user(product.directory());
  ASSERT_EQ(eclipse_shell::run_in_shell("chown -R 65534:65534 '" + (product.directory() / "ide").string() + "'").exit_code, 0);
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-not-readable-by-others"));
  EXPECT_EQ(eclipse_int("run --json " + session, other).status, 1);
  EXPECT_EQ(eclipse_int("plan --json " + session, other).status, 1);
  fs::permissions(site, fs::perms(0755));
  EXPECT_THAT(rules_broken_by(product), IsEmpty());
  EXPECT_EQ(eclipse_int("run --json " + session, other).status, 0);
}

TEST(LintDirector, FeaturesOfAUserWhoMustNotWriteToTheInstanceGoIntoHisHome) {
  if (!can_be_another_user())
    GTEST_SKIP() << "only root can run the director as another user, who must be able to read the build";
  Product product;
  product.component("tools", {"alpha"}, alpha);
  const std::string session = product.write_session("install");
  const std::string other = as_another_user(product.directory());
  EXPECT_THAT(rules_broken_by(product), IsEmpty());
  EXPECT_THAT(rules_broken_by(product, other), ElementsAre("instance-not-writable"));
  EXPECT_EQ(eclipse_int("run --json " + session, other).status, 0);
  EXPECT_THAT(product.installed(), IsEmpty()) << "for everybody else";
  EXPECT_TRUE(fs::exists(product.directory() / "home/.eclipse"));
}

TEST(LintDirector, DirectoryInTheInstanceThatCannotBeWrittenMakesTheDirectorFail) {
  if (!can_be_another_user())
    GTEST_SKIP() << "only root can run the director as another user, who must be able to read the build";
  Product product;
  product.component("tools", {"alpha"}, alpha);
  const std::string session = product.write_session("install");
  const std::string other = as_another_user(product.directory());
  const std::string ide = (product.directory() / "ide").string();
  ASSERT_EQ(eclipse_shell::run_in_shell("chown -R 65534:65534 '" + ide + "'; chown 0:0 '" + ide + "/plugins'").exit_code, 0);
  EXPECT_THAT(rules_broken_by(product, other), ElementsAre("instance-not-writable"));
  EXPECT_NE(eclipse_int("run --json " + session, other).status, 0);
}

TEST(LintDirector, ProfileThatTheConfigurationNamesMustExist) {
  for (const std::string damage :
       {"sed -i s/EclipseProfile/SDKProfile/ configuration/config.ini", "rm -r p2", "rm p2/*/profileRegistry/*/*.profile*"}) {
    Product product;
    product.component("tools", {"alpha"}, alpha);
    ASSERT_EQ(eclipse_shell::run_in_shell("cd '" + (product.directory() / "ide").string() + "' && " + damage).exit_code, 0);
    const Outcome outcome = product.run("install");
    EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13)) << damage;
    EXPECT_THAT(output_of(outcome, 0), HasSubstr("Missing required argument -destination.")) << damage;
    EXPECT_THAT(rules_broken_by(product), ElementsAre("profile-missing")) << damage;
  }
}

TEST(LintDirector, BytesThatAreNoUtf8CannotBeLoaded) {
  Product product;
  add_alpha_as(product, "b\xE4r", "sites/b\xE4r\torg.example.alpha.feature.group\n");
  const Outcome outcome = product.run("install");
  EXPECT_NE(outcome.status, 0);
  EXPECT_THAT(planned(outcome), ElementsAre("fail"));
  EXPECT_THAT(product.installed(), IsEmpty());
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-not-utf-8"));
}

TEST(LintDirector, SiteWithoutItsArtifactsKeepsBackTheOthers) {
  for (const std::string lost : {"artifacts.jar", "plugins", "features"}) {
    Product product;
    product.component("tools", {"alpha", "gamma"}, std::string(alpha) + "sites/gamma\torg.example.gamma.feature.group\n");
    fs::remove_all(product.directory() / "tools/sites/alpha" / lost);
    EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13, 0)) << lost;
    EXPECT_EQ(product.installed(), features({"gamma"})) << lost;
    EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-without-artifacts")) << lost;
  }
}

/// A product with the site broken, whose feature requires the bundle org.example.nowhere. The site refers to another one,
/// "lib", which has this bundle.
void add_broken_with_reference(Product& product, const std::string& more_lines) {
  product.component("tools", {"broken"}, "sites/broken\torg.example.broken.feature.group\n" + more_lines);
  const fs::path sites = product.directory() / "tools/sites";
  fs::create_directories(sites / "lib");
  write(sites / "lib/content.xml",
        "<?xml version='1.0'?>\n<?metadataRepository version='1.2.0'?>\n<repository name='lib' "
        "type='org.eclipse.equinox.internal.p2.metadata.repository.LocalMetadataRepository' version='1'><units size='1'>"
        "<unit id='org.example.nowhere' version='1.0.0'><provides size='2'>"
        "<provided namespace='org.eclipse.equinox.p2.iu' name='org.example.nowhere' version='1.0.0'/>"
        "<provided namespace='osgi.bundle' name='org.example.nowhere' version='1.0.0'/></provides>"
        "<touchpoint id='null' version='0.0.0'/></unit></units></repository>\n");
  const std::string uri = "file:" + (sites / "lib").string() + "/";
  const std::string reference =
      "<references size='1'><repository uri='" + uri + "' url='" + uri + "' type='0' options='1'/></references>";
  ASSERT_EQ(eclipse_shell::run_in_shell("cd '" + (sites / "broken").string() +
                                        "' && unzip -p content.jar content.xml | sed \"s|<units |" + reference +
                                        "&|\" > content.xml && rm content.jar && grep -q references content.xml")
                .exit_code,
            0);
}

TEST(LintDirector, ReferencesOfARepositoryAreNotFollowed) {
  Product product;
  add_broken_with_reference(product, "");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("org.example.nowhere"));
  EXPECT_THAT(planned(outcome), ElementsAre("fail"));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("requirement-not-met"));
}

TEST(LintDirector, RepositoryThatMeetsARequirementNeedsALine) {
  Product product;
  add_broken_with_reference(product, "sites/lib\t\t\n");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(0));
  EXPECT_THAT(planned(outcome), ElementsAre("add"));
  EXPECT_EQ(product.installed(), features({"broken"}));
}

TEST(LintDirector, ArchiveThatIsCutOffCannotBeLoaded) {
  Product product;
  product.component("tools", {"alpha.zip"}, "sites/alpha.zip\torg.example.alpha.feature.group\n");
  const fs::path archive = product.directory() / "tools/sites/alpha.zip";
  fs::resize_file(archive, fs::file_size(archive) - 300);
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(planned(outcome), ElementsAre("fail"));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-not-loadable"));
}

TEST(LintDirector, PointerInPlaceOfTheListOfArtifactsKeepsTheFeatureOut) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  write(product.directory() / "tools/sites/alpha/artifacts.jar",
        "version https://git-lfs.github.com/spec/v1\noid sha256:00\nsize 5\n");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(planned(outcome), ElementsAre("fail"));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-not-loadable"));
}

TEST(LintDirector, DamagedArtifactsKeepBackTheOthers) {
  const std::string pointer = "version https://git-lfs.github.com/spec/v1\noid sha256:00\nsize 582\n";
  for (const auto& [file, content] : {std::pair("features/org.example.alpha_1.0.0.jar", pointer),
                                      std::pair("plugins/org.example.alpha.plugin_1.0.0.jar", std::string("PK\x05\x06more"))}) {
    Product product;
    product.component("tools", {"alpha", "gamma"}, std::string(alpha) + "sites/gamma\torg.example.gamma.feature.group\n");
    write(product.directory() / "tools/sites/alpha" / file, content);
    const Outcome outcome = product.run("install");
    EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13, 0)) << file;
    EXPECT_THAT(planned(outcome), ElementsAre("fail", "add")) << file;
    EXPECT_EQ(product.installed(), features({"gamma"})) << file;
    EXPECT_THAT(rules_broken_by(product), ElementsAre("artifact-damaged")) << file;
  }
}

/// The list of artifacts of the site alpha, with these properties of its plug-in's jar in place of its own.
void list_alpha_with(const Product& product, const std::string& properties) {
  const fs::path site = product.directory() / "tools/sites/alpha";
  ASSERT_EQ(eclipse_shell::run_in_shell("cd '" + site.string() + "' && unzip -q artifacts.jar && rm artifacts.jar").exit_code,
            0);
  std::ifstream file(site / "artifacts.xml");
  std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::string before = "<properties size='6'>";
  const std::size_t start = text.find(before) + before.size();
  ASSERT_GT(start, before.size());
  text.replace(start, text.find("</properties>", start) - start, properties);
  write(site / "artifacts.xml", text);
}

TEST(LintDirector, JarThatWasBuiltAgainWithTheSameVersionIsNotInstalled) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  ASSERT_EQ(product.run("install").status, 0);
  EXPECT_THAT(rules_broken_by(product), IsEmpty());
  list_alpha_with(product, "");
  const std::string jar = "plugins/org.example.alpha.plugin_1.0.0.jar";
  const std::string site = (product.directory() / "tools/sites/alpha").string();
  ASSERT_EQ(eclipse_shell::run_in_shell("cd '" + site + "' && echo more > more.txt && zip -q " + jar + " more.txt").exit_code,
            0);
  const Outcome again = product.run("install");
  EXPECT_EQ(again.status, 0);
  EXPECT_THAT(planned(again), ElementsAre("keep"));
  EXPECT_EQ(fs::file_size(product.executable().parent_path() / jar), fs::file_size(prepared / "sites/alpha" / jar));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("other-build-installed"));
}

TEST(LintDirector, StrongestChecksumOfAnArtifactDecides) {
  const fs::path jar = prepared / "sites/alpha/plugins/org.example.alpha.plugin_1.0.0.jar";
  const auto sum = [&](const std::string& program) {
    return eclipse_shell::run_in_shell(program + " '" + jar.string() + "' | cut -d ' ' -f 1 | tr -d '\\n'").output;
  };
  const std::string wrong = "00";
  const auto property = [](const std::string& name, const std::string& value) {
    return "<property name='" + name + "' value='" + value + "'/>";
  };
  const std::string sha_512 = "download.checksum.sha-512";
  const std::string sha_256 = "download.checksum.sha-256";
  const std::string md5 = "download.checksum.md5";
  const std::string upper_case = eclipse_shell::run_in_shell("printf %s " + sum("md5sum") + " | tr a-f A-F").output;
  const std::vector<std::pair<std::string, bool>> lists = {
      {property(sha_512, sum("sha512sum")) + property(sha_256, wrong), true},
      {property(sha_512, wrong) + property(sha_256, sum("sha256sum")), false},
      {property(sha_256, wrong) + property(md5, sum("md5sum")), false},
      {property("download.checksum.sha-1", wrong), false},
      {property("download.md5", upper_case), false},
      {property(sha_256, "") + property("download.checksum.other", wrong), true},
      {property(md5, sum("md5sum")) + property("artifact.checksum.sha-256", wrong), false},
  };
  for (const auto& [properties, is_accepted] : lists) {
    Product product;
    product.component("tools", {"alpha"}, alpha);
    list_alpha_with(product, properties);
    const Outcome outcome = product.run("install");
    EXPECT_EQ(outcome.exit_codes().front(), is_accepted ? 0 : 13) << properties;
    const std::vector<std::string> found =
        is_accepted ? std::vector<std::string>() : std::vector<std::string>{"artifact-checksum-wrong"};
    EXPECT_EQ(rules_broken_by(product), found) << properties;
  }
}

TEST(LintDirector, FeatureJarWithAnotherChecksumIsRefused) {
  Product product;
  product.component("tools", {"alpha", "gamma"}, std::string(alpha) + "sites/gamma\torg.example.gamma.feature.group\n");
  const std::string site = (product.directory() / "tools/sites/alpha").string();
  const std::string edit = "s|value=.275./>|&<property name=\"download.checksum.sha-256\" value=\"00\"/>|";
  ASSERT_EQ(eclipse_shell::run_in_shell("cd '" + site + "' && unzip -q artifacts.jar && rm artifacts.jar && sed -i '" + edit +
                                        "' artifacts.xml && grep -q 'value=\"00\"' artifacts.xml")
                .exit_code,
            0);
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13, 0));
  EXPECT_EQ(product.installed(), features({"gamma"}));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("artifact-checksum-wrong"));
}

/// Signs a jar of the site alpha with a new key and without a checksum in the list of artifacts, and has Python pack it anew:
/// `alter` changes the bytes `b` of the entry `n`, or sets them to None to leave it out.
void alter_signed_jar(const Product& product, const std::string& jar, const std::string& alter) {
  list_alpha_with(product, "");
  const std::string script =
      "cd '" + (product.directory() / "tools/sites/alpha").string() +
      "' && sed -i '/download.size/d' artifacts.xml && exec 2>&1 && "
      "keytool -genkeypair -keystore ../key -storepass secret -alias a -dname CN=Example -keyalg RSA -validity 9 && "
      "jarsigner -keystore ../key -storepass secret " +
      jar + " a && rm ../key && python3 - <<EOF\nimport zipfile\nold = zipfile.ZipFile('" + jar +
      "')\nnew = zipfile.ZipFile('new', 'w')\nfor n in old.namelist():\n  b = old.read(n)\n  " + alter +
      "\n  if b is not None: new.writestr(n, b)\nnew.close()\nEOF\nmv new " + jar;
  const auto altered = eclipse_shell::run_in_shell(script);
  ASSERT_EQ(altered.exit_code, 0) << altered.output;
}

TEST(LintDirector, JarThatWasAlteredAfterSigningIsRefused) {
  const std::string bundle = "plugins/org.example.alpha.plugin_1.0.0.jar";
  const std::vector<std::tuple<std::string, std::string, bool>> jars = {
      {bundle, "pass", true},
      {bundle, "b = b + b'x' if n == 'hello.txt' else b", false},
      {bundle, "b = b.replace(b'Plug-in', b'Plugin') if n.endswith('.MF') else b", false},
      {"features/org.example.alpha_1.0.0.jar", "b = b + b'<!-- x -->' if n == 'feature.xml' else b", false},
      {bundle, "b = None if n == 'hello.txt' else b", true},
      {bundle, "b = None if n.endswith('.RSA') else b + b'x' if n == 'hello.txt' else b", true},
  };
  for (const auto& [jar, alter, is_accepted] : jars) {
    Product product;
    product.component("tools", {"alpha"}, alpha);
    alter_signed_jar(product, jar, alter);
    const Outcome outcome = product.run("install");
    EXPECT_EQ(outcome.exit_codes().front(), is_accepted ? 0 : 13) << alter;
    const std::vector<std::string> found =
        is_accepted ? std::vector<std::string>() : std::vector<std::string>{"artifact-altered-after-signing"};
    EXPECT_EQ(rules_broken_by(product), found) << alter;
  }
}

/// Without a checksum, the director may report success for a jar that is cut, and does for one that is another bundle.
TEST(LintDirector, JarsInAnArchiveAreExamined) {
  const std::string bundle = "plugins/org.example.alpha.plugin_1.0.0.jar";
  const std::vector<std::pair<std::string, std::string>> jars = {
      {"True", ""},
      {"open(jar, 'r+b').truncate(100)", "artifact-damaged"},
      {"[new.writestr(n, old.read(n).replace(b'Version: 1.0.0', b'Version: 1.0.1')) for n in old.namelist()], new.close(), "
       "os.rename('new', jar)",
       "artifact-of-other-bundle"}};
  for (const auto& [alter, rule] : jars) {
    Product product;
    product.component("tools", {"alpha"}, "sites/alpha.zip\torg.example.alpha.feature.group\n");
    list_alpha_with(product, "");
    const auto packed = eclipse_shell::run_in_shell(
        "cd '" + (product.directory() / "tools/sites/alpha").string() +
        "' && sed -i '/download.size/d' artifacts.xml && python3 - 2>&1 <<EOF\nimport os, shutil, zipfile\njar = '" + bundle +
        "'\nold = zipfile.ZipFile(jar)\nnew = zipfile.ZipFile('new', 'w')\n" + alter +
        "\nshutil.make_archive('../alpha', 'zip', '.')\nEOF\n");
    ASSERT_EQ(packed.exit_code, 0) << packed.output;
    const int exit_code = product.run("install").exit_codes().front();
    if (rule != "artifact-damaged") {
      EXPECT_EQ(exit_code, 0) << rule;
    }
    std::ifstream file(product.directory() / "ide/configuration/org.eclipse.equinox.simpleconfigurator/bundles.info");
    const std::string bundles(std::istreambuf_iterator<char>(file), {});
    EXPECT_EQ(bundles.find("org.example.alpha.plugin,1.0.0,") != std::string::npos, rule.empty()) << rule;
    auto broken = rules_broken_by(product);
    std::erase(broken, "instance-damaged");
    EXPECT_EQ(broken, rule.empty() ? std::vector<std::string>() : std::vector<std::string>{rule});
  }
}

/// Runs sed on a metadata file of the site alpha, "content" or "artifacts", which is then plain.
void edit_alpha(const Product& product, const std::string& name, const std::string& script) {
  const std::string site = (product.directory() / "tools/sites/alpha").string();
  write(product.directory() / "script", script);
  const auto edited = eclipse_shell::run_in_shell("cd '" + site + "' && unzip -q " + name + ".jar && rm " + name +
                                                  ".jar && cp " + name + ".xml before && LC_ALL=C sed -i -f ../../../script " +
                                                  name + ".xml && ! cmp -s before " + name + ".xml && rm before");
  ASSERT_EQ(edited.exit_code, 0) << edited.output;
}

TEST(LintDirector, RequirementsInAnotherVersionOrForAnotherSystemAreNotMet) {
  const std::string requirement = "s|name='org.example.alpha.plugin' range='[^']*'/>|name='org.example.alpha.plugin' ";
  const std::string of_bundle = "/<unit id='org.example.alpha.plugin'/,/<artifacts/ s|<artifacts|<filter>";
  const std::string of_feature = "/<unit id='org.example.alpha.feature.group'/,/<touchpoint/ s|<touchpoint|<filter>";
  const std::vector<std::tuple<std::string, std::string, std::string>> edits = {
      {requirement + "range='[1.0.0.v1,1.0.0.v1]'/>|", "requirement-not-met", "could not be found"},
      {requirement + "range='0.9.0'/>|", "", "Installing org.example.alpha.feature.group"},
      {of_bundle + "(osgi.os=win32)</filter>&|", "requirement-not-met", "could not be found"},
      {of_bundle + "(!(osgi.os=win32))</filter>&|", "", "Installing org.example.alpha.feature.group"},
      {of_feature + "(osgi.os=win32)</filter>&|", "requirement-not-met", "org.example.alpha.feature.group"},
      {requirement + "range='0.0.0'><filter>(osgi.os=win32)</filter></required>|", "feature-empty-on-this-system",
       "Installing org.example.alpha.feature.group"}};
  for (const auto& [edit, rule, output] : edits) {
    Product product;
    product.component("tools", {"alpha"}, alpha);
    edit_alpha(product, "content", edit);
    const Outcome outcome = product.run("install");
    EXPECT_EQ(outcome.exit_codes().front(), rule == "requirement-not-met" ? 13 : 0) << edit;
    EXPECT_THAT(output_of(outcome, 0), HasSubstr(output)) << edit;
    EXPECT_EQ(rules_broken_by(product), rule.empty() ? std::vector<std::string>() : std::vector<std::string>{rule}) << edit;
  }
}

std::string action_in(const std::string& phase, const std::string& action = "org.example.register(a:b);") {
  return "s|<touchpoint id='null' version='0.0.0'/>|<touchpoint id='org.eclipse.equinox.p2.osgi' "
         "version='1.0.0'/><touchpointData "
         "size='1'><instructions size='1'><instruction key='" +
         phase + "'>" + action + "</instruction></instructions></touchpointData>|";
}

TEST(LintDirector, ActionThatP2LacksCannotBePerformed) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  edit_alpha(product, "content", action_in("install"));
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("No action found for: org.example.register"));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("action-unknown"));
}

TEST(LintDirector, ActionOfABundleCannotBePerformedForAFeature) {
  for (const std::string action : {"markStarted(started:true);", "setStartLevel(startLevel:4);",
                                   "installBundle(bundle:${artifact});", "unzip(source:@artifact, target:a);"}) {
    Product product;
    product.component("tools", {"alpha"}, alpha);
    edit_alpha(product, "content", action_in("configure", action));
    EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13)) << action;
    EXPECT_THAT(rules_broken_by(product), ElementsAre("action-unknown")) << action;
  }
  Product product;
  product.component("tools", {"alpha"}, alpha);
  edit_alpha(product, "content", action_in("configure", "mkdir(path:${installFolder}/a);addJvmArg(jvmArg:-Da=b);"));
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
  EXPECT_THAT(rules_broken_by(product), IsEmpty());
}

TEST(LintDirector, FeatureWhoseRemovalCallsAnUnknownActionIsNeverRemoved) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  edit_alpha(product, "content", action_in("uninstall"));
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("action-unknown"));
  EXPECT_EQ(product.run("uninstall").exit_codes().front(), 13);
  EXPECT_EQ(product.installed(), features({"alpha"}));
}

TEST(LintDirector, VersionThatIsNotOneOfOsgiIsReadAsZero) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  edit_alpha(product, "content", "s/1\\.0\\.0/1.0.0-SNAPSHOT/g");
  const Outcome outcome = product.run("install");
  EXPECT_EQ(outcome.exit_codes().front(), 13);
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("0.0.0"));
  EXPECT_THAT(rules_broken_by(product), Contains("unit-version-invalid"));
}

TEST(LintDirector, MetadataThatJavaDoesNotParseCannotBeLoaded) {
  for (const std::string script : {"s/Feature org/Search \\& Replace/", "s/Feature org/M\xFCller/"}) {
    Product product;
    product.component("tools", {"alpha"}, alpha);
    edit_alpha(product, "content", script);
    EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13)) << script;
    EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-not-loadable")) << script;
  }
}

TEST(LintDirector, AtomicCompositeWithoutOneChildCannotBeLoaded) {
  Product product;
  product.component("tools", {"alpha"}, "sites/all\torg.example.alpha.feature.group\n");
  for (const auto& [file, kind] : {std::pair("compositeContent.xml", "metadata.repository.CompositeMetadataRepository"),
                                   std::pair("compositeArtifacts.xml", "artifact.repository.CompositeArtifactRepository")}) {
    const fs::path composite = product.directory() / "tools/sites/all";
    fs::create_directories(composite);
    write(composite / file,
          "<?xml version='1.0'?><repository name='all' version='1.0.0' type='org.eclipse.equinox.internal.p2." +
              std::string(kind) +
              "'><properties size='1'><property name='p2.atomic.composite.loading' value='true'/></properties><children "
              "size='2'><child location='../alpha'/><child location='../missing'/></children></repository>");
  }
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-not-loadable"));
}

/// Sets where the jars of bundles are, as a URL.
std::string bundles_at(const std::string& output) {
  return "s|output='${repoUrl}/plugins/${id}_${version}.jar'|output='" + output + "'|";
}

TEST(LintDirector, ArtifactsAreFetchedFromWhereTheMappingRuleLeads) {
  const std::string rest = "/${id}_${version}.jar";
  const std::vector<std::pair<std::string, std::string>> outputs = {
      {"http://updates.example.org" + rest, "repository-without-artifacts"},
      {"plugins" + rest, "repository-without-artifacts"},
      {"${repoUrl}/bundles" + rest, "repository-without-artifacts"},
      {"file:///elsewhere" + rest, "repository-without-artifacts"}};
  for (const auto& [output, rule] : outputs) {
    Product product;
    product.component("tools", {"alpha"}, alpha);
    edit_alpha(product, "artifacts", bundles_at(output));
    EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13)) << output;
    EXPECT_THAT(rules_broken_by(product), ElementsAre(rule)) << output;
  }
  for (const bool is_inside : {true, false}) {
    Product product;
    product.component("tools", {"alpha"}, alpha);
    const fs::path site = product.directory() / "tools/sites/alpha";
    const fs::path bundles = is_inside ? site / "bundles" : product.directory() / "bundles";
    edit_alpha(product, "artifacts", bundles_at((is_inside ? "${repoUrl}/bundles" : "file://" + bundles.string()) + rest));
    fs::rename(site / "plugins", bundles);
    EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
    EXPECT_EQ(rules_broken_by(product),
              is_inside ? std::vector<std::string>() : std::vector<std::string>{"repository-outside-component"});
  }
}

TEST(LintDirector, MetadataBesideContentJarIsIgnored) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group/2.0.0\n");
  const fs::path site = product.directory() / "tools/sites/alpha";
  const auto edited = eclipse_shell::run_in_shell("cd '" + site.string() +
                                                  "' && unzip -p content.jar | sed 's/1[.]0[.]0/2.0.0/g' > content.xml");
  ASSERT_EQ(edited.exit_code, 0) << edited.output;
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), Contains("repository-metadata-ignored"));
  ASSERT_EQ(eclipse_shell::run_in_shell("cd '" + site.string() + "' && unzip -p content.jar > content.xml").exit_code, 0);
  write(product.directory() / "tools/etc/eclipse/features.txt", alpha);
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
  EXPECT_THAT(rules_broken_by(product), testing::Not(Contains("repository-metadata-ignored")));
}

TEST(LintDirector, MetadataInAnotherEncodingThanItsFirstLineNamesIsNotLoaded) {
  const std::string utf_16 = "iconv -f UTF-8 -t UTF-16";
  const std::vector<std::pair<std::string, int>> recodings = {
      {utf_16, 13}, {"sed 1s/UTF-8/UTF-16/ | " + utf_16, 0}, {"sed 1s/UTF-8/UTF-16/", 13}, {"sed 1s/UTF-8/ISO-8859-1/", 0}};
  for (const auto& [recoding, exit_code] : recodings) {
    Product product;
    product.component("tools", {"alpha"}, alpha);
    const std::string site = (product.directory() / "tools/sites/alpha").string();
    const auto recoded = eclipse_shell::run_in_shell("cd '" + site + "' && unzip -p content.jar | " + recoding +
                                                     " > content.xml && rm content.jar");
    ASSERT_EQ(recoded.exit_code, 0) << recoded.output;
    EXPECT_EQ(product.run("install").exit_codes().front(), exit_code) << recoding;
    EXPECT_EQ(rules_broken_by(product),
              exit_code == 0 ? std::vector<std::string>() : std::vector<std::string>{"repository-not-loadable"})
        << recoding;
  }
}

TEST(LintDirector, SecondElementWithUnitsIsIgnored) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  edit_alpha(product, "content", "s|<units size='3'>|<units size='1'><unit id='org.example.other' version='1.0.0'/></units>&|");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("org.example.alpha.feature.group has not been found."));
  EXPECT_THAT(rules_broken_by(product), testing::UnorderedElementsAre("feature-not-found", "repository-metadata-ignored"));
}

TEST(LintDirector, ArchiveInAnArchiveCannotBeLoaded) {
  Product product;
  product.component("tools", {"alpha.zip"}, "sites/all.zip\torg.example.alpha.feature.group\n");
  const std::string sites = (product.directory() / "tools/sites").string();
  ASSERT_EQ(eclipse_shell::run_in_shell("cd '" + sites + "' && zip -q all.zip alpha.zip").exit_code, 0);
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-without-metadata"));
}

TEST(LintDirector, TwoVersionsOfAFeatureAreNotInstalledTogether) {
  for (const std::string second : {"/2.0.0", ""}) {
    Product product;
    product.component("tools", {"alpha"},
                      "sites/alpha\torg.example.alpha.feature.group/1.0.0\n"
                      "sites/newer\torg.example.alpha.feature.group" +
                          second + "\n");
    product.make_site("tools", "newer", "alpha", "2.0.0");
    // Not even without a singleton bundle.
    edit_alpha(product, "content",
               "s|<unit id='org.example.alpha.plugin' version='1.0.0'>|<unit id='org.example.alpha.plugin' "
               "version='1.0.0' singleton='false'>|");
    product.write_session("install");
    const std::vector<std::string> found(second.empty() ? 1 : 2, "feature-pinned");
    EXPECT_EQ(rules_broken_by(product), found) << second;
    const Outcome outcome = product.run("install");
    EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 0, 13)) << second;
    EXPECT_THAT(output_of(outcome, 0), HasSubstr("Only one of the following can be installed at once"));
  }
}

TEST(LintDirector, OtherCharactersThanAsciiNeedALocaleWithUtf8) {
  for (const std::string locale : {"C", "xx_XX.UTF-8", "C.UTF-8"}) {
    Product product;
    add_alpha_as(product, "b\xC3\xA4r", "sites/b\xC3\xA4r\torg.example.alpha.feature.group\n");
    const std::string before = std::getenv("LC_ALL") == nullptr ? "" : std::getenv("LC_ALL");
    setenv("LC_ALL", locale.c_str(), 1);
    const Outcome outcome = product.run("install");
    const auto broken = rules_broken_by(product);
    before.empty() ? unsetenv("LC_ALL") : setenv("LC_ALL", before.c_str(), 1);
    const bool is_read = locale == "C.UTF-8";
    EXPECT_EQ(outcome.exit_codes().front(), is_read ? 0 : 13) << locale;
    EXPECT_THAT(planned(outcome), ElementsAre(is_read ? "add" : "fail")) << locale;
    EXPECT_EQ(broken, is_read ? std::vector<std::string>() : std::vector<std::string>{"repository-not-utf-8"}) << locale;
  }
}

TEST(LintDirector, RelativePathOfAnEclipseIsThatOfTheWorkingDirectory) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  const Product other;
  const std::string there = "cd '" + other.directory().string() + "' && ";
  const std::string session = product.write_session("install", {{"USER_DEFINED_ECLIPSE_PATH", "ide/eclipse"}});
  EXPECT_EQ(eclipse_int("run --json " + session, there).status, 0);
  EXPECT_EQ(other.installed(), features({"alpha"}));
  EXPECT_THAT(product.installed(), IsEmpty());
  EXPECT_THAT(rules_broken_by(product, there), ElementsAre("user-path-relative"));
}

TEST(LintDirector, ComponentThatWasInstalledBeforeIsNotIntegratedIntoAKnownInstance) {
  Product product;
  auto& old = product.component("old", {"gamma"}, "sites/gamma\torg.example.gamma.feature.group\n");
  old["install"] = false;
  old["remove"] = false;
  old["installed"] = true;
  product.component("tools", {"alpha"}, alpha);
  const std::map<std::string, std::string> known = {{"CASHED_ECLIPSE_PATH", product.executable().string()}};
  EXPECT_EQ(product.run("modify", known).status, 0);
  EXPECT_EQ(product.installed(), features({"alpha"}));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("installed-component-not-integrated"));
  EXPECT_EQ(product.run("modify").status, 0);
  EXPECT_EQ(product.installed(), features({"alpha", "gamma"}));
}

TEST(LintDirector, PlaceholderIsLeftToTheShellAndTheDirector) {
  for (const auto& [repository, exit_code] :
       {std::pair("sites/alpha-${project.version}", 2), std::pair("sites/${name}s", 13), std::pair("sites/@name@", 13)}) {
    Product product;
    product.component("tools", {"alpha"}, std::string(repository) + "\torg.example.alpha.feature.group\n");
    const auto codes = product.run("install").exit_codes();
    EXPECT_THAT(codes, ElementsAre(testing::AnyOf(exit_code, 1), testing::AnyOf(exit_code, 1))) << repository;
    EXPECT_THAT(rules_broken_by(product), ElementsAre("placeholder-not-replaced")) << repository;
  }
}

TEST(LintDirector, LinkAsATextFileCannotBeLoaded) {
  Product product;
  product.component("tools", {"alpha"}, "sites/latest\torg.example.alpha.feature.group\n");
  write(product.directory() / "tools/sites/latest", "alpha");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("link-as-text"));
  fs::remove(product.directory() / "tools/sites/latest");
  fs::create_symlink("alpha", product.directory() / "tools/sites/latest");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
  EXPECT_THAT(rules_broken_by(product), IsEmpty());
}

TEST(LintDirector, OneOfTwoBuildsOfAnArtifactIsInstalled) {
  Product product;
  add_alpha_as(product, "other", std::string(alpha) + "sites/other\torg.example.alpha.feature.group\n");
  const std::string jar = "plugins/org.example.alpha.plugin_1.0.0.jar";
  const fs::path sites = product.directory() / "tools/sites";
  const auto rebuilt = eclipse_shell::run_in_shell("cd '" + (sites / "alpha").string() + "' && printf X | dd of=" + jar +
                                                   " bs=1 seek=10 conv=notrunc 2>/dev/null && sha512sum < " + jar +
                                                   " | cut -c1-128 | tr -d '\\n'");
  ASSERT_EQ(rebuilt.exit_code, 0);
  list_alpha_with(product, "<property name='download.checksum.sha-512' value='" + rebuilt.output + "'/>");
  EXPECT_EQ(product.run("install").status, 0);
  const auto bytes_of = [](const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return std::string{std::istreambuf_iterator<char>(stream), {}};
  };
  const std::string installed = bytes_of(product.directory() / "ide" / jar);
  EXPECT_NE(bytes_of(sites / "alpha" / jar), bytes_of(sites / "other" / jar));
  EXPECT_THAT(installed, testing::AnyOf(bytes_of(sites / "alpha" / jar), bytes_of(sites / "other" / jar)));
  EXPECT_THAT(rules_broken_by(product), Contains("artifact-in-two-builds"));
}

TEST(LintDirector, ExampleThatAPackageListsGoesIn) {
  Product product;
  auto& tools = product.component("tools", {"alpha", "gamma"}, alpha);
  const fs::path example = product.directory() / "tools/doc/etc/eclipse/example.txt";
  fs::create_directories(example.parent_path());
  write(example, "sites/gamma\torg.example.gamma.feature.group\n");
  tools["package"] = {{"files", {"etc/eclipse/features.txt", "doc/etc/eclipse/example.txt"}}};
  EXPECT_EQ(product.run("install").status, 0);
  EXPECT_EQ(product.installed(), features({"alpha", "gamma"}));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("example-is-descriptor"));
}

TEST(LintDirector, ArtifactsOfAnotherBuildAreNotFound) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  edit_alpha(product, "content", "s/1\\.0\\.0/1.0.1/g");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-without-artifacts"));
}

TEST(LintDirector, FilesForOtherSystemsMayBeMissing) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  edit_alpha(product, "content",
             "s|</units>|<unit id='org.example.win32' version='1.0.0'><filter>(osgi.os=win32)</filter><artifacts size='1'>"
             "<artifact classifier='osgi.bundle' id='org.example.win32' version='1.0.0'/></artifacts>"
             "<touchpoint id='null' version='0.0.0'/></unit></units>|\n"
             "s|<units size='3'>|<units size='4'>|\n"
             "s|<requires size='2'>|<requires size='3'><required namespace='org.eclipse.equinox.p2.iu' "
             "name='org.example.win32' range='0.0.0'><filter>(osgi.os=win32)</filter></required>|");
  edit_alpha(product, "artifacts",
             "s|<artifacts size='2'>|<artifacts size='3'><artifact classifier='osgi.bundle' id='org.example.win32' "
             "version='1.0.0'/>|");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-without-artifacts"));
  EXPECT_EQ(
      eclipse_shell::run_in_shell("'" ECLIPSE_INT_COMMAND "' lint '" + (product.directory() / "session.json").string() + "'")
          .exit_code,
      0);
}

TEST(LintDirector, ArchivePackedByAnotherMethodThanDeflateCannotBeLoaded) {
  Product product;
  add_repacked_alpha(product, "for name in old.namelist():\n  new.writestr(name, old.read(name))\n", ", zipfile.ZIP_LZMA");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-not-loadable"));
}

TEST(LintDirector, OtherBuildOfTheSameVersionIsNotInstalled) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  ASSERT_EQ(product.run("install").status, 0);
  const std::string jar = "plugins/org.example.alpha.plugin_1.0.0.jar";
  const auto installed = [&] {
    return eclipse_shell::run_in_shell("sha256sum < '" + (product.directory() / "ide" / jar).string() + "'").output;
  };
  const std::string before = installed();
  const std::string site = (product.directory() / "tools/sites/alpha").string();
  const auto rebuilt = eclipse_shell::run_in_shell("cd '" + site + "' && printf X | dd of=" + jar +
                                                   " bs=1 seek=10 conv=notrunc 2>/dev/null && sha256sum < " + jar +
                                                   " | cut -c1-64 | tr -d '\\n'");
  ASSERT_EQ(rebuilt.exit_code, 0);
  list_alpha_with(product, "<property name='download.checksum.sha-256' value='" + rebuilt.output + "'/>");
  EXPECT_EQ(product.run("install").status, 0);
  EXPECT_EQ(installed(), before);
  EXPECT_THAT(rules_broken_by(product), ElementsAre("other-build-installed"));
}

/// What the director caches of an archive, and often deletes again when it ends, as if the archive had been this site
/// before, at the same time.
void cache_metadata(const Product& product, const fs::path& archive, const fs::path& site, const std::string& child = "") {
  const auto time = std::chrono::floor<std::chrono::seconds>(fs::last_write_time(archive));
  const eclipse_p2::MetadataCache cache(product.directory() / "ide", archive);
  for (const char* const name : {"content.jar", "artifacts.jar"}) {
    const fs::path cached = cache.file_for(child, name);
    fs::create_directories(cached.parent_path());
    fs::copy_file(site / name, cached, fs::copy_options::overwrite_existing);
    fs::last_write_time(cached, time);
  }
}

bool resolves(const Product& product) {
  return eclipse_int("plan --resolve --json " + product.write_session("install")).result.at("resolution").at("resolves");
}

TEST(LintDirector, ReplacedArchiveWithTheSameTimeIsNotNoticed) {
  Product product;
  product.component("tools", {"beta.zip"}, "sites/beta.zip\torg.example.beta.feature.group\n");
  const fs::path archive = product.directory() / "tools/sites/beta.zip";
  cache_metadata(product, archive, prepared / "sites/alpha");
  EXPECT_FALSE(resolves(product));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("cached-metadata-outdated"));
  const Outcome outcome = product.run("install");
  EXPECT_EQ(outcome.exit_codes().front(), 13);
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("org.example.beta.feature.group has not been found"));
  EXPECT_THAT(planned(outcome), ElementsAre("fail"));
}

TEST(LintDirector, UpdateInAnArchiveWithTheSameTimeIsNotNoticed) {
  Product product;
  product.component("tools", {"alpha.zip"}, "sites/alpha.zip\torg.example.alpha.feature.group\n");
  ASSERT_THAT(product.run("install").exit_codes(), ElementsAre(0));
  product.make_site("tools", "newer", "alpha", "2.0.0");
  const std::string sites = (product.directory() / "tools/sites").string();
  ASSERT_EQ(eclipse_shell::run_in_shell("cd '" + sites +
                                        "/newer' && zip -qr ../newer.zip . && touch -r ../alpha.zip "
                                        "../newer.zip && mv ../newer.zip ../alpha.zip && rm -r ../newer")
                .exit_code,
            0);
  cache_metadata(product, sites + "/alpha.zip", prepared / "sites/alpha");
  EXPECT_THAT(rules_broken_by(product), Contains("cached-metadata-outdated"));
  const Child update = eclipse_int("run --update --json " + product.write_session("install"));
  EXPECT_EQ(update.status, 1);
  EXPECT_THAT(update.result.dump(), HasSubstr("org.example.alpha.feature.group/2.0.0 has not been found"));
  EXPECT_EQ(product.installed(), features({"alpha"}));
}

TEST(LintDirector, ReplacedArchiveWithAnotherTimeIsReadAgain) {
  Product product;
  product.component("tools", {"beta.zip"}, "sites/beta.zip\torg.example.beta.feature.group\n");
  const fs::path archive = product.directory() / "tools/sites/beta.zip";
  cache_metadata(product, archive, prepared / "sites/alpha");
  fs::last_write_time(archive, fs::last_write_time(archive) - std::chrono::seconds(1));
  EXPECT_TRUE(resolves(product));
  EXPECT_THAT(rules_broken_by(product), IsEmpty());
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
}

TEST(LintDirector, MetadataOfAChildInAnArchiveIsCachedToo) {
  Product product;
  product.component("tools", {"beta"}, "sites/both.zip\torg.example.beta.feature.group\n");
  const fs::path sites = product.directory() / "tools/sites";
  for (const std::string kind : {"Content", "Artifacts"}) {
    write(sites / ("composite" + kind + ".xml"),
          "<?xml version='1.0'?>\n<repository name='both' type='org.eclipse.equinox.internal.p2." +
              std::string(kind == "Content" ? "metadata" : "artifact") + ".repository.Composite" +
              (kind == "Content" ? "Metadata" : "Artifact") +
              "Repository' version='1.0.0'><children size='1'><child location='beta'/></children></repository>\n");
  }
  ASSERT_EQ(eclipse_shell::run_in_shell("cd '" + sites.string() + "' && zip -qr both.zip *").exit_code, 0);
  cache_metadata(product, sites / "both.zip", prepared / "sites/alpha", "beta");
  EXPECT_FALSE(resolves(product));
  EXPECT_THAT(rules_broken_by(product), Contains("cached-metadata-outdated"));
  EXPECT_EQ(product.run("install").exit_codes().front(), 13);
}

TEST(LintDirector, CachedMetadataOfTheSameArchiveIsFine) {
  Product product;
  product.component("tools", {"beta.zip"}, "sites/beta.zip\torg.example.beta.feature.group\n");
  cache_metadata(product, product.directory() / "tools/sites/beta.zip", prepared / "sites/beta");
  EXPECT_TRUE(resolves(product));
  EXPECT_THAT(rules_broken_by(product), IsEmpty());
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
}

TEST(LintDirector, JarIsRejectedByACachedChecksum) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha.zip\torg.example.alpha.feature.group\n");
  const fs::path sites = product.directory() / "tools/sites";
  list_alpha_with(product, "<property name='download.checksum.md5' value='0123456789abcdef0123456789abcdef'/>");
  const auto packed =
      eclipse_shell::run_in_shell("cd '" + (sites / "alpha").string() + "' && zip -q artifacts.jar artifacts.xml && cp '" +
                                  (prepared / "sites/alpha.zip").string() + "' ..");
  ASSERT_EQ(packed.exit_code, 0);
  cache_metadata(product, sites / "alpha.zip", sites / "alpha");
  EXPECT_TRUE(resolves(product));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("cached-metadata-outdated"));
  const Outcome outcome = product.run("install");
  EXPECT_EQ(outcome.exit_codes().front(), 13);
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("MD5 hash is not as expected"));
  EXPECT_THAT(planned(outcome), ElementsAre("fail"));
}

/// A copy of the site alpha with the feature org.example.NAME in its place, and all of it in this version.
void add_site_with_bundle_of_alpha(Product& product, const std::string& name, const std::string& version) {
  product.component(name, {"alpha"}, "sites/alpha\torg.example." + name + ".feature.group\n");
  const std::string site = (product.directory() / name / "sites/alpha").string();
  const std::string rename = "s/org\\.example\\.alpha\\.feature/org.example." + name +
                             ".feature/g; s/id=.org\\.example\\.alpha. /id=\"org.example." + name +
                             "\" /; /<units/,/<\\/units/s/1\\.0\\.0/" + version + "/g; /<artifacts/,$s/1\\.0\\.0/" + version +
                             "/g; s/\\(p2\\.osgi. version=.\\)[0-9.]*/\\11.0.0/; /checksum/d";
  const auto made = eclipse_shell::run_in_shell(
      "cd '" + site + "' && for list in content artifacts; do unzip -qo $list.jar && rm $list.jar && sed -i '" + rename +
      "' $list.xml || exit 1; done; mv features/*.jar features/org.example." + name + "_" + version +
      ".jar; test -e plugins/org.example.alpha.plugin_" + version +
      ".jar || mv plugins/*.jar plugins/org.example.alpha.plugin_" + version + ".jar");
  ASSERT_EQ(made.exit_code, 0) << made.error_output;
}

TEST(LintDirector, JarThatARemovalLeftMustStay) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group\n");
  ASSERT_EQ(product.run("install").status, 0);
  ASSERT_EQ(product.run("uninstall").status, 0);
  ASSERT_TRUE(fs::remove(product.directory() / "ide/plugins/org.example.alpha.plugin_1.0.0.jar"));
  product.write_session("install");
  EXPECT_THAT(rules_broken_by(product), ElementsAre("installed-file-missing"));
  const Outcome outcome = product.run("install");
  EXPECT_EQ(outcome.exit_codes().front(), 13);
  EXPECT_THAT(planned(outcome), ElementsAre("fail"));
  const auto collected = eclipse_shell::run_in_shell(
      "'" + product.executable().string() +
      "' -nosplash -application org.eclipse.equinox.p2.garbagecollector.application -profile EclipseProfile");
  ASSERT_EQ(collected.exit_code, 0) << collected.output;
  EXPECT_THAT(rules_broken_by(product), IsEmpty());
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
}

TEST(LintDirector, FeatureMustNotIncludeWhatIsNotPublished) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group\n");
  const auto edited = eclipse_shell::run_in_shell("cd '" + (product.directory() / "tools/sites/alpha").string() +
                                                  "' && unzip -qo content.jar && rm content.jar && sed -i \"/<unit "
                                                  "id='org.example.alpha.plugin'/,/<\\/unit>/d\" content.xml");
  ASSERT_EQ(edited.exit_code, 0);
  product.write_session("install");
  EXPECT_THAT(rules_broken_by(product), ElementsAre("requirement-not-met"));
  const Outcome outcome = product.run("install");
  EXPECT_EQ(outcome.exit_codes().front(), 13);
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("could not be found"));
  EXPECT_THAT(planned(outcome), ElementsAre("fail"));
}

TEST(LintDirector, InstalledFeatureMayIncludeASingletonInAnotherVersion) {
  Product product;
  add_site_with_bundle_of_alpha(product, "one", "1.0.0");
  ASSERT_THAT(product.run("install").exit_codes(), ElementsAre(0));
  Product other;
  fs::remove_all(other.directory() / "ide");
  fs::copy(product.directory() / "ide", other.directory() / "ide",
           fs::copy_options::recursive | fs::copy_options::copy_symlinks);
  add_site_with_bundle_of_alpha(other, "two", "2.0.0");
  const Outcome outcome = other.run("install");
  EXPECT_EQ(outcome.exit_codes().front(), 13);
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("Only one of the following can be installed at once"));
  EXPECT_THAT(planned(outcome), ElementsAre("fail"));
  EXPECT_THAT(rules_broken_by(other), Contains("singleton-in-two-versions"));
}

void let_bundle_be_no_singleton(const Product& product, const std::string& code) {
  const std::string list = (product.directory() / code / "sites/alpha/content.xml").string();
  const auto made = eclipse_shell::run_in_shell(
      "sed -i \"s/;singleton:=true//; s/<unit id='org.example.alpha.plugin'/& singleton='false'/\" '" + list + "'");
  ASSERT_EQ(made.exit_code, 0);
}

TEST(LintDirector, TwoFeaturesCannotIncludeASingletonInTwoVersions) {
  Product product;
  add_site_with_bundle_of_alpha(product, "one", "1.0.0");
  add_site_with_bundle_of_alpha(product, "two", "2.0.0");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 0, 13));
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("Only one of the following can be installed at once"));
  EXPECT_THAT(planned(outcome), ElementsAre("add", "fail"));
  EXPECT_THAT(rules_broken_by(product), Contains("singleton-in-two-versions"));
  EXPECT_EQ(product.installed(), features({"one"}));
}

TEST(LintDirector, OneSingletonOfTwoVersionsSuffices) {
  Product product;
  add_site_with_bundle_of_alpha(product, "one", "1.0.0");
  add_site_with_bundle_of_alpha(product, "two", "2.0.0");
  let_bundle_be_no_singleton(product, "one");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 0, 13));
  EXPECT_THAT(rules_broken_by(product), Contains("singleton-in-two-versions"));
}

TEST(LintDirector, TwoFeaturesCanIncludeABundleInTwoVersionsThatIsNoSingleton) {
  Product product;
  add_site_with_bundle_of_alpha(product, "one", "1.0.0");
  add_site_with_bundle_of_alpha(product, "two", "2.0.0");
  let_bundle_be_no_singleton(product, "one");
  let_bundle_be_no_singleton(product, "two");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
  EXPECT_THAT(rules_broken_by(product), testing::Not(Contains("singleton-in-two-versions")));
}

TEST(LintDirector, ArchiveWithBackslashesLacksItsArtifacts) {
  Product product;
  add_repacked_alpha(product,
                     "for name in old.namelist():\n  info = zipfile.ZipInfo(name.replace(\"/\", chr(92)))\n"
                     "  info.create_system = 0\n  new.writestr(info, old.read(name))\n");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("artifact-damaged"));
}

TEST(LintDirector, BothSidesOfAMergeConflictGoIn) {
  Product product;
  product.component(
      "tools", {"alpha", "gamma"},
      "<<<<<<< HEAD\n" + std::string(alpha) + "=======\nsites/gamma\torg.example.gamma.feature.group\n>>>>>>> b\n");
  EXPECT_EQ(product.run("install").status, 0);
  EXPECT_EQ(product.installed(), features({"alpha", "gamma"}));
  EXPECT_THAT(rules_broken_by(product), Each("merge-conflict-marker"));
}

TEST(LintDirector, RepositoryOfAnotherComponentIsMissingWithoutIt) {
  Product product;
  product.component("base", {"alpha", "gamma"}, "sites/gamma\torg.example.gamma.feature.group\n");
  product.component("tools", {}, "../base/sites/alpha\torg.example.alpha.feature.group\t\t1\n");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-outside-component"));
  fs::rename(product.directory() / "base/sites/alpha", product.directory() / "alpha");
  write(product.directory() / "tools/etc/eclipse/features.txt", "../alpha\torg.example.alpha.feature.group\t\t1\n");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-outside-component"));

  Product alone;
  alone.component("tools", {"gamma"},
                  "sites/gamma\torg.example.gamma.feature.group\n../base/sites/alpha\torg.example.alpha.feature.group\t\t1\n");
  EXPECT_THAT(alone.run("install").exit_codes(), ElementsAre(13, 0, 13));
  EXPECT_THAT(rules_broken_by(alone), ElementsAre("repository-missing"));
}

TEST(LintDirector, ArtifactsMayComeFromAnotherSite) {
  Product product;
  product.component("tools", {"alpha", "gamma"}, std::string(alpha) + "sites/gamma\torg.example.gamma.feature.group\n");
  product.component("more", {"alpha"}, alpha);
  fs::remove(product.directory() / "tools/sites/alpha/artifacts.jar");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("feature-from-two-repositories"));
}

TEST(LintDirector, DamagedListOfArtifactsCannotBeLoaded) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  write(product.directory() / "tools/sites/alpha/artifacts.jar", "no archive");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-not-loadable"));
}

TEST(LintDirector, FeatureWithAnOddCharacterIsNotFound) {
  for (const std::string id : {"org.example.alpha~", "org.example.\xC3\xA4lpha", "!org.example.alpha", "org.example.al%"}) {
    Product product;
    product.component("tools", {"alpha"}, "sites/alpha\t" + id + ".feature.group\n");
    EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13)) << id;
    EXPECT_THAT(rules_broken_by(product), ElementsAre("feature-not-found")) << id;
  }
}

TEST(LintDirector, PinnedVersionIsFoundWhenASiteOffersIt) {
  for (const std::string version : {"1", "01.0", "0.0.0"}) {
    Product product;
    product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group/" + version + "\n");
    EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0)) << version;
    EXPECT_EQ(rules_broken_by(product),
              (version == "0.0.0" ? std::vector<std::string>() : std::vector<std::string>{"feature-pinned"}))
        << version;
  }
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group/2.0.0\n");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("feature-not-found", "feature-pinned"));
}

TEST(LintDirector, MissingRepositoryIsOnlyMentionedBesideAnother) {
  Product product;
  product.component("tools", {"alpha"}, std::string(alpha) + "sites/missing\torg.example.alpha.feature.group\n");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(0));
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("There were errors."));
  EXPECT_THAT(rules_broken_by(product), Contains("repository-missing"));
}

TEST(LintDirector, MissingRepositoryAloneFails) {
  Product product;
  product.component("tools", {}, alpha);
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), Contains("repository-missing"));
}

TEST(LintDirector, DirectoryWithoutMetadataCannotBeLoaded) {
  Product product;
  product.component("tools", {"alpha"}, "sites\torg.example.alpha.feature.group\n");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-without-metadata"));
}

TEST(LintDirector, DamagedMetadataCannotBeLoaded) {
  const std::vector<std::pair<std::string, std::string>> damages = {{"content.jar", "no archive"},
                                                                    {"content.xml", "<repository><units><unit"},
                                                                    {"content.xml", "<html/>"},
                                                                    {"content.xml", ""},
                                                                    {"compositeContent.xml", "<repository"}};
  for (const auto& [name, content] : damages) {
    Product product;
    product.component("tools", {"alpha"}, alpha);
    fs::remove(product.directory() / "tools/sites/alpha/content.jar");
    write(product.directory() / "tools/sites/alpha" / name, content);
    EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13)) << content;
    EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-not-loadable")) << content;
  }
}

TEST(LintDirector, DamagedArchiveIsPreferredToTheFileBesideIt) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  const std::string site = (product.directory() / "tools/sites/alpha").string();
  ASSERT_EQ(eclipse_shell::run_in_shell("cd '" + site + "' && unzip -q content.jar").exit_code, 0);
  ASSERT_TRUE(fs::exists(site + "/content.xml"));
  write(site + "/content.jar", "no archive");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-not-loadable"));
}

TEST(LintDirector, DamagedRepositoryIsOnlyMentionedBesideAnother) {
  Product product;
  product.component("tools", {"alpha", "gamma"}, std::string(alpha) + "sites/gamma\torg.example.alpha.feature.group\n");
  write(product.directory() / "tools/sites/gamma/content.jar", "no archive");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(0));
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("There were errors."));
  EXPECT_THAT(rules_broken_by(product), Contains("repository-not-loadable"));
}

TEST(LintDirector, LostChildOfACompositeIsPassedOverWithoutAWord) {
  Product product;
  product.component("tools", {"alpha"}, "sites/all\torg.example.alpha.feature.group\n");
  const fs::path composite = product.directory() / "tools/sites/all";
  fs::create_directories(composite);
  for (const auto& [file, kind] : {std::pair("compositeContent.xml", "metadata.repository.CompositeMetadataRepository"),
                                   std::pair("compositeArtifacts.xml", "artifact.repository.CompositeArtifactRepository")}) {
    write(composite / file,
          "<?xml version='1.0'?><repository name='all' version='1.0.0' type='org.eclipse.equinox.internal.p2." +
              std::string(kind) +
              "'><children size='2'><child location='../alpha'/><child "
              "location='../missing'/></children></repository>");
  }
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(0));
  EXPECT_EQ(output_of(outcome, 0).find("error"), std::string::npos);
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-not-loadable"));
}

TEST(LintDirector, RemovalNeedsNoSites) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  ASSERT_EQ(product.run("install").status, 0);
  fs::remove_all(product.directory() / "tools/sites");
  EXPECT_EQ(product.run("uninstall").status, 0);
  EXPECT_EQ(product.installed(), features({}));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("unit-not-installed"));  // by now
  EXPECT_EQ(product.run("install").status, 1);
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-missing"));
}

TEST(LintDirector, CommaBehindAFeatureIsPassedOverButNotOneBeforeIt) {
  Product trailing;
  trailing.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group,\n");
  EXPECT_THAT(trailing.run("install").exit_codes(), ElementsAre(0));
  EXPECT_THAT(rules_broken_by(trailing), ElementsAre("comma-in-feature"));
  Product before;
  before.component("tools", {"alpha"}, "sites/alpha\t,org.example.alpha.feature.group\n");
  const Outcome outcome = before.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(output_of(outcome, 0), HasSubstr(",org.example.alpha.feature.group has not been found."));
  EXPECT_THAT(rules_broken_by(before), ElementsAre("comma-in-feature"));
}

TEST(LintDirector, FeatureWithoutItsSuffixIsNotFound) {
  Product product;
  product.component("tools", {"alpha", "gamma"},
                    "sites/alpha\torg.example.alpha\nsites/gamma\torg.example.gamma.feature.group\n");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13, 0));
  EXPECT_EQ(outcome.variable("QN_SCRIPTS_FAILED"), "yes");
  EXPECT_EQ(product.installed(), features({"gamma"}));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("feature-without-group-suffix"));
}

TEST(LintDirector, FeatureInOtherLetterCaseIsNotFound) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.Alpha.feature.group\n");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("org.example.Alpha.feature.group has not been found."));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("feature-not-found"));
}

TEST(LintDirector, DashIsTakenForAnOption) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\t-org.example.alpha.feature.group\n");
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(output_of(outcome, 0), HasSubstr("Option -i requires an argument."));
  EXPECT_THAT(rules_broken_by(product), Contains("feature-looks-like-option"));
}

TEST(LintDirector, HashMakesACommentOfTheRest) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\t#org.example.alpha.feature.group\n");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), Contains("feature-needs-shell-quoting"));
}

TEST(LintDirector, WhatIsNoVersionBreaksTheDirectorOff) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group/latest.and.greatest\n");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("feature-version-invalid"));
}

TEST(LintDirector, PinnedFeatureOfAnotherVersionIsNotRemovedAndKeepsTheOthers) {
  Product product;
  product.component("tools", {"alpha", "gamma"}, std::string(alpha) + "sites/gamma\torg.example.gamma.feature.group\n");
  ASSERT_EQ(product.run("install").status, 0);
  write(product.directory() / "tools/etc/eclipse/features.txt",
        "sites/alpha\torg.example.alpha.feature.group/0.9.0\nsites/gamma\torg.example.gamma.feature.group\n");
  const Outcome outcome = product.run("uninstall");
  EXPECT_EQ(outcome.exit_codes().front(), 13);
  EXPECT_EQ(product.installed(), features({"alpha", "gamma"}));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("feature-pinned", "unit-not-installed"));
}

TEST(LintDirector, CommaInAFeatureMakesTwoOfIt) {
  Product product;
  product.component("tools", {"alpha", "gamma"},
                    "sites/alpha\torg.example.alpha.feature.group,org.example.gamma.feature.group\n"
                    "sites/gamma\torg.example.gamma.feature.group\n");
  EXPECT_EQ(product.run("install").status, 0);
  EXPECT_EQ(product.installed(), features({"alpha", "gamma"}));
  EXPECT_THAT(rules_broken_by(product), Contains("comma-in-feature"));
}

TEST(LintDirector, BundleIsInstalledAsItIs) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.plugin\n");
  EXPECT_EQ(product.run("install").status, 0);
  EXPECT_THAT(product.installed(), ElementsAre("org.example.alpha.plugin/1.0.0"));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("unit-not-a-feature"));
}

TEST(LintDirector, RemovalOfAProductDeletesTheLauncher) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\tlocal.ide\n");
  ASSERT_TRUE(fs::exists(product.executable()));
  EXPECT_EQ(product.run("uninstall").status, 0);
  EXPECT_FALSE(fs::exists(product.executable()));
}

TEST(LintDirector, CommandWithAZeroByteIsRefusedBecauseWhatIsLeftOfItSucceeds) {
  Product product;
  product.component("tools", {"alpha"}, alpha + std::string("sites/\0beta\torg.example.beta.feature.group\n", 43));
  const Outcome outcome = product.run("install");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(126, 126, 126));
  EXPECT_EQ(product.installed(), features({}));

  // What an installer runs that hands the command over as a C string.
  const std::string command = outcome.commands().front();
  const std::string passed_on = command.substr(0, command.find('\0'));
  ASSERT_THAT(passed_on, HasSubstr(" -repository "));
  ASSERT_LT(passed_on.size(), command.size());
  const auto director = eclipse_shell::run_in_shell(passed_on);
  EXPECT_EQ(director.exit_code, 0);
  EXPECT_THAT(director.output, HasSubstr("The argument specifying what to install or uninstall is missing."));
  EXPECT_EQ(product.installed(), features({}));
  EXPECT_THAT(rules_broken_by(product), Contains("not-8-bit-text"));
}

TEST(LintDirector, SpaceBehindARepositoryMakesEveryCommandFail) {
  Product product;
  product.component("tools", {"alpha", "gamma"},
                    "sites/alpha \torg.example.alpha.feature.group\nsites/gamma\torg.example.gamma.feature.group\n");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("space-around-column"));
}

TEST(LintDirector, CommentWithATabMakesEveryCommandFail) {
  Product product;
  product.component("tools", {"alpha"}, "# sites/old\torg.example.old.feature.group\n" + std::string(alpha));
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("comment-is-data"));
}

TEST(LintDirector, HeaderWithAByteOrderMarkIsAFeatureThatIsNotFound) {
  Product product;
  product.component("tools", {"alpha"}, "\xEF\xBB\xBFRepository\tFeature\n" + std::string(alpha));
  const Outcome outcome = product.run("install");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13, 0));
  EXPECT_EQ(product.installed(), features({"alpha"}));
  EXPECT_THAT(rules_broken_by(product), Contains("byte-order-mark"));
}

TEST(LintDirector, UnitThatIsNotInstalledKeepsAllOthers) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  ASSERT_EQ(product.run("install").status, 0);
  EXPECT_THAT(rules_broken_by(product), IsEmpty());
  product.component("more", {"gamma"}, "sites/gamma\torg.example.gamma.feature.group\n");
  EXPECT_EQ(product.run("uninstall").status, 1);
  EXPECT_EQ(product.installed(), features({"alpha"}));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("unit-not-installed"));
}

TEST(LintDirector, UnitThatIsRequiredStaysAndTheDirectorSucceeds) {
  Product product;
  product.component("tools", {"alpha"}, alpha);
  ASSERT_EQ(product.run("install").status, 0);
  Product other("other");
  other.component("plugin", {"alpha"}, "sites/alpha\torg.example.alpha.plugin\n");
  const Outcome removal = other.run("uninstall", {{"USER_DEFINED_ECLIPSE_PATH", product.executable().string()}});
  EXPECT_THAT(removal.exit_codes(), ElementsAre(0));
  EXPECT_THAT(product.installed(), ElementsAre("org.example.alpha.feature.group/1.0.0", "org.example.alpha.plugin/1.0.0"));
  EXPECT_THAT(rules_broken_by(other), Contains("unit-required-by-others"));
  ASSERT_EQ(product.run("uninstall").status, 0);
  EXPECT_THAT(rules_broken_by(other), testing::Not(Contains("unit-required-by-others")));
}

TEST(LintDirector, HighestVersionOfAnySiteIsTaken) {
  Product product;
  product.component("tools", {"alpha"}, std::string(alpha) + "sites/newer\torg.example.alpha.feature.group\n");
  product.make_site("tools", "newer", "alpha", "2.0.0");
  EXPECT_EQ(product.run("install").status, 0);
  EXPECT_THAT(product.installed(), ElementsAre("org.example.alpha.feature.group/2.0.0"));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("feature-from-two-repositories"));
}
