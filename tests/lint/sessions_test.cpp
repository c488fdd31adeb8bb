// Findings that only a session gives, at their places in the session file.
#include <gtest/gtest.h>

#include <filesystem>

#include "lint/samples.h"

using namespace eclipse_lint;
using namespace lint_test;
using fake::write_file;
using Texts = std::vector<std::string>;

namespace {

struct Component {
  std::string code = "tools";
  std::string base = ".";
  std::string folder = "tools";
  std::string capabilities = "\"ECLIPSE_PLUGIN\"";
  std::string package = R"("package": {"files": ["etc/eclipse/t"]})";
};

/// A component on a line of its own.
std::string line_of(const Component& component) {
  std::string line = R"({"code": ")" + component.code + R"(", "installBase": ")" + component.base + R"(", "installDir": ")" +
                     component.folder + R"(", "install": true, "remove": true, "capabilities": [)" + component.capabilities +
                     "]";
  return line + (component.package.empty() ? "" : ", " + component.package) + "}\n";
}

const Component ide = {"ide", ".", "ide", "\"ECLIPSE_IDE\"", R"("package": {"files": ["eclipse"]})"};

class SessionFindings : public testing::Test {
 protected:
  SessionFindings() {
    write_file("ide/eclipse", "");
    std::filesystem::permissions("ide/eclipse", std::filesystem::perms(0755));
    write_file("tools/etc/eclipse/t", "s\ta.b.feature.group\n");
    write_file("tools/s/content.xml", "<repository><units><unit id='a.b.feature.group' version='1'/></units></repository>");
  }

  /// The findings in a session: the mode in line 2, each variable and component in a line of its own behind it.
  static Findings findings_with(const Texts& variables, const std::vector<Component>& components,
                                const std::string& mode = "install") {
    std::string text = "{\n\"mode\": \"" + mode + "\",\n\"variables\": {\n";
    for (const std::string& variable : variables) text += variable + (&variable == &variables.back() ? "\n" : ",\n");
    text += "}, \"components\": [\n";
    for (const Component& component : components) text += (&component == &components.front() ? "" : ", ") + line_of(component);
    write_file("session.json", text + "]}\n");
    return findings_in("session.json");
  }

  static Texts summary_with(const Texts& variables, const std::vector<Component>& components,
                            const std::string& mode = "install") {
    return summary_of(findings_with(variables, components, mode));
  }

  const fake::TemporaryFolder folder;
  const Texts internal = {R"("ECLIPSE_INTEGRATION_CHOICE": "internal")", R"("ECLIPSE_BIN": "eclipse")"};
};

TEST_F(SessionFindings, NoneInACleanOne) {
  EXPECT_EQ(summary_with(internal, {ide, Component()}), Texts());
  EXPECT_EQ(summary_with({}, {Component()}), Texts());
}

TEST_F(SessionFindings, ExecutableThatIsNotExecutable) {
  std::filesystem::permissions("ide/eclipse", std::filesystem::perms(0644));
  const Findings findings = findings_with(internal, {ide, Component()});
  ASSERT_EQ(summary_of(findings), Texts({"session.json:5:16+9 executable-not-startable"}));
  EXPECT_EQ(findings[0].mend, "make it executable: chmod +x");
}

TEST_F(SessionFindings, ExecutableNameThatIsAPathOrInOtherLetterCase) {
  EXPECT_EQ(summary_with({internal[0], R"("ECLIPSE_BIN": "ide/eclipse")"}, {ide, Component()}),
            Texts({"session.json:5:16+13 executable-name-unmatched"}));
  const Findings findings = findings_with({internal[0], R"("ECLIPSE_BIN": "ECLIPSE")"}, {ide, Component()});
  ASSERT_EQ(summary_of(findings), Texts({"session.json:5:16+9 executable-name-unmatched"}));
  EXPECT_EQ(findings[0].mend, "write eclipse");
}

TEST_F(SessionFindings, UserPathThatEndsInALineEnd) {
  EXPECT_EQ(
      summary_with({R"("ECLIPSE_INTEGRATION_CHOICE": "user")", internal[1], R"("USER_DEFINED_ECLIPSE_PATH": "ide/eclipse\n")"},
                   {Component()}),
      Texts({"session.json:6:30+15 user-path-not-plain"}));
}

TEST_F(SessionFindings, ComponentsThatAreNeverSearched) {
  Component without_code;
  without_code.code = "";
  EXPECT_EQ(summary_with({}, {without_code}), Texts({"session.json:5:10+2 component-never-searched"}));
  Component without_package;
  without_package.package = "";
  EXPECT_EQ(summary_with({}, {without_package}), Texts({"session.json:5:10+7 component-never-searched"}));
  Component without_base;
  without_base.base = "";
  EXPECT_EQ(summary_with({}, {without_base}),
            Texts({"session.json:5:10+7 component-never-searched", "session.json:5:152+15 listed-descriptor-missing"}));
}

TEST_F(SessionFindings, CapabilitiesThatDisagree) {
  Component without_descriptor;
  without_descriptor.package = R"("package": {"files": []})";
  EXPECT_EQ(summary_with({}, {without_descriptor}),
            Texts({"session.json:5:10+7 capability-and-descriptors-disagree", "session.json:5:152+1 descriptor-not-listed"}));
  Component misspelt;
  misspelt.capabilities = "\"Eclipse-Plugin\"";
  EXPECT_EQ(summary_with({}, {misspelt}),
            Texts({"session.json:5:10+7 capability-and-descriptors-disagree", "session.json:5:112+16 capability-misspelled"}));
}

TEST_F(SessionFindings, IdeWithoutItsCapability) {
  Component plain_ide = ide;
  plain_ide.capabilities = "";
  EXPECT_EQ(summary_with(internal, {plain_ide, Component()}), Texts({"session.json:7:10+5 capability-misspelled"}));
}

TEST_F(SessionFindings, ListedNamesWithBackslashesAndLineEndsAreAsGoodAsOthers) {
  Component component;
  component.package = R"("package": {"files": ["etc\\eclipse\\t\r\n", ""]})";
  EXPECT_EQ(summary_with({}, {component}), Texts());
}

TEST_F(SessionFindings, SamePathThroughTwoCapabilitiesIsOneExecutable) {
  Component twice = ide;
  twice.capabilities = R"("ECLIPSE_IDE_1", "ECLIPSE_IDE_2")";
  EXPECT_EQ(summary_with(internal, {twice, Component()}), Texts());
}

TEST_F(SessionFindings, MinimumVersionsOnEitherSideOfTheTrap) {
  for (const std::string minimum : {"4.1", "4.10", "4.26.0", "10", "", "4"}) {
    EXPECT_EQ(summary_with({"\"ECLIPSE_MIN_SUPPORTED_VERSION\": \"" + minimum + "\""}, {Component()}), Texts()) << minimum;
  }
  for (const std::string minimum : {"4.2", "4.9.1"}) {
    EXPECT_EQ(summary_with({"\"ECLIPSE_MIN_SUPPORTED_VERSION\": \"" + minimum + "\""}, {Component()}),
              Texts({"session.json:4:34+" + std::to_string(minimum.size() + 2) + " minimum-version-compared-as-text"}))
        << minimum;
  }
}

TEST_F(SessionFindings, FileThatIsReadTwiceIsReportedOnce) {
  write_file("tools/etc/eclipse/t", "s\ta.b\n");
  Component twice;
  twice.package = R"("package": {"files": ["etc/eclipse/t", "etc/eclipse/t"]})";
  EXPECT_EQ(summary_with({}, {twice}),
            Texts({"session.json:5:170+15 descriptor-listed-twice", "tools/etc/eclipse/t:1:3+3 feature-without-group-suffix"}));
}

TEST_F(SessionFindings, RemovalOfAUnitThatIsNotInstalled) {
  const std::string profile = "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/IDE.profile/1.profile";
  EXPECT_EQ(summary_with(internal, {ide, Component()}, "uninstall"), Texts());
  write_file(profile, "<profile><units><unit id='a.c.feature.group'/></units></profile>");
  EXPECT_EQ(summary_with(internal, {ide, Component()}, "uninstall"), Texts({"tools/etc/eclipse/t:1:3+17 unit-not-installed"}));
  write_file(profile, "<profile><units><unit id='a.b.feature.group'/></units></profile>");
  EXPECT_EQ(summary_with(internal, {ide, Component()}, "uninstall"), Texts());
}

}  // namespace
