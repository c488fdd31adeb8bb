#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

#include "eclipse_int/eclipse_int.h"
#include "host/paths.h"

using namespace eclipse_int;

namespace {

std::string lower_case(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
  return text;
}

bool names_the_executable(session_t* session, const std::string& user_path) {
  const std::string executable(without_line_ends(with_forward_slashes(user_path)));
  if (!is_file(executable)) return false;
  const std::string expected = env_get_string(session, "ECLIPSE_BIN");
  return lower_case(get_basename(executable)) == lower_case(expected);
}

/// The text of the configuration file, up to its first zero byte. If it cannot be read, logs that and returns nothing.
std::optional<std::string> read_configuration(const std::string& name) {
  if (!is_file(name)) {
    print_log("eclipse_int: eclipse_version - config file not found");
    return std::nullopt;
  }
  const std::unique_ptr<char, decltype(&std::free)> buffer(get_file(name, 0, nullptr), &std::free);
  if (!buffer) {
    print_log("eclipse_int: eclipse_version - cannot open config file");
    return std::nullopt;
  }
  return buffer.get();
}

/// What follows the key, to the end of its line. The key may occur anywhere in the text.
std::string build_id(const std::string& configuration) {
  constexpr std::string_view key = "eclipse.buildId=";
  const std::size_t found = configuration.find(key);
  if (found == std::string::npos) {
    print_log("eclipse_int: search for pattern eclipse.buildId=  - pattern not found");
    return "";
  }
  const std::size_t start = found + key.size();
  const std::size_t end = configuration.find('\n', start);
  if (end == std::string::npos) {
    print_log("eclipse_int: EOL wasn't found");
    return configuration.substr(start);
  }
  return configuration.substr(start, end - start);
}

}  // namespace

int verify_user_defined_eclipse_path(session_t* session) {
  const std::string user_path = env_get_string(session, "USER_DEFINED_ECLIPSE_PATH");
  env_set_string(session, "USER_DEFINED_ECLIPSE_PATH_EMPTY", user_path.empty() ? "yes" : "no");
  const bool correct = !user_path.empty() && names_the_executable(session, user_path);
  env_set_string(session, "USER_DEFINED_ECLIPSE_PATH_CORRECT", correct ? "yes" : "no");
  return 0;
}

int user_eclipse_version(session_t* session) {
  print_log("eclipse_int: user_eclipse_version");
  const std::string user_path = env_get_string(session, "USER_DEFINED_ECLIPSE_PATH");
  if (user_path.empty()) {
    print_log("eclipse_int: user_eclipse_version - user defined eclipse path is not set");
    return 0;
  }
  verify_user_defined_eclipse_path(session);
  if (env_get_string(session, "USER_DEFINED_ECLIPSE_PATH_CORRECT") != "yes") {
    print_log("eclipse_int: user_eclipse_version - user defined eclipse path is not correct");
    return 0;
  }
  // From the path as the user gave it: unlike in the check, backslashes and trailing line ends stay.
  const auto configuration = read_configuration(joined_path(get_dirname(user_path), "configuration/config.ini"));
  env_set_string(session, std::string("ECLIPSE_VERSION"), configuration ? build_id(*configuration) : "");
  return 0;
}

int verify_eclipse_version(session_t* session) {
  print_log("verify_eclipse_version: user_eclipse_version");
  user_eclipse_version(session);
  const std::string version = env_get_string(session, "ECLIPSE_VERSION");
  if (version.empty()) {
    print_log("verify_eclipse_version: eclipse_version is empty");
    return 0;
  }
  const std::string minimum = expand_operand(session, "${ECLIPSE_MIN_SUPPORTED_VERSION}", true);
  if (minimum.empty()) {
    print_log("verify_eclipse_version: eclipse_min_supported_version is not set. Exit");
    return 0;
  }
  print_log("verify_eclipse_version: compare %s and %s", version.c_str(), minimum.c_str());
  // As texts, not as numbers: "4.10" comes before "4.7".
  env_set_string(session, "ECLIPSE_VERSION_IS_SUPPORTED", version >= minimum ? "yes" : "no");
  return 0;
}
