#include "lint/rules/shell_changes.h"

#include <algorithm>

#include "base/text.h"
#include "dry_run/command_pieces.h"
#include "lint/texts.h"
#include "p2/repository_url.h"
#include "shell/shell_reading.h"

using namespace eclipse_dry_run;
using namespace eclipse_shell;

namespace eclipse_lint {

namespace {

/// Of a redirection, the arrow says more than the number before it.
ShellChanges changes_in(const CommandPiece& piece) {
  ShellChanges changes;
  const auto cause = cause_in(piece);
  if (!cause) return changes;
  for (const ShellRemark& remark : cause->remarks) {
    changes.push_back(std::min(piece.text.find_first_not_of("0123456789", remark.offset), piece.text.size() - 1));
  }
  return changes;
}

CommandPiece piece_of_feature(std::string_view feature) { return feature_piece(std::string(feature), {}, ""); }

CommandPiece piece_of_repository(const Record& record) {
  return repository_piece(record.config->base_dir, std::string(record.repository()), is_archive(record),
                          {.is_last = record.is_last_in_list}, "");
}

CommandPiece piece_of_directory(const Record& record) {
  return directory_piece(record.config->base_dir, is_archive(record), "");
}

bool is_first_command_whole(const Input& input) { return input.session && input.session->is_first_command_whole; }

}  // namespace

ShellChanges changes_in_feature(std::string_view feature) { return changes_in(piece_of_feature(feature)); }

/// What is around a plain text does not matter.
ShellChanges changes_in_repository(const Record& record) {
  return is_plain(record.repository()) ? ShellChanges() : changes_in(piece_of_repository(record));
}

ShellChanges changes_in_directory(const Record& record) { return changes_in(piece_of_directory(record)); }

ShellChanges idle_globs_in_feature(std::string_view feature) { return idle_globs_in(piece_of_feature(feature)); }

ShellChanges idle_globs_in_repository(const Record& record) { return idle_globs_in(piece_of_repository(record)); }

ShellChanges idle_globs_in_directory(const Record& record) { return idle_globs_in(piece_of_directory(record)); }

Severity severity_of_changed_feature(const Input& input, std::string_view feature) {
  const bool is_word = !eclipse_base::trimmed(word_of(std::string(feature)).value_or("")).empty();
  // Where it is in the list of features is not known.
  if (!input.session && feature != eclipse_base::trimmed(feature)) return Severity::error;
  // No shell accepts the command that tries to remove a feature alone.
  if (is_word && !input.is_removal()) return Severity::warning;
  const bool is_passed_on_in_list = !cause_in(feature_piece(std::string(feature), {false, false}, ""));
  return is_first_command_whole(input) && (is_word || is_passed_on_in_list) ? Severity::warning : Severity::error;
}

Severity severity_of_changed_repository(const Input& input, const Record& record) {
  if (record.site == nullptr || !word_of(record.placement->url)) return Severity::error;
  if (record.repository().ends_with(' ') && !is_archive(record) && !is_first_command_whole(input)) return Severity::error;
  const bool is_loaded = record.site->is_loadable() && !eclipse_p2::is_of_other_kind(*record.site, is_archive(record));
  return is_loaded ? Severity::warning : Severity::error;
}

bool is_around_column(std::string_view column, std::size_t offset) {
  const std::size_t start = column.find_first_not_of(' ');
  if (start == column.npos || offset < start || offset > column.find_last_not_of(' ')) return true;
  return offset == start && (column[start] == '"' || column[start] == '\'');
}

std::string name_of_change(std::string_view text, std::size_t offset) {
  return text[offset] == ' ' ? "space" : "shell metacharacter '" + std::string(1, text[offset]) + "'";
}

}  // namespace eclipse_lint
