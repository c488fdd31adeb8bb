#include "dry_run/command_pieces.h"

#include <utility>

using eclipse_shell::CommandPiece;

namespace eclipse_dry_run {

bool is_archive_url(std::string_view url) { return url.starts_with('"'); }

std::string_view path_in(std::string_view url) {
  constexpr std::string_view archive_begin = "\"jar:";
  constexpr std::string_view archive_end = "!/\"";
  if (url.starts_with(archive_begin)) {
    url = url.substr(archive_begin.size(), url.size() - archive_begin.size() - archive_end.size());
  }
  return url.substr(std::string_view("file://").size());
}

CommandPiece executable_piece(std::string executable, std::string origin) {
  return {"", std::move(executable), " ", std::move(origin)};
}

CommandPiece directory_piece(std::string directory, bool is_archive, std::string origin) {
  const std::string quote = is_archive ? "\"" : "";
  return {quote + "/", std::move(directory), "/" + quote, std::move(origin)};
}

CommandPiece repository_piece(std::string repository, bool is_archive, std::string origin) {
  const std::string quote = is_archive ? "\"" : "";
  return {quote + "/", std::move(repository), is_archive ? "!/\"" : ",", std::move(origin)};
}

CommandPiece feature_piece(std::string feature, bool is_first, std::string origin) {
  return {is_first ? "-i " : ",", std::move(feature), ",", std::move(origin)};
}

}  // namespace eclipse_dry_run
