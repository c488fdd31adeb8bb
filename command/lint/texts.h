// What the texts in descriptors look like to a shell, a director and a person.
#ifndef ECLIPSE_INT_LINT_TEXTS_H
#define ECLIPSE_INT_LINT_TEXTS_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/text.h"
#include "dry_run/command_pieces.h"
#include "lint/input.h"

namespace eclipse_lint {

/// A path as it is shown: relative to the working directory, if it is below that.
std::string shown_path(const std::filesystem::path& file);

/// A piece of a file's line as it is shown: printable, with "→" for a tab.
std::string with_shown_tabs(std::string_view text);

std::string with_slashes(std::string_view listed);

/// Two or more words with dots between them, as ids of features are; ".feature.group" may follow.
bool looks_like_feature(std::string_view text);

/// True for a text that begins like a comment. Descriptor files have no comments; a rule reports that.
bool is_comment(std::string_view text);

/// Whether a directory is named as those of a repository that have its jars.
bool is_directory_of_artifacts(const std::filesystem::path& directory);

/// True for a path of Windows, as in "C:/".
bool has_drive_letter(std::string_view repository);

/// True when the record's site is an archive, which is in double quotes in the command.
bool is_archive(const Record& record);

/// The features and bundles that people write with another suffix than the director's: "x", "x.feature" and "x.feature.jar" are
/// all likely to mean "x.feature.group".
std::string likely_group(const std::string& id);

/// True for a text that looks like the path of a site: it has a slash, or ends like an archive.
bool looks_like_site(std::string_view text);

/// True when the repository is a plain relative path, which reaches the director unchanged.
bool is_plain_repository(const Record& record);

}  // namespace eclipse_lint

#endif
