// The XML files of p2, read within limits.
#ifndef ECLIPSE_INT_P2_XML_H
#define ECLIPSE_INT_P2_XML_H

#include <pugixml.hpp>
#include <string>

namespace eclipse_p2 {

/// What the errors of a document begin with whose bytes are not those of its encoding.
inline constexpr const char* not_utf_8 = "is not UTF-8";
inline constexpr const char* not_in_encoding = "is not in the encoding";

struct Xml {
  pugi::xml_document document;
  /// "is not well-formed XML", "has no <ROOT> element" or that it has too many elements; to be read after the name of the file.
  std::string error;
  bool exceeds_limit = false;  ///< the error is that it has more elements than are read here
};

/// The value of the property of a unit, an artifact, a profile or a repository; empty when it has none of this name.
std::string property_of(const pugi::xml_node& node, const std::string& name);

/// Whether a unit is a group, as the units are that people install as features.
bool is_group(const pugi::xml_node& unit);

/// Reads a document whose outermost element must have this name. After an error the document is empty.
Xml read_xml(const std::string& text, const char* root);

}  // namespace eclipse_p2

#endif
