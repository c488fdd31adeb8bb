// Findings that only a session gives, at their places in the session file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
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
  std::string directory = "tools";
  std::string capabilities = "\"ECLIPSE_PLUGIN\"";
  std::string package = R"("package": {"files": ["etc/eclipse/t"]})";
};

/// A component on a line of its own.
std::string line_of(const Component& component) {
  std::string line = R"({"code": ")" + component.code + R"(", "installBase": ")" + component.base + R"(", "installDir": ")" +
                     component.directory + R"(", "install": true, "remove": true, "capabilities": [)" + component.capabilities +
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

  /// Writes a session: the mode in line 2, each variable and component in a line of its own after it. Without a
  /// choice among the variables, it is none.
  static void write_session(const Texts& variables, const std::vector<Component>& components, const std::string& mode) {
    std::string text = "{\n\"mode\": \"" + mode + "\",\n\"variables\": {";
    const auto is_choice = [](const std::string& variable) { return variable.find("CHOICE") != std::string::npos; };
    if (std::none_of(variables.begin(), variables.end(), is_choice)) {
      text += std::string(R"("ECLIPSE_INTEGRATION_CHOICE": "none")") + (variables.empty() ? "" : ",");
    }
    text += "\n";
    for (const std::string& variable : variables) text += variable + (&variable == &variables.back() ? "\n" : ",\n");
    text += "}, \"components\": [\n";
    for (const Component& component : components) text += (&component == &components.front() ? "" : ", ") + line_of(component);
    write_file("session.json", text + "]}\n");
  }

  static Findings findings_with(const Texts& variables, const std::vector<Component>& components,
                                const std::string& mode = "install") {
    write_session(variables, components, mode);
    return findings_in("session.json");
  }

  static Texts summary_with(const Texts& variables, const std::vector<Component>& components,
                            const std::string& mode = "install") {
    return summary_of(findings_with(variables, components, mode));
  }

  const fake::TemporaryDirectory directory;
  const Texts internal = {R"("ECLIPSE_INTEGRATION_CHOICE": "internal")", R"("ECLIPSE_BIN": "eclipse")"};
};

/// A session with a user's Eclipse, a component "old" in this state beside "tools", which is in another one; each feature has
/// the id of its component.
std::string two_components(const std::string& mode, const std::string& tools_state, const std::string& old_state,
                           const std::string& known = std::filesystem::absolute("ide/eclipse").string()) {
  const auto entry = [](const std::string& code, const std::string& state) {
    return R"({"code": ")" + code + R"(", "installBase": ".", "installDir": ")" + code + R"(", "capabilities": [")" + code +
           R"(_ECLIPSE_PLUGIN"], "package": {"files": ["etc/eclipse/t"]})" + state + "}";
  };
  return R"({"mode": ")" + mode + R"(", "variables": {"ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse",
    "USER_DEFINED_ECLIPSE_PATH": ")" +
         std::filesystem::absolute("ide/eclipse").string() + R"(", "CASHED_ECLIPSE_PATH": ")" + known +
         "\"}, \"components\": [\n" + entry("tools", tools_state) + ",\n" + entry("old", old_state) + "]}\n";
}

constexpr const char* profile_of_ide = "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/IDE.profile/1.profile";

TEST_F(SessionFindings, ComponentThatIsSelectedForAnotherModeIsNamed) {
  const std::string install = R"(, "install": true)";
  const std::string remove = R"(, "remove": true)";
  const std::string installed = R"(, "installed": true)";
  write_file("old/etc/eclipse/t", "s\tc.d.feature.group\n");
  write_file("old/s/content.xml", "<repository><units><unit id='c.d.feature.group' version='1'/></units></repository>");
  const auto found = [](const std::string& session) {
    write_file("session.json", session);
    Texts texts;
    for (const Finding& finding : findings_in("session.json")) {
      if (finding.rule->name != "selection-for-another-mode") continue;
      texts.push_back(std::string(name_of(finding.severity)) + " " + std::to_string(finding.location.line) + ": " +
                      finding.message);
    }
    return texts;
  };
  const auto stays = [](const std::string& mode) {
    return "error 4: \"old\" is selected for removal, but mode " + mode +
           " only installs, so its feature \"c.d.feature.group\" stays";
  };
  EXPECT_EQ(found(two_components("modify", install, installed + remove)), Texts({stays("modify")}));
  EXPECT_EQ(found(two_components("install", install, remove)), Texts({stays("install")}));
  EXPECT_EQ(found(two_components("modify", "", installed + remove)), Texts({stays("modify")}));
  EXPECT_EQ(found(two_components("modify", install, installed + remove, "")),
            Texts({"error 4: \"old\" is selected for removal, but the Eclipse instance is new, so the run installs its feature "
                   "\"c.d.feature.group\""}));
  EXPECT_EQ(found(two_components("uninstall", installed + remove, install)),
            Texts({"warning 4: \"old\" is selected for installation, but mode uninstall only removes, so its feature "
                   "\"c.d.feature.group\" is not installed"}));
  // What an installer selects for both, or keeps.
  EXPECT_EQ(found(two_components("modify", install, installed + install + remove)), Texts());
  EXPECT_EQ(found(two_components("modify", install, installed)), Texts());
  EXPECT_EQ(found(two_components("uninstall", installed + remove, installed + install)), Texts());
  // What is not in the instance cannot stay.
  write_file(profile_of_ide, "<profile><units><unit id='local.ide' version='1'/></units></profile>");
  EXPECT_EQ(found(two_components("modify", install, installed + remove)), Texts());
  write_file(profile_of_ide, "<profile><units><unit id='c.d.feature.group' version='1'/></units></profile>");
  EXPECT_EQ(found(two_components("modify", install, installed + remove)), Texts({stays("modify")}));
  EXPECT_EQ(found(two_components("uninstall", installed + remove, install)), Texts());
  // A component that replaces another brings its features.
  write_file("tools/etc/eclipse/t", "s\ta.b.feature.group\n../old/s\tc.d.feature.group\n");
  EXPECT_EQ(found(two_components("modify", install, installed + remove)), Texts());
}

TEST_F(SessionFindings, ComponentThatTakesNoPartIsNotComparedWithOthers) {
  write_file("old/etc/eclipse/t", "s\ta.b.feature.group\t\t7\ns\ta.b\n");
  write_file("old/s/content.xml", "<repository><units><unit id='a.b.feature.group' version='1'/></units></repository>");
  write_file("tools/etc/eclipse/t", "s\ta.b.feature.group\t\t7\n");
  write_file(profile_of_ide,
             "<profile><units><unit id='a.b.feature.group' version='0.9.0'/></units><iusProperties><iuProperties "
             "id='a.b.feature.group' version='0.9.0'><properties><property name='org.eclipse.equinox.p2.type.root' "
             "value='true'/></properties></iuProperties></iusProperties></profile>");
  const auto found = [](const std::string& session) {
    write_file("session.json", session);
    return summary_of(findings_in("session.json"));
  };
  const std::string install = R"(, "install": true)";
  const std::string installed = R"(, "installed": true)";
  EXPECT_EQ(
      found(two_components("modify", install, installed)),
      Texts({"old/etc/eclipse/t:2:3+3 feature-without-group-suffix", "session.json:4:10+5 installed-component-not-integrated",
             "tools/etc/eclipse/t:1:3+17 other-version-installed"}));
  EXPECT_EQ(found(two_components("modify", install, installed + install)),
            Texts({"old/etc/eclipse/t:1:3+17 feature-from-two-repositories", "old/etc/eclipse/t:1:3+17 other-version-installed",
                   "old/etc/eclipse/t:1:22+1 order-taken", "old/etc/eclipse/t:2:3+3 feature-without-group-suffix",
                   "tools/etc/eclipse/t:1:3+17 other-version-installed"}));
  EXPECT_EQ(summary_of(findings_in("session.json", {.disabled = {"feature-from-two-repositories", "order-taken"},
                                                    .suppressions = {},
                                                    .replaces = eclipse_p2::Replaces::older})),
            Texts({"old/etc/eclipse/t:2:3+3 feature-without-group-suffix"}));
}

TEST_F(SessionFindings, ProfileThatTheConfigurationNamesAndTheInstanceLacks) {
  const std::string ide_directory = directory.path() + "/ide";
  const auto found = [&](const std::string& settings) {
    write_file("ide/configuration/config.ini", settings);
    Texts texts;
    for (const Finding& finding : findings_with(internal, {ide, Component()}))
      texts.push_back(finding.message + ": " + finding.fix);
    for (std::string& text : texts) {
      for (std::size_t at = text.find(ide_directory); at != text.npos; at = text.find(ide_directory)) {
        text.replace(at, ide_directory.size(), "IDE");
      }
    }
    return texts;
  };
  const std::string names = "IDE/configuration/config.ini names the profile \"SDK\", but IDE/p2 ";
  const std::string reinstall = ": install Eclipse again, together with its directory p2";
  EXPECT_EQ(found("eclipse.p2.profile=SDK\n"), Texts({names + "does not exist" + reinstall}));
  EXPECT_EQ(found("eclipse.p2.profile=SDK\neclipse.p2.data.area=/elsewhere/p2\n"), Texts()) << "the director makes one there";
  EXPECT_EQ(found("osgi.bundles=x\n"), Texts());
  write_file("ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/SDK.profile/.lock", "");
  EXPECT_EQ(found("eclipse.p2.profile=SDK\n"), Texts({names + "has none" + reinstall}));
  write_file(profile_of_ide, "<profile><units><unit id='local.ide' version='1'/></units></profile>");
  EXPECT_EQ(found("eclipse.p2.profile=SDK\n"),
            Texts({names + "has only \"IDE\": write eclipse.p2.profile=IDE into that file"}));
  EXPECT_EQ(found("eclipse.p2.profile=IDE\n"), Texts());
}

TEST_F(SessionFindings, PackageOfAnotherReleaseThanTheDirectoryIsNamed) {
  Component component;
  component.package = R"("package": {"scan": "stage"})";
  write_file("stage/etc/eclipse/t", "s\ta.b.feature.group\n");
  write_file("stage/s/content.xml", "<repository><units><unit id='a.b.feature.group' version='1'/></units></repository>");
  EXPECT_EQ(summary_with(internal, {ide, component}), Texts());
  write_file("stage/s/content.xml", "<repository><units><unit id='a.b.feature.group' version='2'/></units></repository>");
  const Findings findings = findings_with(internal, {ide, component});
  ASSERT_EQ(summary_of(findings), Texts({"tools/etc/eclipse/t:1:1+1 package-differs"}));
  EXPECT_EQ(findings[0].message,
            "\"s\" in " + directory.path() + "/tools has other units than in the package, " + directory.path() + "/stage");
  EXPECT_EQ(summary_with(internal, {ide, component}, "uninstall"), Texts());
  std::filesystem::remove_all("stage/s");
  write_file("stage/etc/eclipse/t", "s\ta.b.feature.group\t\t1\n");
  const Findings of_descriptor = findings_with(internal, {ide, component});
  ASSERT_EQ(of_descriptor.size(), 1U);
  EXPECT_EQ(of_descriptor[0].message, "the plug-in reads " + directory.path() +
                                          "/tools/etc/eclipse/t, which differs from the package's " + directory.path() +
                                          "/stage/etc/eclipse/t");
  component.package = R"("package": {"scan": "tools"})";
  EXPECT_EQ(summary_with(internal, {ide, component}), Texts());
}

/// A copy of the line for each of them would need memory for the square of its length.
TEST_F(SessionFindings, OfAVeryLongLineDoNotHaveItsText) {
  for (const std::size_t count : {10U, 1000U}) {
    std::string names;
    for (std::size_t i = 0; i < count; ++i) names += (i == 0 ? "" : ", ") + ("\"etc/eclipse/" + std::to_string(i) + "\"");
    Component component;
    component.package = R"("package": {"files": [)" + names + "]}";
    Findings findings = findings_with({}, {component});
    std::erase_if(findings, [](const Finding& finding) { return finding.rule->name != "listed-descriptor-missing"; });
    ASSERT_EQ(findings.size(), count);
    EXPECT_EQ(findings[0].location.text.empty(), count == 1000) << findings[0].location.text.size();
    EXPECT_NE(findings[0].location.column, findings[1].location.column);
  }
}

TEST_F(SessionFindings, NoneInACleanOne) {
  EXPECT_EQ(summary_with(internal, {ide, Component()}), Texts());
  EXPECT_EQ(summary_with({}, {Component()}), Texts());
}

TEST_F(SessionFindings, ExecutableThatIsNotExecutable) {
  std::filesystem::permissions("ide/eclipse", std::filesystem::perms(0644));
  const Findings findings = findings_with(internal, {ide, Component()});
  ASSERT_EQ(summary_of(findings), Texts({"session.json:5:16+9 executable-not-startable"}));
  EXPECT_EQ(findings[0].fix, "make it executable with chmod +x");
}

TEST_F(SessionFindings, ExecutableNameThatIsAPathOrInOtherLetterCase) {
  EXPECT_EQ(summary_with({internal[0], R"("ECLIPSE_BIN": "ide/eclipse")"}, {ide, Component()}),
            Texts({"session.json:5:16+13 executable-name-unmatched"}));
  const Findings findings = findings_with({internal[0], R"("ECLIPSE_BIN": "ECLIPSE")"}, {ide, Component()});
  ASSERT_EQ(summary_of(findings), Texts({"session.json:5:16+9 executable-name-unmatched"}));
  EXPECT_EQ(findings[0].fix, "write eclipse");
}

TEST_F(SessionFindings, RelativeUserPathIsSeenFromTheWorkingDirectory) {
  const std::string file = R"({"mode": "install", "components": [
    {"code": "c", "installBase": ".", "installDir": "c", "capabilities": ["ECLIPSE_PLUGIN"], "install": true,
     "package": {"files": ["etc/eclipse/c.txt"]}}],
  "variables": {"ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse", "USER_DEFINED_ECLIPSE_PATH": "there/eclipse"}})";
  write_file("product/session.json", file);
  write_file("product/c/etc/eclipse/c.txt", "site\tx.a.feature.group\n");
  write_file("product/c/site/content.xml",
             "<repository><units><unit id='x.a.feature.group' version='1.0.0'/></units></repository>");
  write_file("product/there/eclipse", "#!/bin/sh\n");
  std::filesystem::permissions("product/there/eclipse", std::filesystem::perms(0755));
  const auto found = [] { return summary_of(findings_in("product/session.json")); };
  ASSERT_EQ(found(), Texts({"product/session.json:4:110+15 user-eclipse-unusable"}));
  EXPECT_EQ(findings_in("product/session.json")[0].fix,
            "write " + directory.path() + "/product/there/eclipse; values of variables are relative to the working directory");
  std::filesystem::create_directory_symlink("product/there", "there");
  const Texts relative = {"product/session.json:4:110+15 user-path-relative"};
  EXPECT_EQ(found(), relative);
  EXPECT_EQ(findings_in("product/session.json")[0].severity, Severity::note);
  std::filesystem::remove("there");
  std::filesystem::copy("product/there", "there", std::filesystem::copy_options::recursive);
  EXPECT_EQ(found(), relative);
  EXPECT_EQ(findings_in("product/session.json")[0].severity, Severity::warning);
  std::filesystem::remove_all("product/there");
  EXPECT_EQ(found(), relative);
  const Finding note = findings_in("product/session.json")[0];
  EXPECT_EQ(note.severity, Severity::note);
  const std::string here = directory.path() + "/there/eclipse";
  EXPECT_EQ(note.message, "\"there/eclipse\" leads to " + here + " from this working directory only");
  EXPECT_EQ(note.fix, "write " + here);
}

TEST_F(SessionFindings, UserPathThatEndsInALineEnd) {
  EXPECT_EQ(
      summary_with({R"("ECLIPSE_INTEGRATION_CHOICE": "user")", internal[1], R"("USER_DEFINED_ECLIPSE_PATH": "ide/eclipse\n")"},
                   {Component()}),
      Texts({"session.json:6:30+15 user-path-not-normalized"}));
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
            Texts({"session.json:5:10+7 capability-descriptor-mismatch", "session.json:5:152+1 descriptor-not-listed"}));
  Component misspelt;
  misspelt.capabilities = "\"Eclipse-Plugin\"";
  EXPECT_EQ(summary_with({}, {misspelt}),
            Texts({"session.json:5:10+7 capability-descriptor-mismatch", "session.json:5:112+16 capability-misspelled"}));
  misspelt.capabilities = "\"Tools\", \"Eclipse-Plugin\"";
  EXPECT_EQ(summary_with({}, {misspelt}),
            Texts({"session.json:5:10+7 capability-descriptor-mismatch", "session.json:5:121+16 capability-misspelled"}));
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
  const auto findings_for = [&](const std::string& minimum) {
    return findings_with({"\"ECLIPSE_MIN_SUPPORTED_VERSION\": \"" + minimum + "\""}, {Component()});
  };
  for (const std::string minimum : {"4.1", "4.10", "4.26.0", "4.30", "3.8", "4.07", "5", "", "4", "4.x"}) {
    EXPECT_EQ(summary_of(findings_for(minimum)), Texts()) << minimum;
  }
  const std::vector<std::pair<std::string, std::string>> refused = {
      {"4.2", "4.10 to 4.19"}, {"4.7.3a", "4.10 to 4.69"}, {"4.9.1", "4.10 to 4.89"}};
  for (const auto& [minimum, versions] : refused) {
    const Findings findings = findings_for(minimum);
    ASSERT_EQ(summary_of(findings),
              Texts({"session.json:4:34+" + std::to_string(minimum.size() + 2) + " minimum-version-compared-as-text"}));
    EXPECT_EQ(findings[0].message, "versions are compared as text: " + versions + " are lower than " + minimum);
  }
}

const std::string states = "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/IDE.profile/";

TEST_F(SessionFindings, DamagedProfileIsSaidOnce) {
  write_file(states + "2.profile", "<profile");
  const Findings findings = findings_with(internal, {ide, Component()}, "uninstall");
  ASSERT_EQ(summary_of(findings), Texts({"session.json:5:16+9 instance-damaged"}));
  EXPECT_EQ(findings[0].message, "the newest state of the p2 profile, " + directory.path() + "/" + states +
                                     "2.profile, is not well-formed XML, so every director fails");
  EXPECT_EQ(findings[0].fix, "run: eclipse-int repair " + directory.path() + "/ide/eclipse");
}

TEST_F(SessionFindings, ProfileWithoutMostUnitsIsDamaged) {
  write_file(states + "2.profile", "<profile><units/></profile>");
  write_file(states + "1.profile", "<profile><units><unit id='a' version='1'/></units></profile>");
  EXPECT_EQ(summary_of(findings_with(internal, {ide, Component()})), Texts());
  write_file("ide/configuration/org.eclipse.equinox.simpleconfigurator/bundles.info", "a,1,plugins/a.jar,4,false\n");
  const Findings findings = findings_with(internal, {ide, Component()});
  ASSERT_EQ(summary_of(findings), Texts({"session.json:5:16+9 instance-damaged"}));
  EXPECT_EQ(findings[0].fix, "run: eclipse-int repair " + directory.path() + "/ide/eclipse --to 1");
}

TEST_F(SessionFindings, UnreadableProfileLeavesARemovalUnchecked) {
  std::filesystem::create_directories(states + "1.profile");
  const Findings findings = findings_with(internal, {ide, Component()}, "uninstall");
  ASSERT_EQ(summary_of(findings), Texts({"session.json:2:9+11 unit-not-installed"}));
  EXPECT_EQ(findings[0].severity, Severity::warning);
  EXPECT_EQ(findings[0].message, "the profile of the instance cannot be read, so the installed units are unknown: " +
                                     directory.path() + "/" + states + "1.profile is not a regular file");
}

TEST_F(SessionFindings, FileThatIsSoughtInTheWrongDirectory) {
  Component component;
  component.directory = "";
  const Findings findings = findings_with({}, {component});
  ASSERT_EQ(summary_of(findings), Texts({"session.json:5:148+15 listed-descriptor-missing"}));
  EXPECT_EQ(findings[0].message, "descriptor file does not exist: " + directory.path() +
                                     "/etc/eclipse/t; it exists below \"tools\" in that directory");
  EXPECT_EQ(findings[0].fix, "correct installDir, \"\", so that it leads to \"tools\"");
}

TEST_F(SessionFindings, ExecutableNameThatIsAPathIsSaidOnce) {
  const Findings findings = findings_with({R"("ECLIPSE_INTEGRATION_CHOICE": "user")", R"("ECLIPSE_BIN": "bin/eclipse")",
                                           R"("USER_DEFINED_ECLIPSE_PATH": "ide/eclipse")"},
                                          {Component()});
  ASSERT_EQ(summary_of(findings), Texts({"session.json:5:16+13 executable-name-unmatched"}));
  EXPECT_EQ(findings[0].fix, "write the file name alone: eclipse");
}

TEST_F(SessionFindings, ScannedDirectoryThatIsClosedIsNamed) {
  Component component;
  component.package = R"("package": {"scan": "tools"})";
  for (const std::string closed : {"tools", "tools/closed"}) {
    std::filesystem::create_directories(closed);
    std::filesystem::permissions(closed, std::filesystem::perms(0));
    try {
      findings_with({}, {component});
      ADD_FAILURE() << closed << ": no error";
    } catch (const eclipse_base::FileError& error) {
      const std::string message = error.what();
      EXPECT_NE(message.find("cannot be scanned: \"" + directory.path() + "/" + closed + "\": Permission denied"), message.npos)
          << message;
    }
    std::filesystem::permissions(closed, std::filesystem::perms(0755));
  }
}

TEST_F(SessionFindings, DirectoryListedAsAFile) {
  std::filesystem::create_directories("tools/etc/eclipse/sub/a.txt");
  write_file("tools/etc/eclipse/more/u", "s\ta.b.feature.group\n");
  Component component;
  component.package =
      R"("package": {"files": ["etc/eclipse/t", "etc/eclipse/sub/a.txt", "etc/eclipse/more", "etc/eclipse/more/u"]})";
  EXPECT_EQ(summary_with({}, {component}),
            Texts({"session.json:5:170+23 descriptor-not-a-file", "session.json:5:195+18 directory-entry-listed"}));
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

TEST_F(SessionFindings, RemovalFromTheEclipseThatALinkNames) {
  write_file("real/p2/org.eclipse.equinox.p2.engine/profileRegistry/IDE.profile/1.profile", "<profile><units/></profile>");
  write_file("real/eclipse", "#!/bin/sh\n");
  std::filesystem::permissions("real/eclipse", std::filesystem::perms(0755));
  std::filesystem::create_symlink("real/eclipse", "eclipse");
  const std::vector<std::string> user = {R"("ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse")",
                                         "\"USER_DEFINED_ECLIPSE_PATH\": \"" + directory.path() + "/eclipse\""};
  EXPECT_EQ(summary_with(user, {Component()}, "uninstall"), Texts({"tools/etc/eclipse/t:1:3+17 unit-not-installed"}));
}

TEST_F(SessionFindings, RemovalOfAnotherVersionThanTheInstalledOne) {
  write_file("ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/IDE.profile/1.profile",
             "<profile><units><unit id='a.b.feature.group' version='1.0.0'/></units></profile>");
  const auto findings_for = [&](const std::string& feature) {
    write_file("tools/etc/eclipse/t", "s\t" + feature + "\n");
    const eclipse_lint::Settings settings = {.disabled = {"feature-pinned", "comma-in-feature"}, .suppressions = {}};
    write_session(internal, {ide, Component()}, "uninstall");
    return findings_in("session.json", settings);
  };
  for (const std::string feature :
       {"a.b.feature.group", "a.b.feature.group/1.0.0", "a.b.feature.group/1", "a.b.feature.group,"}) {
    EXPECT_EQ(summary_of(findings_for(feature)), Texts()) << feature;
  }
  const Findings findings = findings_for("a.b.feature.group/0.9");
  ASSERT_EQ(summary_of(findings), Texts({"tools/etc/eclipse/t:1:3+21 unit-not-installed"}));
  EXPECT_EQ(findings[0].message, "\"a.b.feature.group/0.9\" is not installed in the instance; the installed version is 1.0.0");
  EXPECT_EQ(findings[0].fix, "write a.b.feature.group, without a version");
}

TEST_F(SessionFindings, RemovalNamesUnitsAsTheShellPassesThemOn) {
  write_file("ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/IDE.profile/1.profile",
             "<profile><units><unit id='a.b.feature.group' version='1.0.0'/></units></profile>");
  for (const std::string feature : {"'a.b.feature.group'", "a.\\b.feature.group", "\"a.b\".feature.group"}) {
    write_file("tools/etc/eclipse/t", "s\t" + feature + "\n");
    EXPECT_THAT(summary_with(internal, {ide, Component()}, "uninstall"),
                testing::Not(testing::Contains(testing::HasSubstr("unit-not-installed"))))
        << feature;
  }
}

TEST_F(SessionFindings, FeatureThatOnlyTheInstanceHasIsKept) {
  write_file("ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/IDE.profile/1.profile",
             "<profile><units><unit id='a.c.feature.group' version='1.0.0'/></units></profile>");
  const auto findings_for = [&](const std::string& feature) {
    write_file("tools/etc/eclipse/t", "s\t" + feature + "\ns\ta.b.feature.group\n");
    write_session(internal, {ide, Component()}, "install");
    return findings_in("session.json", {.disabled = {"feature-pinned"}, .suppressions = {}});
  };
  const Findings kept = findings_for("a.c.feature.group");
  ASSERT_EQ(summary_of(kept), Texts({"tools/etc/eclipse/t:1:3+17 feature-not-found"}));
  EXPECT_EQ(kept[0].severity, Severity::warning);
  EXPECT_EQ(kept[0].message, "no repository has \"a.c.feature.group\", but the instance has it, so the director keeps it");
  const Findings other = findings_for("a.c.feature.group/2.0.0");
  ASSERT_EQ(summary_of(other), Texts({"tools/etc/eclipse/t:1:3+23 feature-not-found"}));
  EXPECT_EQ(other[0].severity, Severity::error);
}

TEST_F(SessionFindings, RemovalNeedsNoSites) {
  const Texts lines = {"s\ta.b.feature.group",   "missing\ta.c.feature.group", "/opt/s\ta.d.feature.group",
                       "a b\ta.e.feature.group", "s;x \ta.f.feature.group",    "\"s\ta.g.feature.group"};
  std::string content;
  for (const std::string& line : lines) content += line + "\n";
  write_file("tools/etc/eclipse/t", content);
  EXPECT_EQ(summary_with(internal, {ide, Component()}, "uninstall"), Texts());
  EXPECT_GE(summary_with(internal, {ide, Component()}).size(), lines.size() - 1);
}

TEST_F(SessionFindings, InstanceThatIsNotWritableIsReportedWhereItIsNamed) {
  std::filesystem::create_directories("ide/p2");
  std::filesystem::permissions("ide/p2", std::filesystem::perms(0555));
  const std::string user = R"("ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse")";
  const std::string path = "\"" + directory.path() + "/ide/eclipse\"";
  EXPECT_EQ(summary_with({user, "\"USER_DEFINED_ECLIPSE_PATH\": " + path}, {Component()}),
            Texts({"session.json:5:30+" + std::to_string(path.size()) + " instance-not-writable"}));
}

TEST_F(SessionFindings, UserEclipseThatIsNotUsable) {
  std::filesystem::create_directories("directory");
  write_file("other", "");
  const auto findings_for = [&](const std::string& path, const std::string& name, const std::string& mode) {
    return findings_with({R"("ECLIPSE_INTEGRATION_CHOICE": "user")", "\"ECLIPSE_BIN\": \"" + name + "\"",
                          "\"USER_DEFINED_ECLIPSE_PATH\": \"" + path + "\""},
                         {Component()}, mode);
  };
  const std::string full_path = directory.path() + "/ide/eclipse";
  EXPECT_EQ(summary_of(findings_for(full_path, "eclipse", "install")), Texts());
  EXPECT_EQ(summary_of(findings_for(full_path, "", "uninstall")), Texts());
  for (const std::string path : {"", "missing/eclipse", "directory", "other"}) {
    const Findings findings = findings_for(path, "eclipse", "install");
    const std::string place = "session.json:6:30+" + std::to_string(path.size() + 2);
    ASSERT_EQ(summary_of(findings), Texts({place + " user-eclipse-unusable"})) << path;
    EXPECT_EQ(findings[0].severity, Severity::error);
    EXPECT_EQ(findings[0].message.substr(0, 26), "the run would be refused: ");
  }
  write_file("studio", "#!/bin/sh\n");
  std::filesystem::permissions("studio", std::filesystem::perms::owner_all);
  const Findings misnamed = findings_for("studio", "eclipse", "install");
  ASSERT_EQ(summary_of(misnamed), Texts({"session.json:5:16+9 user-eclipse-unusable"})) << "the executable has another name";
  EXPECT_EQ(misnamed[0].fix, "set ECLIPSE_BIN to \"studio\" if this is the Eclipse executable");
  write_file("ide/configuration/config.ini", "eclipse.buildId=4.10\n");
  const Findings old =
      findings_with({R"("ECLIPSE_INTEGRATION_CHOICE": "user")", R"("ECLIPSE_BIN": "eclipse")",
                     R"("USER_DEFINED_ECLIPSE_PATH": "ide/eclipse")", R"("ECLIPSE_MIN_SUPPORTED_VERSION": "4.9")"},
                    {Component()}, "install");
  EXPECT_EQ(summary_of(old),
            Texts({"session.json:7:34+5 user-eclipse-unusable", "session.json:7:34+5 minimum-version-compared-as-text"}));
  EXPECT_EQ(old.front().fix, "set the minimum to 4.10 or later, or do not set it") << "4.10 is not older than 4.9";
  write_file("ide/configuration/config.ini", "eclipse.buildId=4.8.0\n");
  const Findings older =
      findings_with({R"("ECLIPSE_INTEGRATION_CHOICE": "user")", R"("ECLIPSE_BIN": "eclipse")",
                     R"("USER_DEFINED_ECLIPSE_PATH": "ide/eclipse")", R"("ECLIPSE_MIN_SUPPORTED_VERSION": "4.9")"},
                    {Component()}, "install");
  EXPECT_EQ(older.front().fix, "set it to the lowest version that the features need, or use a newer Eclipse");
  std::filesystem::remove("ide/configuration/config.ini");
  const Findings unnamed = findings_for("ide/eclipse", "", "modify");
  ASSERT_EQ(summary_of(unnamed), Texts({"session.json:5:16+2 user-eclipse-unusable"}));
  EXPECT_EQ(unnamed[0].fix, "set ECLIPSE_BIN to the file name of the executable");
  for (const std::string path : {"", "missing/eclipse"}) {
    const Findings findings = findings_for(path, "eclipse", "uninstall");
    const std::string place = "session.json:6:30+" + std::to_string(path.size() + 2);
    ASSERT_EQ(summary_of(findings), Texts({place + " user-eclipse-unusable"})) << path;
    EXPECT_EQ(findings[0].severity, Severity::warning);
  }
  EXPECT_EQ(summary_of(findings_for("directory", "eclipse", "uninstall")),
            Texts({"session.json:6:30+11 executable-not-startable"}));
}

TEST_F(SessionFindings, ChoiceThatIsNotMade) {
  EXPECT_EQ(summary_with({R"("ECLIPSE_INTEGRATION_CHOICE": "")"}, {Component()}),
            Texts({"session.json:4:31+2 choice-missing"}));
  EXPECT_EQ(findings_with({R"("ECLIPSE_INTEGRATION_CHOICE": "")"}, {Component()})[0].severity, Severity::error);
  write_file("session.json", two_components("modify", "", ""));
  const Settings unset = {.disabled = {}, .suppressions = {}, .add_variables = [](auto& session) {
                            session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "";
                          }};
  const Findings of_none_selected = findings_in("session.json", unset);
  ASSERT_FALSE(of_none_selected.empty());
  EXPECT_EQ(of_none_selected[0].rule->name, "choice-missing");
  EXPECT_EQ(of_none_selected[0].severity, Severity::warning) << "no component with features is selected";
  EXPECT_EQ(summary_with({R"("ECLIPSE_INTEGRATION_CHOICE": "")"}, {}), Texts());
}

/// What is set outside has no line in the file; the others, of whatever name, keep theirs.
TEST_F(SessionFindings, OfAVariableThatIsSetOutsideHaveNoLine) {
  write_file("session.json", two_components("modify", "", ""));
  for (const char* const same : {"A_SAME", "Z_SAME"}) {
    const Settings settings = {.disabled = {}, .suppressions = {}, .add_variables = [&](auto& session) {
                                 session.variables[same] = session.variables[same];
                                 session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "";
                               }};
    const Findings findings = findings_in("session.json", settings);
    ASSERT_FALSE(findings.empty());
    EXPECT_EQ(findings[0].location.file + ":" + std::to_string(findings[0].location.line), "session.json:0") << same;
  }
}

TEST_F(SessionFindings, OfAModeThatIsSetOutsideHaveNoLine) {
  write_file("old/etc/eclipse/t", "s\tc.d.feature.group\n");
  write_file("old/s/content.xml", "<repository><units><unit id='c.d.feature.group' version='1'/></units></repository>");
  write_file("session.json", two_components("modify", "", ""));
  const Settings settings = {
      .disabled = {}, .suppressions = {}, .add_variables = [](auto& session) { session.variables["KORU_MODE"] = "uninstall"; }};
  EXPECT_EQ(summary_of(findings_in("session.json", settings)), Texts({"session.json nothing-selected"}));
}

TEST_F(SessionFindings, FilesThatNoneOfTheComponentsListsAreAllNamed) {
  Component without_package;
  without_package.code = "none";
  without_package.package = without_package.capabilities = "";
  Component one;
  one.package = R"("package": {"files": []})";
  Component other = one;
  other.code = other.directory = "other";
  other.capabilities = "\"OTHER_ECLIPSE_PLUGIN\"";
  write_file("tools/etc/eclipse/u", "s\ta.b.feature.group\n");
  write_file("other/etc/eclipse/t", "s\ta.b.feature.group\n");
  Texts messages;
  for (const Finding& finding : findings_with({}, {without_package, one, other})) {
    if (finding.rule->name == "descriptor-not-listed") messages.push_back(finding.message);
  }
  EXPECT_EQ(messages, Texts({"the package does not list \"etc/eclipse/t\"", "the package does not list \"etc/eclipse/u\"",
                             "the package does not list \"etc/eclipse/t\""}));
}

TEST_F(SessionFindings, FileThatIsListedOutsideOfEtcEclipseMayBeTheTargetOfALink) {
  write_file("tools/etc/Eclipse/t", "s\tb.c.feature.group\n");
  Component outside;
  outside.package = R"("package": {"files": ["etc/eclipse/t", "etc/Eclipse/t"]})";
  EXPECT_EQ(summary_with({}, {outside}), Texts({"session.json:5:170+15 descriptor-outside-etc-eclipse"}));
  Component other;
  other.code = other.directory = "other";
  other.capabilities = "\"OTHER_ECLIPSE_PLUGIN\"";
  std::filesystem::create_directories("other/etc/eclipse");
  std::filesystem::create_symlink("../../../tools/etc/Eclipse/t", "other/etc/eclipse/t");
  write_file("other/s/content.xml", "<repository><units><unit id='b.c.feature.group' version='1'/></units></repository>");
  EXPECT_EQ(summary_with({}, {outside, other}), Texts());
}

TEST_F(SessionFindings, RepositoryInTheDirectoryOfAnotherComponentIsNoted) {
  Component other;
  other.code = other.directory = "other";
  other.capabilities = "\"OTHER_ECLIPSE_PLUGIN\"";
  write_file("other/etc/eclipse/t", "../tools/s\ta.b.feature.group\n");
  write_file("tools/etc/eclipse/t", "../other/s\tb.c.feature.group\n");
  write_file("other/s/content.xml", "<repository><units><unit id='b.c.feature.group' version='1'/></units></repository>");
  Texts messages;
  for (const Finding& finding : findings_with({}, {Component(), other})) messages.push_back(finding.message);
  const std::string outside = "\" is outside of the component's directory, in that of another component, " + directory.path();
  EXPECT_EQ(messages, Texts({"\"../tools/s" + outside + "/tools", "\"../other/s" + outside + "/other"}));
}

TEST_F(SessionFindings, InternalEclipseThatIsNotThere) {
  const auto message_with = [&](const Texts& variables, const std::vector<Component>& components) {
    const Findings findings = findings_with(variables, components);
    return findings.size() == 1 ? summary_of(findings)[0] + ": " + findings[0].message
                                : testing::PrintToString(summary_of(findings));
  };
  EXPECT_EQ(
      message_with(internal, {Component()}),
      "session.json:4:31+10 internal-eclipse-not-found: no component has a capability whose name contains \"ECLIPSE_IDE\"");
  EXPECT_EQ(message_with({internal[0], R"("ECLIPSE_BIN": "")"}, {ide, Component()}),
            "session.json:5:16+2 internal-eclipse-not-found: ECLIPSE_BIN is not set");
  EXPECT_EQ(message_with({internal[0], R"("ECLIPSE_BIN": "studio")"}, {ide, Component()}),
            "session.json:5:16+8 internal-eclipse-not-found: no IDE component lists a file named \"studio\"");
  Component without_package = ide;
  without_package.package = "";
  EXPECT_EQ(message_with(internal, {without_package, Component()}),
            "session.json:5:16+9 internal-eclipse-not-found: no IDE component lists a file named \"eclipse\"");
  std::filesystem::remove("ide/eclipse");
  EXPECT_EQ(message_with(internal, {ide, Component()}),
            "session.json:7:146+9 internal-eclipse-not-found: the listed executable does not exist: the plug-in looks for " +
                directory.path() + "/ide/eclipse");
}

TEST_F(SessionFindings, NameListedWithASpaceIsNoFileThatIsNotListed) {
  Component component;
  component.package = R"("package": {"files": ["etc/eclipse/t "]})";
  EXPECT_EQ(summary_with({}, {component}), Texts({"session.json:5:153+16 trailing-space-in-listed-name"}));
}

TEST_F(SessionFindings, FileOfAComponentInAnotherOneIsListedByItsOwn) {
  Component around;
  around.code = "around";
  around.directory = ".";
  around.capabilities = "";
  around.package = R"("package": {"files": []})";
  EXPECT_EQ(summary_with({}, {around, Component()}), Texts());
  EXPECT_EQ(summary_with({}, {around}), Texts({"session.json:5:133+1 descriptor-not-listed"}));
}

TEST_F(SessionFindings, WhatIsNoFileInAPackage) {
  ASSERT_EQ(mkfifo("tools/etc/eclipse/pipe", 0644), 0);
  Component component;
  component.package = R"("package": {"files": ["etc/eclipse/t", "etc/eclipse/pipe"]})";
  EXPECT_EQ(summary_with({}, {component}), Texts({"session.json:5:170+18 descriptor-not-a-file"}));
  EXPECT_EQ(summary_with({}, {Component()}), Texts({"session.json:5:152+1 descriptor-not-a-file"}));
}

TEST_F(SessionFindings, DirectoryInEtcEclipseIsNoMissingFile) {
  std::filesystem::create_directories("tools/etc/eclipse/sub");
  Component component;
  component.package = R"("package": {"files": ["etc/eclipse/sub/", "etc/eclipse/t"]})";
  EXPECT_EQ(summary_with({}, {component}), Texts({"session.json:5:153+18 directory-entry-listed"}));
}

TEST_F(SessionFindings, NameThatIsTooLongForTheSystemIsAnEclipseThatIsNotThere) {
  const Texts variables = {R"("ECLIPSE_INTEGRATION_CHOICE": "user")", R"("ECLIPSE_BIN": "eclipse")",
                           R"("USER_DEFINED_ECLIPSE_PATH": ")" + std::string(300, 'x') + R"(")"};
  EXPECT_EQ(summary_with(variables, {Component()}, "uninstall"), Texts{"session.json:6:30+302 user-eclipse-unusable"});
}

TEST_F(SessionFindings, LineIsThatOfTheFile) {
  const Findings findings = findings_with({R"("ECLIPSE_INTEGRATION_CHOICE": "Internal")"}, {Component()});
  ASSERT_EQ(summary_of(findings), Texts({"session.json:4:31+10 choice-unknown"}));
  EXPECT_EQ(findings[0].location.text, R"("ECLIPSE_INTEGRATION_CHOICE": "Internal")");
}

}  // namespace
