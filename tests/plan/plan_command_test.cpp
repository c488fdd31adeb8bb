#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/child_command.h"

namespace cli_test {

namespace {

using Json = nlohmann::json;

/// All files below the directory with their contents.
std::map<std::string, std::string> files_there() {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(".")) {
    const std::string name = entry.path().string();
    if (entry.is_regular_file() && !name.starts_with("./.")) files[name] = content_of(name);
  }
  return files;
}

std::vector<std::string> texts_of(const Json& commands) {
  std::vector<std::string> texts;
  for (const Json& command : commands) texts.push_back(command.at(command.contains("text") ? "text" : "command"));
  return texts;
}

class PlanCommand : public ChildCommand {
 protected:
  Json plan(const std::string& options = "") const {
    const Outcome outcome = eclipse_int("plan session.json --json " + options);
    EXPECT_EQ(outcome.error, "");
    return Json::parse(outcome.output);
  }

  /// All commands of a run in which the first `failures` directors fail.
  std::vector<std::string> commands_of_run(int failures) const {
    for (int start = 1; start <= failures; ++start) script(start, "exit 13");
    return texts_of(Json::parse(eclipse_int("run session.json --json").output).at("commands"));
  }

  void expect_planned_commands_are_run() const {
    const Json planned = plan("--retries");
    std::vector<std::string> commands = texts_of(planned.at("retries"));
    commands.insert(commands.begin(), planned.at("command").at("text"));
    EXPECT_EQ(commands_of_run(3), commands);
  }
};

TEST_F(PlanCommand, TellsAnInstallation) {
  write_session("install", {{"ECLIPSE_MIN_SUPPORTED_VERSION", "4.7"}}, "\"install\": true");
  fake::write_file("eclipse/configuration/config.ini", "eclipse.buildId=4.7.3\n");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\t\t2\nsite.zip\ttwo\n\tthree\nsite\ttwo\nmore\t\t\t5x\n");
  const std::string file = "DIRECTORY/tools/etc/eclipse/tools.txt";
  const std::string repositories =
      "\"jar:file://DIRECTORY/tools/site.zip!/\",file://DIRECTORY/tools/more,file://DIRECTORY/tools/site";
  const std::string command =
      "DIRECTORY/eclipse/eclipse -nosplash -application org.eclipse.equinox.p2.director -repository " + repositories + " -i ";
  Outcome outcome = eclipse_int("plan session.json --verbose");
  // The lengths of the commands hang on the directory.
  for (std::size_t at; (at = outcome.output.find(" of at most 131071")) != std::string::npos;) {
    const std::size_t start = outcome.output.rfind('(', at);
    outcome.output.replace(start + 1, at + 18 - start - 1, "N");
  }
  outcome.output.erase(outcome.output.find("\nlint: "));
  EXPECT_EQ(outcome, (Outcome{1,
                              "Plan of session.json (dry run: nothing is run or changed)\n"
                              "\n"
                              "Actions\n"
                              "  eclipse_integration_required  ECLIPSE_INTEGRATION_REQUIRED = yes\n"
                              "  find_eclipse_ide              ECLIPSE_IDE = no\n"
                              "                                ECLIPSE_IDE_ENABLED = no\n"
                              "  verify_eclipse_version        USER_DEFINED_ECLIPSE_PATH_EMPTY = no\n"
                              "                                USER_DEFINED_ECLIPSE_PATH_CORRECT = yes\n"
                              "                                ECLIPSE_VERSION = 4.7.3\n"
                              "                                ECLIPSE_VERSION_IS_SUPPORTED = yes\n"
                              "  define_eclipse_path           ECLIPSE_PATH = DIRECTORY/eclipse\n"
                              "  perform_integration           ECLIPSE_PATH = DIRECTORY/eclipse\n"
                              "                                runs the command below\n"
                              "\n"
                              "Eclipse version\n"
                              "  4.7.3 is supported: it is not below the minimum 4.7, since \"4.7.3\" begins with \"4.7\" and "
                              "is longer, so it comes after it\n"
                              "\n"
                              "Components (all are searched, because the instance is not known yet)\n"
                              "  tools  searched  1 descriptor file\n"
                              "                   " +
                                  file +
                                  ": 5 records\n"
                                  "\n"
                                  "Features to install, in order\n"
                                  "     Position  Order  Feature  From\n"
                                  "  1  0         none   two      " +
                                  file +
                                  ":2\n"
                                  "  2  2         2      one      " +
                                  file +
                                  ":1\n"
                                  "\n"
                                  "Lines that add no feature\n"
                                  "  " +
                                  file + ":3: has no repository, so the line is ignored\n  " + file +
                                  ":4: two is already listed at a position below 1\n  " + file +
                                  ":5: has no feature, so the line only takes position 5 and adds its repository\n"
                                  "\n"
                                  "Features to install into DIRECTORY/eclipse/eclipse: 2 that will fail\n"
                                  "  !  two    no repository of the session offers it (" +
                                  file +
                                  ":2)\n"
                                  "  !  one    no repository of the session offers it (" +
                                  file +
                                  ":1)\n"
                                  "  What is installed is not known: the p2 profile of the instance cannot be read.\n"
                                  "\n"
                                  "Repositories\n"
                                  "  !  \"jar:file://DIRECTORY/tools/site.zip!/\"  does not exist\n"
                                  "  !  file://DIRECTORY/tools/more              does not exist\n"
                                  "  !  file://DIRECTORY/tools/site              does not exist\n"
                                  "\n"
                                  "Command (N bytes)\n"
                                  "  " +
                                  command +
                                  "two,one 2>&1\n"
                                  "\n"
                                  "Retries if that fails, one for each feature: 2 commands, the longest (N bytes)\n"
                                  "  " +
                                  command +
                                  "two 2>&1\n"
                                  "  and 1 more like this, one for each feature (--retries shows them)\n",
                              ""}));
}

/// The units of a repository or of a profile.
std::string units(const std::map<std::string, std::string>& versions, const std::string& more = "") {
  std::string text = "<units>";
  for (const auto& [id, version] : versions) text += "<unit id='" + id + "' version='" + version + "'>" + more + "</unit>";
  return text + "</units>";
}

void write_repository(const std::string& name, const std::map<std::string, std::string>& versions) {
  fake::write_file("tools/" + name + "/content.xml", "<repository>" + units(versions) + "</repository>");
}

/// All of them roots.
void write_profile(const std::map<std::string, std::string>& versions) {
  std::string roots;
  for (const auto& [id, version] : versions) {
    roots += "<iuProperties id='" + id + "' version='" + version +
             "'><properties><property name='org.eclipse.equinox.p2.type.root' value='true'/></properties></iuProperties>";
  }
  fake::write_file("eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile",
                   "<profile>" + units(versions) + "<iusProperties>" + roots + "</iusProperties></profile>");
}

TEST_F(PlanCommand, SaysWhyTheProfileIsNotKnown) {
  write_session("install");
  write_profile({});
  fake::write_file("eclipse/configuration/config.ini", "eclipse.p2.data.area=@user.home/.p2\n");
  const Outcome outcome = eclipse_int("plan session.json");
  EXPECT_NE(outcome.output.find("\n  What is installed is not known: the p2 profile of the instance cannot be read: "
                                "DIRECTORY/eclipse/configuration/config.ini has eclipse.p2.data.area=@user.home/.p2\n"),
            std::string::npos)
      << outcome.output;
}

TEST_F(PlanCommand, HasALineForEachFeatureAndRepository) {
  write_session("install");
  write_repository("site", {{"new", "1.0.0"}, {"same", "1.0.0"}, {"older", "2.0.0"}, {"newer", "1.0.0"}});
  write_profile({{"same", "1.0"}, {"older", "1.9.0"}, {"newer", "1.10.0"}});
  fake::write_file(
      "tools/etc/eclipse/tools.txt",
      "site\tnew\nsite\tsame\nsite\tolder\nsite\tnewer\nsite\tnowhere\nsite\tnew/3.0\nnone\tnew\n\tlost\n\t\t\t\n");
  const std::string file = "DIRECTORY/tools/etc/eclipse/tools.txt";
  const std::string by_name = ", which was installed by name; --update";
  Outcome outcome = eclipse_int("plan session.json");
  outcome.output.erase(outcome.output.find("\nlint: "));
  EXPECT_EQ(
      outcome,
      (Outcome{1,
               "Plan of session.json (dry run: nothing is run or changed)\n"
               "\n"
               "Features to install into DIRECTORY/eclipse/eclipse: 1 to install, 1 to keep, 2 in another version, 2 that "
               "will fail\n"
               "  +  new      1.0.0            file://DIRECTORY/tools/site\n"
               "  =  same     1.0.0\n"
               "  ~  older    1.9.0 -> 2.0.0   is refused: the director does not replace version 1.9.0" +
                   by_name + " does\n" +
                   "  ~  newer    1.10.0 -> 1.0.0  will most likely fail: the director does not replace the newer version "
                   "1.10.0" +
                   by_name +
                   " with --allow-downgrade does\n  !  nowhere                   no repository of the session offers it (" +
                   file +
                   ":5)\n"
                   "  !  new/3.0                   no repository of the session offers it, but version 1.0.0 (" +
                   file +
                   ":6)\n"
                   "\n"
                   "Repositories\n"
                   "  !  file://DIRECTORY/tools/none  does not exist\n"
                   "     file://DIRECTORY/tools/site  ok\n"
                   "\n"
                   "Ignored\n"
                   "  " +
                   file +
                   ":8: has no repository, so the line is ignored\n"
                   "\n"
                   "The run would be refused\n"
                   "  older 1.9.0 is installed, and the session offers 2.0.0; the director would not replace the "
                   "installed version; use --update (with --allow-downgrade, since newer 1.10.0 is installed, and the session "
                   "offers only 1.0.0)\n",
               ""}));
  const Json planned = plan();
  EXPECT_EQ(planned.at("changes").at(2), Json({{"unit", "older"},
                                               {"location", file + ":3"},
                                               {"change", "other version"},
                                               {"version", "2.0.0"},
                                               {"installed", "1.9.0"},
                                               {"repository", "file://DIRECTORY/tools/site"},
                                               {"remark", planned.at("changes").at(2).at("remark")}}));
  EXPECT_EQ(planned.at("profileRead"), true);
  EXPECT_EQ(planned.at("repositoryStates").at(0).at("usable"), false);
}

/// The lines of the features in a plan, each as its sign and its unit.
std::vector<std::string> signs_in(const std::string& output) {
  std::vector<std::string> signs;
  std::istringstream lines(output.substr(output.find("\nFeatures ") + 1));
  for (std::string line; std::getline(lines, line) && !line.empty();) {
    std::istringstream words(line);
    std::string sign;
    std::string unit;
    if (line.starts_with("  ") && words >> sign >> unit && sign.size() == 1) signs.push_back(sign.append(" ").append(unit));
  }
  return signs;
}

TEST_F(PlanCommand, MarksFeaturesThatTheShellKeepsFromTheDirector) {
  using Texts = std::vector<std::string>;
  write_session("install");
  for (const std::string name : {"site", "my site", "a$b"}) write_repository(name, {{"one", "1.0.0"}, {"two", "1.0.0"}});
  const std::map<std::string, Texts> plans = {
      {"site\tone\nsite\ttwo\n", {"+ one", "+ two"}},   {"my site\tone\nsite\ttwo\n", {"! one", "! two"}},
      {"a$b\tone\nsite\ttwo\n", {"! one", "+ two"}},    {"\"site\"\t'one'\nsite\ttwo\n", {"+ one", "+ two"}},
      {"site\tone #\nsite\ttwo\n", {"! one", "+ two"}}, {"site\tone(\nsite\ttwo\n", {"! one(", "+ two"}}};
  for (const auto& [descriptor, signs] : plans) {
    fake::write_file("tools/etc/eclipse/tools.txt", descriptor);
    const Outcome outcome = eclipse_int("plan session.json");
    EXPECT_EQ(signs_in(outcome.output), signs) << descriptor;
    EXPECT_EQ(outcome.status, signs.front().starts_with('+') ? 0 : 1) << descriptor;
  }
  fake::write_file("tools/etc/eclipse/tools.txt", "my site\tone\nsite\ttwo\n");
  EXPECT_EQ(plan().at("changes").at(1).at("remark"),
            "the shell changes column 1 of DIRECTORY/tools/etc/eclipse/tools.txt:1: the word ends here");
}

TEST_F(PlanCommand, MarksRemovalsThatTheShellKeepsFromTheDirector) {
  write_session("uninstall", {}, R"("installed": true, "remove": true)");
  write_profile({{"one", "1.0.0"}, {"two", "1.0.0"}});
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\nsite\ttwo(\n");
  EXPECT_EQ(signs_in(eclipse_int("plan session.json").output), (std::vector<std::string>{"! one", "! two("}));
}

TEST_F(PlanCommand, HasALineForEachFeatureThatIsRemoved) {
  write_session("uninstall", {}, R"("installed": true, "remove": true)");
  write_profile({{"one", "1.0.0"}});
  const Outcome outcome = eclipse_int("plan session.json");
  EXPECT_EQ(outcome.output.substr(0, outcome.output.find("\nlint")),
            "Plan of session.json (dry run: nothing is run or changed)\n"
            "\n"
            "Features to remove from DIRECTORY/eclipse/eclipse: 2 that will fail\n"
            "  !  one  1.0.0  stays, because another feature is not installed (DIRECTORY/tools/etc/eclipse/tools.txt:2)\n"
            "  !  two         is not installed, so the director removes none of the features "
            "(DIRECTORY/tools/etc/eclipse/tools.txt:3)\n");
  write_profile({{"one", "1.0.0"}, {"two", "1.0.0"}});
  EXPECT_NE(eclipse_int("plan session.json").output.find("2 to remove\n  -  one  1.0.0\n  -  two  1.0.0\n"), std::string::npos);
}

TEST_F(PlanCommand, SaysWhereItDoesNotKnow) {
  write_session("install");
  fake::write_file("tools/site/compositeContent.xml",
                   "<repository><children><child location='http://example.org/a'/></children></repository>");
  const Outcome outcome = eclipse_int("plan session.json");
  EXPECT_NE(outcome.output.find("  +  one    no repository that could be examined offers it\n"), std::string::npos)
      << outcome.output;
  EXPECT_NE(outcome.output.find("  ?  file://DIRECTORY/tools/site  was not examined completely: "), std::string::npos)
      << outcome.output;
  write_repository("site", {{"one", "1.0.0"}, {"two", "1.0.0"}});
  std::filesystem::remove("tools/site/compositeContent.xml");
  EXPECT_NE(eclipse_int("plan session.json")
                .output.find("\n  What is installed is not known: the p2 profile of the instance cannot be read.\n"),
            std::string::npos);
}

TEST_F(PlanCommand, ShowsWhatMayComeAsASurprise) {
  write_session("install");
  write_repository("site", {{"one; x", "1.0.0"}});
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone; x\n");
  EXPECT_NE(eclipse_int("plan session.json").output.find("\n  Warning: the shell would change this command:\n"),
            std::string::npos);
  std::filesystem::permissions("eclipse/eclipse", std::filesystem::perms(0644));
  EXPECT_NE(eclipse_int("plan session.json").output.find(" is not executable, so the shell cannot start it"),
            std::string::npos);
  const Outcome none = eclipse_int("plan session.json --set ECLIPSE_INTEGRATION_CHOICE=none");
  EXPECT_NE(none.output.find("\nCommand\n  None: the last line of the log is: eclipse_int: nothing to integrate\n"),
            std::string::npos)
      << none.output;
}

TEST_F(PlanCommand, SaysWhatOnlyTheDirectorKnows) {
  write_session("install");
  write_repository("site", {{"new.feature.group", "1.0.0"}, {"same.feature.group", "1.0.0"}});
  write_profile({{"same.feature.group", "1.0.0"}});
  const std::string limit = "whether everything that the features require can be installed; --resolve asks the director";
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tnew.feature.group\nsite\tsame.feature.group\n");
  const Outcome green = eclipse_int("plan session.json");
  EXPECT_EQ(green.status, 0) << green.output;
  EXPECT_TRUE(green.output.ends_with("\n\nNot checked: " + limit + "\n\nlint: no findings\n")) << green.output;
  EXPECT_EQ(plan().at("limits"), Json::array({limit}));
  EXPECT_FALSE(plan("--resolve").contains("limits"));

  fake::write_file("tools/etc/eclipse/tools.txt", "site\tsame.feature.group\n");
  EXPECT_FALSE(plan().contains("limits")) << "nothing is installed";
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tnew.feature.group\nsite\tnowhere\n");
  EXPECT_FALSE(plan().contains("limits")) << "it fails anyway";
}

TEST_F(PlanCommand, SaysWhichLineAnErrorOfLintIsAbout) {
  write_session("install");
  write_repository("site", {{"one", "1.0.0"}, {"two", "1.0.0"}});
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\nsite\ttow\n");
  const Outcome outcome = eclipse_int("plan session.json");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(signs_in(outcome.output), (std::vector<std::string>{"+ one", "! tow"}));
  EXPECT_NE(outcome.output.find("\n  tools/etc/eclipse/tools.txt:2: no repository has \"tow\"\n"), std::string::npos)
      << outcome.output;
  const Json error = plan().at("lintErrors").at(0);
  EXPECT_EQ(error.at("rule"), "feature-not-found");
  EXPECT_EQ(error.at("location"), "tools/etc/eclipse/tools.txt:2");
  EXPECT_EQ(error.at("message"), "no repository has \"tow\"");
}

TEST_F(PlanCommand, MarksFeaturesThatLintKnowsToFail) {
  write_session("install");
  write_profile({{"b", "1.0.0"}, {"same.feature.group", "1.0.0"}});
  const auto feature = [](const std::string& id) {
    return "<unit id='" + id +
           ".feature.group' version='1.0.0'><requires><required namespace='osgi.bundle' name='b' range='2.0.0'/>"
           "</requires></unit>";
  };
  fake::write_file("tools/site/content.xml", "<repository><units>" + feature("new") + feature("same") +
                                                 "<unit id='good.feature.group' version='1.0.0'/></units></repository>");
  fake::write_file("tools/etc/eclipse/tools.txt",
                   "site\tnew.feature.group\nsite\tsame.feature.group\nsite\tgood.feature.group\n");
  const Outcome outcome = eclipse_int("plan session.json");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(signs_in(outcome.output),
            (std::vector<std::string>{"! new.feature.group", "= same.feature.group", "+ good.feature.group"}));
  const std::string reason = "\"new.feature.group/1.0.0\" requires version 2.0.0 or later of \"b\", but the instance has 1.0.0";
  const std::size_t shown = outcome.output.find(reason);
  EXPECT_NE(shown, std::string::npos) << outcome.output;
  EXPECT_EQ(outcome.output.find(reason, shown + 1), std::string::npos) << "once";
  EXPECT_EQ(plan().at("lintErrors").size(), 1U);
}

TEST_F(PlanCommand, CommandForAllMayFailWithoutHarm) {
  write_session("install");
  write_repository("site", {{"one.feature.group", "1.0.0"}, {"two.feature.group", "1.0.0"}});
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone.feature.group \nsite\ttwo.feature.group\n");
  const Outcome outcome = eclipse_int("plan session.json");
  EXPECT_EQ(outcome.status, 0) << outcome.output;
  EXPECT_EQ(signs_in(outcome.output), (std::vector<std::string>{"+ one.feature.group", "+ two.feature.group"}));
  EXPECT_NE(outcome.output.find("  Warning: the shell would change this command:\n"), std::string::npos);
  EXPECT_NE(outcome.output.find("\nlint: 1 warning"), std::string::npos);
  script(1, "exit 13");
  EXPECT_EQ(eclipse_int("run session.json").status, 0) << "each goes in alone";
}

TEST_F(PlanCommand, FailsForAnErrorOfLint) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "User"}});
  const Outcome misspelled = eclipse_int("plan session.json");
  EXPECT_EQ(misspelled.status, 1);
  EXPECT_EQ(misspelled.output.find("  !  "), std::string::npos) << misspelled.output;
  EXPECT_NE(misspelled.output.find("\nlint: 3 errors"), std::string::npos) << misspelled.output;
  EXPECT_EQ(eclipse_int("plan session.json --set ECLIPSE_INTEGRATION_CHOICE=none").status, 0);
}

TEST_F(PlanCommand, CountsWhatLintFindsInThisSession) {
  write_session("install");
  write_repository("site", {{"one.feature.group", "1.0.0"}});
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone.feature.group\n");
  EXPECT_TRUE(eclipse_int("plan session.json").output.ends_with("\nlint: no findings\n"))
      << eclipse_int("lint session.json").output;
  const Json counts = plan("--set USER_DEFINED_ECLIPSE_PATH=" + directory.path() + "/nowhere").at("lint");
  EXPECT_GT(counts.at("error"), 0) << "with its variables";
  std::filesystem::rename("session.json", "session.txt");
  const Json named = Json::parse(eclipse_int("plan session.txt --json").output);
  EXPECT_EQ(named.at("lint"), Json::parse(R"({"error": 0, "warning": 0, "note": 0})")) << "whatever its name is";
}

TEST_F(PlanCommand, WarnsThatTextsAreComparedAndTellsTheRefusal) {
  write_session("install", {{"ECLIPSE_MIN_SUPPORTED_VERSION", "4.7"}});
  fake::write_file("eclipse/configuration/config.ini", "eclipse.buildId=4.10\n");
  const Outcome outcome = eclipse_int("plan session.json --verbose");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.output.find(
                "\nEclipse version\n"
                "  4.10 is not supported: it is below the minimum 4.7, since they first differ at byte 3, where \"1\" "
                "comes before \"7\"\n"
                "  Warning: versions are compared as text; as numbers, 4.10 is not below 4.7\n"),
            std::string::npos)
      << outcome.output;
  EXPECT_NE(outcome.output.find("\nComponents (none is searched)\n  tools  skipped  no component is searched\n"),
            std::string::npos)
      << outcome.output;
  EXPECT_NE(outcome.output.find("\nCommand\n  None: the version of \"DIRECTORY/eclipse/eclipse\", 4.10, is below the minimum"),
            std::string::npos)
      << outcome.output;
  EXPECT_EQ(plan().at("version"), Json::parse(R"({"version": "4.10", "minimum": "4.7", "supported": false,
                "reason": "they first differ at byte 3, where \"1\" comes before \"7\"", "numericOrderDiffers": true})"));
}

TEST_F(PlanCommand, ShowsWhatTheShellMakesOfTheCommand) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "my site\tone;two\nsite\t$HOME\n");
  const Outcome outcome = eclipse_int("plan session.json --verbose");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.output.find("  Warning: the shell would change this command:\n"
                                "    Words of command 1:\n"
                                "      DIRECTORY/eclipse/eclipse\n"
                                "      -nosplash\n"
                                "      -application\n"
                                "      org.eclipse.equinox.p2.director\n"
                                "      -repository\n"
                                "      file://DIRECTORY/tools/my\n"
                                "      site,file://DIRECTORY/tools/site\n"
                                "      -i\n"
                                "      one\n"
                                "    Words of command 2:\n"
                                "      two,$HOME\n"),
            std::string::npos)
      << outcome.output;
  EXPECT_NE(outcome.output.find("    From column 1 of DIRECTORY/tools/etc/eclipse/tools.txt:1: my site\n"
                                "      Byte 3 (space): the word ends here\n"
                                "    From column 2 of DIRECTORY/tools/etc/eclipse/tools.txt:1: one;two\n"
                                "      Byte 4 (;): the command ends here, and the rest is run as another command\n"
                                "    From column 2 of DIRECTORY/tools/etc/eclipse/tools.txt:2: $HOME\n"
                                "      Byte 1 ($): the value of a variable is substituted\n"),
            std::string::npos)
      << outcome.output;
  EXPECT_EQ(plan().at("command").at("causes").at(0), Json::parse(R"({
    "origin": "column 1 of DIRECTORY/tools/etc/eclipse/tools.txt:1", "text": "my site",
    "remarks": [{"byte": 3, "effect": "the word ends here"}]})"));
  const Json shell = plan().at("command").at("shell");
  EXPECT_EQ(shell.at("commands").size(), 2U);
  EXPECT_EQ(shell.at("commands").at(1), Json::array({"two,$HOME"}));
  EXPECT_EQ(shell.at("remarks").size(), 2U);
  EXPECT_FALSE(plan().at("command").at("runsAsIntended"));
}

TEST_F(PlanCommand, TellsThatTheRetryOfARemovalIsRefused) {
  write_session("uninstall", {}, "\"installed\": true, \"remove\": true");
  const Outcome outcome = eclipse_int("plan session.json --verbose");
  EXPECT_EQ(outcome.status, 0) << "the first command is sound";
  EXPECT_NE(outcome.output.find("\nFeatures to remove, in order\n"), std::string::npos) << outcome.output;
  EXPECT_NE(outcome.output.find("\n  DIRECTORY/eclipse/eclipse " + removal_arguments("one,two") + " 2>&1\n"),
            std::string::npos);
  EXPECT_NE(outcome.output.find("  DIRECTORY/eclipse/eclipse " + removal_arguments("one,two") +
                                " 2>&1one 2>&1\n"
                                "  Warning: the shell rejects the command and starts nothing (exit code 2 or 1): \"2>&1one\" "
                                "redirects to the file descriptor \"1one\", which is not a number\n"),
            std::string::npos)
      << outcome.output;
}

TEST_F(PlanCommand, WarnsOfACommandThatIsTooLong) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\t" + std::string(131'072, 'x') + "\n");
  const Outcome outcome = eclipse_int("plan session.json --verbose");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.output.find("\n  Warning: the command is too long to be started\n"), std::string::npos);
  EXPECT_EQ(Json::parse(eclipse_int("run session.json --json").output).at("commands").at(0).at("exitCode"), 126);
}

TEST_F(PlanCommand, TellsThatZeroBytesKeepTheCommandFromTheShell) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", std::string("site\tone\nsi\0te\ttwo\n", 20));
  const Outcome outcome = eclipse_int("plan session.json --verbose");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.output.find(" is NUL, and a shell command cannot contain a NUL byte (exit code 126)\n"
                                "    From column 1 of DIRECTORY/tools/etc/eclipse/tools.txt:2: si\\x00te\n"
                                "      Byte 3 (\\x00): a shell command cannot contain a NUL byte\n"),
            std::string::npos)
      << outcome.output;
  EXPECT_EQ(outcome.output.find("Words of command"), std::string::npos) << outcome.output;
  const Json command = plan().at("command");
  EXPECT_FALSE(command.at("runsAsIntended"));
  EXPECT_EQ(command.at("shell").at("commands"), Json::array());
  EXPECT_EQ(Json::parse(eclipse_int("run session.json --json").output).at("commands").at(0).at("exitCode"), 126);
  EXPECT_EQ(director_calls(), "");
}

/// What is harmless is not named.
TEST_F(PlanCommand, DoesNotNameTheQuotesOfAnArchive) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "my site.zip\tone\nmy site\ttwo\n");
  const Outcome outcome = eclipse_int("plan session.json --verbose");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output.find("quotes"), std::string::npos) << outcome.output;
  EXPECT_NE(outcome.output.find("From column 1 of DIRECTORY/tools/etc/eclipse/tools.txt:2: my site\n"), std::string::npos);
}

TEST_F(PlanCommand, WarnsOfAnExecutableThatMayNotBeExecuted) {
  write_session("install");
  write_offer();
  EXPECT_EQ(eclipse_int("plan session.json --verbose").status, 0);
  std::filesystem::permissions("eclipse/eclipse", std::filesystem::perms(0644));
  const Outcome outcome = eclipse_int("plan session.json --verbose");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(
      outcome.output.find("\n  Warning: \"DIRECTORY/eclipse/eclipse\" is not executable, so the shell cannot start it (exit "
                          "code 126); make it executable with chmod +x\n"),
      std::string::npos)
      << outcome.output;
  EXPECT_EQ(Json::parse(eclipse_int("run session.json --json").output).at("commands").at(0).at("exitCode"), 126);
}

TEST_F(PlanCommand, CountsOnlyRetriesThatAreAlike) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\nsite\ttwo\nsite\tfour five\nsite\tsix\n");
  const Outcome outcome = eclipse_int("plan session.json --verbose");
  const std::size_t retries = outcome.output.find("\nRetries if that fails, one for each feature: 4 commands");
  ASSERT_NE(retries, std::string::npos) << outcome.output;
  const std::string text = outcome.output.substr(retries);
  EXPECT_NE(text.find(" -i one 2>&1\n  and 2 more like this, one for each feature (--retries shows them)\n"), std::string::npos)
      << text;
  EXPECT_NE(text.find(" -i four five 2>&1\n  Warning: "), std::string::npos) << text;
  EXPECT_EQ(text.find(" -i six"), std::string::npos) << text;
}

TEST_F(PlanCommand, LeavesOutRetriesThatAreTooMany) {
  write_session("install");
  std::string descriptor = "site\tone\nsite\ttwo\n";
  for (int i = 1; i <= 80; ++i) descriptor += "site\tfeature " + std::to_string(i) + "\n";
  fake::write_file("tools/etc/eclipse/tools.txt", descriptor);
  const std::string text = eclipse_int("plan session.json --verbose").output;
  EXPECT_NE(text.find("\n  and 1 more like this, one for each feature (--retries shows them)\n"), std::string::npos) << text;
  EXPECT_NE(text.find("\n  and 31 more, which are left out here and in --json\n"), std::string::npos) << text;
  const Json document = plan();
  EXPECT_EQ(document.at("retries").size(), 50U);
  EXPECT_EQ(document.at("retriesLeftOut"), 31);
  EXPECT_EQ(document.at("retryCount"), 82);
  EXPECT_EQ(plan("--retries").at("retriesLeftOut"), 0);
  // What the shell does to a feature is known all the same.
  const Json last = document.at("changes").back();
  EXPECT_EQ(last.at("change"), "fail");
  EXPECT_EQ(last.at("remark"), "the shell changes column 2 of DIRECTORY/tools/etc/eclipse/tools.txt:82: the word ends here");
}

TEST_F(PlanCommand, ShowsControlCharactersAndHasEveryByteForPrograms) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\r\nsite\t\xFF\n");
  const Outcome outcome = eclipse_int("plan session.json --verbose");
  EXPECT_NE(outcome.output.find(" -i one\\r,\\xFF 2>&1\n"), std::string::npos) << outcome.output;
  const Json command = plan().at("command");
  EXPECT_NE(command.at("text").get<std::string>().find(" -i one\r,\xEF\xBF\xBD 2>&1"), std::string::npos);
  EXPECT_TRUE(command.at("hex").get<std::string>().ends_with("202d69206f6e650d2cff20323e2631"));
  EXPECT_FALSE(plan("--set KORU_MODE=modify").at("retries").at(0).contains("hex"));
}

TEST_F(PlanCommand, PlansTheCommandsOfAnInstallation) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\nsite.zip\ttwo\nmy site\tthree\n");
  expect_planned_commands_are_run();
}

TEST_F(PlanCommand, PlansTheCommandsOfARemoval) {
  write_session("uninstall", {}, "\"installed\": true, \"remove\": true");
  expect_planned_commands_are_run();
}

TEST_F(PlanCommand, PlansNoCommandWhereNoneIsRun) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}});
  const Outcome outcome = eclipse_int("plan session.json --verbose");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(outcome.output.find("\nCommand\n  None: the last line of the log is: eclipse_int: nothing to integrate\n"
                                "    ECLIPSE_INTEGRATION_CHOICE is \"none\"\n"
                                "    no Eclipse instance is chosen, and no component is searched (1 component)\n"),
            std::string::npos)
      << outcome.output;
  EXPECT_EQ(plan().at("reasons").at(0), "ECLIPSE_INTEGRATION_CHOICE is \"none\"");
  EXPECT_EQ(plan().at("command"), Json());
  EXPECT_EQ(commands_of_run(0), std::vector<std::string>());
}

TEST_F(PlanCommand, ChangesNothingAndRunsNothing) {
  write_session("install");
  fake::write_file("v.json", R"({"CASHED_ECLIPSE_PATH": "/another"})");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\t$(touch made)\n");
  const auto before = files_there();
  for (const std::string options : {"", "--json", "--retries", "--verbose", "--variables v.json"}) {
    EXPECT_EQ(eclipse_int("plan session.json " + options).status, 1);
  }
  EXPECT_EQ(files_there(), before);
  EXPECT_EQ(director_calls(), "");
}

TEST_F(PlanCommand, TakesSettingsAndVariables) {
  write_session("install", {}, "\"install\": false");
  fake::write_file("v.json", members({{"CASHED_ECLIPSE_PATH", directory.path() + "/eclipse/eclipse"}}));
  EXPECT_EQ(plan().at("components").at(0).at("status"), "searched");
  EXPECT_EQ(plan("--variables v.json").at("components").at(0).at("status"), "not selected");
  EXPECT_EQ(plan("--set KORU_MODE=uninstall").at("removal"), true);
}

TEST_F(PlanCommand, WaitsForNoPipe) {
  write_session("install");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const Outcome refused{2, "", "eclipse-int: pipe: is not a regular file; give the path of a JSON file\n"};
  for (const std::string arguments : {"plan pipe", "run pipe", "run session.json --variables pipe"}) {
    EXPECT_EQ(eclipse_int(arguments, "timeout 20"), refused) << arguments;
  }
}

/// The plug-in ignores it, so whoever reports what it reads has to say so.
TEST_F(PlanCommand, ReportsADescriptorThatCannotBeRead) {
  write_session("install");
  std::filesystem::remove("tools/etc/eclipse/tools.txt");
  std::filesystem::create_symlink("/proc/self/mem", "tools/etc/eclipse/tools.txt");
  const std::string file = "DIRECTORY/tools/etc/eclipse/tools.txt: ";
  const std::string reason = "cannot be read: Input/output error";
  EXPECT_NE(eclipse_int("plan session.json --verbose").output.find(file + "0 records; " + reason + "\n"), std::string::npos);
  EXPECT_EQ(
      Json::parse(eclipse_int("plan session.json --json").output).at("components").at(0).at("descriptors").at(0).at("error"),
      reason);
  const std::string warning =
      "eclipse-int: warning: " + file + reason + "; the plug-in ignores the error and uses the part that it can read\n";
  for (const std::string subcommand : {"run", "verify", "call perform_integration"}) {
    EXPECT_EQ(eclipse_int(subcommand + " session.json").error, warning) << subcommand;
  }
  EXPECT_NE(eclipse_int("lint session.json").output.find("the descriptor file " + reason), std::string::npos);
}

TEST_F(PlanCommand, ShortensLongTextsButForPrograms) {
  write_session("install");
  constexpr std::size_t size = 400'000;
  std::string feature;
  while (feature.size() < size) feature += "a b ";
  fake::write_file("tools/etc/eclipse/tools.txt", "site\t" + feature + "\n");
  const Outcome outcome = eclipse_int("plan session.json --verbose");
  EXPECT_LT(outcome.output.size(), 100'000U);
  EXPECT_NE(outcome.output.find("a b ... (399800 bytes left out)"), std::string::npos) << outcome.output;
  EXPECT_NE(outcome.output.find("      and 199957 more words (--json has them)\n"), std::string::npos) << outcome.output;
  EXPECT_NE(outcome.output.find("      and 199950 more bytes (--json has them)\n"), std::string::npos) << outcome.output;
  EXPECT_NE(plan().at("command").at("text").get<std::string>().find(feature), std::string::npos);
}

TEST_F(PlanCommand, LeavesACommandWholeThatCanBeStarted) {
  write_session("install");
  const std::string feature(100'000, 'x');
  fake::write_file("tools/etc/eclipse/tools.txt", "site\t" + feature + "\nsite\t" + std::string(198, 'y') + "\xC3\xA4\xC3\xA4" +
                                                      std::string(4096, 'z') + "\n");
  const Outcome outcome = eclipse_int("plan session.json --verbose");
  EXPECT_NE(outcome.output.find(" -i " + feature + ","), std::string::npos);
  EXPECT_NE(outcome.output.find("  " + std::string(200, 'x') + "... (99800 bytes left out)  "), std::string::npos);
  EXPECT_NE(outcome.output.find("  " + std::string(198, 'y') + "\xC3\xA4... (4098 bytes left out)  "), std::string::npos);
}

TEST_F(PlanCommand, TellsFaults) {
  write_session("install");
  EXPECT_EQ(eclipse_int("plan missing.json").status, 2);
  EXPECT_EQ(eclipse_int("plan").status, 2);
  EXPECT_EQ(eclipse_int("plan session.json --write-variables v.json").status, 2);
  EXPECT_EQ(eclipse_int("plan session.json --set KORU_MODE=repair"),
            (Outcome{2, "",
                     "eclipse-int: --set: KORU_MODE is \"repair\"; write \"install\", \"modify\" or \"uninstall\"\n"
                     "Run with --help for more information.\n"}));
}

}  // namespace

}  // namespace cli_test
