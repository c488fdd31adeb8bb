#include "lint/configuration.h"

#include <iterator>
#include <system_error>
#include <utility>

#include "base/file.h"
#include "base/printable.h"
#include "lint/rule.h"
#include "lint/texts.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

constexpr const char* off = "off";

Level read_level(const JsonElement& rule) {
  if (rules_named(rule.key()).empty()) rule.fail_at_key(unknown_rule_or_group(rule.key()));
  if (rule.text() == off) return std::nullopt;
  if (const auto severity = severity_named(rule.text())) return severity;
  rule.fail("unknown severity " + in_quotes(rule.text()) + "; write \"error\", \"warning\", \"note\" or \"off\"");
}

bool is_there(const fs::path& file) {
  std::error_code error;
  return fs::exists(fs::symlink_status(file, error));
}

}  // namespace

std::optional<fs::path> find_configuration(const fs::path& linted) {
  std::error_code error;
  const fs::path path = absolute_path(linted).lexically_normal();
  fs::path directory = fs::is_directory(path, error) ? path : path.parent_path();
  for (;; directory = directory.parent_path()) {
    if (is_there(directory / configuration_name)) return directory / configuration_name;
    if (is_there(directory / ".git") || directory == directory.parent_path()) return std::nullopt;
  }
}

Configuration read_configuration(const JsonDocument& document) {
  Configuration configuration;
  document.root().read_object(
      {{"$schema", Presence::optional, [](const JsonElement& schema) { schema.text(); }},
       {"rules", Presence::optional,
        [&](const JsonElement& rules) {
          rules.read_members([&](const JsonElement& rule) { configuration.levels[rule.key()] = read_level(rule); });
        }},
       {"suppressions", Presence::optional,
        [&](const JsonElement& list) { configuration.suppressions = suppressions_in(list, document); }}});
  const fs::path directory = absolute_path(document.file()).parent_path();
  for (Suppression& entry : configuration.suppressions) {
    if (entry.file) entry.file = (directory / *entry.file).lexically_normal().string();
  }
  return configuration;
}

Settings with_configuration(Settings settings, const fs::path& linted) {
  const ConfigurationChoice& choice = settings.configuration;
  if (!choice.is_wanted) return settings;
  const auto file = choice.file ? choice.file : find_configuration(linted);
  if (!file) return settings;
  Configuration configuration = read_configuration(JsonDocument(shown_path(*file)));
  settings.levels.merge(configuration.levels);
  settings.suppressions.insert(settings.suppressions.end(), std::make_move_iterator(configuration.suppressions.begin()),
                               std::make_move_iterator(configuration.suppressions.end()));
  return settings;
}

}  // namespace eclipse_lint
