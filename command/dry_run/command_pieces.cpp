#include "dry_run/command_pieces.h"

#include <utility>

#include "p2/director_command.h"
#include "p2/repository_url.h"

using namespace eclipse_p2;
using eclipse_shell::CommandPiece;

namespace eclipse_dry_run {

namespace {

constexpr std::string_view file_scheme = "file://";

/// Of an archive, with the quote that the plug-in writes before it.
std::string url_begin(bool is_archive) {
  return (is_archive ? "\"" + std::string(archive_scheme) : "") + std::string(file_scheme);
}

}  // namespace

bool is_archive_url(std::string_view url) { return url.starts_with('"'); }

std::string_view path_in(std::string_view url) {
  if (is_archive_url(url)) url = url.substr(1, url.size() - 2);
  if (url.starts_with(archive_scheme))
    url = url.substr(archive_scheme.size(), url.size() - archive_scheme.size() - archive_end.size());
  return url.substr(file_scheme.size());
}

std::string path_for_director(const std::string& url) { return std::string(path_in(eclipse_shell::as_word(url))); }

CommandPiece executable_piece(std::string executable, std::string origin) {
  return {"", std::move(executable), std::string(" ") + first_option, std::move(origin)};
}

CommandPiece directory_piece(std::string directory, bool is_archive, std::string origin) {
  return {url_begin(is_archive), std::move(directory), is_archive ? "/\"" : "/", std::move(origin)};
}

CommandPiece repository_piece(const std::string& directory, std::string repository, bool is_archive, InList place,
                              std::string origin) {
  // What the shell does to the directory is another piece's matter.
  const bool is_passed_on = !eclipse_shell::cause_in(directory_piece(directory, is_archive, ""));
  return {url_begin(is_archive) + (is_passed_on && !is_archive ? directory : "") + "/", std::move(repository),
          is_archive      ? std::string(archive_end) + "\""
          : place.is_last ? std::string(" ") + install_option
                          : ",",
          std::move(origin)};
}

CommandPiece feature_piece(std::string feature, InList place, std::string origin) {
  return {place.is_first ? install_option + std::string(" ") : ",", std::move(feature), place.is_last ? " " : ",",
          std::move(origin)};
}

}  // namespace eclipse_dry_run
