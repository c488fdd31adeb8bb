// Damaged p2 profiles: who names them, and how they are repaired.
#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>

#include "cli/child_command.h"

namespace cli_test {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

const std::string registry = "eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/";
const std::string sound = "<profile><units><unit id='one' version='1.0.0'/></units></profile>";
const std::string three =
    "<profile><units><unit id='one' version='1.0.0'/><unit id='two' version='1.0.0'/><unit id='three' version='1.0.0'/></units>"
    "</profile>";
const std::string damaged = "<profile><un";

const std::string configuration = "eclipse/configuration/config.ini";

class Repair : public ChildCommand {
 protected:
  Repair() {
    write_session("install");
    fs::create_directory("eclipse/configuration");
  }

  static void write_state(const std::string& time, const std::string& content) {
    fake::write_file(registry + time + ".profile", content);
  }

  static void write_configuration(const std::string& content) { fake::write_file(configuration, content); }

  static void write_bundles() {
    fake::write_file("eclipse/configuration/org.eclipse.equinox.simpleconfigurator/bundles.info",
                     "one,1.0.0,plugins/one.jar,4,false\ntwo,1.0.0,plugins/two.jar,4,false\n");
  }
};

const std::string damage = "the newest state of the p2 profile, DIRECTORY/" + registry +
                           "1731234567890.profile, is not well-formed XML, so every director fails";
const std::string fix = "eclipse-int: " + damage + "; run: eclipse-int repair DIRECTORY/eclipse/eclipse\n";
const Json reported = {{"file", "DIRECTORY/" + registry + "1731234567890.profile"},
                       {"message", damage},
                       {"fix", "run: eclipse-int repair DIRECTORY/eclipse/eclipse"}};

TEST_F(Repair, IsRecommendedAfterAFailure) {
  write_state("1", sound);
  const std::string director = "printf '" + damaged + "' > " + registry + "1731234567890.profile; exit 13";
  for (const int start : {1, 4}) script(start, director);
  for (const int start : {2, 3, 5, 6}) script(start, "exit 13");
  const Outcome run = eclipse_int("run session.json");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.error, fix);
  fs::remove(registry + "1731234567890.profile");
  const Outcome call = eclipse_int("call perform_integration session.json --json");
  EXPECT_EQ(call.status, 1);
  EXPECT_EQ(call.error, fix);
  EXPECT_EQ(Json::parse(call.output).at("damage"), reported);
  for (int start = 7; start <= 8; ++start) script(start, "exit 13");
  const Outcome verify = eclipse_int("verify session.json");
  EXPECT_EQ(verify.status, 2);
  EXPECT_TRUE(verify.error.starts_with(fix +
                                       "eclipse-int: \"DIRECTORY/eclipse/eclipse\" failed with exit code 13, so the installed "
                                       "units are not known; the launcher failed: "))
      << verify.error;
  const Outcome document = eclipse_int("verify session.json --json");
  EXPECT_EQ(document.status, 2);
  EXPECT_EQ(Json::parse(document.output).at("damage"), reported);
}

TEST_F(Repair, IsNeededBeforeAnyRun) {
  write_state("1731234567890", damaged);
  for (const std::string arguments : {"run session.json", "run session.json --all-or-nothing", "run session.json --json",
                                      "call perform_integration session.json"}) {
    EXPECT_EQ(eclipse_int(arguments), (Outcome{2, "", fix})) << arguments;
  }
  EXPECT_EQ(director_calls(), "");
  EXPECT_TRUE(fs::exists(registry + "1731234567890.profile"));
}

/// What a director leaves that was killed, or had no room, and reports success nevertheless.
TEST_F(Repair, OfWhatStopsNoDirectorIsNamedBeforeARun) {
  write_state("1", sound);
  fake::write_file("eclipse/artifacts.xml", "<repository><arti");
  const std::string unreadable =
      "eclipse-int: DIRECTORY/eclipse/artifacts.xml is not well-formed XML, so the next director starts a new list of "
      "artifacts; there is no backup copy of it; restore it from a backup of the Eclipse instance, or reinstall Eclipse\n";
  script(1, "cp " + registry + "1.profile " + registry + "2.profile; echo '<repository/>' > eclipse/artifacts.xml");
  const Outcome outcome = eclipse_int("run session.json");
  EXPECT_EQ(outcome.status, 0) << outcome.output;
  EXPECT_EQ(outcome.error, unreadable);
  EXPECT_FALSE(fs::exists("eclipse/configuration/.eclipse-int.kept")) << "nothing damaged is kept";
}

TEST_F(Repair, IsNotPossibleWithoutAPlaceForTheCopy) {
  write_state("1", sound);
  fake::write_file("eclipse/configuration/.eclipse-int.kept", "");
  let_director_leave_states();
  const Outcome outcome = eclipse_int("run session.json");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error,
            "eclipse-int: warning: DIRECTORY/eclipse/configuration/.eclipse-int.kept: cannot be written: Not a directory; make "
            "it a directory that this user can write, or rename it; the run keeps no copy of the configuration, so the Eclipse "
            "instance cannot be repaired if a director is killed\n");
}

/// The working directory may be that of another Eclipse.
TEST_F(Repair, NeedsNoCopyOfWhatNoDirectorWorksOn) {
  write_state("1", sound);
  write_configuration("eclipse.p2.profile=P\n");
  for (const char* const part : {"p2", "configuration"}) {
    fs::copy(fs::path("eclipse") / part, part, fs::copy_options::recursive);
  }
  EXPECT_EQ(eclipse_int("call define_eclipse_path session.json").status, 0);
  EXPECT_FALSE(fs::exists("configuration/.eclipse-int.kept"));
}

TEST_F(Repair, RestoresTheConfigurationThatADirectorHasCut) {
  write_state("1", sound);
  write_configuration("eclipse.p2.profile=P\n");
  script(1, "cp " + registry + "1.profile " + registry + "2.profile; : > " + configuration);
  const std::string message = "DIRECTORY/" + configuration + " has no settings, so every director fails";
  const Outcome run = eclipse_int("run session.json");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.output.find("The commands succeeded, but the Eclipse instance is damaged\n"), std::string::npos) << run.output;
  EXPECT_EQ(run.error, "eclipse-int: " + message + "; run: eclipse-int repair DIRECTORY/eclipse/eclipse\n");
  EXPECT_EQ(eclipse_int("run session.json").status, 2) << "and the copy is not replaced";

  const std::string states =
      "Eclipse DIRECTORY/eclipse/eclipse\n"
      "  Newest states of its p2 profile:\n"
      "    2 (1970-01-01 00:00:00 UTC): 1 unit\n"
      "    1 (1970-01-01 00:00:00 UTC): 1 unit\n"
      "  Damaged: DIRECTORY/" +
      configuration + " has no settings\n";
  EXPECT_EQ(
      eclipse_int("repair eclipse --dry-run"),
      (Outcome{
          1, states + "  Would rename: DIRECTORY/" + registry + "2.profile\n  Would restore: DIRECTORY/" + configuration + "\n",
          ""}));
  EXPECT_EQ(content_of(configuration), "");
  script(2, "echo one/1.0.0");
  EXPECT_EQ(eclipse_int("repair eclipse"),
            (Outcome{0,
                     states + "  Renamed: DIRECTORY/" + registry + "2.profile to 2.profile.damaged\n  Restored: DIRECTORY/" +
                         configuration + "\n  The director starts. Installed by name:\n    one/1.0.0\n",
                     ""}));
  EXPECT_EQ(content_of(configuration), "eclipse.p2.profile=P\n");
}

std::string profile_with(const std::vector<std::string>& units) {
  std::string all;
  for (const std::string& unit : units) all += "<unit id='" + unit + "' version='1.0.0'/>";
  return "<profile><units>" + all + "</units></profile>";
}

/// What a director does that leaves this state, and at its end no configuration.
std::string leave(const std::string& time, const std::vector<std::string>& units) {
  fake::write_file("prepared-" + time, profile_with(units));
  return "cp prepared-" + time + " " + registry + time + ".profile; : > " + configuration;
}

TEST_F(Repair, SaysWhatOfTheLastRunItReverts) {
  write_state("1", profile_with({"one"}));
  write_configuration("eclipse.p2.profile=P\n");
  script(1, leave("2", {"one", "two"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 1);
  const std::string state =
      "2 (1970-01-01 00:00:00 UTC), made by eclipse-int run session.json, which changed:\n    + 1 other unit\n";
  const Outcome dry_run = eclipse_int("repair eclipse --dry-run");
  EXPECT_EQ(dry_run.status, 1);
  EXPECT_NE(dry_run.output.find("  Would revert " + state), std::string::npos) << dry_run.output;
  script(2, "echo one/1.0.0");
  const Outcome repair = eclipse_int("repair eclipse");
  EXPECT_EQ(repair.status, 0);
  EXPECT_NE(repair.output.find("  Reverted " + state + "  Renamed: "), std::string::npos) << repair.output;
}

TEST_F(Repair, RevertsMoreThanARunOnlyOnRequest) {
  write_state("1", profile_with({"one"}));
  write_configuration("eclipse.p2.profile=P\n");
  script(1, leave("5", {"one", "guest", "two"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 1);
  write_state("6", profile_with({"one", "guest"}));
  const std::string found =
      "  Would revert 6 (1970-01-01 00:00:00 UTC), made outside eclipse-int, which changed:\n    - 1 other unit\n"
      "  Would revert 5 (1970-01-01 00:00:00 UTC), made by eclipse-int run session.json, which changed:\n    + 2 other units\n"
      "  Error: this would revert the instance to the state 1, and undo changes that were made outside eclipse-int; use --to 1 "
      "to accept that\n";
  for (const std::string arguments : {"repair eclipse --dry-run", "repair eclipse"}) {
    const Outcome refused = eclipse_int(arguments);
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(refused.output.ends_with(" has no settings\n" + found)) << refused.output;
  }
  EXPECT_TRUE(fs::exists(registry + "6.profile"));
  EXPECT_EQ(content_of(configuration), "");
  const Json document = Json::parse(eclipse_int("repair eclipse --json").output);
  EXPECT_EQ(document.at("reverted").at(0).at("run"), nullptr);
  EXPECT_EQ(document.at("reverted").at(1).at("run").at("command"), "eclipse-int run session.json");
  EXPECT_EQ(document.at("reverted").at(1).at("change").at("otherUnitsInstalled"), 2);
  EXPECT_EQ(document.at("renamed"), Json::array());
  script(2, "echo one/1.0.0");
  EXPECT_EQ(eclipse_int("repair eclipse --to 1").status, 0);
  EXPECT_TRUE(fs::exists(registry + "6.profile.damaged"));
  EXPECT_EQ(content_of(configuration), "eclipse.p2.profile=P\n");
}

/// The copy of the configuration is older than two runs when it could not be kept before the second one.
TEST_F(Repair, RevertsTwoRunsOnlyOnRequest) {
  write_state("1", profile_with({"one"}));
  write_configuration("eclipse.p2.profile=P\n");
  script(1, leave("2", {"one", "two"}) + "; echo eclipse.p2.profile=P > " + configuration);
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  fs::rename("eclipse/configuration/.eclipse-int.kept", "kept");
  script(2, leave("3", {"one"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 1);
  fs::remove_all("eclipse/configuration/.eclipse-int.kept");
  fs::rename("kept", "eclipse/configuration/.eclipse-int.kept");
  const Outcome refused = eclipse_int("repair eclipse");
  EXPECT_EQ(refused.status, 1);
  EXPECT_TRUE(refused.output.ends_with(
      "  Error: this would revert the instance to the state 1, and undo 2 runs; use --to 1 to accept that\n"))
      << refused.output;
  EXPECT_TRUE(fs::exists(registry + "3.profile"));
}

/// The registry of another Eclipse could be there.
TEST_F(Repair, RenamesNothingOutsideTheDataArea) {
  write_configuration("eclipse.p2.profile=../../../../other\n");
  fake::write_file("other.profile/2.profile", damaged);
  fake::write_file("other.profile/1.profile", sound);
  fs::create_directories(registry);
  for (const std::string arguments : {"repair eclipse", "repair eclipse --to 1", "history eclipse"}) {
    EXPECT_EQ(eclipse_int(arguments),
              (Outcome{2, "",
                       "eclipse-int: \"DIRECTORY/eclipse/eclipse\" has a p2 profile that cannot be found: DIRECTORY/" +
                           configuration +
                           " has eclipse.p2.profile=../../../../other, which is not a plain file name; correct it\n"}))
        << arguments;
  }
  EXPECT_TRUE(fs::exists("other.profile/2.profile"));
}

TEST_F(Repair, SaysWhenThereIsNoCopyToBringBack) {
  write_state("1", sound);
  write_configuration("");
  const std::string no_copy =
      "there is no backup copy of it; restore it from a backup of the Eclipse instance, or reinstall Eclipse";
  const Outcome repair = eclipse_int("repair eclipse --json");
  EXPECT_EQ(repair.status, 1);
  const Json result = Json::parse(repair.output);
  EXPECT_EQ(result.at("configuration"), (Json{{"file", "DIRECTORY/" + configuration}, {"error", "has no settings"}}));
  EXPECT_EQ(result.at("restored"), Json::array());
  EXPECT_EQ(result.at("error"), no_copy);
  EXPECT_EQ(director_calls(), "");
  EXPECT_EQ(eclipse_int("run session.json").error,
            "eclipse-int: DIRECTORY/" + configuration + " has no settings, so every director fails; " + no_copy + "\n");
}

TEST_F(Repair, NamesBundlesThatNoDirectorCanRemoveAnyMore) {
  write_state("2",
              "<profile><units><unit id='one' version='1.0.0'/><unit id='two' version='1.0.0'><artifacts>"
              "<artifact classifier='osgi.bundle' id='two' version='1.0.0'/></artifacts></unit></units></profile>");
  write_state("1", sound);
  write_bundles();
  const Outcome repair = eclipse_int("repair eclipse --to 1 --dry-run");
  EXPECT_EQ(repair.status, 1);
  EXPECT_TRUE(
      repair.output.ends_with("2.profile\n"
                              "  Warning: bundles.info still lists two/1.0.0, which no state contains after that, "
                              "so Eclipse keeps starting bundles that no director can remove\n"
                              "    Fix: use \"eclipse-int undo --to\", which lets the director remove them\n"))
      << repair.output;
}

std::string with_director(const std::vector<std::string>& bundles) {
  std::string all;
  for (const std::string& name : bundles) {
    all += "<unit id='" + name + "' version='1.0.0'><artifacts><artifact classifier='osgi.bundle' id='" + name +
           "' version='1.0.0'/></artifacts></unit>";
  }
  return "<profile><units>" + all + "</units></profile>";
}

TEST_F(Repair, GoesBackToNoStateWithoutADirector) {
  write_state("1", profile_with({}));
  write_state("2", with_director({"one", "org.eclipse.equinox.p2.director.app"}));
  const Outcome refused = eclipse_int("repair eclipse --to 1");
  EXPECT_EQ(refused.status, 1);
  EXPECT_TRUE(refused.output.ends_with(
      "  Error: the state 1 has no director (org.eclipse.equinox.p2.director.app), so nothing could be installed "
      "or undone afterwards; choose a newer one with --to, or restore the p2 profile from a backup\n"))
      << refused.output;
  EXPECT_TRUE(fs::exists(registry + "2.profile"));
  EXPECT_EQ(director_calls(), "");
}

TEST_F(Repair, NamesTheFixAlsoWhenTheDirectorDoesNotAnswer) {
  write_state("1", with_director({}));
  write_state("2", with_director({"one", "two", "three"}));
  write_bundles();
  const std::string end =
      "  Still damaged: DIRECTORY/eclipse/configuration/org.eclipse.equinox.simpleconfigurator/bundles.info does not list "
      "three/1.0.0, although the p2 profile lists it as installed, so Eclipse does not start it\n"
      "    Fix: run: eclipse-int repair DIRECTORY/eclipse/eclipse --to 1\n";
  const Outcome dry_run = eclipse_int("repair eclipse --dry-run");
  EXPECT_EQ(dry_run.status, 1);
  EXPECT_TRUE(dry_run.output.ends_with(end)) << dry_run.output;
  script(1, "exit 13");
  const Outcome repair = eclipse_int("repair eclipse");
  EXPECT_EQ(repair.status, 1);
  EXPECT_NE(repair.output.find(end), std::string::npos) << repair.output;
}

/// What it would do first cannot be done, so the states stay, and it can be repeated.
TEST_F(Repair, CanBeRepeatedWhenTheCopyCannotBeBroughtBack) {
  write_state("1", sound);
  write_configuration("eclipse.p2.profile=P\n");
  script(1, leave("2", {"one", "two"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 1);
  const std::string full =
      "unshare -rm sh -c 'mkdir -p c && cp -r eclipse/configuration/. c && mount -t tmpfs -o size=64k none "
      "eclipse/configuration && "
      "cp -r c/. eclipse/configuration && { cat /dev/zero > eclipse/configuration/all 2> /dev/null; true; } && \"$@\"' -";
  if (eclipse_int("--version", full).status != 0) GTEST_SKIP() << "this user can mount nothing here";
  const Outcome failed = eclipse_int("repair eclipse", full);
  EXPECT_EQ(failed.status, 1);
  EXPECT_NE(failed.output.find("config.ini: cannot be written: No space left on device"), std::string::npos) << failed.output;
  EXPECT_NE(failed.output.find("    Fix: run: eclipse-int repair DIRECTORY/eclipse/eclipse\n"), std::string::npos)
      << failed.output;
  EXPECT_TRUE(fs::exists(registry + "2.profile"));
  script(2, "echo one/1.0.0");
  EXPECT_EQ(eclipse_int("repair eclipse").status, 0);
  EXPECT_EQ(content_of(configuration), "eclipse.p2.profile=P\n");
  EXPECT_FALSE(fs::exists(registry + "2.profile"));
}

TEST_F(Repair, RenamesWhatOnlyHasTheNameOfAState) {
  write_state("1", sound);
  fake::write_file(registry + "abc.profile.gz", "");
  script(1, "echo one/1.0.0");
  const Outcome repair = eclipse_int("repair eclipse");
  EXPECT_EQ(repair.status, 0);
  EXPECT_NE(repair.output.find("  Renamed: DIRECTORY/" + registry + "abc.profile.gz to abc.profile.gz.damaged\n"),
            std::string::npos)
      << repair.output;
}

TEST_F(Repair, IsRecommendedAfterAnInterruption) {
  write_state("1", sound);
  const std::string director = "sleep 0.3; kill -s TERM $(cat number); sleep 0.5; printf '" + damaged + "' > " + registry +
                               "1731234567890.profile; kill -s TERM $(cat number); exec sleep 100";
  script(1, director);
  const Outcome outcome = eclipse_int("run session.json", "sh -c 'echo $$ > number; exec \"$@\"' -");
  EXPECT_EQ(outcome.status, 143);
  EXPECT_TRUE(outcome.error.ends_with("stopping the director\n" + fix)) << outcome.error;
}

TEST_F(Repair, IsRecommendedByAPlan) {
  write_state("1731234567890", sound);
  write_offer();
  EXPECT_EQ(eclipse_int("plan session.json").status, 0);
  write_state("1731234567890", damaged);
  const Outcome plan = eclipse_int("plan session.json");
  EXPECT_EQ(plan.status, 1);
  EXPECT_EQ(plan.error, fix);
  EXPECT_EQ(Json::parse(eclipse_int("plan session.json --json").output).at("damage"), reported);
}

TEST_F(Repair, IsNotRecommendedForASoundProfile) {
  write_state("1731234567890", sound);
  for (int start = 1; start <= 3; ++start) script(start, "exit 13");
  const Outcome run = eclipse_int("run session.json");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.error, "");
}

TEST_F(Repair, RenamesDamagedStatesAndAsksTheEclipse) {
  write_state("1731234567890", damaged);
  write_state("1731234560000", sound);
  script(1, "test -e " + registry + "1731234567890.profile || echo one/1.0.0");
  const std::string states =
      "Eclipse DIRECTORY/eclipse/eclipse\n"
      "  Newest states of its p2 profile:\n"
      "    1731234567890 (2024-11-10 10:29:27 UTC): is not well-formed XML\n"
      "    1731234560000 (2024-11-10 10:29:20 UTC): 1 unit\n";
  EXPECT_EQ(eclipse_int("repair eclipse/eclipse --dry-run"),
            (Outcome{1, states + "  Would rename: DIRECTORY/" + registry + "1731234567890.profile\n", ""}));
  EXPECT_EQ(director_calls(), "");
  EXPECT_EQ(eclipse_int("repair eclipse/eclipse"), (Outcome{0,
                                                            states + "  Renamed: DIRECTORY/" + registry +
                                                                "1731234567890.profile to 1731234567890.profile.damaged\n"
                                                                "  The director starts. Installed by name:\n"
                                                                "    one/1.0.0\n",
                                                            ""}));
  EXPECT_EQ(content_of(registry + "1731234567890.profile.damaged"), damaged) << "nothing is deleted";
  EXPECT_EQ(eclipse_int("repair eclipse --dry-run"), (Outcome{0,
                                                              "Eclipse DIRECTORY/eclipse/eclipse\n"
                                                              "  Newest states of its p2 profile:\n"
                                                              "    1731234560000 (2024-11-10 10:29:20 UTC): 1 unit\n"
                                                              "  Nothing to repair.\n",
                                                              ""}));
}

TEST_F(Repair, IsThereForPrograms) {
  write_state("2", damaged);
  write_state("1", sound);
  script(1, "echo one/1.0.0");
  const Outcome outcome = eclipse_int("repair eclipse --json");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(Json::parse(outcome.output),
            (Json{{"executable", "DIRECTORY/eclipse/eclipse"},
                  {"dryRun", false},
                  {"states",
                   {{{"file", "DIRECTORY/" + registry + "2.profile"},
                     {"time", "2"},
                     {"status", "damaged"},
                     {"error", "is not well-formed XML"},
                     {"units", nullptr}},
                    {{"file", "DIRECTORY/" + registry + "1.profile"},
                     {"time", "1"},
                     {"status", "readable"},
                     {"error", nullptr},
                     {"units", 1}}}},
                  {"renamed",
                   {{{"from", "DIRECTORY/" + registry + "2.profile"}, {"to", "DIRECTORY/" + registry + "2.profile.damaged"}}}},
                  {"reverted", Json::array()},
                  {"configuration", nullptr},
                  {"restored", Json::array()},
                  {"orphanedBundles", Json::array()},
                  {"lostUnits", nullptr},
                  {"roots", {"one/1.0.0"}},
                  {"error", nullptr},
                  {"exitStatus", 0}}));
}

TEST_F(Repair, FailsWhenTheEclipseDoesNotAnswer) {
  write_state("1", sound);
  script(1, "echo 'Missing required argument -destination.'; exit 13");
  const Outcome outcome = eclipse_int("repair eclipse");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(
      outcome.output.find("  Error: \"DIRECTORY/eclipse/eclipse\" failed with exit code 13, so the installed units are not "
                          "known; the launcher failed: "),
      std::string::npos)
      << outcome.output;
}

TEST_F(Repair, MovesNothingWhenNoStateCanBeRead) {
  write_state("2", damaged);
  write_state("1", damaged);
  const Outcome outcome = eclipse_int("repair eclipse");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.output.find("  Error: no state of the p2 profile in DIRECTORY/"), std::string::npos) << outcome.output;
  EXPECT_TRUE(fs::exists(registry + "2.profile"));
  EXPECT_EQ(director_calls(), "");
}

TEST_F(Repair, IsRecommendedWhenUnitsWereLost) {
  write_state("2", sound);
  write_state("1", three);
  write_bundles();
  const Outcome verify = eclipse_int("verify session.json --json");
  EXPECT_EQ(verify.status, 1);
  EXPECT_EQ(Json::parse(verify.output).at("same"), false) << "they are lost";
  EXPECT_EQ(Json::parse(verify.output).at("damage").at("fix"), "run: eclipse-int repair DIRECTORY/eclipse/eclipse --to 1");
}

TEST_F(Repair, GoesBackOnlyOnRequestWhenUnitsWereLost) {
  write_state("2", sound);
  write_state("1", three);
  write_bundles();
  const Outcome outcome = eclipse_int("repair eclipse");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.output.find("  Warning: the newest readable state has 1 unit, the state before it 3, but bundles.info "
                                "still lists 1 bundle of the missing ones, as if two directors had worked at the same time\n"
                                "    Fix: eclipse-int repair DIRECTORY/eclipse/eclipse --to 1\n"),
            std::string::npos)
      << outcome.output;
  EXPECT_EQ(eclipse_int("repair eclipse --to 1").status, 0);
  EXPECT_TRUE(fs::exists(registry + "2.profile.damaged"));
  EXPECT_EQ(eclipse_int("repair eclipse --to 7").status, 1);
}

TEST_F(Repair, LeavesAConfigurationAloneThatAPersonHasChanged) {
  write_state("1", sound);
  const std::string osgi = "osgi.bundles=a\nosgi.framework=b\n";
  write_configuration(osgi);
  EXPECT_EQ(eclipse_int("run session.json").status, 1) << "it keeps a copy, and makes no state";
  write_configuration(osgi + "mine=1\n");
  script(2, "echo one/1.0.0");
  const Outcome outcome = eclipse_int("repair eclipse --to 1 --json");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(Json::parse(outcome.output).at("restored"), Json::array());
  EXPECT_EQ(content_of(configuration), osgi + "mine=1\n");
  write_state("2", sound);
  EXPECT_EQ(Json::parse(eclipse_int("repair eclipse --to 1 --json --dry-run").output).at("restored").size(), 1U)
      << "the state moves";
}

TEST_F(Repair, SaysWhyThereIsNoProfile) {
  const Outcome none = eclipse_int("repair eclipse");
  EXPECT_EQ(none, (Outcome{2, "", "eclipse-int: \"DIRECTORY/eclipse/eclipse\" has no p2 profile of its own\n"}));
  write_configuration("osgi.configuration.area=elsewhere\n");
  const Outcome elsewhere = eclipse_int("repair eclipse --dry-run");
  EXPECT_EQ(elsewhere.status, 2);
  EXPECT_NE(elsewhere.error.find("has a p2 profile that cannot be found: DIRECTORY/" + configuration), std::string::npos)
      << elsewhere.error;
  EXPECT_EQ(director_calls(), "");
}

TEST_F(Repair, LetsTheDirectorEndWhenItIsInterrupted) {
  write_state("2", damaged);
  write_state("1", sound);
  script(1, "kill -s TERM $(cat number); sleep 0.5; echo > ended");
  const Outcome outcome = eclipse_int("repair eclipse --json", "sh -c 'echo $$ > number; exec \"$@\"' -");
  EXPECT_EQ(outcome.status, 143);
  EXPECT_TRUE(fs::exists("ended"));
  EXPECT_EQ(Json::parse(outcome.output).at("renamed").size(), 1U) << "what was done is reported";
}

TEST_F(Repair, NeedsAnEclipse) {
  fs::create_directory("empty");
  const std::string advice = "; give the Eclipse executable, or the directory that contains it\n";
  EXPECT_EQ(eclipse_int("repair missing"), (Outcome{2, "", "eclipse-int: DIRECTORY/missing: is not a file" + advice}));
  EXPECT_EQ(eclipse_int("repair empty"),
            (Outcome{2, "", "eclipse-int: DIRECTORY/empty: has no executable \"eclipse\"" + advice}));
  EXPECT_EQ(eclipse_int("repair").status, 2);
}

}  // namespace

}  // namespace cli_test
