// That the command survives files which are replaced while it reads them, as editors and installers do.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

#include "fake_host/temporary_directory.h"
#include "shell/command_runner.h"

using fake::write_file;

namespace {

constexpr const char* feature_line = "site\torg.example.one.feature.group\n";

std::string session_of(const std::string& mode, const std::string& components) {
  return R"({"mode": ")" + mode + R"(", "variables": {"ECLIPSE_INTEGRATION_CHOICE": "user",
 "ECLIPSE_BIN": "eclipse", "USER_DEFINED_ECLIPSE_PATH": "ide/eclipse"}, "components": [)" +
         components + "]}";
}

std::string component(const std::string& code, const std::string& files) {
  return R"({"code": ")" + code + R"(", "installBase": ".", "installDir": "tools", "install": true, "remove": true,
 "capabilities": [")" +
         code + R"(_ECLIPSE_PLUGIN"], "package": {"files": [)" + files + "]}}";
}

/// Puts one content after another into a file, by renaming and by truncating it, until the end of its life.
class Replacer {
 public:
  Replacer(std::string file, std::vector<std::string> contents)
      : file_(std::move(file)), contents_(std::move(contents)), thread_([this] { run(); }) {}
  ~Replacer() {
    stopped_ = true;
    thread_.join();
  }
  Replacer(const Replacer&) = delete;
  Replacer& operator=(const Replacer&) = delete;

 private:
  void run() {
    for (std::size_t turn = 0; !stopped_; ++turn) {
      const std::string& content = contents_[turn % contents_.size()];
      if (turn / contents_.size() % 2 == 0) {
        write_file(file_, content);
      } else {
        write_file(file_ + ".new", content);
        std::filesystem::rename(file_ + ".new", file_);
      }
      std::this_thread::sleep_for(std::chrono::microseconds(turn % 7 * 50));
    }
  }

  std::string file_;
  std::vector<std::string> contents_;
  std::atomic<bool> stopped_ = false;
  std::thread thread_;
};

class ReplacedFiles : public testing::TestWithParam<const char*> {
 protected:
  ReplacedFiles() {
    write_file("ide/eclipse", "#!/bin/sh\n");
    std::filesystem::permissions("ide/eclipse", std::filesystem::perms(0755));
    write_file("tools/site/content.xml",
               "<repository><units><unit id='org.example.one.feature.group' version='1'/></units></repository>");
    std::string lines;
    for (int i = 0; i < 300; ++i)
      lines += "site\torg.example.n" + std::to_string(i) + ".feature.group\t\t" + std::to_string(i) + "\n";
    descriptors = {feature_line, lines, "", "no data\n", "other\tF\n" + lines, std::string("\0\t\0", 3), "site\t\n"};
    const std::string one = component("one", R"("etc/eclipse/tools.txt")");
    const std::string two = component("two", R"("etc/eclipse/tools.txt", "etc/eclipse/more.txt", "readme.txt")");
    sessions = {session_of("install", one + ",\n\n" + two),
                session_of("uninstall", one),
                session_of("install", ""),
                session_of("install", two + std::string(9000, '\n')),
                "{",
                "",
                "[1, 2]"};
    write_file("session.json", sessions.front());
    write_file("tools/etc/eclipse/tools.txt", lines);
  }

  const fake::TemporaryDirectory directory;
  std::vector<std::string> descriptors;
  std::vector<std::string> sessions;
};

TEST_P(ReplacedFiles, EndInFindingsOrAnError) {
  constexpr int runs = 150;
  const Replacer of_session("session.json", sessions);
  const Replacer of_descriptor("tools/etc/eclipse/tools.txt", descriptors);
  for (int i = 0; i < runs; ++i) {
    const auto result = eclipse_shell::run_in_shell(std::string("'" ECLIPSE_INT_COMMAND "' ") + GetParam());
    const bool is_error_in_file =
        result.exit_code == 2 && (result.error_output.find("eclipse-int: session.json") != std::string::npos ||
                                  result.error_output.find("eclipse-int: tools/etc/eclipse/tools.txt") != std::string::npos ||
                                  result.error_output.find("eclipse-int: tools: has no descriptor file") != std::string::npos);
    ASSERT_TRUE(result.exit_code == 0 || result.exit_code == 1 || is_error_in_file)
        << "run " << i << ": " << result.exit_code << "\n"
        << result.error_output;
  }
}

INSTANTIATE_TEST_SUITE_P(Inputs, ReplacedFiles,
                         testing::Values("lint --severity note session.json", "lint --severity note tools",
                                         "lint --severity note tools/etc/eclipse/tools.txt", "plan session.json"));

}  // namespace
