// JSON files whose values keep their locations, so that an error in what they mean can name its line and column.
#ifndef ECLIPSE_INT_BASE_JSON_DOCUMENT_H
#define ECLIPSE_INT_BASE_JSON_DOCUMENT_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/file_error.h"

namespace eclipse_base {

enum class JsonKind { null, boolean, number, string, array, object };

struct JsonValue {
  JsonKind kind = JsonKind::null;
  std::size_t offset = 0;           ///< of its first byte in the file
  std::string key;                  ///< of a member of an object
  std::size_t key_offset = 0;       ///< of the key's first byte
  bool boolean = false;             ///< of a boolean
  std::string text;                 ///< of a string
  std::vector<JsonValue> children;  ///< the items of an array or the members of an object, in the order of the file
};

/// The first byte of a value or a key, and how long it is: a string, number or literal as a whole, an array or object its
/// bracket.
struct JsonLocation {
  std::size_t line = 0;    ///< from 1
  std::size_t column = 0;  ///< in bytes, from 1
  std::size_t length = 0;  ///< in bytes
};

class JsonElement;

/// A JSON file with // and /* */ comments. The keys of an object differ from each other, and no string or key contains a zero
/// byte.
class JsonDocument {
 public:
  /// Reads a regular file. Throws FileError.
  explicit JsonDocument(const std::filesystem::path& file);

  /// Takes a text for the content of a file, which need not exist. Throws FileError.
  JsonDocument(std::filesystem::path file, std::string text);

  const std::filesystem::path& file() const { return file_; }

  /// The outermost value. It refers to this document.
  JsonElement root() const;

  JsonLocation location(std::size_t offset) const;
  /// A line by its number, from 1, without its line feed.
  std::string_view line(std::size_t number) const;

  /// Throws a FileError for the byte at `offset`. `path` leads to the value there, as "components[0].code"; empty for the root.
  [[noreturn]] void fail(std::size_t offset, const std::string& path, const std::string& message) const;

 private:
  std::filesystem::path file_;
  std::string text_;
  std::vector<std::uint32_t> line_starts_;
  JsonValue root_;
};

/// Takes what a value means. Throws FileError when it means nothing.
using JsonReader = std::function<void(const JsonElement& value)>;

enum class Presence { optional, required };

/// A member that an object may or must have.
struct JsonMember {
  std::string_view key;
  Presence presence;
  JsonReader read;
};

/// A value of a document, which must outlive it. If the value is not what a caller asks for, a FileError is thrown.
class JsonElement {
 public:
  JsonElement(const JsonDocument& document, const JsonValue& value, std::string path);

  /// Such as "components[0].code"; empty for the root.
  const std::string& path() const { return path_; }
  const std::string& key() const { return value_->key; }
  JsonLocation location() const;

  const std::string& text() const;
  bool boolean() const;
  std::vector<JsonElement> items() const;
  std::vector<JsonElement> members() const;

  // Read the parts of an array or object, and go on after an error in one of them. Throw all errors together, in the order of
  // the file.
  void read_items(const JsonReader& reader) const;
  void read_members(const JsonReader& reader) const;
  /// An object with these members and no others, which are read in this order.
  void read_object(const std::vector<JsonMember>& known) const;

  /// The member of an object with that key, if there is one.
  std::optional<JsonElement> find(std::string_view key) const;
  /// The member of an object with that key, which must exist.
  JsonElement get(std::string_view key) const;

  /// Throws a FileError for the value, or for its key.
  [[noreturn]] void fail(const std::string& message) const;
  [[noreturn]] void fail_at_key(const std::string& message) const;

 private:
  void require(JsonKind kind) const;

  const JsonDocument* document_;
  const JsonValue* value_;
  std::string path_;
};

}  // namespace eclipse_base

#endif
