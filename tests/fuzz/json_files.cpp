// The input is a JSON file with a meaning: a configuration or suppressions of lint, or variables. Each is read, or refused in
// printable lines that begin with its name, and the same when it is read again; what is written is read as it was.
#include <functional>

#include "base/text.h"
#include "differential/readable.h"
#include "fake_host/temporary_directory.h"
#include "fuzz/target.h"
#include "lint/configuration.h"
#include "standalone_host/variables_file.h"

using namespace eclipse_lint;
using differential::readable;
using fuzz::expect;
using fuzz::expect_same;

namespace {

const std::string file = "f.json";

/// What a file is read as, or why it is refused.
std::string read_or_refused(const std::function<std::string()>& read) {
  try {
    return read();
  } catch (const eclipse_base::FileError& error) {
    const std::string message = error.what();
    fuzz::expect_printable(message, true);
    for (const std::string& line : eclipse_base::lines_of(message))
      expect(line.starts_with(file + ":"), "each error names the file");
    for (const auto& each : error.each()) expect(each.message().find("; ") != std::string::npos, "each error says what to do");
    return "refused: " + message;
  }
}

std::string text_of(const std::vector<Suppression>& suppressions) {
  std::string text;
  for (const Suppression& each : suppressions) {
    text += readable(each.rule) + readable(each.file.value_or("-")) + std::to_string(each.line.value_or(0)) +
            readable(each.reason) + each.location;
  }
  return text;
}

std::string configuration() {
  const Configuration read = read_configuration(eclipse_base::JsonDocument(file));
  std::string text = text_of(read.suppressions);
  for (const auto& [rule, level] : read.levels) text += rule + (level ? std::to_string(static_cast<int>(*level)) : "off");
  for (const Suppression& each : read.suppressions) {
    expect(!each.file || std::filesystem::path(*each.file).is_absolute(), "paths of a configuration are absolute");
  }
  return text;
}

std::string variables() {
  const eclipse_host::Variables read = eclipse_host::read_variables_file(file);
  std::string text;
  for (const auto& [name, value] : read) text += readable(name) + readable(value);
  std::filesystem::remove("copy.json");
  eclipse_host::write_variables_file("copy.json", read);
  eclipse_host::Variables kept = read;
  for (const char* const single : {"KORU_MODE", "QN_SCRIPTS_FAILED", "QN_SCRIPTS_COMPLETE_DESC"}) kept.erase(single);
  expect(eclipse_host::read_variables_file("copy.json") == kept, "variables are read as they were written");
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::enter_own_directory();
  fake::write_file(file, fuzz::text_of(data, size));
  for (const std::function<std::string()>& read : {std::function(configuration), std::function(variables),
                                                   std::function([] { return text_of(read_suppressions(file)); })}) {
    const std::string first = read_or_refused(read);
    expect_same("read again", read_or_refused(read), first);
  }
  return 0;
}
