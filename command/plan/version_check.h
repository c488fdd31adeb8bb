// Why one version text comes before another.
#ifndef ECLIPSE_INT_PLAN_VERSION_CHECK_H
#define ECLIPSE_INT_PLAN_VERSION_CHECK_H

#include <string>

namespace eclipse_plan {

/// The check of the version of the instance that the user named.
struct VersionCheck {
  std::string version;
  std::string minimum;
  std::string supported;  ///< the plug-in's verdict, "yes" or "no"
};

/// Where two texts first differ in a comparison byte by byte: "they first differ at byte 3, where "1" comes before "7"".
std::string first_difference(const std::string& version, const std::string& minimum);

/// True when a comparison of the numbers in the versions, part by part, contradicts the verdict.
bool numeric_order_differs(const VersionCheck& check);

}  // namespace eclipse_plan

#endif
