#include "p2/xml.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "base/limits.h"
#include "base/text.h"

namespace eclipse_p2 {

namespace {

std::string line_at(std::string_view text, std::size_t offset) {
  return "line " + std::to_string(1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(offset), '\n'));
}

/// Whether a character takes two bytes or four, as in UTF-16.
bool is_wide(std::string_view text) { return eclipse_base::has_utf_16_mark(text) || text.substr(0, 4).find('\0') != text.npos; }

/// The encoding that the XML declaration names, in lower case.
std::optional<std::string> declared_encoding(std::string_view text) {
  constexpr std::size_t longest_declaration = 256;
  constexpr std::size_t longest_mark = 3;
  std::string beginning = eclipse_base::lower_case(text.substr(0, longest_declaration));
  std::erase(beginning, '\0');
  const std::size_t begin = beginning.find("<?xml");
  if (begin > longest_mark) return std::nullopt;
  const std::string declaration = beginning.substr(begin, beginning.find("?>") - begin);
  const std::size_t quote = declaration.find_first_of("'\"", std::min(declaration.find("encoding"), declaration.size()));
  if (quote == declaration.npos) return std::nullopt;
  return declaration.substr(quote + 1, declaration.find(declaration[quote], quote + 1) - quote - 1);
}

/// Whether the characters of an encoding take two bytes or four.
bool names_wide(std::string_view encoding) {
  return encoding.starts_with("utf-16") || encoding.starts_with("utf16") || encoding.starts_with("utf-32") ||
         encoding.starts_with("iso-10646-ucs");
}

bool has_utf_32_mark(std::string_view text) {
  using namespace std::string_view_literals;
  return text.starts_with("\xFF\xFE\0\0"sv) || text.starts_with("\0\0\xFE\xFF"sv);
}

/// Whether Java's parser may read the text in this encoding.
bool may_be_in(std::string_view encoding, std::string_view text) {
  if (encoding == "us-ascii" || encoding == "ascii") {
    text.remove_prefix(text.starts_with(eclipse_base::utf_8_mark) ? eclipse_base::utf_8_mark.size() : 0);
    return std::none_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) > 0x7F; });
  }
  return !encoding.empty() && names_wide(encoding) == is_wide(text);
}

/// The offset of the end of a comment, of CDATA or of an instruction that begins here; `at` itself for anything else.
std::size_t end_of_unparsed(std::string_view text, std::size_t at) {
  using Marks = std::pair<std::string_view, std::string_view>;
  for (const auto& [begin, end] : {Marks("<!--", "-->"), Marks("<![CDATA[", "]]>"), Marks("<?", "?>")}) {
    if (text.substr(at).starts_with(begin)) return std::min(text.find(end, at), text.size());
  }
  return at;
}

/// Whether a reference such as "&amp;" or "&#xA;" begins here.
bool begins_reference(std::string_view text, std::size_t ampersand) {
  const std::string_view rest = text.substr(ampersand + 1, 32);
  const std::string_view name = rest.substr(0, std::min(rest.find(';'), rest.size()));
  if (name.size() == rest.size()) return false;
  if (!name.starts_with('#')) {
    return name == "amp" || name == "lt" || name == "gt" || name == "quot" || name == "apos";
  }
  const bool is_hexadecimal = name.starts_with("#x");
  const std::string_view digits = name.substr(is_hexadecimal ? 2 : 1);
  return !digits.empty() && digits.find_first_not_of(is_hexadecimal ? "0123456789abcdefABCDEF" : "0123456789") == digits.npos;
}

/// The offset of an "&" that begins no reference, wherever it is; npos if there is none.
std::size_t ampersand_without_reference(std::string_view text) {
  std::size_t at = text.find('&');
  while (at != text.npos && begins_reference(text, at)) at = text.find('&', at + 1);
  return at;
}

/// The same in what is parsed; npos also if the document may define entities itself.
std::size_t lone_ampersand(std::string_view text) {
  if (ampersand_without_reference(text) == text.npos || text.find("<!DOCTYPE") != text.npos) return text.npos;
  for (std::size_t at = text.find_first_of("<&"); at != text.npos; at = text.find_first_of("<&", at + 1)) {
    if (text[at] == '<') {
      at = end_of_unparsed(text, at);
    } else if (!begins_reference(text, at)) {
      return at;
    }
  }
  return text.npos;
}

/// What Java's parser does not accept, but the one that is used here does.
std::string error_in_text(std::string_view text) {
  if (has_utf_32_mark(text)) return std::string(not_utf_8) + " but UTF-32 with a byte-order mark, which Java does not read";
  const auto encoding = declared_encoding(text);
  if (encoding && !may_be_in(*encoding, text)) return std::string(not_in_encoding) + " that its first line names";
  const bool should_be_utf8 = !encoding || encoding->find("utf-8") != encoding->npos;
  if (is_wide(text) || !should_be_utf8) return "";
  const std::size_t valid = eclipse_base::length_of_utf8(text);
  if (valid < text.size()) {
    return std::string(not_utf_8) + " in " + line_at(text, valid) + ", although it says so or names no other encoding";
  }
  const std::size_t ampersand = lone_ampersand(text);
  return ampersand == text.npos ? "" : "is not well-formed XML: write &amp; for the & in " + line_at(text, ampersand);
}

}  // namespace

std::string property_of(const pugi::xml_node& node, const std::string& name) {
  return node.child("properties").find_child_by_attribute("property", "name", name.c_str()).attribute("value").value();
}

bool is_group(const pugi::xml_node& unit) { return property_of(unit, "org.eclipse.equinox.p2.type.group") == "true"; }

Xml read_xml(const std::string& text, const char* root) {
  Xml xml;
  // Tags and attributes, of which each takes many more bytes than in the file.
  const auto items = std::count_if(text.begin(), text.end(), [](char byte) { return byte == '<' || byte == '='; });
  if (static_cast<std::size_t>(items) > eclipse_base::largest::xml_items) {
    xml.error = "has more than " + std::to_string(eclipse_base::largest::xml_items) + " tags and attributes";
    xml.exceeds_limit = true;
  } else if (std::string error = error_in_text(text); !error.empty()) {
    xml.error = std::move(error);
  } else if (const auto result = xml.document.load_buffer(text.data(), text.size()); !result) {
    if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
    xml.error = "is not well-formed XML";
  } else if (!xml.document.child(root)) {
    xml.error = std::string("has no <") + root + "> element";
  }
  if (!xml.error.empty()) xml.document.reset();
  return xml;
}

}  // namespace eclipse_p2
