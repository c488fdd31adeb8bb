// What the director says of a command without doing it, as JSON.
#ifndef ECLIPSE_INT_REPORT_RESOLUTION_JSON_H
#define ECLIPSE_INT_REPORT_RESOLUTION_JSON_H

#include "base/json_text.h"
#include "resolve/resolution.h"

namespace eclipse_report {

/// The form is that of "resolution" in schema/plan-result.schema.json.
eclipse_base::Json resolution_json(const eclipse_resolve::Resolution& resolution);

}  // namespace eclipse_report

#endif
