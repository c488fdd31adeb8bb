#include "language_server/document.h"

#include <algorithm>
#include <utility>

#include "base/file.h"
#include "base/limits.h"
#include "base/text.h"
#include "base/uri.h"
#include "dry_run/descriptor_paths.h"
#include "lint/configuration.h"
#include "standalone_host/session_file.h"

using namespace eclipse_base;

namespace eclipse_language_server {

namespace {

/// Where the line begins that contains a byte.
std::size_t line_start(std::string_view text, std::size_t offset) {
  return offset == 0 ? 0 : text.rfind('\n', offset - 1) + 1;  // npos + 1 is 0
}

/// How many of the last bytes are whole lines.
std::size_t kept_at_end(std::string_view text, std::size_t count) {
  const std::size_t line_feed = text.find('\n', text.size() - count);
  return line_feed == text.npos ? 0 : text.size() - line_feed - 1;
}

using IsLineEnd = bool (*)(std::string_view text, std::size_t at);

bool is_line_feed(std::string_view text, std::size_t at) { return text[at] == '\n'; }

bool is_shown_line_end(std::string_view text, std::size_t at) {
  return text[at] == '\n' || (text[at] == '\r' && text.substr(at, 2) != "\r\n");
}

/// Where the lines of a text begin in which so many bytes have taken the place of others: only these bytes are searched, and
/// the one before them, which may be the carriage return of a line feed that came or went.
void update_line_starts(std::vector<std::size_t>& starts, std::string_view text, std::size_t start, std::size_t removed,
                        std::size_t inserted, IsLineEnd is_line_end) {
  const auto first = std::lower_bound(starts.begin() + 1, starts.end(), start);
  const auto last = std::upper_bound(first, starts.end(), start + removed);
  for (auto later = last; later != starts.end(); ++later) *later = *later - removed + inserted;
  std::vector<std::size_t> found;
  for (std::size_t at = start - std::min<std::size_t>(start, 1); at < start + inserted; ++at) {
    if (is_line_end(text, at)) found.push_back(at + 1);
  }
  starts.insert(starts.erase(first, last), found.begin(), found.end());
}

Json as_json(const Position& position) { return {{"line", position.line}, {"character", position.character}}; }

}  // namespace

Position position_in(const Json& params, const std::string& pointer) {
  return {number_in(params, pointer + "/line"), number_in(params, pointer + "/character")};
}

Range range_in(const Json& params, const std::string& pointer) {
  return {position_in(params, pointer + "/start"), position_in(params, pointer + "/end")};
}

Json as_json(const Range& range) { return {{"start", as_json(range.start)}, {"end", as_json(range.end)}}; }

Document::Document(std::string uri, std::string_view text) : uri_(std::move(uri)), file_(file_of_uri(uri_)) {
  replace_all(text);
  read_encoding();
}

void Document::replace_all(std::string_view text) {
  line_starts_ = shown_line_starts_ = {0};
  replace_bytes(0, text_.size(), text);
}

void Document::replace(const Range& range, std::string_view text, PositionEncoding encoding) {
  const std::size_t start = offset_of(range.start, encoding);
  const std::size_t end = std::max(start, offset_of(range.end, encoding));
  replace_bytes(start, end - start, text);
}

std::string Document::content() const {
  return is_recoded_ ? read_file(*file_, largest::descriptor).bytes : hidden_beginning_ + text_;
}

void Document::read_encoding() {
  const std::string beginning = file_ ? read_beginning(*file_, utf_8_mark.size()).bytes : std::string();
  hidden_beginning_ = beginning == utf_8_mark && !text_.starts_with(utf_8_mark) ? beginning : "";
  is_recoded_ = has_utf_16_mark(beginning);
}

bool Document::is_configuration() const { return file_ && file_->filename() == eclipse_lint::configuration_name; }

bool Document::is_session() const {
  return file_ && !is_configuration() && eclipse_host::is_session(*file_, text_) &&
         text_.find("\"components\"") != std::string::npos;
}

bool Document::is_descriptor() const { return file_ && !eclipse_host::is_session(*file_, text_); }

bool Document::is_in_descriptor_directory() const {
  return file_ && eclipse_dry_run::descriptor_directory_in(file_->string()) != std::string::npos;
}

std::size_t Document::offset_of(const Position& position, PositionEncoding encoding) const {
  if (position.line >= shown_line_starts_.size()) return text_.size();
  return shown_line_starts_.at(position.line) + bytes_in(shown_line(position.line), position.character, encoding);
}

Range Document::range_between(std::size_t start, std::size_t end, PositionEncoding encoding) const {
  return {position_of(start, encoding), position_of(end, encoding)};
}

Line Document::line(std::size_t number) const {
  return line_from(number < line_starts_.size() ? line_starts_[number] : text_.size());
}

Line Document::line_at(std::size_t offset) const { return line_from(line_start(text_, offset)); }

Range Document::range_of(std::size_t line, std::size_t column, std::size_t length, PositionEncoding encoding) const {
  const Line whole = this->line(line == 0 ? 0 : line - 1);
  if (line == 0) return range_between(whole.start, whole.start + whole.text.size(), encoding);
  const std::size_t hidden = line == 1 ? hidden_beginning_.size() : 0;
  const std::size_t first = column == 0 ? 0 : column - 1;
  const std::size_t last = first + std::min(length, whole.text.size() + hidden);
  const auto offset = [&](std::size_t byte) {
    return whole.start + std::min(byte - std::min(byte, hidden), whole.text.size());
  };
  return range_between(offset(first), offset(last), encoding);
}

std::optional<Range> Document::range_of_bytes(std::size_t offset, std::size_t length, PositionEncoding encoding) const {
  const std::size_t hidden = hidden_beginning_.size();
  if (is_recoded_ || offset < hidden || offset - hidden > text_.size() || length > text_.size() - (offset - hidden)) {
    return std::nullopt;
  }
  return range_between(offset - hidden, offset - hidden + length, encoding);
}

std::optional<TextEdit> Document::edit_to(std::string_view content, PositionEncoding encoding) const {
  if (is_recoded_) return std::nullopt;
  if (content.starts_with(hidden_beginning_)) content.remove_prefix(hidden_beginning_.size());
  if (content == text_) return std::nullopt;
  const std::string_view text = text_;
  const auto same = std::mismatch(text.begin(), text.end(), content.begin(), content.end());
  const auto start = line_start(text, static_cast<std::size_t>(same.first - text.begin()));
  const std::string_view old_rest = text.substr(start);
  const std::string_view new_rest = content.substr(start);
  const auto same_at_end = std::mismatch(old_rest.rbegin(), old_rest.rend(), new_rest.rbegin(), new_rest.rend());
  const auto kept = kept_at_end(old_rest, static_cast<std::size_t>(same_at_end.first - old_rest.rbegin()));
  return TextEdit{range_between(start, text.size() - kept, encoding), std::string(new_rest.substr(0, new_rest.size() - kept))};
}

Line Document::line_from(std::size_t start) const {
  return {start, std::string_view(text_).substr(start, text_.find('\n', start) - start)};
}

/// Without the line feed or the carriage return that ends it.
std::string_view Document::shown_line(std::size_t number) const {
  const std::size_t start = shown_line_starts_[number];
  const bool is_last = number + 1 == shown_line_starts_.size();
  return std::string_view(text_).substr(start, is_last ? text_.npos : shown_line_starts_[number + 1] - start - 1);
}

Position Document::position_of(std::size_t offset, PositionEncoding encoding) const {
  const auto next = std::upper_bound(shown_line_starts_.begin(), shown_line_starts_.end(), offset);
  const auto number = static_cast<std::size_t>(next - shown_line_starts_.begin()) - 1;
  return {number, units_in(shown_line(number), offset - shown_line_starts_[number], encoding)};
}

void Document::replace_bytes(std::size_t start, std::size_t count, std::string_view text) {
  text_.replace(start, count, text);
  update_line_starts(line_starts_, text_, start, count, text.size(), is_line_feed);
  update_line_starts(shown_line_starts_, text_, start, count, text.size(), is_shown_line_end);
}

}  // namespace eclipse_language_server
