// Why one version text comes before another.
#ifndef ECLIPSE_INT_PLAN_VERSION_CHECK_H
#define ECLIPSE_INT_PLAN_VERSION_CHECK_H

#include <string>

namespace eclipse_plan {

/// The check of the version of the Eclipse that the user named.
struct VersionCheck {
  std::string version;
  std::string minimum;
  std::string supported;  ///< the plug-in's verdict, "yes" or "no"
};

/// Where two texts part, as a comparison byte by byte finds it: "they part at byte 3, where "1" comes before "7"".
std::string where_they_part(const std::string& version, const std::string& minimum);

/// True when the numbers of the versions, part by part, say otherwise than the verdict does.
bool numbers_say_otherwise(const VersionCheck& check);

}  // namespace eclipse_plan

#endif
