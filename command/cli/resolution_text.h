// What the director says of a command without doing it, as text.
#ifndef ECLIPSE_INT_CLI_RESOLUTION_TEXT_H
#define ECLIPSE_INT_CLI_RESOLUTION_TEXT_H

#include <string>
#include <vector>

#include "resolve/resolution.h"

namespace eclipse_cli {

/// Whether all resolves, and if not why, and which features do not; each reason once.
std::string resolution_text(const eclipse_resolve::Resolution& resolution);

/// What is not known although the director was asked, each as a sentence.
std::vector<std::string> limits_of(const eclipse_resolve::Resolution& resolution);

/// Asks the director, with a line on a terminal that says so. Throws InstanceError, and Interrupted if an Interruption lives.
eclipse_resolve::Resolution resolve_with_progress(const eclipse_plan::Plan& plan);

}  // namespace eclipse_cli

#endif
