#include "p2/director_command.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "base/text.h"
#include "p2/unit_list.h"
#include "shell/command_runner.h"
#include "shell/shell_reading.h"

using namespace eclipse_base;
using eclipse_shell::command_end;

namespace eclipse_p2 {

namespace {

constexpr std::string_view application = "org.eclipse.equinox.p2.director";
/// Between the executable and the options.
constexpr std::string_view director = " -nosplash -application org.eclipse.equinox.p2.director ";
constexpr std::string_view first_option = " -nosplash ";
constexpr std::string_view repositories = "-repository ";
constexpr std::string_view install = " -i ";
constexpr std::string_view uninstall = "-u ";

/// Without the double quotes that the plug-in puts around each URL of an archive.
std::string unquoted(std::string_view list) {
  std::string items;
  while (!list.empty()) {
    const std::size_t end = std::min(list.find(','), list.size());
    std::string_view item = list.substr(0, end);
    if (item.size() > 1 && item.front() == '"' && item.back() == '"') item = item.substr(1, item.size() - 2);
    items += item;
    if (end < list.size()) items += ',';
    list.remove_prefix(std::min(end + 1, list.size()));
  }
  return items;
}

/// The words of a command of our own, which cut_director_command() does not take for one of the plug-in.
std::vector<std::string> own_words(const std::string& executable, const std::vector<std::string>& urls) {
  return {executable, "-nosplash", "-nl", "en", "-application", std::string(application), "-repository", joined(urls, ",")};
}

std::string command_line_of(std::vector<std::string> words) {
  for (std::string& word : words) {
    const bool is_option = word.starts_with('-') && eclipse_shell::is_plain(word.substr(1));
    if (!is_option && !eclipse_shell::is_plain(word)) word = eclipse_shell::quoted_for_shell(word);
  }
  return joined(words, " ") + std::string(command_end);
}

/// Separates a list from the feature that a retry appends to the command.
void set_features(DirectorCommand& command, std::string_view text) {
  const std::size_t end = std::min(text.find(command_end), text.size());
  command.features = text.substr(0, end);
  text.remove_prefix(std::min(end + command_end.size(), text.size()));
  command.appended_feature = text.substr(0, text.rfind(command_end));
}

}  // namespace

std::vector<std::string> features_of(const DirectorCommand& command) {
  std::vector<std::string> features;
  for (std::string_view list = command.features; !list.empty();) {
    const std::size_t comma = list.find(',');
    features.emplace_back(list.substr(0, comma));
    list.remove_prefix(comma == list.npos ? list.size() : comma + 1);
  }
  return features;
}

std::optional<DirectorCommand> cut_director_command(std::string_view command) {
  const std::size_t end_of_executable = command.find(director);
  if (end_of_executable == command.npos) return std::nullopt;
  DirectorCommand cut{.executable = std::string(command.substr(0, end_of_executable))};
  const std::string_view options = command.substr(end_of_executable + director.size());
  if (options.starts_with(uninstall)) {
    cut.is_removal = true;
    set_features(cut, options.substr(uninstall.size()));
    return cut;
  }
  const std::size_t option = options.rfind(install);
  if (!options.starts_with(repositories) || option == options.npos) return std::nullopt;
  cut.repositories = unquoted(options.substr(0, option).substr(repositories.size()));
  set_features(cut, options.substr(option + install.size()));
  return cut;
}

std::string executable_started_by(std::string_view command) {
  const std::size_t end = command.find(first_option);
  return end == command.npos ? "" : eclipse_shell::as_word(std::string(command.substr(0, end)));
}

std::set<std::string> units_named_by(const std::string& command) {
  std::set<std::string> ids;
  if (command.size() > eclipse_shell::longest_command || executable_started_by(command).empty()) return ids;
  for (const auto& words : eclipse_shell::read_as_shell(command).commands) {
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
      if (words[i] != trimmed(install) && words[i] != trimmed(uninstall)) continue;
      for (const Unit& unit : units_named(words[i + 1])) ids.insert(unit.id);
    }
  }
  return ids;
}

std::vector<std::string> intended_words(const DirectorCommand& command) {
  std::vector<std::string> words = {command.executable, "-nosplash", "-application", std::string(application)};
  if (command.is_removal) {
    words.insert(words.end(), {"-u", command.features});
  } else {
    words.insert(words.end(), {"-repository", command.repositories, "-i", command.features});
    if (!command.replaced.empty()) words.insert(words.end(), {"-u", command.replaced});
  }
  return words;
}

bool starts_one_director(std::string_view command) {
  const auto cut = cut_director_command(command);
  const auto reading = eclipse_shell::read_as_shell(command);
  return cut && reading.commands.size() == 1 && reading.commands.front().size() == intended_words(*cut).size() &&
         reading.starts_only(reading.commands.front());
}

std::string list_roots_command(const std::string& executable) {
  return eclipse_shell::quoted_for_shell(executable) + " -nosplash -nl en -application " + std::string(application) +
         " -listInstalledRoots";
}

std::string verify_only_command(const DirectorCommand& command, const std::string& configuration) {
  std::vector<std::string> words = intended_words(command);
  words.insert(words.end(), {"-nl", "en", "-verifyOnly"});
  if (!configuration.empty()) words.insert(words.end(), {"-configuration", configuration});
  for (std::string& word : words) word = eclipse_shell::quoted_for_shell(word);
  return joined(words, " ") + std::string(eclipse_shell::command_end);
}

std::string revert_command(const std::string& executable, const std::vector<std::string>& urls, const std::string& time) {
  std::vector<std::string> words = own_words(executable, urls);
  words.insert(words.end(), {"-revert", time});
  return command_line_of(std::move(words));
}

std::string replace_command(const std::string& executable, const std::vector<std::string>& urls,
                            const UnitReplacement& replacement) {
  std::vector<std::string> words = own_words(executable, urls);
  words.insert(words.end(), {"-u", list_of(replacement.removed), "-i", list_of(replacement.installed)});
  return command_line_of(std::move(words));
}

}  // namespace eclipse_p2
