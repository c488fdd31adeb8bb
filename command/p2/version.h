// Versions as p2 reads them.
#ifndef ECLIPSE_INT_P2_VERSION_H
#define ECLIPSE_INT_P2_VERSION_H

#include <compare>
#include <string>
#include <string_view>

namespace eclipse_p2 {

/// A version in the one spelling that is compared: "1.0" and "01.0.0" are "1.0.0".
std::string whole_version(std::string_view version);

/// MAJOR[.MINOR[.MICRO[.QUALIFIER]]], the only form that units of Eclipse have.
bool is_osgi_version(std::string_view version);

/// Which of two versions p2 takes for the newer one: by three numbers, then by the qualifier as text.
std::strong_ordering compare_versions(std::string_view left, std::string_view right);

}  // namespace eclipse_p2

#endif
