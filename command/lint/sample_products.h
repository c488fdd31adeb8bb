// What the samples of rules are made of: a component "tools" with one descriptor file, its site, and an Eclipse in the
// directory "ide".
#ifndef ECLIPSE_INT_LINT_SAMPLE_PRODUCTS_H
#define ECLIPSE_INT_LINT_SAMPLE_PRODUCTS_H

#include <string>
#include <vector>

#include "lint/rule.h"

namespace eclipse_lint::samples {

/// A descriptor file that names one feature.
extern const char* const line_of_one;
/// The content.xml of a site that offers just this feature.
extern const char* const offer_of_one;

/// The entry of the component in a session.
extern const char* const tools;
/// The entry of the Eclipse as a component; another one has to follow.
extern const char* const ide;
/// The variables for that Eclipse.
extern const char* const internal_choice;

/// The variables for a user's own Eclipse; `more` begins with a comma when it is not empty.
std::string user_choice(const std::string& path, const std::string& more = "");

/// A session file.
std::string session(const std::string& mode, const std::string& variables, const std::string& components);
std::string internal_session(const std::string& mode = "install");
std::string user_session();

/// The session file with all that it speaks of, and with other files.
Sample product(const std::string& session_file, const std::vector<SampleFile>& others = {});

}  // namespace eclipse_lint::samples

#endif
