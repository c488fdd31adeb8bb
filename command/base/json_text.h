// JSON documents as text.
#ifndef ECLIPSE_INT_BASE_JSON_TEXT_H
#define ECLIPSE_INT_BASE_JSON_TEXT_H

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace eclipse_base {

/// A JSON document that is written: its members keep their order.
using Json = nlohmann::ordered_json;

/// A document as it is printed: indented, in ASCII, with a line feed at its end, and U+FFFD in place of bytes that are not
/// UTF-8.
std::string json_text(const Json& document);

}  // namespace eclipse_base

#endif
