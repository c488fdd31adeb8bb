// Parts that several JSON documents have, and printing one.
#ifndef ECLIPSE_INT_REPORT_JSON_PARTS_H
#define ECLIPSE_INT_REPORT_JSON_PARTS_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/json_text.h"
#include "instance/damage.h"
#include "p2/director_failure.h"
#include "p2/unit_change.h"

namespace eclipse_report {

using eclipse_base::Json;

/// Adds a text as a member of an object, followed by its bytes in hexadecimal when they are not UTF-8.
void add_text(Json& json, const char* name, const std::string& text, const char* hex_name);

/// A text, or null for an empty one.
Json text_or_null(const std::string& text);

/// Files as a list of their paths.
Json paths_json(const std::vector<std::filesystem::path>& files);

/// Adds the member "damage" if something is wrong with the instance.
void add_damage(Json& json, const std::optional<eclipse_instance::InstanceDamage>& damage);

/// Adds the members "installed", "removed", "nowByName" and "noLongerByName".
void add_named_units(Json& json, const eclipse_p2::UnitChange& change);

Json failure_json(const eclipse_p2::Failure& failure);

/// Prints a document on standard output, in ASCII: other characters are escaped, since some of them steer a terminal. What is
/// not UTF-8 becomes U+FFFD. The forms of all documents are those of the schemas in schema/.
void print_json(const Json& document);

}  // namespace eclipse_report

#endif
