// What the rules of lint say about the director, with the director itself. Each test also lints the very session that it ran.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "cli/json_documents.h"
#include "director/product.h"
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

/// The rules that have a finding in the session that the product ran last.
std::vector<std::string> rules_broken_by(const Product& product) {
  const std::string session = (product.directory() / "session.json").string();
  const std::string arguments = "lint --format json '" + session + "'";
  const auto lint = eclipse_shell::run_in_shell("'" ECLIPSE_INT_COMMAND "' " + arguments);
  cli_test::keep_json_document(arguments, lint.output);
  std::vector<std::string> rules;
  const auto result = nlohmann::json::parse(lint.output);
  for (const auto& finding : result.at("findings")) rules.push_back(finding.at("rule"));
  return rules;
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
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), Contains("archive-not-recognised"));
}

TEST(LintDirector, DirectoryCalledZipCannotBeLoaded) {
  Product product;
  add_alpha_as(product, "alpha.zip", "sites/alpha.zip\torg.example.alpha.feature.group\n");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
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

TEST(LintDirector, CommaInARepositoryMakesEveryCommandFail) {
  Product product;
  add_alpha_as(product, "a,b", std::string(alpha) + "sites/a,b\torg.example.alpha.feature.group\n");
  EXPECT_THAT(product.run("install").exit_codes(), Each(13));
  EXPECT_THAT(rules_broken_by(product), Contains("comma-in-repository"));
}

TEST(LintDirector, CharactersOfUrlsMakeARepositoryUnloadable) {
  for (const std::string name : {"a%20b", "a#b", "a?b", "a]b"}) {
    Product product;
    add_alpha_as(product, name, "sites/" + name + "\torg.example.alpha.feature.group\n");
    EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13)) << name;
    EXPECT_THAT(rules_broken_by(product), Contains("url-character-in-repository")) << name;
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
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("url-character-in-repository"));
}

TEST(LintDirector, StarThatMatchesNothingStays) {
  Product product;
  add_alpha_as(product, "a*b", "sites/a*b\torg.example.alpha.feature.group\n");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(0));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("glob-in-repository"));
}

TEST(LintDirector, BytesThatAreNoUtf8CannotBeLoaded) {
  Product product;
  add_alpha_as(product, "b\xE4r", "sites/b\xE4r\torg.example.alpha.feature.group\n");
  EXPECT_NE(product.run("install").status, 0);
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

TEST(LintDirector, DamagedArtifactsKeepBackTheOthers) {
  const std::string pointer = "version https://git-lfs.github.com/spec/v1\noid sha256:00\nsize 582\n";
  for (const auto& [file, content] : {std::pair("features/org.example.alpha_1.0.0.jar", pointer),
                                      std::pair("plugins/org.example.alpha.plugin_1.0.0.jar", std::string("PK\x05\x06more"))}) {
    Product product;
    product.component("tools", {"alpha", "gamma"}, std::string(alpha) + "sites/gamma\torg.example.gamma.feature.group\n");
    write(product.directory() / "tools/sites/alpha" / file, content);
    EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13, 0)) << file;
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

/// Runs sed on a metadata file of the site alpha, "content" or "artifacts", which is then plain.
void edit_alpha(const Product& product, const std::string& name, const std::string& script) {
  const std::string site = (product.directory() / "tools/sites/alpha").string();
  write(product.directory() / "script", script);
  const auto edited = eclipse_shell::run_in_shell("cd '" + site + "' && unzip -q " + name + ".jar && rm " + name +
                                                  ".jar && cp " + name + ".xml before && LC_ALL=C sed -i -f ../../../script " +
                                                  name + ".xml && ! cmp -s before " + name + ".xml && rm before");
  ASSERT_EQ(edited.exit_code, 0) << edited.output;
}

std::string action_in(const std::string& phase) {
  return "s|<touchpoint id='null' version='0.0.0'/>|<touchpoint id='org.eclipse.equinox.p2.osgi' "
         "version='1.0.0'/><touchpointData "
         "size='1'><instructions size='1'><instruction key='" +
         phase + "'>org.example.register(a:b);</instruction></instructions></touchpointData>|";
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

TEST(LintDirector, ArchiveWithBackslashesLacksItsArtifacts) {
  Product product;
  add_repacked_alpha(product,
                     "for name in old.namelist():\n  info = zipfile.ZipInfo(name.replace(\"/\", chr(92)))\n"
                     "  info.create_system = 0\n  new.writestr(info, old.read(name))\n");
  EXPECT_THAT(product.run("install").exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(rules_broken_by(product), ElementsAre("repository-without-artifacts"));
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
    EXPECT_THAT(rules_broken_by(product), ElementsAre("feature-pinned")) << version;
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
