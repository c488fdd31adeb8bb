#include "lint/rules/shell_changes.h"

#include <algorithm>

#include "dry_run/command_pieces.h"
#include "lint/texts.h"

using namespace eclipse_dry_run;

namespace eclipse_lint {

namespace {

/// Of a redirection, the arrow says more than the number before it.
ShellChanges changes_in(const eclipse_shell::CommandPiece& piece) {
  ShellChanges changes;
  const auto cause = eclipse_shell::cause_in(piece);
  if (!cause) return changes;
  for (const eclipse_shell::ShellRemark& remark : cause->remarks) {
    changes.push_back(std::min(piece.text.find_first_not_of("0123456789", remark.offset), piece.text.size() - 1));
  }
  return changes;
}

}  // namespace

ShellChanges changes_in_feature(std::string_view feature) { return changes_in(feature_piece(std::string(feature), true, "")); }

ShellChanges changes_in_repository(const Record& record) {
  return changes_in(repository_piece(std::string(record.repository()), is_archive(record), ""));
}

ShellChanges changes_in_directory(const Record& record) {
  return changes_in(directory_piece(record.config->base_dir, is_archive(record), ""));
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
