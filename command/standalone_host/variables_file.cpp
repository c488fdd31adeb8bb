#include "standalone_host/variables_file.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <string_view>

#include "base/file_replacement.h"
#include "base/json_document.h"
#include "base/printable.h"
#include "base/text.h"

using namespace eclipse_base;

namespace eclipse_host {

namespace {

constexpr std::array<std::string_view, 3> of_one_run = {"KORU_MODE", "QN_SCRIPTS_FAILED", "QN_SCRIPTS_COMPLETE_DESC"};

bool is_kept(const std::string& name) { return std::find(of_one_run.begin(), of_one_run.end(), name) == of_one_run.end(); }

/// JSON cannot carry any other.
bool is_writable(const Variables::value_type& variable) { return is_utf8(variable.first) && is_utf8(variable.second); }

/// The names of the variables that should be kept but cannot be, in quotes; empty when there are none.
std::string unwritable(const Variables& variables) {
  std::vector<std::string> names;
  for (const auto& variable : variables) {
    if (is_kept(variable.first) && !is_writable(variable)) names.push_back(in_quotes(variable.first));
  }
  return joined(names);
}

}  // namespace

void read_variable(const JsonElement& variable, Variables& variables) {
  if (variable.key().empty()) variable.fail_at_key("the name is empty; name the variable");
  variables[variable.key()] = variable.text();
}

Variables read_variables_file(const std::filesystem::path& file) {
  const JsonDocument document(file);
  Variables variables;
  document.root().read_members([&](const JsonElement& variable) { read_variable(variable, variables); });
  return variables;
}

void check_variables_file(const std::filesystem::path& file, const Variables& variables) {
  const std::string names = unwritable(variables);
  if (!names.empty()) throw FileError(file, "cannot keep variables that are not UTF-8: " + names + "; give other values");
  FileReplacement(file).check_target();
}

void write_variables_file(const std::filesystem::path& file, const Variables& variables) {
  nlohmann::json kept = nlohmann::json::object();
  for (const auto& variable : variables) {
    if (is_kept(variable.first) && is_writable(variable)) kept[variable.first] = variable.second;
  }
  replace_file(file, kept.dump(2) + "\n");
  const std::string names = unwritable(variables);
  if (names.empty()) return;
  throw FileError(file, "is written without variables that are not UTF-8: " + names + "; give other values");
}

}  // namespace eclipse_host
