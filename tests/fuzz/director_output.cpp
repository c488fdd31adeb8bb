// The input is what a director leaves: a file "output", "error" (what the shell says), "log" (of the instance) and "exit" (its
// status). The causes of a failure are few, short and printable, and only the last session of the log counts.
#include "p2/director_failure.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

#include "base/text.h"
#include "fake_host/temporary_directory.h"
#include "fuzz/target.h"
#include "p2/installed_units.h"

using namespace eclipse_p2;
using fuzz::expect;
using fuzz::expect_same;

namespace {

constexpr std::size_t most_causes = 101;         // and how many more
constexpr std::size_t longest_cause = 4096 + 3;  // and "..."

std::string content_of(const std::map<std::string, std::string>& files, const std::string& name) {
  const auto file = files.find(name);
  return file == files.end() ? "" : file->second;
}

void check_log(const std::string& log) {
  const LoggedCauses causes = causes_in(log);
  expect(causes.messages.size() <= most_causes, "there are few causes");
  for (const std::string& message : causes.messages) expect(message.size() <= longest_cause, "causes are short");
  const std::string session = "!SESSION 2026-01-01\n" + log;
  const std::string after_another = "!ENTRY a 4 0\n!MESSAGE an older cause\n!STACK 0\njava.lang.Error: old\n" + session;
  expect_same("the last session", eclipse_base::joined(causes_in(after_another).messages, "\n"),
              eclipse_base::joined(causes_in(session).messages, "\n"));
}

void check_units(const std::string& output) {
  const std::vector<Unit> units = units_in(output);
  std::string printed;
  for (const Unit& unit : units) printed += text_of(unit) + "\n";
  expect(std::is_sorted(units.begin(), units.end()) && units_in(printed) == units, "units are read as they are printed");
}

void check_failure(const std::map<std::string, std::string>& files) {
  std::filesystem::remove_all("ide");
  std::filesystem::create_directories("ide/configuration");
  const InstanceLogs logs("ide");
  if (files.contains("log")) fake::write_file("ide/configuration/1.log", content_of(files, "log"));
  eclipse_shell::CommandResult result{content_of(files, "output"), content_of(files, "error")};
  const std::string status = content_of(files, "exit");
  std::from_chars(status.data(), status.data() + status.size(), result.exit_code);
  const Failure failure = explain(result, logs);
  expect(!failure.meaning.empty(), "a failure has a meaning");
  const std::string text = text_of(failure, "> ");
  fuzz::expect_printable(text, true);
  const auto lines = eclipse_base::lines_of(text);
  expect(std::all_of(lines.begin() + 1, lines.end(), [](const std::string& line) { return line.starts_with("> "); }),
         "each cause is a line of its own");
  expect_same("explained again", text_of(explain(result, logs), "> "), text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::enter_own_directory();
  const auto files = fuzz::files_in(fuzz::text_of(data, size));
  check_log(content_of(files, "log"));
  check_units(content_of(files, "output"));
  check_failure(files);
  return 0;
}
