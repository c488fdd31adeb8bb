#include "lint/observation.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>

#include "eclipse_int/eclipse_int.h"
#include "lint/samples.h"
#include "standalone_host/session_file.h"

namespace fs = std::filesystem;

namespace lint_test {

namespace {

constexpr const char* word_printer = "#!/bin/sh\nshift 3\nfor word; do printf '[%s]' \"$word\"; done\n";

/// More lines than this are not worth comparing one by one.
constexpr std::size_t most_lines = 20;

const std::set<std::string> lines_of_every_run = {"eclipse_integration_required entered",  "eclipse integration is required",
                                                  "perform_integration entered",           "perform_unintegration entered",
                                                  "integrate_into_instance entered",       "unintegrate_from_instance entered",
                                                  "eclipse_int::find_eclipse_ide: entered"};

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) text.replace(at, from.size(), to);
  return text;
}

class Observer {
 public:
  explicit Observer(fake::FakeHost& host) : host_(host) {
    host.on_log = [this](const std::string& line) { log(line); };
    host.on_variable = [this](const std::string& name, const std::string& value) { write(name, value); };
    host.run_command = [this](const std::string& command) { return run(command); };
  }

  fake::Texts observed() {
    if (observed_.size() <= most_lines) return std::move(observed_);
    fake::Texts shortened = {std::to_string(observed_.size()) + " lines, the first command and the end:"};
    const auto is_command = [](const std::string& line) { return line.starts_with("sh: "); };
    shortened.push_back(*std::find_if(observed_.begin(), observed_.end(), is_command));
    shortened.insert(shortened.end(), observed_.end() - 2, observed_.end());
    return shortened;
  }

 private:
  void add(const std::string& text) { observed_.push_back(replaced(text, host_.directory.path(), "DIRECTORY")); }

  void write(const std::string& name, const std::string& value) {
    if (name != "ECLIPSE_PATH" && name != "QN_SCRIPTS_COMPLETE_DESC") add(name + "=" + value);
  }

  void log(const std::string& line) {
    constexpr std::string_view prefix = "eclipse_int: ";
    const std::string text = line.starts_with(prefix) ? line.substr(prefix.size()) : line;
    const bool is_shown_otherwise = text.starts_with("running command") || text.starts_with("out: ") ||
                                    text.starts_with("exit code") || text.starts_with("eclipse install subdir");
    if (!is_shown_otherwise && lines_of_every_run.count(text) == 0) add(text);
  }

  eclipse_shell::CommandResult run(const std::string& command) {
    auto result = eclipse_shell::run_in_shell(command);
    // Of a very long one, as much as shows what it is.
    const std::string output = result.output.size() > 600 ? std::to_string(result.output.size()) + " bytes" : result.output;
    add("sh: " + replaced(output, "\n", "|") + " exit " + std::to_string(result.exit_code));
    return result;
  }

  fake::FakeHost& host_;
  fake::Texts observed_;
};

void perform_session(fake::FakeHost& host, const std::string& file) {
  eclipse_host::read_session_file(file, host);
  eclipse_integration_required(&host);
  const bool is_checked = host.variable("ECLIPSE_INTEGRATION_CHOICE") == "user" && !host.variable("ECLIPSE_BIN").empty();
  if (is_checked) verify_eclipse_version(&host);
  if (host.variable("KORU_MODE") == "uninstall") {
    perform_unintegration(&host);
  } else {
    perform_integration(&host);
  }
}

void write_word_printer(const std::string& name) {
  fake::write_file(name, word_printer);
  fs::permissions(name, fs::perms(0755));
}

/// Adds the component in the directory of that name, and an Eclipse, and performs what a user without special rights can.
void perform_component(fake::FakeHost& host, const std::string& name) {
  write_word_printer("ide/eclipse");
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "user";
  host.variables["USER_DEFINED_ECLIPSE_PATH"] = "ide/eclipse";
  fake::Texts files;
  for (const auto& entry : fs::recursive_directory_iterator(name)) {
    if (!entry.is_directory()) files.push_back(entry.path().lexically_relative(name).string());
  }
  host.add({.code = name,
            .installBase = host.directory.path(),
            .installDir = name,
            .install = true,
            .package = fake::PackageFields{.files = files}});
  const WithoutRights without_rights;
  perform_integration(&host);
}

}  // namespace

fake::Texts observe(const eclipse_lint::Sample& sample) {
  fake::FakeHost host;
  write_sample(sample);
  Observer observer(host);
  if (sample.input.ends_with(".json")) {
    for (const auto& file : sample.files) {
      if (file.permissions == 0755) write_word_printer(file.name);
    }
    perform_session(host, sample.input);
  } else if (fs::is_directory(sample.input)) {
    perform_component(host, sample.input);
  } else {
    fs::create_directories("tools/etc/eclipse");
    fs::rename(sample.input, "tools/etc/eclipse/" + sample.input);
    perform_component(host, "tools");
  }
  return observer.observed();
}

}  // namespace lint_test
