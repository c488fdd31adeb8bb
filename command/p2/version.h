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

/// Whether two versions differ only in the qualifier, and the one that p2 takes for the newer has the lower number in it, as
/// 1.0.0.b9 beside 1.0.0.b10. Numbers of eight digits and more are times.
bool has_lower_number(std::string_view newer, std::string_view older);

/// Whether a version is in a range such as "[1.0.0,2.0.0)", or not below one version. Also true when the range is empty, or not
/// one of OSGi.
bool is_in_range(std::string_view version, std::string_view range);

}  // namespace eclipse_p2

#endif
