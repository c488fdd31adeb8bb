// The manifest of a jar file.
#ifndef ECLIPSE_INT_P2_JAR_MANIFEST_H
#define ECLIPSE_INT_P2_JAR_MANIFEST_H

#include <map>
#include <string>

namespace eclipse_p2 {

/// Its path in a jar.
inline constexpr const char* manifest_name = "META-INF/MANIFEST.MF";

/// The attributes of a section of a manifest, by their names in small letters.
using Section = std::map<std::string, std::string>;

struct Manifest {
  Section main;
  std::map<std::string, Section> entries;  ///< by their names
};

/// A line that begins with a space continues the one before it.
Manifest manifest_in(const std::string& text);

}  // namespace eclipse_p2

#endif
