// Each test runs whole sessions on an Eclipse instance of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "product.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

constexpr auto alpha_and_beta =
    "Repository\tFeature\n"
    "sites/alpha\torg.example.alpha.feature.group\n"
    "sites/beta.zip\torg.example.beta.feature.group\n";
constexpr auto alpha_only = "sites/alpha\torg.example.alpha.feature.group\n";
constexpr auto gamma_only = "sites/gamma\torg.example.gamma.feature.group\n";

std::string director(const Product& product) {
  return product.executable().string() + " -nosplash -application org.eclipse.equinox.p2.director";
}

}  // namespace

TEST(RealDirector, InstallsFromADirectoryAndAnArchive) {
  Product product;
  product.component("tools", {"alpha", "beta.zip"}, alpha_and_beta);
  const Outcome outcome = product.run("install");
  const std::string sites = product.directory().string() + "/tools/sites";
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.commands(),
              ElementsAre(director(product) + " -repository \"jar:file://" + sites + "/beta.zip!/\",file://" + sites +
                          "/alpha -i org.example.alpha.feature.group,org.example.beta.feature.group 2>&1"));
  EXPECT_EQ(product.installed(), features({"alpha", "beta"}));
  EXPECT_EQ(outcome.variable("CASHED_ECLIPSE_PATH"), product.executable());
}

TEST(RealDirector, TakesAnInstalledFeatureAgainBesideANewOne) {
  Product product;
  product.component("tools", {"alpha"}, alpha_only);
  ASSERT_EQ(product.run("install").status, 0);
  product.component("more", {"gamma"}, gamma_only);
  const Outcome outcome = product.run("modify");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(0));
  EXPECT_THAT(outcome.commands()[0], EndsWith(" -i org.example.alpha.feature.group,org.example.gamma.feature.group 2>&1"));
  EXPECT_EQ(product.installed(), features({"alpha", "gamma"}));
}

TEST(RealDirector, TakesTheTextAfterASlashForAVersionUnlessItIsEmptyOrZero) {
  Product product;
  product.component("tools", {"alpha", "beta.zip", "gamma"},
                    "sites/alpha\torg.example.alpha.feature.group/\n"
                    "sites/beta.zip\torg.example.beta.feature.group/0.0.0\n"
                    "sites/gamma\torg.example.gamma.feature.group//1.0/2\n");
  for (const auto& [mode, installed] : {std::pair("install", features({"alpha", "beta", "gamma"})), {"uninstall", {}}}) {
    const Outcome outcome = product.run(mode);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.exit_codes(), ElementsAre(0));
    EXPECT_EQ(product.installed(), installed);
    for (const auto& change : outcome.plan["changes"]) EXPECT_NE(change["change"], "fail") << change;
  }
}

TEST(RealDirector, KnownInstanceGetsOnlyTheSelectedComponents) {
  Product product;
  product.component("tools", {"alpha"}, alpha_only)["install"] = false;
  product.component("more", {"gamma"}, gamma_only);
  ASSERT_EQ(product.run("modify", {{"CASHED_ECLIPSE_PATH", product.executable()}}).status, 0);
  EXPECT_EQ(product.installed(), features({"gamma"}));
}

TEST(RealDirector, OneBadFeatureAmongGoodOnesIsReportedAndTheOthersGoIn) {
  Product product;
  product.component("tools", {"alpha", "broken", "beta.zip"},
                    "sites/alpha\torg.example.alpha.feature.group\n"
                    "sites/broken\torg.example.broken.feature.group\n"
                    "sites/beta.zip\torg.example.beta.feature.group\n");
  const Outcome outcome = product.run("install");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.result["status"], "failed");
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 0, 13, 0));
  // The last feature went in, so the action itself reports success.
  EXPECT_EQ(outcome.result["actions"].back(), nlohmann::json({{"name", "perform_integration"}, {"result", 0}}));
  EXPECT_EQ(product.installed(), features({"alpha", "beta"}));

  EXPECT_EQ(outcome.variable("QN_SCRIPTS_FAILED"), "yes");
  const std::string summary = outcome.variable("QN_SCRIPTS_COMPLETE_DESC");
  EXPECT_EQ(summary, "\nThese features are missing:\n\n" + outcome.result["commands"][2]["output"].get<std::string>());
  EXPECT_THAT(summary, HasSubstr("\nInstallation failed.\nCannot complete the install because"));
  EXPECT_THAT(summary, HasSubstr("org.example.nowhere"));
}

TEST(RealDirector, FeatureThatNoSiteHasFailsAlone) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha\n");
  const Outcome outcome = product.run("install");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_THAT(outcome.result["commands"][1]["output"].get<std::string>(),
              HasSubstr("The installable unit org.example.alpha has not been found."));
  EXPECT_EQ(product.installed(), features({}));
}

TEST(RealDirector, RemovesWhatItInstalled) {
  Product product;
  product.component("tools", {"alpha", "beta.zip"}, alpha_and_beta);
  product.component("more", {"gamma"}, gamma_only)["remove"] = false;
  ASSERT_EQ(product.run("install").status, 0);
  const Outcome outcome = product.run("uninstall");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.commands(),
              ElementsAre(director(product) + " -u org.example.alpha.feature.group,org.example.beta.feature.group 2>&1"));
  EXPECT_EQ(product.installed(), features({"gamma"}));
}

TEST(RealDirector, OneFeatureAlreadyGoneKeepsTheOthersInstalled) {
  Product product;
  product.component("tools", {"alpha"}, alpha_only);
  ASSERT_EQ(product.run("install").status, 0);
  product.component("more", {"gamma"}, gamma_only);
  const Outcome outcome = product.run("uninstall");
  const std::string all = director(product) + " -u org.example.alpha.feature.group,org.example.gamma.feature.group 2>&1";
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.commands(),
              ElementsAre(all, all + "org.example.alpha.feature.group 2>&1", all + "org.example.gamma.feature.group 2>&1"));
  // The shell does not understand the retries and never starts the director: dash ends with 2, bash with 1.
  const auto& retry = outcome.result["commands"][1];
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, testing::AnyOf(1, 2), testing::AnyOf(1, 2)));
  EXPECT_EQ(retry["output"], "");
  EXPECT_NE(retry["errorOutput"], "");
  EXPECT_EQ(outcome.result["actions"].back()["result"], retry["exitCode"]);
  EXPECT_EQ(outcome.variable("QN_SCRIPTS_FAILED"), "");
  EXPECT_EQ(product.installed(), features({"alpha"}));
}

TEST(RealDirector, FindsTheInternalInstanceThroughItsPackage) {
  Product product;
  product.ide_component();
  product.component("tools", {"alpha"}, alpha_only)["install"] = false;
  const Outcome outcome =
      product.run("install", {{"ECLIPSE_INTEGRATION_CHOICE", "internal"}, {"USER_DEFINED_ECLIPSE_PATH", ""}});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.variable("ECLIPSE_PATH"), product.executable().parent_path());
  // The instance is installed in this run, so it gets the features of every component.
  EXPECT_EQ(product.installed(), features({"alpha"}));
}

TEST(RealDirector, ReadsTheVersionOfTheUsersInstance) {
  Product product;
  product.component("tools", {"alpha"}, alpha_only);
  const Outcome outcome = product.run("install", {{"ECLIPSE_MIN_SUPPORTED_VERSION", "4.26"}});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.variable("ECLIPSE_VERSION"), "4.26.0.v20221123-1800");
  EXPECT_EQ(outcome.variable("ECLIPSE_VERSION_IS_SUPPORTED"), "yes");
  EXPECT_EQ(product.installed(), features({"alpha"}));
}

TEST(RealDirector, TooOldInstanceIsRefusedAndLeftAlone) {
  Product product;
  product.component("tools", {"alpha"}, alpha_only);
  const Outcome outcome = product.run("install", {{"ECLIPSE_MIN_SUPPORTED_VERSION", "4.7"}});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.result["status"], "refused");
  EXPECT_EQ(outcome.variable("ECLIPSE_VERSION_IS_SUPPORTED"), "no");
  EXPECT_THAT(outcome.commands(), ElementsAre());
  EXPECT_EQ(product.installed(), features({}));
}

TEST(RealDirector, QuotesGetAnArchiveBelowAPathWithSpacesThroughTheShell) {
  Product product;
  product.component("my tools", {"beta.zip"}, "sites/beta.zip\torg.example.beta.feature.group\n");
  EXPECT_EQ(product.run("install").status, 0);
  EXPECT_EQ(product.installed(), features({"beta"}));
}

TEST(RealDirector, DirectoryBelowAPathWithSpacesBreaksTheCommand) {
  Product product;
  product.component("my tools", {"alpha"}, alpha_only);
  const Outcome outcome = product.run("install");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(13, 13));
  EXPECT_EQ(product.installed(), features({}));
}

TEST(RealDirector, ExecutableBelowAPathWithSpacesIsCutByTheShell) {
  Product product("my product");
  product.component("tools", {"beta.zip"}, "sites/beta.zip\torg.example.beta.feature.group\n");
  const Outcome outcome = product.run("install");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.exit_codes(), ElementsAre(127, 127));
  EXPECT_EQ(product.installed(), features({}));
}

TEST(RealDirector, InstallsFromDescriptorsWithCarriageReturns) {
  Product product;
  product.component("tools", {"alpha", "beta.zip"},
                    "Repository\tFeature\r\n"
                    "sites/alpha\torg.example.alpha.feature.group\tx\t1\r\n"
                    "sites/beta.zip\torg.example.beta.feature.group\r\n");
  EXPECT_EQ(product.run("install").status, 0);
  EXPECT_EQ(product.installed(), features({"alpha", "beta"}));
}
