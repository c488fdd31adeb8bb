// What the samples of the rules are made of: descriptor files, components and sessions.
#ifndef ECLIPSE_INT_LINT_RULES_SAMPLES_H
#define ECLIPSE_INT_LINT_RULES_SAMPLES_H

#include <string>
#include <vector>

#include "lint/rule.h"

namespace eclipse_lint::samples {

// ---- A descriptor file by itself ----

Sample descriptor(const std::string& content);
Sample good_descriptor();

// ---- A component's directory, "tools", with a descriptor file and other files ----

Sample component(const std::string& descriptor, std::vector<SampleFile> others);
Sample good_component();

/// A descriptor file that names one feature of the repository "site".
extern const char* const line_of_one;
/// The content.xml of a repository that contains just this feature.
extern const char* const content_of_one;

/// A repository that has the feature in this version, with more elements in its unit; units may follow it.
Sample component_with_unit(const std::string& version, const std::string& more);

/// An end of central directory, which alone is a zip archive without entries; and its MD5.
std::string empty_jar();
extern const char* const md5_of_empty_jar;

/// A repository in which the feature requires a bundle, with this jar as its last file; it lists this MD5 of it.
Sample component_with_jar(const std::string& md5);

// ---- A session with this component and an Eclipse instance in the directory "ide" ----

/// A state of the p2 profile of this instance.
extern const char* const profile_name;

/// The session file, the files of the component and of the instance, and other files.
Sample product(const std::string& session_file, const std::vector<SampleFile>& others = {});

/// The component's members in the session file, as JSON.
struct ToolsEntry {
  std::string code = "tools";
  std::string directory = "tools";  ///< installDir
  std::string state = R"("install": true, "remove": true)";
  std::string capabilities = R"("TOOLS_ECLIPSE_PLUGIN")";
  std::string package = R"("files": ["etc/eclipse/tools.txt"])";
};

std::string entry_of(const ToolsEntry& component);
/// The entry with all the defaults.
extern const char* const tools;
/// The entry of the instance as a component, with a comma at its end.
extern const char* const ide;
/// The variables for that instance.
extern const char* const internal_choice;

/// What stands for the directory of the session file where a sample needs a full path.
extern const char* const product_directory;

/// The variables for a user's own instance at a path from that directory; `more` begins with a comma when it is not empty.
std::string user_choice(const std::string& path, const std::string& more = "");
/// More of these variables: the path of the known instance, from that directory.
std::string known_eclipse(const std::string& path = "ide/eclipse");

/// A session file.
std::string session(const std::string& mode, const std::string& variables, const std::string& components);
std::string internal_session(const std::string& mode = "install");
std::string user_session(const std::string& components = tools);

}  // namespace eclipse_lint::samples

#endif
