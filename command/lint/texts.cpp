#include "lint/texts.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <system_error>

#include "base/printable.h"
#include "base/uri.h"
#include "dry_run/command_pieces.h"
#include "lint/rules/shell_changes.h"
#include "p2/instance_paths.h"
#include "p2/repository_url.h"

using namespace eclipse_base;

namespace eclipse_lint {

namespace {

bool is_letter(char byte) { return std::isalpha(static_cast<unsigned char>(byte)) != 0; }

bool is_word(std::string_view text) {
  const auto belongs = [](char byte) {
    return std::isalnum(static_cast<unsigned char>(byte)) != 0 || byte == '_' || byte == '-';
  };
  return !text.empty() && std::all_of(text.begin(), text.end(), belongs);
}

}  // namespace

std::string shown_path(const std::filesystem::path& file) {
  std::error_code error;
  const std::filesystem::path relative = file.lexically_relative(std::filesystem::current_path(error));
  return relative.empty() || *relative.begin() == ".." ? file.string() : relative.string();
}

std::string with_shown_tabs(std::string_view text) { return printable(text, {.tab = "→"}); }

std::string with_slashes(std::string_view listed) {
  std::string converted(listed);
  std::replace(converted.begin(), converted.end(), '\\', '/');
  return converted;
}

bool looks_like_feature(std::string_view text) {
  std::size_t words = 1;
  std::string_view rest = text;
  for (std::size_t end; (end = rest.find('.')) != rest.npos; rest.remove_prefix(end + 1), ++words) {
    if (!is_word(rest.substr(0, end))) return false;
  }
  return words > 2 && is_word(rest) && is_letter(text.front());
}

bool is_comment(std::string_view text) {
  constexpr std::array<std::string_view, 6> beginnings = {"#", "//", ";", "--", "/*", "<!--"};
  const std::string_view line = trimmed(text);
  return lower_case(line.substr(0, 4)) == "rem " ||
         std::any_of(beginnings.begin(), beginnings.end(), [&](std::string_view begin) { return line.starts_with(begin); });
}

bool is_directory_of_artifacts(const std::filesystem::path& directory) {
  return directory.filename() == eclipse_p2::features_directory || directory.filename() == eclipse_p2::plugins_directory;
}

bool has_drive_letter(std::string_view repository) {
  return repository.size() > 2 && is_letter(repository[0]) && repository[1] == ':' &&
         (repository[2] == '/' || repository[2] == '\\');
}

bool is_archive(const Record& record) { return record.placement && eclipse_dry_run::is_archive_url(record.placement->url); }

std::string likely_group(const std::string& id) {
  using namespace eclipse_p2;
  if (id.ends_with(feature_jar_suffix)) return id.substr(0, id.size() - feature_jar_suffix.size()) + std::string(group_suffix);
  return id + (id.ends_with(".feature") ? ".group" : std::string(group_suffix));
}

bool looks_like_site(std::string_view text) { return text.find('/') != text.npos || lower_case(text).ends_with(".zip"); }

bool is_plain_repository(const Record& record) {
  const std::string_view text = record.repository();
  if (text.empty() || text.starts_with('/') || has_scheme(text) || has_drive_letter(text)) return false;
  if (text != trimmed(text) || !changes_in_repository(record).empty()) return false;
  return text.find('\\') == text.npos && !eclipse_p2::path_error(text, is_archive(record));
}

}  // namespace eclipse_lint
