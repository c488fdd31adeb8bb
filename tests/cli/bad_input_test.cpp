// Files that never end or never begin, and inputs made to use up memory or time: the command ends soon and says what is wrong.
// Deadlines are many times longer than it takes; limits of memory are what the command needs otherwise, and some more.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/child_command.h"

namespace cli_test {

namespace {

namespace fs = std::filesystem;

const std::string registry = "eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/";

class BadInput : public ChildCommand {
 protected:
  BadInput() { write_session("install"); }

  Outcome eclipse_int_within(int megabytes, const std::string& arguments) const {
    return eclipse_int(arguments, memory_limit(megabytes) + deadline);
  }

  /// A session file whose last part is this one.
  static void write_session_with(const std::string& rest) {
    fake::write_file("bad.json", "{\"mode\": \"install\", \"components\": [], " + rest);
  }

  const std::string deadline = " timeout 300";
};

std::string repeated(std::string_view text, std::size_t times) {
  std::string all;
  all.reserve(text.size() * times);
  while (times-- > 0) all += text;
  return all;
}

struct SpecialFile {
  std::string file;
  std::string arguments;
  int status;
  std::string message;  ///< a part of what is printed
};

const std::string no_json = ": is not a regular file; give the path of a JSON file\n";
const std::string no_input = ": is not a file or directory; give a descriptor file";
const std::string state = registry + "P.profile/1.profile";
const std::string profile_not_read = "read: DIRECTORY/" + state + " is not a regular file\n";
const std::string no_metadata = "is not a regular file [repository-not-loadable]\n";

const std::vector<SpecialFile> special_files = {
    {"special.json", "run special.json", 2, "eclipse-int: special.json" + no_json},
    {"special.json", "call define_eclipse_path special.json", 2, "eclipse-int: special.json" + no_json},
    {"special.json", "plan special.json", 2, "eclipse-int: special.json" + no_json},
    {"special.json", "verify special.json", 2, "eclipse-int: special.json" + no_json},
    {"special.json", "lint special.json", 2, "eclipse-int: special.json" + no_input},
    {"v.json", "run session.json --variables v.json", 2, "eclipse-int: v.json" + no_json},
    {"v.json", "lint session.json --variables v.json", 2, "eclipse-int: v.json" + no_json},
    {"v.json", "run session.json --write-variables v.json", 2, "eclipse-int: v.json: is not a regular file; give the path"},
    {"o.json", "lint session.json --suppressions o.json", 2, "eclipse-int: o.json" + no_json},
    {"plugin.so", "run session.json --plugin plugin.so", 2, "plugin.so: is not a regular file; give the path of libeclipse"},
    {"plugin.so", "lint session.json --plugin plugin.so", 2, "plugin.so: is not a regular file; give the path of libeclipse"},
    {"tools/etc/eclipse/tools.txt", "lint tools/etc/eclipse/tools.txt", 2, "tools/etc/eclipse/tools.txt" + no_input},
    {"tools/etc/eclipse/tools.txt", "lint tools", 1, ", not a file [descriptor-not-a-file]\n"},
    {"tools/etc/eclipse/tools.txt", "lint session.json", 1, ", not a file [descriptor-not-a-file]\n"},
    {"tools/etc/eclipse/tools.txt", "plan session.json --verbose", 1, "its package lists no descriptor file\n"},
    {"tools/etc/eclipse/tools.txt", "run session.json", 0, "The log ends with: eclipse_int: feature or repo list is empty"},
    {"tools/etc/eclipse/tools.txt", "verify session.json", 0, "the log ends with: eclipse_int: feature or repo list is empty"},
    {"tools/site/content.xml", "lint session.json", 1, "content.xml " + no_metadata},
    {"tools/site/content.jar", "lint session.json", 1, "content.jar " + no_metadata},
    {"tools/site/content.xml.xz", "lint session.json", 1, "content.xml.xz " + no_metadata},
    {"tools/site/compositeContent.xml", "lint session.json", 1, "compositeContent.xml " + no_metadata},
    {"tools/site/artifacts.xml", "lint session.json", 1, "artifacts.xml " + no_metadata},
    {"tools/site/p2.index", "lint session.json", 1, "p2.index " + no_metadata},
    {"eclipse/configuration/config.ini", "verify session.json", 1, "config.ini is not a regular file\n"},
    {"eclipse/configuration/config.ini", "run session.json --verify", 1, "config.ini is not a regular file\n"},
    {state, "verify session.json", 1, profile_not_read},
    {state + ".gz", "run session.json --verify", 1, ".gz is not a regular file\n"},
    {"eclipse/configuration/special.log", "run session.json", 1, "Why: the launcher failed: the application exited early"},
};

/// The site is one that lint can read, unless a case replaces its metadata.
void write_site(const std::string& special) {
  const bool has_content = special.find("site/c") == std::string::npos;
  fs::create_directories("tools/site");
  if (has_content) {
    fake::write_file("tools/site/content.xml",
                     "<repository><units><unit id='one' version='1'/><unit id='two' version='1'/></units></repository>");
  }
}

TEST_F(BadInput, SpecialFilesAreRefusedAtOnce) {
  for (const bool is_fifo : {true, false}) {
    for (const auto& [file, arguments, status, message] : special_files) {
      const std::string description = (is_fifo ? "FIFO: " : "zero: ") + file + ": " + arguments;
      for (const char* const place : {"tools", "eclipse/p2", "eclipse/configuration", "eclipse/calls"}) fs::remove_all(place);
      fake::write_file("tools/etc/eclipse/tools.txt", "Repository\tFeature\nsite\tone\nsite\ttwo\n");
      write_site(file);
      if (file.ends_with(".log")) {
        // A log counts when it is newer than the command.
        fs::create_directories("eclipse/configuration");
        const std::string special = is_fifo ? "mkfifo " : "ln -s /dev/zero ";
        for (int i = 1; i <= 3; ++i) script(i, special + "\"$here/configuration/$start.log\"; exit 13");
      } else {
        fs::create_directories(fs::path("x/" + file).parent_path().lexically_relative("x"));
        fs::remove(file);
        if (is_fifo) {
          ASSERT_EQ(mkfifo(file.c_str(), 0600), 0) << description;
        } else {
          fs::create_symlink("/dev/zero", file);
        }
      }
      const Outcome outcome = eclipse_int_within(1500, arguments);
      EXPECT_EQ(outcome.status, status) << description << "\n" << outcome.output << outcome.error;
      EXPECT_NE((outcome.output + outcome.error).find(message), std::string::npos) << description << "\n"
                                                                                   << outcome.output << outcome.error;
      fs::remove(file);
      for (int i = 1; i <= 3; ++i) fs::remove("eclipse/" + std::to_string(i) + ".sh");
    }
  }
}

TEST_F(BadInput, ADescriptorThatIsTooLargeIsNotRead) {
  fs::resize_file("tools/etc/eclipse/tools.txt", std::uintmax_t{3} << 30);
  const std::string message = "tools/etc/eclipse/tools.txt: is larger than 64 MiB; keep only records in a descriptor file\n";
  for (const std::string arguments : {"run session.json", "run session.json --log log", "call perform_integration session.json",
                                      "plan session.json", "verify session.json"}) {
    const Outcome outcome = eclipse_int_within(1000, arguments);
    EXPECT_EQ(outcome.status, 2) << arguments << outcome.error;
    EXPECT_TRUE(outcome.error.starts_with("eclipse-int: ") && outcome.error.ends_with(message)) << arguments << outcome.error;
  }
  EXPECT_EQ(director_calls(), "");
  for (const std::string input : {"session.json", "tools", "tools/etc/eclipse/tools.txt"}) {
    const Outcome outcome = eclipse_int_within(1000, "lint " + input);
    EXPECT_EQ(outcome.status, 1) << input << outcome.error;
    EXPECT_NE(outcome.output.find("tools.txt: error: the descriptor file is larger than 64 MiB"), std::string::npos)
        << input << outcome.output;
  }
}

/// 64 MiB of them would take more than ten gigabytes.
TEST_F(BadInput, ADescriptorHasALimitOfLines) {
  fake::write_file("tools/etc/eclipse/tools.txt", repeated("a\tb\n", 16'000'000));
  for (const std::string arguments : {"run session.json", "plan session.json", "verify session.json"}) {
    const Outcome outcome = eclipse_int_within(1000, arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_TRUE(outcome.error.ends_with("tools.txt: has more than 1000000 lines; keep only records in a descriptor file\n"))
        << outcome.error;
  }
  EXPECT_EQ(director_calls(), "");
  const Outcome lint = eclipse_int_within(1000, "lint tools");
  EXPECT_EQ(lint.status, 1) << lint.error;
  EXPECT_NE(lint.output.find("tools.txt: error: the descriptor file has more than 1000000 lines"), std::string::npos)
      << lint.output;
}

/// 64 MiB of them would take six gigabytes.
TEST_F(BadInput, JsonHasALimitOfValues) {
  write_session_with("\"variables\": [" + repeated("[],", 22'000'000) + "[]]}");
  for (const std::string arguments : {"run bad.json", "lint bad.json", "run session.json --variables bad.json"}) {
    const Outcome outcome = eclipse_int_within(1000, arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_TRUE(outcome.error.starts_with("eclipse-int: bad.json:1:3000")) << outcome.error;
    EXPECT_TRUE(outcome.error.ends_with(": document: has more than 1000000 values; remove some\n")) << outcome.error;
  }
  fake::write_file("bad.json", "[" + repeated("1,", 30'000'000) + "1]");
  EXPECT_NE(eclipse_int_within(1000, "lint session.json --suppressions bad.json").error.find("has more than 1000000 values"),
            std::string::npos);
}

TEST_F(BadInput, AJsonKeyOfSixtyMegabytesIsComparedInItsBeginning) {
  write_session_with("\"" + repeated("variabels", 6'500'000) + "\": 1}");
  const Outcome outcome = eclipse_int("run bad.json", deadline);
  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.error.find("unknown key; known here: \"$schema\", \"mode\", "), std::string::npos) << outcome.error;
  EXPECT_LT(outcome.error.size(), 2000U);
}

TEST_F(BadInput, ErrorsAfterMillionsOfLinesAreLocatedInOnePass) {
  write_session_with(repeated("\n", 6'000'000) + "\"variables\": 1}");
  const Outcome outcome = eclipse_int("run bad.json", deadline);
  EXPECT_EQ(outcome, (Outcome{2, "",
                              "eclipse-int: bad.json:6000001:14: variables: expected an object, found a number; write it in { "
                              "}\n"}));
  write_session_with(repeated("\n", 6'000'000) + "]");
  EXPECT_TRUE(eclipse_int("plan bad.json", deadline).error.starts_with("eclipse-int: bad.json:6000001:1: "));
}

/// With a copy for each of them, 20,000 requirers of 20,000 units take twelve gigabytes.
TEST_F(BadInput, UnitsOfOneIdShareWhatRequiresThem) {
  constexpr int count = 20'000;
  std::string profile = "<profile><units>";
  for (int i = 0; i < count; ++i) {
    const std::string number = std::to_string(i);
    profile += "<unit id='one' version='1.0." + number + "'/><unit id='r" + number + "' version='1'><requires>";
    profile += "<required namespace='org.eclipse.equinox.p2.iu' name='one'/></requires></unit>";
  }
  fake::write_file(state, profile + "</units></profile>");
  const std::string needed = " is installed, but not by name; required by r0, r1, r2 and 19997 more (";
  Outcome outcome = eclipse_int_within(1000, "verify session.json");
  EXPECT_EQ(outcome.status, 1) << outcome.error;
  EXPECT_NE(outcome.output.find("  one" + needed), std::string::npos) << outcome.output;
  write_session("uninstall", {}, "\"remove\": true");
  outcome = eclipse_int_within(1000, "lint session.json");
  EXPECT_EQ(outcome.status, 1) << outcome.error;
  EXPECT_NE(outcome.output.find("\"two\" is not installed in the instance [unit-not-installed]\n"), std::string::npos)
      << outcome.output;
}

TEST_F(BadInput, OfALogWithManyMessagesTheFirstAreTold) {
  std::string log = "!SESSION s\n";
  for (int i = 0; i < 60'000; ++i) log += "!ENTRY p 4 0 t\n!MESSAGE message number " + std::to_string(i) + "\n";
  fake::write_file("log", log);
  for (int i = 1; i <= 3; ++i) {
    script(i, "mkdir -p \"$here/configuration\"; cp log \"$here/configuration/$start.log\"; exit 13");
  }
  const Outcome outcome = eclipse_int("run session.json --json", deadline);
  EXPECT_EQ(outcome.status, 1);
  const auto causes = nlohmann::json::parse(outcome.output).at("commands").at(0).at("failure").at("causes");
  ASSERT_EQ(causes.size(), 101U);
  EXPECT_EQ(causes.front(), "message number 0");
  EXPECT_EQ(causes.back(), "and 59900 more");
}

/// Of a log that is larger than what is read, its end.
TEST_F(BadInput, OfALargeLogTheEndIsRead) {
  for (int i = 1; i <= 3; ++i) {
    script(i,
           "mkdir -p \"$here/configuration\"; log=\"$here/configuration/$start.log\"; truncate -s 4G \"$log\"; "
           "printf '\\n!SESSION s\\n!ENTRY p 4 0 t\\n!MESSAGE the last one\\n' >> \"$log\"; exit 13");
  }
  const Outcome outcome = eclipse_int_within(1000, "run session.json");
  EXPECT_NE(outcome.output.find("      the last one\n"), std::string::npos) << outcome.output << outcome.error;
}

/// Numbered lines, seven bytes each.
std::string numbered_lines(int count) { return "seq -f %06.0f 1 " + std::to_string(count); }

TEST_F(BadInput, OfAnOutputThatIsTooLargeBeginningAndEndAreKept) {
  constexpr int count = 900'000;
  script(1, numbered_lines(count));
  const Outcome outcome = eclipse_int("run session.json --json --log log", deadline);
  EXPECT_EQ(outcome.status, 0);
  const auto command = nlohmann::json::parse(outcome.output).at("commands").at(0);
  const std::size_t left_out = command.at("outputLeftOut");
  const std::string kept = command.at("output");
  EXPECT_EQ(left_out, 7U * count - (4U << 20U));
  const std::string mark = "\n[" + std::to_string(left_out) + " bytes left out]\n";
  EXPECT_EQ(kept.size(), (4U << 20U) + mark.size());
  EXPECT_TRUE(kept.starts_with("000001\n") && kept.ends_with("\n900000\n"));
  EXPECT_EQ(kept.find(mark), 2U << 20U);
  // Together, log and document have all of it.
  const std::string log = content_of("log");
  EXPECT_NE(log.find("\neclipse-int: left out below: 450000\n"), std::string::npos);
  EXPECT_NE(log.find("eclipse_int: out: 000001\\n000002\\n"), std::string::npos);
  EXPECT_EQ(kept.find("\n450000\n"), std::string::npos);

  fs::remove("eclipse/calls");
  script(1, numbered_lines(count) + " >&2");
  script(2, numbered_lines(count));
  const Outcome text = eclipse_int("run session.json", deadline);
  EXPECT_NE(text.output.find("\n    450000\n"), std::string::npos) << "what a report shows as it comes is not left out";
}

/// It took seven times as much memory.
TEST_F(BadInput, AHugeOutputTakesLittleMemory) {
  script(1, "head -c 500000000 /dev/zero | tr '\\0' x; echo; echo Installation failed.; echo the reason; exit 13");
  const Outcome outcome = eclipse_int_within(400, "run session.json --json > document");
  EXPECT_EQ(outcome.status, 0) << outcome.error;
  const auto command = nlohmann::json::parse(content_of("document")).at("commands").at(0);
  EXPECT_GT(command.at("outputLeftOut"), 490'000'000);
  EXPECT_EQ(command.at("failure").at("causes"), nlohmann::json::array({"the reason"})) << "the end is kept";
}

/// The plug-in and its log take a part of a second for them.
TEST_F(BadInput, ASignalEndsARunWhileThePlugInComputes) {
  std::string descriptor;
  for (int i = 0; i < 300'000; ++i) descriptor += "site\tfeature.number." + std::to_string(i) + "\n";
  fake::write_file("tools/etc/eclipse/tools.txt", descriptor);
  const std::string interrupted_in_its_action =
      "timeout -s KILL 600 sh -c ': > shown; env --default-signal=INT \"$@\" > shown & until grep -q perform_integration "
      "shown; "
      "do sleep 0.01; done; kill -INT $!; wait $!; status=$?; cat shown; exit $status' -";
  for (const std::string arguments : {"run session.json", "run session.json --verify"}) {
    const Outcome outcome = eclipse_int(arguments, interrupted_in_its_action);
    EXPECT_EQ(outcome.status, 130) << arguments << ": 137 when it had to be killed";
    EXPECT_TRUE(outcome.output.find("\nInterrupted by SIGINT\n") != std::string::npos) << outcome.output;
  }
  EXPECT_EQ(director_calls().find(" -i "), std::string::npos) << "a question may have been asked";
}

TEST_F(BadInput, WithoutMemoryThereIsAMessage) {
  const std::string limit = memory_limit(250);
  if (limit.empty()) GTEST_SKIP() << "this build needs more memory to start";
  write_session_with("\"variables\": {\"A\": \"" + repeated("x", 60'000'000) + "\"}}");
  EXPECT_EQ(eclipse_int("plan bad.json --json", limit), (Outcome{2, "", "eclipse-int: there is not enough memory\n"}));
}

}  // namespace

}  // namespace cli_test
