// Versions as p2 reads them.
#ifndef ECLIPSE_INT_P2_VERSION_H
#define ECLIPSE_INT_P2_VERSION_H

#include <string>
#include <string_view>

namespace eclipse_p2 {

/// A version in the one spelling that is compared: "1.0" and "01.0.0" are "1.0.0".
std::string whole_version(std::string_view version);

/// Whether a version comes before another: three numbers, then the qualifiers as texts. Of versions that are none, whether the
/// text does.
bool is_lower_version(std::string_view version, std::string_view other);

}  // namespace eclipse_p2

#endif
