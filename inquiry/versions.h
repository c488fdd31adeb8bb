// Versions as p2 reads them.
#ifndef ECLIPSE_INT_INQUIRY_VERSIONS_H
#define ECLIPSE_INT_INQUIRY_VERSIONS_H

#include <string>
#include <string_view>

namespace eclipse_inquiry {

/// A version in the one spelling that is compared: "1.0" and "01.0.0" are "1.0.0".
std::string whole_version(std::string_view version);

}  // namespace eclipse_inquiry

#endif
