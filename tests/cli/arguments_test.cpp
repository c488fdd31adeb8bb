#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <utility>

#include "cli/child_command.h"

namespace cli_test {

namespace {

class Arguments : public ChildCommand {
 protected:
  /// Nothing on standard output, one message, status 2, and no director was started.
  void expect_error(const std::string& arguments, const std::string& message) const {
    EXPECT_EQ(eclipse_int(arguments), (Outcome{2, "", "eclipse-int: " + message + "\n"})) << arguments;
    EXPECT_EQ(director_calls(), "");
  }

  void expect_usage_error(const std::string& arguments, const std::string& message) const {
    expect_error(arguments, message + "\nRun with --help for more information.");
  }
};

const std::string actions =
    "\n  eclipse_integration_required\n  find_eclipse_ide\n  define_eclipse_path\n  verify_user_defined_eclipse_path\n"
    "  user_eclipse_version\n  verify_eclipse_version\n  perform_integration\n  perform_unintegration";

TEST_F(Arguments, HelpIsThereForAllOfIt) {
  for (const std::string command : {"", "run ", "call "}) {
    const Outcome outcome = eclipse_int(command + "--help");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_NE(outcome.output.find("\nUsage: eclipse-int " + command), std::string::npos) << outcome.output;
    EXPECT_NE(outcome.output.find("\nExamples:\n  eclipse-int "), std::string::npos) << outcome.output;
    EXPECT_EQ(outcome, eclipse_int(command + "-h"));
  }
}

TEST_F(Arguments, HelpNamesEveryOption) {
  for (const std::string command : {"run", "call"}) {
    const std::string help = eclipse_int(command + " --help").output;
    for (const std::string option : {"--set NAME=VALUE", "--variables FILE", "--write-variables FILE", "--log FILE", "--json",
                                     "--plugin LIBRARY", "\nArguments:\n", "Exit status:\n  0  "}) {
      EXPECT_NE(help.find(option), std::string::npos) << command << " " << option;
    }
  }
}

TEST_F(Arguments, HelpIsASubcommandToo) {
  EXPECT_EQ(eclipse_int("help"), eclipse_int("--help"));
  for (const std::string command : {"run", "call", "plan", "verify", "lint", "explain", "list", "new", "help"}) {
    EXPECT_EQ(eclipse_int("help " + command), eclipse_int(command + " --help")) << command;
  }
  expect_usage_error("help lnt", "unknown subcommand \"lnt\"; did you mean \"lint\"?");
}

TEST_F(Arguments, AHostIsStartedByACommand) {
  expect_usage_error("check-host", "COMMAND: missing; write the command that starts the host after \"--\"");
}

TEST_F(Arguments, MisspelledNamesGetASuggestion) {
  expect_usage_error("lnt x y", "unknown subcommand \"lnt\"; did you mean \"lint\"?");
  expect_usage_error("Plan --set A=1 x", "unknown subcommand \"Plan\"; did you mean \"plan\"?");
  expect_usage_error("--versio", "unknown option \"--versio\"; did you mean \"--version\"?");
  expect_usage_error("lint --formt=json x", "unknown option \"--formt\"; did you mean \"--format\"?");
  expect_usage_error("lint x --zzz", "unknown option \"--zzz\"");
}

const std::string own_version = "eclipse-int " PROJECT_VERSION "\n";

TEST_F(Arguments, VersionIsThatOfTheProjectAndOfThePlugIn) {
  EXPECT_EQ(eclipse_int("--version"),
            (Outcome{0, own_version + "libeclipse_int.so " PROJECT_VERSION " (" ECLIPSE_INT_LIBRARY ")\n", ""}));
  std::filesystem::copy_file(ECLIPSE_INT_LIBRARY, "copy.so");
  EXPECT_EQ(eclipse_int("--version --plugin copy.so"),
            (Outcome{0, own_version + "copy.so " PROJECT_VERSION " (DIRECTORY/copy.so)\n", ""}));
}

TEST_F(Arguments, VersionOfAPlugInThatDoesNotSayIsUnknown) {
  std::filesystem::copy_file(THROWING_PLUGIN, "other.so");
  EXPECT_EQ(eclipse_int("--version --plugin other.so"),
            (Outcome{0, own_version + "other.so unknown (DIRECTORY/other.so)\n", ""}));
}

TEST_F(Arguments, VersionOfAPlugInThatCannotBeLoadedIsAnError) {
  EXPECT_EQ(
      eclipse_int("--version --plugin missing.so"),
      (Outcome{2, own_version,
               "eclipse-int: missing.so: cannot be loaded: DIRECTORY/missing.so: cannot open shared object file: No such file "
               "or directory; give the path of libeclipse_int.so\n"}));
}

TEST_F(Arguments, PlugInBeforeASubcommandIsForVersionOnly) {
  const std::string message = "--plugin: before a subcommand it is for --version only; write it after the subcommand";
  write_session("install");
  expect_usage_error("--plugin copy.so", message);
  expect_usage_error("--plugin copy.so run session.json", message);
}

TEST_F(Arguments, FaultsAreTold) {
  write_session("install");
  expect_usage_error("", "SUBCOMMAND: missing; give one, such as lint");
  expect_usage_error("install", "unknown subcommand \"install\"");
  expect_usage_error("run", "SESSION: missing; give the session file, or a directory of components, which needs --eclipse");
  expect_usage_error("run session.json other.json", "unexpected argument \"other.json\"");
  expect_usage_error("run session.json --jsn", "unknown option \"--jsn\"; did you mean \"--json\"?");
  expect_usage_error("run session.json --log", "--log: FILE is missing; write it after --log");
  expect_usage_error("run session.json --set", "--set: NAME=VALUE is missing; write it after --set");
  expect_usage_error("run session.json --set A",
                     "--set: \"A\" is not NAME=VALUE; write the variable's name, an equals sign and its value");
  expect_usage_error("run session.json --set =A",
                     "--set: \"=A\" is not NAME=VALUE; write the variable's name, an equals sign and its value");
  expect_usage_error("run session.json --set A=1 B=2", "unexpected argument \"B=2\"");
  expect_usage_error("run session.json --wait soon",
                     "--wait: \"soon\" is not a time to wait; give a number of seconds, such as 60");
  expect_usage_error("run session.json --wait -1",
                     "--wait: \"-1\" is not a time to wait; give a number of seconds, such as 60");
  expect_usage_error("run session.json --wait ''", "--wait: \"\" is not a time to wait; give a number of seconds, such as 60");
  expect_usage_error("run session.json --set KORU_MODE=Install",
                     "--set: KORU_MODE is \"Install\"; write \"install\", \"modify\" or \"uninstall\"");
  expect_usage_error("call",
                     "ACTION: missing; give the actions, which may repeat, followed by the session file or a directory of "
                     "components, which needs --eclipse");
  expect_usage_error("check-host --format names -- true", "--format names needs --list; add it");
  expect_usage_error("check-host --list --format tap", "--format tap: --list has only text and names; choose one of them");
  expect_usage_error("call session.json", "ACTION: missing before the session file; the actions are" + actions);
  expect_usage_error("call perform session.json", "ACTION: unknown action \"perform\"; the actions are" + actions);
  expect_usage_error("call perform_integration x session.json", "ACTION: unknown action \"x\"; the actions are" + actions);
}

TEST_F(Arguments, ValuesThatAnOptionDoesNotTakeAreTold) {
  for (const std::string seconds : {"0", "3601", "x", "1.5", "''"}) {
    const std::string shown = seconds == "''" ? "" : seconds;
    expect_usage_error("check-host --list --seconds " + seconds, "--seconds: \"" + shown + "\" is not a number from 1 to 3600");
  }
  for (const std::string seconds : {"-1", "3601", "nan"}) {
    expect_usage_error("language-server --time-limit " + seconds,
                       "--time-limit: \"" + seconds + "\" is not a number from 0 to 3600");
  }
  expect_usage_error("lint x --severity foo", "--severity: \"foo\" is unknown; give error, warning or note");
  expect_usage_error("lint x --format Text", "--format: \"Text\" is unknown; give text, brief, json, sarif or github");
  expect_usage_error("run session.json --verify --verify --log a --log b", "--log: given more than once; leave one out");
  expect_usage_error("--plugin a --plugin b run session.json", "--plugin: given more than once; leave one out");
}

TEST_F(Arguments, OptionsThatDoNotFitTogetherAreTold) {
  expect_usage_error("explain --manual orders", "RULE cannot be combined with --manual; leave one out");
  expect_usage_error("lint x --fix --diff", "--fix cannot be combined with --diff; leave one out");
  expect_usage_error("plan x --no-config --config y", "--config cannot be combined with --no-config; leave one out");
  expect_usage_error("run x --update --resolve", "--resolve cannot be combined with --update; leave one out");
  expect_usage_error("run x --allow-downgrade", "--allow-downgrade needs --update; add it");
}

TEST_F(Arguments, AllErrorsOfASessionAreTold) {
  fake::write_file("bad.json", "{\"mode\": 1,\n\"component\": [], \"graphical\": 2}");
  const Outcome told = {2, "",
                        "eclipse-int: bad.json:1:10: mode: expected a string, found a number; write it in double quotes\n"
                        "eclipse-int: bad.json:2:1: component: unknown key; did you mean \"components\"?\n"
                        "eclipse-int: bad.json:2:31: graphical: expected true or false, found a number; write true or false, "
                        "without quotes\n"};
  EXPECT_EQ(eclipse_int("run bad.json"), told);
  EXPECT_EQ(eclipse_int("plan bad.json --json"), told);
  EXPECT_EQ(eclipse_int("lint bad.json"), told);
  std::string variables;
  for (int i = 0; i < 200; ++i) variables += (i == 0 ? "\"" : ", \"") + std::to_string(i) + "\": 1";
  fake::write_file("bad.json", "{\"mode\": \"install\", \"components\": [], \"variables\": {" + variables + "}}");
  for (const char* subcommand : {"run", "lint"}) {
    const std::string error = eclipse_int(subcommand + std::string(" bad.json")).error;
    EXPECT_EQ(std::count(error.begin(), error.end(), '\n'), 101);
    EXPECT_TRUE(error.ends_with("\neclipse-int: there may be more errors; these are the first 100 that were found\n")) << error;
  }
}

TEST_F(Arguments, FaultsOfFilesAreTold) {
  write_session("install");
  std::filesystem::create_directory("directory");
  fake::write_file("bad.json", "{\"mode\": 1, \"components\": []}");
  fake::write_file("variables.json", "{\"mode\": 1}");
  const std::string unreadable = ": cannot be read: No such file or directory; give the path of a JSON file";
  expect_error("run missing.json", "missing.json" + unreadable);
  expect_error("run ''", unreadable);
  expect_usage_error("run directory",
                     "directory is a directory; add --eclipse with the Eclipse instance to use, or give a session file");
  expect_error("run bad.json", "bad.json:1:10: mode: expected a string, found a number; write it in double quotes");
  expect_error("run bad.json --json", "bad.json:1:10: mode: expected a string, found a number; write it in double quotes");
  expect_error("call find_eclipse_ide bad.json",
               "bad.json:1:10: mode: expected a string, found a number; write it in double quotes");
  expect_error("run session.json --variables missing", "missing" + unreadable);
  expect_error("run session.json --variables variables.json",
               "variables.json:1:10: mode: expected a string, found a number; write it in double quotes");
  expect_error(
      "run session.json --write-variables missing/v.json",
      "missing/v.json: cannot be written: No such file or directory; give the path of a writable file in a writable directory");
  expect_error("run session.json --log missing/log",
               "missing/log: cannot open the log: No such file or directory; give the "
               "path of a file that can be written");
  expect_error("run session.json --log directory",
               "directory: cannot open the log: Is a directory; give the path of a file that can be written");
  expect_error("run session.json --log ''",
               ": cannot open the log: No such file or directory; give the path of a file that can be written");
}

std::string would_overwrite(const std::string& file, const std::string& option, const std::string& other) {
  return file + ": " + option + " would overwrite " + other + ", which is used in this run; give it another file";
}

TEST_F(Arguments, OutputsDoNotOverwriteWhatIsUsed) {
  write_session("install");
  fake::write_file("v.json", "{}");
  const std::string session = content_of("session.json");
  std::filesystem::create_symlink("session.json", "link");
  std::filesystem::create_hard_link("session.json", "hard-link");
  expect_error("run session.json --log ./session.json", would_overwrite("./session.json", "--log", "session.json"));
  expect_error("run session.json --log link", would_overwrite("link", "--log", "session.json"));
  expect_error("run session.json --log hard-link", would_overwrite("hard-link", "--log", "session.json"));
  expect_error("run session.json --variables v.json --log v.json", would_overwrite("v.json", "--log", "v.json"));
  expect_error("run session.json --write-variables new.json --log ./new.json",
               would_overwrite("./new.json", "--log", "new.json"));
  expect_error("run session.json --write-variables session.json",
               would_overwrite("session.json", "--write-variables", "session.json"));
  EXPECT_EQ(content_of("session.json"), session);
  EXPECT_EQ(content_of("v.json"), "{}");
}

TEST_F(Arguments, OutputsDoNotOverwriteTheEclipse) {
  write_session("install");
  fake::write_file("eclipse/configuration/config.ini", "eclipse.buildId=4.30\n");
  const std::string executable = content_of("eclipse/eclipse");
  std::filesystem::create_hard_link("eclipse/eclipse", "hard-link");
  std::filesystem::create_symlink("eclipse/configuration/config.ini", "link");
  for (const std::string option : {"--log", "--write-variables"}) {
    const auto refused = [&](const std::string& file, const std::string& used) {
      expect_error("run session.json " + option + " " + file, would_overwrite(file, option, "DIRECTORY/eclipse/" + used));
    };
    refused("eclipse/eclipse", "eclipse");
    refused("hard-link", "eclipse");
    refused("link", "configuration/config.ini");
  }
  EXPECT_EQ(content_of("eclipse/eclipse"), executable);
  EXPECT_EQ(content_of("eclipse/configuration/config.ini"), "eclipse.buildId=4.30\n");
}

TEST_F(Arguments, OutputsDoNotOverwriteADataAreaElsewhere) {
  write_session("install");
  fake::write_file("eclipse/configuration/config.ini", "eclipse.p2.data.area=" + directory.path() + "/data/\n");
  fake::write_file("data/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile", "<profile/>");
  fake::write_file("data/notes.log", "");
  const std::string profile = "data/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile";
  for (const std::string option : {"--log", "--write-variables"}) {
    expect_error("run session.json " + option + " " + profile, would_overwrite(profile, option, "DIRECTORY/" + profile));
  }
  script(1, "cp " + profile + " data/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/2.profile");
  EXPECT_EQ(eclipse_int("run session.json --log data/notes.log").status, 0) << "as in p2/ of an instance";
  EXPECT_EQ(content_of(profile), "<profile/>");
}

TEST_F(Arguments, OutputsDoNotOverwriteTheProduct) {
  fake::write_file("ide/bin/eclipse", "x");
  fake::write_file("session.json", R"({"mode": "install", "variables": {"ECLIPSE_BIN": "eclipse"}, "components": [
      {"code": "none", "installBase": ".", "installDir": "none"},
      {"code": "tools", "installBase": "tools", "installDir": ".", "package": {"files": ["etc\\eclipse\\tools.txt\r\n", "new"]}},
      {"code": "ide", "installBase": ".", "installDir": "installed", "capabilities": ["ECLIPSE_IDE"],
       "package": {"root": "ide", "prefix": "bin", "files": ["missing", "eclipse"]}}]})");
  const std::string descriptor = content_of("tools/etc/eclipse/tools.txt");
  std::filesystem::create_symlink("tools/etc/eclipse/tools.txt", "link");
  for (const std::string option : {"--log", "--write-variables"}) {
    expect_error("run session.json " + option + " link",
                 would_overwrite("link", option, "DIRECTORY/tools/etc/eclipse/tools.txt"));
    expect_error("call find_eclipse_ide session.json " + option + " ide/bin/eclipse",
                 would_overwrite("ide/bin/eclipse", option, "DIRECTORY/ide/bin/eclipse"));
    for (int run = 1; run <= 2; ++run) EXPECT_EQ(eclipse_int("run session.json " + option + " tools/new").status, 0);
  }
  EXPECT_EQ(content_of("tools/etc/eclipse/tools.txt"), descriptor);
  EXPECT_EQ(content_of("ide/bin/eclipse"), "x");
}

TEST_F(Arguments, OutputsDoNotOverwriteThePlugInOrThisProgram) {
  write_session("install");
  // Hard links, so that a test that fails costs nothing but a link's content: the files themselves are copies.
  std::filesystem::create_directory("bin");
  std::filesystem::copy_file(ECLIPSE_INT_COMMAND, "bin/eclipse-int");
  std::filesystem::copy_file(ECLIPSE_INT_LIBRARY, "bin/libeclipse_int.so");
  std::filesystem::create_hard_link("bin/libeclipse_int.so", "hard-link");
  for (const std::string option : {"--log", "--write-variables"}) {
    const auto refused = [&](const std::string& file, const std::string& used) {
      const Outcome outcome = eclipse_int("--version; bin/eclipse-int run session.json " + option + " " + file);
      EXPECT_EQ(outcome.status, 2);
      EXPECT_EQ(outcome.error, "eclipse-int: " + would_overwrite(file, option, used) + "\n");
    };
    refused("bin/libeclipse_int.so", "DIRECTORY/bin/libeclipse_int.so");
    refused("hard-link", "DIRECTORY/bin/libeclipse_int.so");
    refused("bin/eclipse-int", "this program");
  }
  EXPECT_EQ(director_calls(), "");
  EXPECT_EQ(content_of("bin/libeclipse_int.so"), content_of(ECLIPSE_INT_LIBRARY));
}

TEST_F(Arguments, OutputsDoNotOverwriteUpdateSitesOrInstalledFiles) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\nsite.zip\ttwo\n");
  fake::write_file("tools/site/content.jar", "content");
  fake::write_file("tools/site/plugins/one.jar", "one");
  fake::write_file("tools/site.zip", "zip");
  fake::write_file("eclipse/plugins/launcher.jar", "launcher");
  fake::write_file("eclipse/p2/profile", "profile");
  std::filesystem::create_hard_link("tools/site/plugins/one.jar", "hard-link");
  for (const std::string option : {"--log", "--write-variables"}) {
    const auto refused = [&](const std::string& file, const std::string& used) {
      expect_error("run session.json " + option + " " + file, would_overwrite(file, option, used));
    };
    refused("tools/site/content.jar", "DIRECTORY/tools/site/content.jar");
    refused("hard-link", "DIRECTORY/tools/site/plugins/one.jar");
    refused("tools/site.zip", "DIRECTORY/tools/site.zip");
    refused("eclipse/plugins/launcher.jar", "DIRECTORY/eclipse/plugins/launcher.jar");
    refused("eclipse/p2/profile", "DIRECTORY/eclipse/p2/profile");
    for (int run = 1; run <= 2; ++run) EXPECT_EQ(eclipse_int("run session.json " + option + " eclipse/notes").status, 0);
    std::filesystem::remove("eclipse/calls");
  }
  EXPECT_EQ(content_of("tools/site.zip"), "zip");
}

TEST_F(Arguments, OutputsAddNoFileWhereEveryFileIsRead) {
  write_session("install");
  for (const std::string place : {"configuration", "p2/org.eclipse.equinox.p2.engine", "plugins", "features", "dropins"}) {
    std::filesystem::create_directories("eclipse/" + place);
  }
  std::filesystem::create_directory_symlink("eclipse/p2", "link");
  std::filesystem::create_symlink("eclipse/p2/x", "dangling");
  const auto refused = [&](const std::string& file, const std::string& option, const std::string& place) {
    expect_error("run session.json " + option + " " + file,
                 file + ": " + option + " would add a file to DIRECTORY/" + place +
                     ", where the plug-in or Eclipse reads every file; choose a file elsewhere");
  };
  for (const std::string option : {"--log", "--write-variables"}) {
    for (const std::string place : {"configuration", "p2/org.eclipse.equinox.p2.engine", "plugins", "features", "dropins"}) {
      for (const std::string name : {"notes", "notes.log"})
        refused("eclipse/" + place + "/" + name, option, "eclipse/" + place);
    }
    refused("link/notes", option, "eclipse/p2");
    refused("eclipse/eclipse.ini", option, "eclipse");
    refused("tools/etc/eclipse/notes", option, "tools/etc/eclipse");
  }
  refused("dangling", "--log", "eclipse/p2");
  EXPECT_EQ(director_calls(), "");
  EXPECT_FALSE(std::filesystem::exists("eclipse/p2/x"));
  fake::write_file("v.json", "{}");
  EXPECT_EQ(eclipse_int("undo --eclipse eclipse --variables v.json --write-variables eclipse/p2/v.json").error,
            "eclipse-int: eclipse/p2/v.json: --write-variables would add a file to DIRECTORY/eclipse/p2, where the plug-in or "
            "Eclipse reads every file; choose a file elsewhere\n");
}

TEST_F(Arguments, AnythingButThePlugInIsNotLoaded) {
  write_session("install");
  std::filesystem::copy_file(ANOTHER_LIBRARY, "another.so");
  const std::string fix = "; give the path of libeclipse_int.so";
  expect_error(
      "run session.json --plugin missing.so",
      "missing.so: cannot be loaded: DIRECTORY/missing.so: cannot open shared object file: No such file or directory" + fix);
  ASSERT_EQ(mkfifo("fifo.so", 0600), 0);
  EXPECT_EQ(eclipse_int("run session.json --plugin fifo.so", "timeout 10").error,
            "eclipse-int: fifo.so: is not a regular file; give the path of libeclipse_int.so\n");
  expect_error(
      "run session.json --plugin another.so",
      "another.so: has no action \"eclipse_integration_required\"; this is not the plug-in, or not this version of it");
  expect_error("run session.json --plugin session.json",
               "session.json: cannot be loaded: DIRECTORY/session.json: invalid ELF header" + fix);
  expect_error(
      "run session.json --plugin libm.so.6",
      "libm.so.6: cannot be loaded: DIRECTORY/libm.so.6: cannot open shared object file: No such file or directory" + fix);
}

TEST_F(Arguments, APlugInThatLogsNoDescriptorHasNoPlan) {
  write_session("install");
  expect_error(std::string("plan session.json --plugin ") + SILENT_PLUGIN,
               SILENT_PLUGIN ": gives the director features, but logs no descriptor file; use the plug-in of this version");
}

TEST_F(Arguments, ThePlugInMayBeNamed) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}});
  std::filesystem::copy_file(ECLIPSE_INT_LIBRARY, "plugin.so");
  EXPECT_EQ(eclipse_int("run session.json --plugin plugin.so"), eclipse_int("run session.json"));
  EXPECT_EQ(eclipse_int("run session.json --plugin plugin.so").status, 0);
}

TEST_F(Arguments, OptionsMayStandAnywhere) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}});
  const Outcome outcome = eclipse_int("call find_eclipse_ide define_eclipse_path session.json --set A=1 --log l --set B=2");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome, eclipse_int("call --set A=1 find_eclipse_ide --log=l define_eclipse_path --set=B=2 session.json"));
}

TEST_F(Arguments, CallTakesAnyMode) {
  write_session("install");
  const Outcome outcome = eclipse_int("call eclipse_integration_required session.json --set KORU_MODE=repair");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_NE(outcome.output.find("  Mode: repair\n"), std::string::npos) << outcome.output;
}

}  // namespace

}  // namespace cli_test
