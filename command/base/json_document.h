// JSON in which every value knows where it stands, and a reader that says so when it finds something else than it wants.
#ifndef ECLIPSE_INT_BASE_JSON_DOCUMENT_H
#define ECLIPSE_INT_BASE_JSON_DOCUMENT_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/file_error.h"

namespace eclipse_base {

enum class JsonKind { null, boolean, number, text, list, object };

struct JsonValue {
  JsonKind kind = JsonKind::null;
  std::size_t offset = 0;           ///< of its first byte in the file
  std::string key;                  ///< of a member of an object
  std::size_t key_offset = 0;       ///< of the key's first byte
  bool boolean = false;             ///< of a boolean
  std::string text;                 ///< of a text
  std::vector<JsonValue> children;  ///< the items of a list or the members of an object, in the order of the file
};

/// The first byte of a value or a key, and how long it is: a string, number or literal as a whole, an array or object its
/// bracket.
struct JsonLocation {
  std::size_t line = 0;    ///< from 1
  std::size_t column = 0;  ///< in bytes, from 1
  std::size_t length = 0;  ///< in bytes
};

class JsonElement;

/// A JSON file with // and /* */ comments. The keys of an object differ from each other, and no text or key holds a zero byte.
class JsonDocument {
 public:
  /// Reads a regular file. Throws FileError.
  explicit JsonDocument(const std::filesystem::path& file);

  /// The outermost value. It refers to this document.
  JsonElement root() const;

  JsonLocation location(std::size_t offset) const;
  /// A line by its number, from 1, without its line feed.
  std::string_view line(std::size_t number) const;

  /// Throws the FileError for the byte at `offset`.
  [[noreturn]] void fault(std::size_t offset, const std::string& place, const std::string& message) const;

 private:
  std::filesystem::path file_;
  std::string text_;
  std::vector<std::uint32_t> line_starts_;
  JsonValue root_;
};

/// A value and its place. Whatever is asked of it and does not hold is thrown as a FileError.
class JsonElement {
 public:
  JsonElement(const JsonDocument& document, const JsonValue& value, std::string place);

  const std::string& place() const { return place_; }
  const std::string& key() const { return value_->key; }
  /// Where its first byte stands in the file.
  std::size_t offset() const { return value_->offset; }
  JsonLocation location() const;

  const std::string& text() const;
  bool boolean() const;
  std::vector<JsonElement> items() const;
  std::vector<JsonElement> members() const;

  /// Takes this for an object with no other keys than these.
  void allow_keys(std::initializer_list<std::string_view> keys) const;
  /// The member with that key, if there is one.
  std::optional<JsonElement> find(std::string_view key) const;
  /// The member with that key, which has to be there.
  JsonElement get(std::string_view key) const;

  [[noreturn]] void fault(const std::string& message) const;
  [[noreturn]] void fault_at_key(const std::string& message) const;

 private:
  void require(JsonKind kind) const;

  const JsonDocument* document_;
  const JsonValue* value_;
  std::string place_;
};

}  // namespace eclipse_base

#endif
