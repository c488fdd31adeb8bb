#include "base/json_document.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <utility>

#include "base/file.h"
#include "base/limits.h"
#include "base/printable.h"
#include "base/text.h"

namespace eclipse_base {

namespace {

bool is_word_byte(char byte) {
  return std::isalnum(static_cast<unsigned char>(byte)) != 0 || byte == '+' || byte == '-' || byte == '.';
}

/// Where the string begins whose closing double quote is at `quote`: at the nearest one before it that no backslash escapes.
std::size_t start_of_text(std::string_view text, std::size_t quote) {
  std::size_t start = quote;
  while (start > 0) {
    if (text[--start] != '"') continue;
    std::size_t backslashes = 0;
    while (backslashes < start && text[start - 1 - backslashes] == '\\') ++backslashes;
    if (backslashes % 2 == 0) break;
  }
  return start;
}

/// Where the token begins that ends before `end`.
std::size_t start_of_token(std::string_view text, std::size_t end) {
  std::size_t start = end - std::min<std::size_t>(end, 1);
  if (text[start] == '"') return start_of_text(text, start);
  while (start > 0 && is_word_byte(text[start]) && is_word_byte(text[start - 1])) --start;
  return start;
}

/// How long the token at `start` is. A string goes to its closing quote, or to the end of the line.
std::size_t length_of_token(std::string_view text, std::size_t start) {
  std::size_t end = start;
  if (start < text.size() && text[start] == '"') {
    for (++end; end < text.size() && text[end] != '"' && text[end] != '\n';) end += text[end] == '\\' ? 2U : 1U;
    return std::min(end + 1, text.size()) - start;
  }
  while (end < text.size() && is_word_byte(text[end])) ++end;
  return std::max<std::size_t>(end - start, 1);
}

bool is_plain_key(std::string_view key) {
  const auto is_plain = [](char byte) {
    return std::isalnum(static_cast<unsigned char>(byte)) != 0 || byte == '_' || byte == '$' || byte == '-';
  };
  return !key.empty() && std::all_of(key.begin(), key.end(), is_plain);
}

std::string path_of_member(const std::string& object, std::string_view key) {
  if (!is_plain_key(key)) return object + "[" + in_quotes(key) + "]";
  return object.empty() ? printable(key) : object + "." + printable(key);
}

std::string path_of_item(const std::string& list, std::size_t index) { return list + "[" + std::to_string(index) + "]"; }

/// The parser's message for a syntax error, as "what is wrong; what to do". The parser's form is
/// "[ID] parse error at line L, column C: syntax error while parsing CONTEXT - FOUND; expected TOKEN" or, when the text
/// cannot be cut into tokens, "... - FOUND; last read: 'TEXT'", possibly followed by "; expected TOKEN".
class SyntaxError {
 public:
  explicit SyntaxError(std::string error) {
    const std::size_t dash = error.find(" - ");
    const std::size_t bracket = error.find("] ");
    error.erase(0, dash != std::string::npos ? dash + 3 : bracket + 2);
    const std::size_t last_read = error.find("; last read: ");
    const std::size_t expected = error.find("; expected ");
    is_token_ = last_read == std::string::npos;
    found_ = error.substr(0, is_token_ ? expected : last_read);
    if (is_token_ && expected != std::string::npos) expected_ = error.substr(expected + std::strlen("; expected "));
  }

  /// Whether the error is a whole token that should not be there, rather than a byte in one.
  bool is_about_token() const { return is_token_; }

  std::string message() const {
    static const std::map<std::string_view, std::string_view> fixes = {
        {"string literal", "a key in double quotes belongs here, and no comma after the last member"},
        {"'[', '{', or a literal", "a value belongs here, and no comma after the last one"},
        {"'}'", "a comma or '}' belongs here"},
        {"']'", "a comma or ']' belongs here"},
        {"':'", "a ':' belongs between key and value"},
        {"end of input", "the document is complete before this"}};
    const auto fix = fixes.find(expected_);
    if (fix != fixes.end()) return "syntax error, " + found_ + "; " + std::string(fix->second);
    if (found_ == "invalid literal")
      return "syntax error, " + found_ + "; write strings in double quotes; other values are numbers, true, false and null";
    return "syntax error, " + found_ + "; correct the text here";
  }

 private:
  std::string found_;
  std::string expected_;
  bool is_token_;
};

/// Builds the tree while the parser reads. The parser does not report the location of a token, but the stream reports how far
/// it has read.
class TreeBuilder : public nlohmann::json_sax<nlohmann::json> {
 public:
  TreeBuilder(const JsonDocument& document, const std::string& text, JsonValue& root)
      : document_(document), text_(text), stream_(text), root_(root) {}

  void build() { nlohmann::json::sax_parse(stream_, this, nlohmann::json::input_format_t::json, true, true); }

  bool null() override {
    add(JsonKind::null, read_so_far());
    return true;
  }
  bool boolean(bool value) override {
    add(JsonKind::boolean, read_so_far()).boolean = value;
    return true;
  }
  bool number_integer(number_integer_t) override { return add_number(); }
  bool number_unsigned(number_unsigned_t) override { return add_number(); }
  bool number_float(number_float_t, const string_t&) override { return add_number(); }
  bool binary(binary_t&) override { return false; }
  bool string(string_t& value) override {
    check_no_zero(value);
    add(JsonKind::string, read_so_far()).text = std::move(value);
    return true;
  }
  bool start_object(std::size_t) override { return open(JsonKind::object); }
  bool end_object() override { return close(); }
  bool start_array(std::size_t) override { return open(JsonKind::array); }
  bool end_array() override { return close(); }

  bool key(string_t& value) override {
    pending_key_ = value;
    pending_key_offset_ = start_of_token(text_, read_so_far());
    check_no_zero(value);
    const auto [first, is_new] = open_.back().keys.emplace(value, pending_key_offset_);
    if (!is_new) {
      const std::string line = std::to_string(document_.location(first->second).line);
      fail(pending_key_offset_, "the key is given twice, first in line " + line + "; keep one of the two");
    }
    return true;
  }

  bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception& error) override {
    const SyntaxError syntax(error.what());
    if (position > text_.size()) fail(text_.size(), syntax.message());
    fail(syntax.is_about_token() ? start_of_token(text_, position) : position - 1, syntax.message());
  }

 private:
  /// An object or array that is not closed yet, with the keys it has so far.
  struct Open {
    JsonValue* value;
    std::map<std::string, std::size_t> keys;
  };

  std::size_t read_so_far() {
    return static_cast<std::size_t>(stream_.rdbuf()->pubseekoff(0, std::ios_base::cur, std::ios_base::in));
  }

  JsonValue& add(JsonKind kind, std::size_t end) {
    if (++count_ > largest::json_values) {
      const std::string most = std::to_string(largest::json_values);
      document_.fail(start_of_token(text_, end), "", "has more than " + most + " values; remove some");
    }
    JsonValue& value = open_.empty() ? root_ : open_.back().value->children.emplace_back();
    value.kind = kind;
    value.offset = start_of_token(text_, end);
    value.key = std::move(pending_key_);
    value.key_offset = pending_key_offset_;
    pending_key_.clear();
    return value;
  }

  /// A number ends before the byte that shows its end. That byte has been read by then, unless the file ends there.
  bool add_number() {
    std::size_t end = read_so_far();
    if (std::isdigit(static_cast<unsigned char>(text_[end - 1])) == 0) --end;
    add(JsonKind::number, end);
    return true;
  }

  bool open(JsonKind kind) {
    if (open_.size() == largest::json_levels) {
      const std::string message = "is nested deeper than " + std::to_string(largest::json_levels) + " levels here; remove some";
      document_.fail(read_so_far() - 1, "", message);
    }
    // Stays where it is until it is closed: only then does the array that contains it grow.
    open_.push_back({&add(kind, read_so_far()), {}});
    return true;
  }

  bool close() {
    open_.pop_back();
    return true;
  }

  void check_no_zero(std::string_view text) {
    if (text.find('\0') == std::string_view::npos) return;
    fail(start_of_token(text_, read_so_far()), "contains a NUL character (\\u0000), where strings end; remove it");
  }

  /// Where the parser is: the open objects and arrays, and the key whose value comes next.
  std::string path() const {
    std::string path;
    for (std::size_t i = 1; i < open_.size(); ++i) {
      const JsonValue& parent = *open_[i - 1].value;
      path = parent.kind == JsonKind::array ? path_of_item(path, parent.children.size() - 1)
                                            : path_of_member(path, open_[i].value->key);
    }
    return pending_key_.empty() ? path : path_of_member(path, pending_key_);
  }

  [[noreturn]] void fail(std::size_t offset, const std::string& message) const { document_.fail(offset, path(), message); }

  const JsonDocument& document_;
  const std::string& text_;
  std::istringstream stream_;
  JsonValue& root_;
  std::vector<Open> open_;
  std::size_t count_ = 0;  ///< of the values so far
  std::string pending_key_;
  std::size_t pending_key_offset_ = 0;
};

std::string_view name_of(JsonKind kind) {
  switch (kind) {
    case JsonKind::null:
      return "null";
    case JsonKind::boolean:
      return "true or false";
    case JsonKind::number:
      return "a number";
    case JsonKind::string:
      return "a string";
    case JsonKind::array:
      return "an array";
    case JsonKind::object:
      return "an object";
  }
  return "";
}

std::string_view how_to_write(JsonKind kind) {
  switch (kind) {
    case JsonKind::boolean:
      return "write true or false, without quotes";
    case JsonKind::string:
      return "write it in double quotes";
    case JsonKind::array:
      return "write it in [ ]";
    case JsonKind::object:
      return "write it in { }";
    default:
      return "";
  }
}

/// Keeps the errors in some parts of a document while the others are read.
class PartialErrors {
 public:
  /// Reads a part. Throws when there are very many errors.
  template <typename Read>
  void keep_from(const Read& read) {
    try {
      read();
    } catch (const FileError& error) {
      for (FileError& each : error.each()) errors_.push_back(std::move(each));
    }
    if (errors_.size() >= FileErrors::most) check();
  }

  /// Throws if there was any error.
  void check() {
    if (errors_.empty()) return;
    std::stable_sort(errors_.begin(), errors_.end(), [](const FileError& one, const FileError& other) {
      return std::pair(one.line(), one.column()) < std::pair(other.line(), other.column());
    });
    if (errors_.size() > FileErrors::most) errors_.erase(errors_.begin() + FileErrors::most, errors_.end());
    throw FileErrors(std::move(errors_));
  }

 private:
  std::vector<FileError> errors_;
};

std::vector<std::string> keys_of(const std::vector<JsonMember>& members) {
  std::vector<std::string> keys;
  keys.reserve(members.size());
  for (const JsonMember& member : members) keys.emplace_back(member.key);
  return keys;
}

/// Where the lines of a text start.
std::vector<std::uint32_t> line_starts_of(std::string_view text) {
  std::vector<std::uint32_t> starts;
  starts.reserve(1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
  starts.push_back(0);
  for (std::size_t at = 0; (at = text.find('\n', at)) != text.npos;) starts.push_back(static_cast<std::uint32_t>(++at));
  return starts;
}

}  // namespace

JsonDocument::JsonDocument(const std::filesystem::path& file)
    : JsonDocument(file, content_of(file, largest::json, "give the path of a JSON file")) {}

JsonDocument::JsonDocument(std::filesystem::path file, std::string text)
    : file_(std::move(file)), text_(std::move(text)), line_starts_(line_starts_of(text_)) {
  if (text_.find_first_not_of(" \t\r\n", text_.starts_with(utf_8_mark) ? utf_8_mark.size() : 0) == std::string::npos) {
    fail(0, "", "is empty; write JSON into it");
  }
  // The parser would take it for the end of the file.
  const std::size_t zero = text_.find('\0');
  if (zero != std::string::npos) fail(zero, "", "contains a NUL byte; save it as UTF-8 text");
  TreeBuilder(*this, text_, root_).build();
}

JsonElement JsonDocument::root() const { return {*this, root_, ""}; }

JsonLocation JsonDocument::location(std::size_t offset) const {
  const auto next = std::upper_bound(line_starts_.begin(), line_starts_.end(), offset);
  return {static_cast<std::size_t>(next - line_starts_.begin()), 1 + offset - *(next - 1), length_of_token(text_, offset)};
}

std::string_view JsonDocument::line(std::size_t number) const {
  const std::size_t start = line_starts_.at(number - 1);
  const std::size_t end = number < line_starts_.size() ? line_starts_[number] - 1 : text_.size();
  return std::string_view(text_).substr(start, end - start);
}

void JsonDocument::fail(std::size_t offset, const std::string& path, const std::string& message) const {
  const JsonLocation where = location(offset);
  std::string_view before = line(where.line).substr(0, where.column - 1);
  if (where.line == 1 && before.starts_with(utf_8_mark)) before.remove_prefix(utf_8_mark.size());
  throw FileError(file_, where.line, 1 + characters_in(before), (path.empty() ? "document" : path) + ": " + message);
}

JsonElement::JsonElement(const JsonDocument& document, const JsonValue& value, std::string path)
    : document_(&document), value_(&value), path_(std::move(path)) {}

const std::string& JsonElement::text() const {
  require(JsonKind::string);
  return value_->text;
}

bool JsonElement::boolean() const {
  require(JsonKind::boolean);
  return value_->boolean;
}

std::vector<JsonElement> JsonElement::items() const {
  require(JsonKind::array);
  std::vector<JsonElement> items;
  for (const JsonValue& item : value_->children) items.emplace_back(*document_, item, path_of_item(path_, items.size()));
  return items;
}

std::vector<JsonElement> JsonElement::members() const {
  require(JsonKind::object);
  std::vector<JsonElement> members;
  for (const JsonValue& member : value_->children) members.emplace_back(*document_, member, path_of_member(path_, member.key));
  return members;
}

void JsonElement::read_items(const JsonReader& reader) const {
  PartialErrors errors;
  for (const JsonElement& item : items()) errors.keep_from([&] { reader(item); });
  errors.check();
}

void JsonElement::read_members(const JsonReader& reader) const {
  PartialErrors errors;
  for (const JsonElement& member : members()) errors.keep_from([&] { reader(member); });
  errors.check();
}

void JsonElement::read_object(const std::vector<JsonMember>& known) const {
  PartialErrors errors;
  const std::vector<std::string> keys = keys_of(known);
  std::set<std::string_view> misspelt;
  for (const JsonElement& member : members()) {
    if (std::find(keys.begin(), keys.end(), member.key()) != keys.end()) continue;
    const auto meant = similar_word(member.key(), keys);
    if (meant) misspelt.insert(*std::find(keys.begin(), keys.end(), *meant));
    errors.keep_from(
        [&] { member.fail_at_key("unknown key; " + (meant ? did_you_mean(*meant) : "known here: " + each_in_quotes(keys))); });
  }
  for (const JsonMember& each : known) {
    if (const auto member = find(each.key)) {
      errors.keep_from([&] { each.read(*member); });
    } else if (each.presence == Presence::required && !misspelt.contains(each.key)) {
      errors.keep_from([&] { get(each.key); });
    }
  }
  errors.check();
}

std::optional<JsonElement> JsonElement::find(std::string_view key) const {
  require(JsonKind::object);
  const auto has_key = [&](const JsonValue& member) { return member.key == key; };
  const auto found = std::find_if(value_->children.begin(), value_->children.end(), has_key);
  if (found == value_->children.end()) return std::nullopt;
  return JsonElement(*document_, *found, path_of_member(path_, key));
}

JsonElement JsonElement::get(std::string_view key) const {
  const std::optional<JsonElement> member = find(key);
  if (!member) fail("the key " + in_quotes(key) + " is missing; add it");
  return *member;
}

JsonLocation JsonElement::location() const { return document_->location(value_->offset); }

void JsonElement::fail(const std::string& message) const { document_->fail(value_->offset, path_, message); }

void JsonElement::fail_at_key(const std::string& message) const { document_->fail(value_->key_offset, path_, message); }

void JsonElement::require(JsonKind kind) const {
  if (value_->kind == kind) return;
  fail("expected " + std::string(name_of(kind)) + ", found " + std::string(name_of(value_->kind)) + "; " +
       std::string(how_to_write(kind)));
}

}  // namespace eclipse_base
