// What the director says of a command without doing it, as text.
#ifndef ECLIPSE_INT_REPORT_RESOLUTION_TEXT_H
#define ECLIPSE_INT_REPORT_RESOLUTION_TEXT_H

#include <string>
#include <vector>

#include "resolve/resolution.h"

namespace eclipse_report {

/// Whether all resolves, and if not why, and which features do not; each reason once.
std::string resolution_text(const eclipse_resolve::Resolution& resolution);

/// What is not known although the director was asked, each as a sentence.
std::vector<std::string> limits_of(const eclipse_resolve::Resolution& resolution);

/// The feature, or how many there are, for a sentence.
std::string all_of(const std::vector<std::string>& features);

}  // namespace eclipse_report

#endif
