// "eclipse.p2.data.area" in configuration/config.ini names the directory. Seen with the director of Eclipse 4.26:
//
//   (no such line), or @config.dir/../p2      p2/ in the instance; @config.dir is its configuration/
//   /home/me/.p2, or file\:/home/me/.p2       this one, also if it does not exist yet; a property has ":" as "\:"
//
// If this user cannot write into the directory of the instance, its configuration is another one below ~/.eclipse, and so is
// @config.dir. A configuration/ alone that cannot be written makes the director fail.
#include "p2/data_area.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/file.h"
#include "base/limits.h"
#include "base/text.h"
#include "p2/configuration_files.h"
#include "p2/director_command.h"
#include "p2/instance_paths.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

constexpr const char* area_key = "eclipse.p2.data.area";

bool is_unwritable(const fs::path& directory) {
  return faccessat(AT_FDCWD, directory.c_str(), W_OK, AT_EACCESS) != 0 && errno != ENOENT && errno != ENOTDIR;
}

/// An argument of the launcher, or of the Java machine, with which the configuration or the data may be elsewhere.
bool moves_the_area(std::string_view argument) {
  constexpr std::array<std::string_view, 2> options = {configuration_option, "-install"};
  constexpr std::array<std::string_view, 3> properties = {"-Dosgi.configuration.area", "-Dosgi.install.area",
                                                          "-Declipse.p2.data.area"};
  for (const std::string_view option : options) {
    if (argument == option) return true;
  }
  for (const std::string_view property : properties) {
    if (argument.starts_with(property)) return true;
  }
  return false;
}

/// The launcher NAME reads its arguments from NAME.ini, one on each line.
std::string reason_in_arguments(const fs::path& instance) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(instance, error)) {
    if (entry.path().extension() != ".ini") continue;
    for (const std::string& line : lines_of(read_file(entry.path(), largest::configuration).bytes)) {
      const std::string_view argument = trimmed(line);
      if (moves_the_area(argument)) return entry.path().string() + " has " + std::string(argument);
    }
  }
  return "";
}

/// Why the configuration is, or may be, another one than that in the instance.
std::string reason_in_instance(const fs::path& instance) {
  if (is_unwritable(instance)) {
    return instance.string() + " cannot be written by this user, whose director has a p2 profile in the home directory";
  }
  if (const auto area = configured_value(instance, "osgi.configuration.area")) {
    return (instance / configuration_file).string() + " has osgi.configuration.area=" + unescaped(*area);
  }
  return reason_in_arguments(instance);
}

/// A path without its trailing slash.
fs::path normalized(const fs::path& path) {
  const fs::path normal = path.lexically_normal();
  return normal.has_filename() ? normal : normal.parent_path();
}

bool is_absolute_as_it_is(std::string_view path) { return path.starts_with('/') && path.find_first_of("%\\") == path.npos; }

DataArea area_called(const std::string& value, const fs::path& instance) {
  constexpr std::string_view beside = "@config.dir/";
  constexpr std::string_view scheme = "file:";
  if (value.starts_with(beside)) {
    const fs::path relative = normalized(fs::path(configuration_directory) / value.substr(beside.size()));
    return {instance / relative, relative == data_directory, ""};
  }
  const std::string path = value.starts_with(scheme) ? value.substr(scheme.size()) : value;
  if (is_absolute_as_it_is(path)) return {normalized(path), false, ""};
  return {"", false, (instance / configuration_file).string() + " has " + area_key + "=" + value};
}

}  // namespace

DataArea data_area_of(const fs::path& instance) {
  std::string reason = reason_in_instance(instance);
  if (!reason.empty()) return {"", false, std::move(reason)};
  const auto value = configured_value(instance, area_key);
  return value ? area_called(unescaped(trimmed(*value)), instance) : DataArea{instance / data_directory, true, ""};
}

}  // namespace eclipse_p2
