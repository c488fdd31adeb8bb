// The filters of units and requirements, in the syntax of LDAP.
#ifndef ECLIPSE_INT_P2_FILTER_H
#define ECLIPSE_INT_P2_FILTER_H

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace eclipse_p2 {

/// Values of attributes such as "osgi.os", by their names in small letters.
using Environment = std::map<std::string, std::string>;

/// Whether an attribute that an environment does not have may have any value, or has none.
enum class Missing { unknown, none };

/// That of every instance on this system; `more` also has what is only certain for an instance on this machine.
Environment system_environment(bool more);

/// Whether an environment fulfils a filter, and any does an empty one. Nothing when that depends on an attribute that is
/// unknown, or the filter is not understood.
std::optional<bool> fulfils(const Environment& environment, std::string_view filter, Missing missing = Missing::unknown);

}  // namespace eclipse_p2

#endif
