// Each test asks an Eclipse instance of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli/json_documents.h"
#include "product.h"
#include "shell/command_runner.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;

namespace {

constexpr auto alpha_and_beta =
    "sites/alpha\torg.example.alpha.feature.group\n"
    "sites/beta.zip\torg.example.beta.feature.group\n";

struct Answer {
  int status;
  nlohmann::json result;
};

/// Runs the command with --json on the session that the product ran last.
eclipse_shell::CommandResult json_of(const Product& product, const std::string& subcommand, const std::string& options = "") {
  const std::string arguments = subcommand + " --json '" + (product.directory() / "session.json").string() + "' " + options;
  auto run = eclipse_shell::run_in_shell(std::string("'") + ECLIPSE_INT_COMMAND + "' " + arguments);
  cli_test::keep_json_document(arguments, run.output);
  return run;
}

/// The same, without a message to standard error.
Answer answer_of(const Product& product, const std::string& subcommand, const std::string& options = "") {
  const auto run = json_of(product, subcommand, options);
  EXPECT_EQ(run.error_output, "");
  return {run.exit_code, nlohmann::json::parse(run.output)};
}

std::vector<std::string> different_units(const nlohmann::json& verification) {
  std::vector<std::string> units;
  for (const auto& unit : verification.at("units")) {
    if (!unit.at("same")) units.push_back(unit.at("unit"));
  }
  return units;
}

TEST(RealInstance, IsTheSameAfterARunAndDiffersBeforeAndAfterARemoval) {
  Product product;
  product.component("tools", {"alpha", "beta.zip"}, alpha_and_beta);
  ASSERT_EQ(product.run("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}}).status, 0) << "only writes the session";
  const std::string with_it = "--set ECLIPSE_INTEGRATION_CHOICE=user";
  const Answer before = answer_of(product, "verify", with_it);
  EXPECT_EQ(before.status, 1);
  EXPECT_THAT(different_units(before.result), ElementsAre("org.example.alpha.feature.group", "org.example.beta.feature.group"));

  const Answer run = answer_of(product, "run --verify", with_it);
  EXPECT_EQ(run.status, 0);
  const auto& verification = run.result.at("verification");
  EXPECT_EQ(verification.at("installed"), nlohmann::json(features({"alpha", "beta"})));
  EXPECT_THAT(verification.at("removed"), IsEmpty());
  const Answer after = answer_of(product, "verify --director", with_it);
  EXPECT_EQ(after.status, 0);
  EXPECT_THAT(after.result.at("roots"), IsSupersetOf(features({"alpha", "beta"})));
  EXPECT_EQ(verification.at("after"), after.result);

  ASSERT_EQ(product.run("uninstall").status, 0);
  EXPECT_EQ(answer_of(product, "verify").status, 0) << "all is gone";
  EXPECT_EQ(answer_of(product, "verify", "--set KORU_MODE=install").status, 1);
}

TEST(RealInstance, DiffersWhenAFileIsGoneUntilTheFeatureIsInstalledAnew) {
  namespace fs = std::filesystem;
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group\n");
  ASSERT_EQ(product.run("install").status, 0);
  EXPECT_THAT(answer_of(product, "verify").result.at("missingFiles"), IsEmpty());
  const fs::path ide = fs::canonical(product.executable()).parent_path();
  const fs::path jar = ide / "plugins/org.example.alpha.plugin_1.0.0.jar";
  const fs::path feature = ide / "features/org.example.alpha_1.0.0";
  ASSERT_TRUE(fs::remove(jar));
  ASSERT_NE(fs::remove_all(feature), 0U);
  EXPECT_EQ(json_of(product, "run").exit_code, 0) << "the director does not look";
  EXPECT_FALSE(fs::exists(jar) || fs::exists(feature));
  for (const char* const source : {"", "--director"}) {
    const Answer answer = answer_of(product, "verify", source);
    EXPECT_EQ(answer.status, 1);
    EXPECT_THAT(different_units(answer.result), IsEmpty());
    EXPECT_EQ(answer.result.at("missingFiles"),
              (nlohmann::json{{{"unit", "org.example.alpha.plugin/1.0.0"}, {"file", jar}},
                              {{"unit", "org.example.alpha.feature.jar/1.0.0"}, {"file", feature}}}));
  }
  const auto lint = eclipse_shell::run_in_shell(std::string("'") + ECLIPSE_INT_COMMAND + "' lint '" +
                                                (product.directory() / "session.json").string() + "'");
  EXPECT_THAT(lint.output, testing::HasSubstr("1 warning"));
  EXPECT_THAT(lint.output, testing::HasSubstr("[installed-file-missing]"));
  ASSERT_EQ(product.run("uninstall").status, 0);
  ASSERT_EQ(product.run("install").status, 0);
  EXPECT_TRUE(fs::exists(jar) && fs::exists(feature));
  EXPECT_EQ(answer_of(product, "verify").status, 0);
}

TEST(RealInstance, DiffersWhenAJarIsGoneAfterAnotherDirectorToo) {
  namespace fs = std::filesystem;
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group\n");
  ASSERT_EQ(product.run("install").status, 0);
  const fs::path jar = fs::canonical(product.executable()).parent_path() / "plugins/org.example.alpha.plugin_1.0.0.jar";
  ASSERT_TRUE(fs::remove(jar));
  product.component("more", {"gamma"}, "sites/gamma\torg.example.gamma.feature.group\n");
  ASSERT_EQ(json_of(product, "run").exit_code, 0) << "the director deletes the line of the bundle";
  const Answer answer = answer_of(product, "verify");
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.result.at("missingFiles"), (nlohmann::json{{{"unit", "org.example.alpha.plugin/1.0.0"}, {"file", jar}}}));
  const auto repair = eclipse_shell::run_in_shell(std::string("'") + ECLIPSE_INT_COMMAND + "' repair --dry-run '" +
                                                  product.executable().string() + "'");
  EXPECT_THAT(repair.output, testing::HasSubstr("Nothing to repair"));
}

TEST(RealInstance, OneUnitThatIsNotThereIsNamedAndKeepsTheOthersIn) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group\n");
  ASSERT_EQ(product.run("install").status, 0);
  product.component("more", {"gamma"}, "sites/gamma\torg.example.gamma.feature.group\n");
  ASSERT_EQ(product.run("uninstall", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}}).status, 0) << "only writes the session";
  const auto run = json_of(product, "run --verify", "--set ECLIPSE_INTEGRATION_CHOICE=user");
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_THAT(run.error_output, testing::HasSubstr("warning: org.example.gamma.feature.group ("));
  const auto document = nlohmann::json::parse(run.output);
  const auto& verification = document.at("verification");
  EXPECT_EQ(verification.at("notRemovable"), nlohmann::json({"org.example.gamma.feature.group"}));
  EXPECT_THAT(verification.at("removed"), IsEmpty());
  EXPECT_THAT(different_units(verification.at("after")), ElementsAre("org.example.alpha.feature.group"));
  const auto& commands = document.at("commands");
  ASSERT_EQ(commands.size(), 3U);
  EXPECT_EQ(commands[0].at("failure").at("layer"), "the director");
  EXPECT_EQ(commands[0].at("failure").at("causes"),
            nlohmann::json({"The installable unit org.example.gamma.feature.group has not been found."}));
  EXPECT_EQ(commands[1].at("failure").at("layer"), "the shell");
}

/// What the director makes of a unit that came along with another one: it succeeds, and leaves it there as a root.
TEST(RealInstance, AUnitThatCameAlongIsInstalledAndStaysAsLongAsItIsRequired) {
  Product product;
  product.component("feature", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group\n");
  product.component("plugin", {"alpha"}, "sites/alpha\torg.example.alpha.plugin\n")["install"] = false;
  const std::string known = product.executable().string();
  ASSERT_EQ(product.run("install", {{"CASHED_ECLIPSE_PATH", known}}).status, 0);
  ASSERT_EQ(product.installed(), features({"alpha"}));

  const Answer all = answer_of(product, "verify", "--set CASHED_ECLIPSE_PATH=/another");
  EXPECT_EQ(all.status, 0);
  EXPECT_EQ(all.result.at("knowsAll"), true);
  const auto unit = all.result.at("units").at(1);
  EXPECT_EQ(unit.at("unit"), "org.example.alpha.plugin");
  EXPECT_EQ(unit.at("installed"), true);
  EXPECT_EQ(unit.at("byName"), false);
  EXPECT_EQ(unit.at("requiredBy"), nlohmann::json({"org.example.alpha.feature.group"}));

  Product other("other");
  other.component("plugin", {}, "sites/alpha\torg.example.alpha.plugin\n");
  const std::map<std::string, std::string> same_instance = {{"USER_DEFINED_ECLIPSE_PATH", known}};
  const Outcome removal = other.run("uninstall", same_instance);
  EXPECT_EQ(removal.status, 0);
  EXPECT_THAT(removal.exit_codes(), ElementsAre(0));
  EXPECT_EQ(product.installed(),
            (std::vector<std::string>{"org.example.alpha.feature.group/1.0.0", "org.example.alpha.plugin/1.0.0"}));
  const Answer left = answer_of(other, "verify");
  EXPECT_EQ(left.status, 1);
  EXPECT_THAT(different_units(left.result), ElementsAre("org.example.alpha.plugin"));

  const auto run = json_of(other, "run --verify");
  EXPECT_EQ(run.exit_code, 1);
  EXPECT_THAT(run.error_output, testing::HasSubstr("org.example.alpha.plugin ("));
  EXPECT_THAT(run.error_output,
              testing::HasSubstr(") is required by org.example.alpha.feature.group, so the director does not remove it, "
                                 "even when it reports success\n"));
  const auto verification = nlohmann::json::parse(run.output).at("verification");
  EXPECT_EQ(verification.at("staying"), nlohmann::json({"org.example.alpha.plugin"}));
  EXPECT_THAT(verification.at("notRemovable"), IsEmpty());

  ASSERT_EQ(product.run("uninstall").status, 0);
  EXPECT_THAT(product.installed(), IsEmpty());
  EXPECT_EQ(answer_of(other, "verify").status, 0) << "it went with what required it";
}

TEST(RealInstance, IsAskedBelowAPathWithSpaces) {
  Product product("my product");
  product.component("tools", {"beta.zip"}, "sites/beta.zip\torg.example.beta.feature.group\n");
  ASSERT_EQ(product.run("install").status, 1) << "the shell cuts the executable";
  const Answer answer = answer_of(product, "verify --director");
  EXPECT_EQ(answer.status, 1);
  EXPECT_THAT(different_units(answer.result), ElementsAre("org.example.beta.feature.group"));
}

}  // namespace
