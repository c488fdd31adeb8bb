// The actions that the units of a repository have the director perform.
#ifndef ECLIPSE_INT_P2_TOUCHPOINT_ACTIONS_H
#define ECLIPSE_INT_P2_TOUCHPOINT_ACTIONS_H

#include <pugixml.hpp>
#include <set>
#include <string>

namespace eclipse_p2 {

/// Of the instructions of a <unit>, those actions that its touchpoint, of those of p2, does not have, each with its phase, as
/// "install:ACTION". None when the unit has metaRequirements, which may bring actions, or imports some.
std::set<std::string> foreign_actions_of(const pugi::xml_node& unit);

/// Of the instructions of a <unit> that is a feature, those actions that the director can only perform for a bundle, in the
/// same form.
std::set<std::string> bundle_actions_of_feature(const pugi::xml_node& unit);

}  // namespace eclipse_p2

#endif
