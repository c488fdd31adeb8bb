// A directory of components in place of a session file.
#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/child_command.h"

using fake::write_file;

namespace cli_test {

namespace {

class ComponentDirectory : public ChildCommand {
 protected:
  void expect_usage_error(const std::string& arguments, const std::string& message) const {
    EXPECT_EQ(eclipse_int(arguments),
              (Outcome{2, "", "eclipse-int: " + message + "\nRun with --help for more information.\n"}));
    EXPECT_EQ(director_calls(), "");
  }
};

TEST_F(ComponentDirectory, IsInstalledIntoTheGivenEclipse) {
  EXPECT_EQ(eclipse_int("run tools --eclipse eclipse").status, 0);
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
}

TEST_F(ComponentDirectory, IsRemovedOnRequest) {
  EXPECT_EQ(eclipse_int("run tools --eclipse eclipse/eclipse --remove").status, 0);
  EXPECT_EQ(director_calls(), removal_arguments("one,two") + "\n");
}

TEST_F(ComponentDirectory, StandsForTheSessionThatNewPrints) {
  for (const std::string options : {"--eclipse eclipse", "--eclipse eclipse/eclipse --remove"}) {
    EXPECT_EQ(eclipse_int("new --session tools " + options + " > drafted.json"), (Outcome{0, "", ""}));
    for (const std::string subcommand : {"plan --json ", "lint --format json --severity note "}) {
      EXPECT_EQ(eclipse_int(subcommand + "tools " + options), eclipse_int(subcommand + "drafted.json"))
          << subcommand << options;
    }
  }
  EXPECT_EQ(director_calls(), "");
}

TEST_F(ComponentDirectory, MayHoldSeveralComponents) {
  std::filesystem::create_directories("product/more/etc/eclipse");
  std::filesystem::copy("tools", "product/tools", std::filesystem::copy_options::recursive);
  write_file("product/more/etc/eclipse/more.txt", "../tools/site\tthree\n");
  write_file("product/doc/readme", "");
  const auto session = nlohmann::json::parse(eclipse_int("new --session product --eclipse eclipse").output);
  ASSERT_EQ(session.at("components").size(), 2U);
  EXPECT_EQ(session.at("components")[0].at("code"), "more");
  EXPECT_EQ(session.at("components")[1].at("code"), "tools");
  EXPECT_EQ(eclipse_int("run product --eclipse eclipse").status, 0);
}

TEST_F(ComponentDirectory, DoesNotInstallTheExamplesInItsDocumentation) {
  write_file("tools/doc/etc/eclipse/example.txt", "your-site\tyour-feature\n");
  const std::string plan = eclipse_int("plan tools --eclipse eclipse").output;
  EXPECT_EQ(plan.find("your-"), plan.npos) << plan;
  EXPECT_EQ(eclipse_int("run tools --eclipse eclipse").status, 0);
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
}

TEST_F(ComponentDirectory, NeedsAnEclipseAndDescriptors) {
  const std::string needs_eclipse = " is a directory; add --eclipse with the Eclipse instance to use, or give a session file";
  for (const std::string subcommand : {"run ", "plan ", "verify ", "lint --remove ", "new --session "}) {
    expect_usage_error(subcommand + "tools", "tools" + needs_eclipse);
  }
  std::filesystem::create_directory("empty");
  EXPECT_EQ(
      eclipse_int("run empty --eclipse eclipse"),
      (Outcome{2, "",
               "eclipse-int: empty: has no descriptor file below etc/eclipse/; give the directory of a component that has "
               "one, or write one, for example with \"eclipse-int new\"\n"}));
  expect_usage_error("new tools --eclipse eclipse", "--eclipse and --remove need --session; add it, or leave them out");
}

TEST_F(ComponentDirectory, IsTheOnlyInputThatTakesItsOptions) {
  write_session("install");
  for (const std::string subcommand : {"run ", "plan ", "verify ", "lint "}) {
    const std::string message = ": only for a directory of components; set this in the session file session.json instead";
    for (const std::string option : {"--eclipse", "--remove"}) {
      const std::string value = option == "--eclipse" ? " eclipse" : "";
      const Outcome outcome = eclipse_int(subcommand + "session.json " + option + value);
      EXPECT_EQ(outcome.status, 2) << subcommand;
      EXPECT_EQ(outcome.error, "eclipse-int: " + option + message + "\nRun with --help for more information.\n");
    }
  }
  EXPECT_EQ(director_calls(), "");
}

TEST_F(ComponentDirectory, GetsADescriptorOfWhatItsRepositoriesOffer) {
  const std::string features =
      "<repository><units><unit id='a.feature.group' version='1.0.0'/><unit id='b.feature.group' version='1.0.0'/></units>"
      "</repository>";
  for (const std::string site : {"site", "site2"}) write_file("tools/" + site + "/content.xml", features);
  write_file("tools/libraries/content.xml", "<repository><units><unit id='c' version='1.0.0'/></units></repository>");
  EXPECT_EQ(eclipse_int("new tools"),
            (Outcome{0, "Repository\tFeature\nlibraries\t\t\nsite\ta.feature.group\nsite\tb.feature.group\n",
                     "eclipse-int: note: tools: site2 was left out: another repository has its features, too\n"}));
}

}  // namespace

}  // namespace cli_test
