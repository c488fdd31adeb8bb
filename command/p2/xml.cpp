#include "p2/xml.h"

#include <algorithm>
#include <cstddef>

#include "base/file.h"

namespace eclipse_p2 {

Xml read_xml(const std::string& text, const char* root) {
  Xml xml;
  // Tags and attributes, of which each takes many more bytes than in the file.
  const auto items = std::count_if(text.begin(), text.end(), [](char byte) { return byte == '<' || byte == '='; });
  if (static_cast<std::size_t>(items) > eclipse_base::largest::xml_items) {
    xml.error = "has more than " + std::to_string(eclipse_base::largest::xml_items) + " tags and attributes";
    xml.exceeds_limit = true;
  } else if (!xml.document.load_buffer(text.data(), text.size())) {
    xml.error = "is not well-formed XML";
  } else if (!xml.document.child(root)) {
    xml.error = std::string("has no <") + root + "> element";
  }
  if (!xml.error.empty()) xml.document.reset();
  return xml;
}

}  // namespace eclipse_p2
