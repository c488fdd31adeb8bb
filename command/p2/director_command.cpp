#include "p2/director_command.h"

#include <algorithm>
#include <array>
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

using Words = std::vector<std::string>;

constexpr std::array director = {first_option, "-application", "org.eclipse.equinox.p2.director"};
constexpr std::array in_english = {"-nl", "en"};
constexpr const char* repositories = "-repository";
constexpr const char* uninstall = "-u";
constexpr const char* revert = "-revert";
constexpr const char* list_roots = "-listInstalledRoots";
constexpr const char* verify_only = "-verifyOnly";

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

/// The option in a command of the plug-in, which separates its words by single spaces.
std::string in_command(const char* option) { return " " + std::string(option) + " "; }

/// The words of a command of our own, which cut_director_command() does not take for one of the plug-in.
Words own_words(const std::string& executable) {
  Words words = {executable, director.front()};
  words.insert(words.end(), in_english.begin(), in_english.end());
  words.insert(words.end(), director.begin() + 1, director.end());
  return words;
}

Words own_words(const std::string& executable, const Words& urls) {
  Words words = own_words(executable);
  words.insert(words.end(), {repositories, joined(urls, ",")});
  return words;
}

std::string command_line_of(Words words) {
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
  const std::string start = " " + joined(director, " ");
  const std::size_t end_of_executable = command.find(start + " ");
  if (end_of_executable == command.npos) return std::nullopt;
  DirectorCommand cut{.executable = std::string(command.substr(0, end_of_executable))};
  const std::string_view options = command.substr(end_of_executable + start.size());
  if (const std::string option = in_command(uninstall); options.starts_with(option)) {
    cut.is_removal = true;
    set_features(cut, options.substr(option.size()));
    return cut;
  }
  const std::string first = in_command(repositories);
  const std::string last = in_command(install_option);
  // rfind() is slow in a long list.
  const auto found = std::find_end(options.begin(), options.end(), last.begin(), last.end());
  const auto end = static_cast<std::size_t>(found - options.begin());
  if (!options.starts_with(first) || found == options.end() || end < first.size()) return std::nullopt;
  cut.repositories = unquoted(options.substr(0, end).substr(first.size()));
  set_features(cut, options.substr(end + last.size()));
  return cut;
}

std::string executable_started_by(std::string_view command) {
  const std::size_t end = command.find(in_command(director.front()));
  return end == command.npos ? "" : eclipse_shell::as_word(std::string(command.substr(0, end)));
}

std::set<std::string> units_named_by(const std::string& command) {
  std::set<std::string> ids;
  if (command.size() > eclipse_shell::longest_command || executable_started_by(command).empty()) return ids;
  for (const auto& words : eclipse_shell::read_as_shell(command).commands) {
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
      if (words[i] != install_option && words[i] != uninstall) continue;
      for (const Unit& unit : units_named(words[i + 1])) ids.insert(unit.id);
    }
  }
  return ids;
}

std::vector<std::string> intended_words(const DirectorCommand& command) {
  Words words = {command.executable};
  words.insert(words.end(), director.begin(), director.end());
  if (command.is_removal) {
    words.insert(words.end(), {uninstall, command.features});
  } else {
    words.insert(words.end(), {repositories, command.repositories, install_option, command.features});
    if (!command.replaced.empty()) words.insert(words.end(), {uninstall, command.replaced});
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
  Words words = own_words(eclipse_shell::quoted_for_shell(executable));
  words.emplace_back(list_roots);
  return joined(words, " ");
}

std::string verify_only_command(const DirectorCommand& command, const std::string& configuration) {
  std::vector<std::string> words = intended_words(command);
  words.insert(words.end(), in_english.begin(), in_english.end());
  words.emplace_back(verify_only);
  if (!configuration.empty()) words.insert(words.end(), {configuration_option, configuration});
  for (std::string& word : words) word = eclipse_shell::quoted_for_shell(word);
  return joined(words, " ") + std::string(eclipse_shell::command_end);
}

std::string revert_command(const std::string& executable, const std::vector<std::string>& urls, const std::string& time) {
  std::vector<std::string> words = own_words(executable, urls);
  words.insert(words.end(), {revert, time});
  return command_line_of(std::move(words));
}

std::string replace_command(const std::string& executable, const std::vector<std::string>& urls,
                            const UnitReplacement& replacement) {
  std::vector<std::string> words = own_words(executable, urls);
  words.insert(words.end(), {uninstall, list_of(replacement.removed), install_option, list_of(replacement.installed)});
  return command_line_of(std::move(words));
}

}  // namespace eclipse_p2
