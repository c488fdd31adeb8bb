#include "p2/director_command.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "base/text.h"
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

std::string list_of(const std::vector<Unit>& units) {
  std::vector<std::string> texts;
  texts.reserve(units.size());
  for (const Unit& unit : units) texts.push_back(text_of(unit));
  return joined(texts, ",");
}

/// Separates a list from the feature that a retry appends to the command.
void set_features(DirectorCommand& command, std::string_view text) {
  const std::size_t end = std::min(text.find(command_end), text.size());
  command.features = text.substr(0, end);
  text.remove_prefix(std::min(end + command_end.size(), text.size()));
  command.appended_feature = text.substr(0, text.rfind(command_end));
}

}  // namespace

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

std::vector<std::string> intended_words(const DirectorCommand& command) {
  std::vector<std::string> words = {command.executable, "-nosplash", "-application", std::string(application)};
  if (command.is_removal) {
    words.insert(words.end(), {"-u", command.features});
  } else {
    words.insert(words.end(), {"-repository", command.repositories, "-i", command.features});
  }
  return words;
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
                            const std::vector<Unit>& removed, const std::vector<Unit>& installed) {
  std::vector<std::string> words = own_words(executable, urls);
  words.insert(words.end(), {"-u", list_of(removed), "-i", list_of(installed)});
  return command_line_of(std::move(words));
}

std::vector<Unit> units_named(std::string_view list) {
  std::vector<Unit> units;
  while (!list.empty()) {
    const std::size_t comma = std::min(list.find(','), list.size());
    const std::string_view text = trimmed(list.substr(0, comma));
    if (!text.empty()) units.push_back(unit_called(text));
    list.remove_prefix(std::min(comma + 1, list.size()));
  }
  return units;
}

}  // namespace eclipse_p2
