// A text that is open in an editor.
#ifndef ECLIPSE_INT_LANGUAGE_SERVER_DOCUMENT_H
#define ECLIPSE_INT_LANGUAGE_SERVER_DOCUMENT_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "language_server/json_rpc.h"
#include "language_server/positions.h"

namespace eclipse_language_server {

/// A line from 0, and how many units of it are before the position.
struct Position {
  std::size_t line = 0;
  std::size_t character = 0;
};

struct Range {
  Position start;
  Position end;
};

struct TextEdit {
  Range range;
  std::string text;  ///< what replaces it
};

/// The position or range at this place of the parameters. Throw RequestError.
Position position_in(const Json& params, const std::string& pointer);
Range range_in(const Json& params, const std::string& pointer);
Json as_json(const Range& range);

/// A line as the plug-in reads it: only a line feed ends it. For an editor it is several when there are carriage returns in it.
struct Line {
  std::size_t start = 0;  ///< in text()
  std::string_view text;  ///< without the line feed
};

/// Positions count the lines as the protocol does: a line feed, a carriage return or both together end one. A carriage return
/// before a line feed is a part of the line for some editors, so positions may be before and after it.
class Document {
 public:
  /// A file that is opened with this text.
  Document(std::string uri, std::string_view text);

  const std::string& uri() const { return uri_; }
  /// Nothing when the document is not a file of this machine.
  const std::optional<std::filesystem::path>& file() const { return file_; }
  const std::string& text() const { return text_; }

  void replace_all(std::string_view text);
  void replace(const Range& range, std::string_view text, PositionEncoding encoding);

  /// What the file will contain when it is saved: the text, and what the editor does not show of the file. That is a byte-order
  /// mark; a file in UTF-16 is as it was last saved.
  std::string content() const;
  /// Reads from the file what the editor does not show of it. To be called when it was saved.
  void read_encoding();

  /// True for a text that is meant to be a session file.
  bool is_session() const;
  bool is_descriptor() const;
  bool is_configuration() const;
  /// Whether it is below an etc/eclipse, so that its component is known.
  bool is_in_descriptor_directory() const;

  /// Where a position is in text(). A position after the end of a line or of the text means the end.
  std::size_t offset_of(const Position& position, PositionEncoding encoding) const;
  /// The range from one offset in text() to another.
  Range range_between(std::size_t start, std::size_t end, PositionEncoding encoding) const;
  /// The line with this number, from 0; the empty end of the text when there are fewer.
  Line line(std::size_t number) const;
  /// The line that contains this offset in text().
  Line line_at(std::size_t offset) const;
  /// The range of `length` bytes of content(), with line and column from 1. Line 0 means the whole first line.
  Range range_of(std::size_t line, std::size_t column, std::size_t length, PositionEncoding encoding) const;
  /// The range of `length` bytes of content() from an offset; nothing when the editor does not show all of them.
  std::optional<Range> range_of_bytes(std::size_t offset, std::size_t length, PositionEncoding encoding) const;
  /// What changes the text, in whole lines, so that this becomes the content of the file. Nothing when it is so already, or
  /// when the editor does not show the file as it is.
  std::optional<TextEdit> edit_to(std::string_view content, PositionEncoding encoding) const;

 private:
  void replace_bytes(std::size_t start, std::size_t count, std::string_view text);
  Line line_from(std::size_t start) const;
  std::string_view shown_line(std::size_t number) const;
  Position position_of(std::size_t offset, PositionEncoding encoding) const;

  std::string uri_;
  std::optional<std::filesystem::path> file_;
  std::string text_;
  std::vector<std::size_t> line_starts_ = {0};
  std::vector<std::size_t> shown_line_starts_ = {0};  ///< of the lines that an editor shows
  std::string hidden_beginning_;
  bool is_recoded_ = false;  ///< the editor has converted the file from UTF-16
};

}  // namespace eclipse_language_server

#endif
