// What a shell, a director or a person sees in the texts of descriptors.
#ifndef ECLIPSE_INT_LINT_TEXTS_H
#define ECLIPSE_INT_LINT_TEXTS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "dry_run/command_pieces.h"
#include "lint/input.h"

namespace eclipse_lint {

std::string with_slashes(std::string_view listed);

/// Two or more words with dots between them, as ids of features are; ".feature.group" may follow.
bool looks_like_feature(std::string_view text);

/// True for what people write in front of a comment. There are none, which is a rule's own matter.
bool is_comment(std::string_view text);

/// True for a URL or a drive letter, as in "http:" and "C:".
bool has_scheme(std::string_view repository);
bool has_drive_letter(std::string_view repository);

using eclipse_dry_run::path_in;

/// True when the record's site is written as an archive, so that it stands in double quotes in the command.
bool is_archive(const Record& record);

/// The features and bundles that people write with another suffix than the director's: "x", "x.feature" and "x.feature.jar" are
/// all likely to mean "x.feature.group".
std::string likely_group(const std::string& id);

/// Where a path has what a URL does not take as it is: a fragment or an escape; outside of an archive a query or a bracket,
/// too; in an archive "!/", which ends its path. npos for none.
std::size_t url_syntax_in(std::string_view path, bool archive);

/// A path of a site: it has a slash, or ends like an archive.
bool looks_like_site(std::string_view text);

/// True when the repository is a plain relative path, which nothing on its way to the director takes for something else.
bool is_plain_repository(const Record& record);

}  // namespace eclipse_lint

#endif
