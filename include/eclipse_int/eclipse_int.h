// What the plug-in exports: the actions that a host calls at fixed points of an install, modify or uninstall run, and the
// functions of which they consist.
//
// A host that loads the plug-in at run time finds the actions with dlsym() by the unmangled names below and calls each as an
// `int (*)(session_t*)`. The plug-in keeps nothing between calls: whatever one action hands to another, or to the host,
// travels in session variables. Truth values in them are the texts "yes" and "no"; keywords ("install", "internal", ...) are
// case-sensitive, and an unset variable reads as the empty text.
//
// A typical run: eclipse_integration_required() and find_eclipse_ide() once the capability map and KORU_MODE are set;
// verify_user_defined_eclipse_path() when the user names an instance, then verify_eclipse_version() if the path is correct;
// define_eclipse_path() once the choice is made; perform_integration() after the components are installed, or
// perform_unintegration() in an uninstall run.
//
// Bad or missing input is never an error: it is skipped or yields an empty result, usually with a log line. An action throws
// only what a host operation throws, and what the standard library throws when memory runs out.
#ifndef ECLIPSE_INT_ECLIPSE_INT_H
#define ECLIPSE_INT_ECLIPSE_INT_H

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "eclipse_int/host.h"

#if defined(__GNUC__)
#define ECLIPSE_INT_EXPORT __attribute__((visibility("default")))
#else
#define ECLIPSE_INT_EXPORT
#endif

// ---- Actions -----------------------------------------------------------------------------------------------------------

extern "C" {

/// Decides whether the run touches a component that carries Eclipse plug-ins.
/// Reads the capability map and KORU_MODE; writes ECLIPSE_INTEGRATION_REQUIRED. Returns 0.
/// In the mode "install" a component counts if it is selected, in "modify" if it is selected or installed, in any other mode
/// always.
ECLIPSE_INT_EXPORT int eclipse_integration_required(session_t* session);

/// Decides whether there is an Eclipse IDE to integrate into: one that is shipped as a component.
/// Reads ECLIPSE_INTEGRATION_CHOICE, the capability map and KORU_MODE; writes ECLIPSE_IDE (there is one) and
/// ECLIPSE_IDE_ENABLED (it takes part in this run, by the rule of eclipse_integration_required()). If the choice is already
/// "internal", both are "yes", and neither the map nor a component is looked at. Returns 0.
ECLIPSE_INT_EXPORT int find_eclipse_ide(session_t* session);

/// Determines the directory of the Eclipse instance for the choice made; without a choice, that of the internal IDE.
/// Reads the capability map, ECLIPSE_BIN, ECLIPSE_INTEGRATION_CHOICE and, for the choice "user", USER_DEFINED_ECLIPSE_PATH;
/// looks for the internal IDE whatever the choice. Writes ECLIPSE_PATH. That variable keeps its value if the executable does
/// not exist, if its directory would be empty, and if the choice is "none". Returns 0.
ECLIPSE_INT_EXPORT int define_eclipse_path(session_t* session);

/// Checks that USER_DEFINED_ECLIPSE_PATH is the path of a regular file named ECLIPSE_BIN, ignoring case. For the check,
/// backslashes become slashes and trailing line feeds and carriage returns are removed; the variable itself is not changed.
/// Writes USER_DEFINED_ECLIPSE_PATH_EMPTY and USER_DEFINED_ECLIPSE_PATH_CORRECT. Logs nothing. Returns 0.
ECLIPSE_INT_EXPORT int verify_user_defined_eclipse_path(session_t* session);

/// Runs verify_user_defined_eclipse_path(), then reads the instance's version from its configuration/config.ini.
/// Writes ECLIPSE_VERSION: what follows the first "eclipse.buildId=" up to the line feed (a carriage return before it stays),
/// empty if there is none. The variable keeps its value if the path is not correct. Returns 0.
/// If the path is empty, nothing is checked and nothing is written: USER_DEFINED_ECLIPSE_PATH_EMPTY, _CORRECT and
/// ECLIPSE_VERSION keep the results of an earlier path. Call verify_user_defined_eclipse_path() itself to learn that it is
/// empty. The file is looked for next to the path as the user gave it, so a path with backslashes may be correct and yield no
/// version.
ECLIPSE_INT_EXPORT int user_eclipse_version(session_t* session);

/// Runs user_eclipse_version(), then compares ECLIPSE_VERSION with the expansion of "${ECLIPSE_MIN_SUPPORTED_VERSION}".
/// The two are compared as texts, byte by byte, so "4.10" comes before "4.7".
/// Writes ECLIPSE_VERSION_IS_SUPPORTED, unless one of the two is empty: then it keeps its value. Returns 0.
/// A path that is empty or not correct leaves the ECLIPSE_VERSION of an earlier path, which is then compared. So the verdict
/// is valid only if USER_DEFINED_ECLIPSE_PATH is not empty and USER_DEFINED_ECLIPSE_PATH_CORRECT is "yes".
ECLIPSE_INT_EXPORT int verify_eclipse_version(session_t* session);

/// Installs the features of the components into the instance that ECLIPSE_INTEGRATION_CHOICE chooses: integrate_into_instance()
/// on USER_DEFINED_ECLIPSE_PATH for "user", and for "internal" on the executable named ECLIPSE_BIN that
/// find_eclipse_executable() finds among the IDE components. Returns its result, or 0 if there is nothing to integrate into.
ECLIPSE_INT_EXPORT int perform_integration(session_t* session);

/// Removes the features of the components that are being removed: unintegrate_from_instance() on the executable that
/// perform_integration() would choose. Returns its result, or 0 if there is nothing to remove them from.
ECLIPSE_INT_EXPORT int perform_unintegration(session_t* session);

}  // extern "C"

// ---- Components --------------------------------------------------------------------------------------------------------

/// True if the component's code begins with `code_prefix`. False for a null component.
ECLIPSE_INT_EXPORT bool get_component_by_code_predicate(const std::string& code_prefix, Component* const& component);

/// True if `pattern` occurs in the path of a file that the component's package places. Each path is the package's prefix,
/// unchanged, directly followed by the listed path, in which every "\" becomes "/" and trailing line ends stay; the result is
/// passed through path(). False for a null component, one without a code, and one without a package.
ECLIPSE_INT_EXPORT bool get_component_by_content_predicate(const std::string& pattern, Component* const& component);

/// The components that provide a capability whose name contains "ECLIPSE_IDE", in the order of the capability map, each once
/// for every such capability. Empty if the session has no capability map.
ECLIPSE_INT_EXPORT std::vector<Component*> get_ide_components(session_t* session);

/// The path, normalised by path(), of the file named `name` that the package of one of `components` places, or "" if there is
/// none. The file must exist and be a regular file. A relative package prefix is resolved against the provider's root. If there
/// are several, the last one wins, in the order of the components and of their packages. Logs each one found, or that there is
/// none.
ECLIPSE_INT_EXPORT std::string find_eclipse_executable(const std::string& name, const std::vector<Component*>& components);

// ---- Descriptor files --------------------------------------------------------------------------------------------------

/// The direction for which descriptor files are gathered. Any other value is accepted and filters nothing.
enum EclipseIntegrationMode : int {
  Integrate = 1,   ///< features are installed; the condition is Component::installCondition()
  Unintegrate = 2  ///< features are removed; the condition is Component::uninstallCondition()
};

/// One data line of a descriptor file. The columns are copied unchanged: nothing is trimmed or checked.
struct plugin_config {
  std::string repository;  ///< column 1: an update site, a directory or a ".zip" archive, relative to `base_dir`
  std::string feature;     ///< column 2: the installable unit
  std::string extra;       ///< column 3, or empty
  std::string order;       ///< column 4: the place in the install order, or UNDEFINED_ORDER if there is none
  std::string base_dir;    ///< the directory that the descriptor file belongs to
};

/// The text "undefined": the order of a record whose line gives none. Compare the content, not the address.
ECLIPSE_INT_EXPORT extern const char* const UNDEFINED_ORDER;

/// The descriptor files that the packages of `components` list, in their order: the component's installation directory, and the
/// listed path with "/" for "\" and without trailing line ends. A descriptor file is one whose path contains "etc/eclipse/"
/// anywhere. The disk is not accessed. With `filter_by_condition`, only components whose condition for `mode` holds are
/// searched. Logs each file found.
ECLIPSE_INT_EXPORT std::vector<std::pair<std::string, std::string>> get_integration_files(std::vector<Component*> components,
                                                                                          EclipseIntegrationMode mode,
                                                                                          bool filter_by_condition);

/// The records of all descriptor files that get_integration_files() yields, in their order. A file that does not exist on disk
/// is logged and left out.
ECLIPSE_INT_EXPORT std::vector<plugin_config> populate_plugin_list(EclipseIntegrationMode mode,
                                                                   std::vector<Component*> components,
                                                                   bool filter_by_condition);

/// The same as populate_plugin_list() in every step. For outside callers: no action uses it.
ECLIPSE_INT_EXPORT std::vector<plugin_config> populate_eclipse_list(EclipseIntegrationMode mode,
                                                                    std::vector<Component*> components,
                                                                    bool filter_by_condition);

/// The columns of one line of a descriptor file. Only tabs separate columns. Empty columns are kept, but a tab at the end of
/// the line adds none. An empty line has no columns.
ECLIPSE_INT_EXPORT std::vector<std::string> split_by_tabs(std::string line);

/// Reads the descriptor file `file.second`, relative to the directory `file.first`, and appends one record for each data line
/// to `out`. A file that cannot be read or is not a regular file appends nothing. Logs nothing.
/// Lines with fewer than two columns, and lines whose first column is "Repository", are not data.
ECLIPSE_INT_EXPORT void process_file(std::pair<std::string, std::string> file, std::vector<plugin_config>& out);

/// Adds what the records in `configs` name to three containers, without clearing them first:
/// - `repositories`: the update sites in the form that a director command takes: "file://" and path(`base_dir` + "/" + column
///   1); for an archive (".zip" in lower case) jar:file://PATH!/ in double quotes, which are part of the text. A repository is
///   always taken relative to `base_dir`, even if it looks like an absolute path or a URL; ".." may lead out of it.
/// - `extras`: the third columns.
/// - `features`: the features in install order, each once, at the first of its places.
/// The order is a signed decimal number of 32 bits. It is read up to the first character that cannot continue it, so "5x" and
/// "5.9" read as 5; a text that does not begin with a number reads as 0, and a number out of range as the nearest limit. Lower
/// numbers come first. If the number of a record is already taken, by a record with the same number or by one that had to
/// move, the record gets the next free number above it. A record without a repository is skipped. Logs each record taken and
/// each place in the order.
ECLIPSE_INT_EXPORT void populate_lists(const std::vector<plugin_config>& configs, std::set<std::string>& repositories,
                                       std::set<std::string>& extras, std::vector<std::string>& features);

/// Appends `item` to `list` unless the list already contains it.
ECLIPSE_INT_EXPORT void add_unique(std::string item, std::vector<std::string>& list);

// ---- Directors ---------------------------------------------------------------------------------------------------------

/// Installs features with the p2 director of the Eclipse instance that has this executable: all at once, and if that fails one
/// by one. An instance that is new in this run gets the features of every component, a known one those of the components being
/// installed. It is new
/// - for the choice "internal", if an IDE component is being installed,
/// - for the choice "user", if USER_DEFINED_ECLIPSE_PATH is set and differs from CASHED_ECLIPSE_PATH, byte by byte. The host
///   keeps in the latter, from run to run, the executable that a run used,
/// - never if KORU_MODE is "uninstall".
///
/// Writes ECLIPSE_PATH (the executable's directory). If the command for all features failed, also writes QN_SCRIPTS_FAILED
/// ("yes") and QN_SCRIPTS_COMPLETE_DESC: its previous text, the heading eclipse_integration_failed_title, and what the director
/// printed for each feature that failed on its own. Both are written even if each feature then succeeds; neither is ever reset.
/// If a director printed a zero byte, the text ends before the first one.
/// Returns the exit code of the last director command, which may be 0 although an earlier feature failed; 0 if none was run,
/// because there is no feature or no repository, or because the executable does not exist (then no variable is written).
ECLIPSE_INT_EXPORT int integrate_into_instance(session_t* session, std::string eclipse_executable);

/// Removes the features of the components being removed with the p2 director of the Eclipse instance that has this executable:
/// all at once, and if that fails once more for each feature. Such a retry is the whole failed command followed by the feature.
/// A shell rejects it, since it ends in "2>&1FEATURE 2>&1", unless the feature begins with a space or a shell metacharacter. So
/// it is the first command that counts.
/// Writes ECLIPSE_PATH, unless the executable does not exist, and no summary: a failure shows only in the log and the result.
/// Returns the exit code of the last command, 0 if none was run.
ECLIPSE_INT_EXPORT int unintegrate_from_instance(session_t* session, std::string eclipse_executable);

#endif
