#include "p2/repository_url.h"

#include <cctype>

#include "base/printable.h"
#include "base/text.h"
#include "base/uri.h"
#include "p2/director_start.h"

namespace eclipse_p2 {

namespace {

constexpr std::string_view brackets = "[]";

}  // namespace

std::string_view url_syntax_in(std::string_view path, bool is_archive) {
  const auto is_digit = [&](std::size_t i) {
    return i < path.size() && std::isxdigit(static_cast<unsigned char>(path[i])) != 0;
  };
  for (std::size_t at = 0; at < path.size(); ++at) {
    const bool is_query = !is_archive && (path[at] == '?' || brackets.find(path[at]) != brackets.npos);
    if (path[at] == '#' || is_query) return path.substr(at, 1);
    if (path[at] == '%' && is_digit(at + 1) && is_digit(at + 2)) return path.substr(at, 3);
    if (is_archive && path.substr(at).starts_with(archive_end)) return path.substr(at, archive_end.size());
  }
  return {};
}

bool is_of_other_kind(const Repository& repository, bool is_archive) {
  return repository.exists && repository.is_directory == is_archive;
}

std::optional<UrlError> path_error(std::string_view path, bool is_archive) {
  if (path.find(',') != path.npos) {
    return UrlError{"cannot be loaded: the director splits its list of repositories at the comma", true};
  }
  if (!eclipse_base::is_utf8(path)) return UrlError{"cannot be loaded: its path is not UTF-8"};
  const std::string_view syntax = url_syntax_in(path, is_archive);
  if (syntax.empty()) return std::nullopt;
  return UrlError{"cannot be loaded: the director reads " + eclipse_base::in_quotes(syntax) + " as URL syntax",
                  !is_archive && path.find_first_of(brackets) != path.npos};
}

std::optional<UrlError> url_error(std::string_view path, bool is_archive, const Repository& repository) {
  if (auto error = path_error(path, is_archive)) return error;
  if (!is_readable_in_locale(path)) {
    return UrlError{std::string("cannot be loaded: its path has ") + unreadable_in_locale};
  }
  if (!is_of_other_kind(repository, is_archive)) return std::nullopt;
  return UrlError{is_archive ? "is a directory whose name ends in .zip, so the plug-in passes it on as an archive"
                             : "is a file whose name does not end in .zip, so the plug-in passes it on as a directory"};
}

std::string escaped_url(const std::filesystem::path& repository, bool is_archive) {
  const std::string url = eclipse_base::uri_of(repository.string());
  return is_archive ? std::string(archive_scheme) + url + std::string(archive_end) : url;
}

std::optional<std::filesystem::path> path_in_escaped_url(std::string_view url) {
  if (!url.starts_with(archive_scheme)) return eclipse_base::file_of_uri(url);
  if (!url.ends_with(archive_end)) return std::nullopt;
  url.remove_prefix(archive_scheme.size());
  url.remove_suffix(archive_end.size());
  return eclipse_base::file_of_uri(url);
}

}  // namespace eclipse_p2
