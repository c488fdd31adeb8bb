#include "shell/shell_cause.h"

#include <algorithm>
#include <utility>

namespace eclipse_shell {

namespace {

/// Spaces at the beginning of a text form one gap with those before it.
std::size_t start_in(const CommandPiece& piece, std::size_t gap) {
  const bool is_in_gap = piece.text.starts_with(' ') && piece.before.find_first_not_of(' ', gap) == std::string::npos;
  return is_in_gap ? std::max(gap, piece.before.size()) : gap;
}

bool is_in_text(const CommandPiece& piece, std::size_t offset) {
  return offset >= piece.before.size() && offset < piece.before.size() + piece.text.size();
}

}  // namespace

std::optional<ShellCause> cause_in(const CommandPiece& piece) {
  if (piece.text.empty() || is_plain(piece.text)) return std::nullopt;
  const ShellReading reading = read_as_shell(piece.before + piece.text + piece.after);
  ShellCause cause{piece.text, piece.origin, {}};
  std::vector<ShellRemark> remarks = reading.remarks;
  for (const std::size_t gap : reading.word_ends) remarks.push_back({start_in(piece, gap), "the word ends here"});
  for (ShellRemark& remark : remarks) {
    if (is_in_text(piece, remark.offset))
      cause.remarks.push_back({remark.offset - piece.before.size(), std::move(remark.effect)});
  }
  std::ranges::sort(cause.remarks, {}, &ShellRemark::offset);
  if (!cause.remarks.empty()) return cause;
  if (reading.error.empty()) return std::nullopt;
  // There is no remark on a closing quote, after which the quote that was to close is not closed.
  cause.remarks.push_back({std::min(piece.text.find('"'), piece.text.size()), "the quotes end here"});
  return cause;
}

std::vector<std::size_t> idle_globs_in(const CommandPiece& piece) {
  if (is_plain(piece.text)) return {};
  std::vector<std::size_t> offsets;
  for (const std::size_t at : read_as_shell(piece.before + piece.text + piece.after).idle_globs) {
    if (is_in_text(piece, at)) offsets.push_back(at - piece.before.size());
  }
  return offsets;
}

}  // namespace eclipse_shell
