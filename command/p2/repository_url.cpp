#include "p2/repository_url.h"

#include <cctype>

#include "base/printable.h"
#include "base/text.h"
#include "base/uri.h"
#include "p2/director_start.h"

namespace eclipse_p2 {

namespace {

constexpr std::string_view brackets = "[]";
constexpr std::string_view archive_scheme = "jar:";
constexpr std::string_view archive_end = "!/";

std::string about_syntax(std::string_view path, std::size_t at) {
  const std::size_t length = path[at] == '%' ? 3 : path[at] == '!' ? 2 : 1;
  return "cannot be loaded: the director reads " + eclipse_base::in_quotes(path.substr(at, length)) + " as URL syntax";
}

}  // namespace

std::size_t url_syntax_in(std::string_view path, bool is_archive) {
  const auto is_digit = [&](std::size_t i) {
    return i < path.size() && std::isxdigit(static_cast<unsigned char>(path[i])) != 0;
  };
  for (std::size_t at = 0; at < path.size(); ++at) {
    if (path[at] == '#' || (path[at] == '%' && is_digit(at + 1) && is_digit(at + 2))) return at;
    if (is_archive ? path.substr(at).starts_with(archive_end) : path[at] == '?' || brackets.find(path[at]) != brackets.npos)
      return at;
  }
  return path.npos;
}

bool is_of_other_kind(const Repository& repository, bool is_archive) {
  return repository.exists && repository.is_directory == is_archive;
}

std::optional<UrlError> url_error(std::string_view path, bool is_archive, const Repository& repository) {
  if (path.find(',') != path.npos) {
    return UrlError{"cannot be loaded: the director splits its list of repositories at the comma", true};
  }
  if (!eclipse_base::is_utf8(path)) return UrlError{"cannot be loaded: its path is not UTF-8"};
  if (!is_readable_in_locale(path)) {
    return UrlError{
        "cannot be loaded: its path has non-ASCII characters, which the director cannot read in the current locale"};
  }
  if (const std::size_t at = url_syntax_in(path, is_archive); at != path.npos) {
    return UrlError{about_syntax(path, at), !is_archive && path.find_first_of(brackets) != path.npos};
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
