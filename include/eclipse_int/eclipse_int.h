// What the plug-in exports: the actions that a host calls at fixed points of an install, modify or uninstall run, and the
// functions from which they are made.
//
// A host that loads the plug-in at run time finds the actions with dlsym() by the names below, which are not mangled, and
// calls each as an `int (*)(session_t*)`. Nothing is kept between calls: whatever one action hands to another, or to the host,
// travels in session variables. Truth values in them are the texts "yes" and "no"; keywords ("install", "internal", ...) are
// compared exactly, and an unset variable reads as the empty text.
//
// A usual run: eclipse_integration_required() and find_eclipse_ide() once the capability map and KORU_MODE are filled;
// verify_eclipse_version() when the user names an instance; define_eclipse_path() once the choice is made;
// perform_integration() after the components are installed, or perform_unintegration() in an uninstall run.
//
// Bad or missing input is never an error here: it is skipped or yields an empty result, mostly with a log line. What can come
// out as an exception is what a host operation throws and what the standard library throws for want of memory.
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
/// In the mode "install" a component counts when it is selected, in "modify" also when it is installed, in any other mode
/// always.
ECLIPSE_INT_EXPORT int eclipse_integration_required(session_t* session);

/// Decides whether an Eclipse IDE is there to integrate into: shipped as a component, or chosen as "internal" before.
/// Reads ECLIPSE_INTEGRATION_CHOICE, the capability map and KORU_MODE; writes ECLIPSE_IDE (there is one) and
/// ECLIPSE_IDE_ENABLED (it takes part in this run, by the rule of eclipse_integration_required()). Returns 0.
ECLIPSE_INT_EXPORT int find_eclipse_ide(session_t* session);

/// Settles the directory of the Eclipse instance for the choice made, with the internal IDE as the default.
/// Reads ECLIPSE_BIN, ECLIPSE_INTEGRATION_CHOICE and USER_DEFINED_ECLIPSE_PATH; writes ECLIPSE_PATH. That variable keeps its
/// value when the executable is not there, when its directory would be empty, and when the choice is "none". Returns 0.
ECLIPSE_INT_EXPORT int define_eclipse_path(session_t* session);

/// Checks that USER_DEFINED_ECLIPSE_PATH names a file whose name is ECLIPSE_BIN, letter case aside. In the check, backslashes
/// count as slashes and line ends at the end of the path are dropped; the variable itself is not mended.
/// Writes USER_DEFINED_ECLIPSE_PATH_EMPTY and USER_DEFINED_ECLIPSE_PATH_CORRECT. Logs nothing. Returns 0.
ECLIPSE_INT_EXPORT int verify_user_defined_eclipse_path(session_t* session);

/// Runs verify_user_defined_eclipse_path(), then reads the instance's version from its configuration/config.ini.
/// Writes ECLIPSE_VERSION: what follows the first "eclipse.buildId=" up to the line feed (a carriage return before it stays),
/// empty when there is none. The variable keeps its old value when the path is empty or not correct. Returns 0. The file is
/// sought beside the path as the user gave it, so a path that is correct only for its backslashes has no version.
ECLIPSE_INT_EXPORT int user_eclipse_version(session_t* session);

/// Runs user_eclipse_version(), then compares ECLIPSE_VERSION with the expansion of "${ECLIPSE_MIN_SUPPORTED_VERSION}".
/// The two are compared as texts, byte by byte, so "4.10" comes before "4.7".
/// Writes ECLIPSE_VERSION_IS_SUPPORTED, unless one of the two is empty: then it keeps its old value. Since a path that is
/// not correct leaves the old ECLIPSE_VERSION to be compared, the verdict holds only beside
/// USER_DEFINED_ECLIPSE_PATH_CORRECT. Returns 0.
ECLIPSE_INT_EXPORT int verify_eclipse_version(session_t* session);

/// Installs the features of the components into the instance that ECLIPSE_INTEGRATION_CHOICE chooses: integrate_into_instance()
/// on USER_DEFINED_ECLIPSE_PATH for "user", for "internal" on the executable called ECLIPSE_BIN that find_eclipse_executable()
/// finds among the IDE components. Returns its result, or 0 when there is nothing to integrate into.
ECLIPSE_INT_EXPORT int perform_integration(session_t* session);

/// Removes the features of the components that are being removed: unintegrate_from_instance() on the executable that
/// perform_integration() would choose. Returns its result, or 0 when there is nothing to remove them from.
ECLIPSE_INT_EXPORT int perform_unintegration(session_t* session);

}  // extern "C"

// ---- Components --------------------------------------------------------------------------------------------------------

/// True when the component's code begins with `code_prefix`. False for a null component.
ECLIPSE_INT_EXPORT bool get_component_by_code_predicate(const std::string& code_prefix, Component* const& component);

/// True when `pattern` occurs in the path of a file that the component's package places. The paths looked at are the package's
/// prefix directly followed by the listed path, with "/" for "\" and with its line ends, as path() normalises them.
/// False for a null component, one without a code, and one without a package.
ECLIPSE_INT_EXPORT bool get_component_by_content_predicate(const std::string& pattern, Component* const& component);

/// The components that provide a capability whose name contains "ECLIPSE_IDE", in the order of the capability map, each once
/// for every such capability. Empty when the session has no capability map.
ECLIPSE_INT_EXPORT std::vector<Component*> get_ide_components(session_t* session);

/// The path of the file called `name` that the package of one of `components` places, as path() normalises it, or "" when none
/// does. It has to be there, as a regular file. A package prefix that is relative counts from the provider's root. Of several
/// the last one counts, in the order of the components and of their packages. Logs each that it finds, or that there is none.
ECLIPSE_INT_EXPORT std::string find_eclipse_executable(const std::string& name, const std::vector<Component*>& components);

// ---- Descriptor files --------------------------------------------------------------------------------------------------

/// The direction for which descriptor files are gathered. Any other value is accepted, and no condition is asked for it.
enum EclipseIntegrationMode : int {
  Integrate = 1,   ///< features are installed; the condition is Component::installCondition()
  Unintegrate = 2  ///< features are removed; the condition is Component::uninstallCondition()
};

/// One data line of a descriptor file. The columns are as they stand in the file: nothing is trimmed or checked.
struct plugin_config {
  std::string repository;  ///< column 1: an update site, a directory or a ".zip" archive, relative to `base_dir`
  std::string feature;     ///< column 2: the installable unit
  std::string extra;       ///< column 3, or empty
  std::string order;       ///< column 4: the place in the install order, or UNDEFINED_ORDER when there is none
  std::string base_dir;    ///< the directory that the descriptor file belongs to
};

/// The text "undefined": the order of a record whose line gives none. Compare its content, not its address.
ECLIPSE_INT_EXPORT extern const char* const UNDEFINED_ORDER;

/// The descriptor files that the packages of `components` list, in their order: the component's installation directory, and the
/// listed path with "/" for "\" and without line ends at its end. A descriptor file is one whose path contains "etc/eclipse/",
/// wherever that stands. Nothing is looked for on disk. With `filter_by_condition` only components whose condition for `mode`
/// holds are searched. Logs each file found.
ECLIPSE_INT_EXPORT std::vector<std::pair<std::string, std::string>> get_integration_files(std::vector<Component*> components,
                                                                                          EclipseIntegrationMode mode,
                                                                                          bool filter_by_condition);

/// The records of all descriptor files that get_integration_files() yields, in their order. A file that is not on disk is
/// logged and left out.
ECLIPSE_INT_EXPORT std::vector<plugin_config> populate_plugin_list(EclipseIntegrationMode mode,
                                                                   std::vector<Component*> components,
                                                                   bool filter_by_condition);

/// The same as populate_plugin_list() in every step. For callers outside: no action uses it.
ECLIPSE_INT_EXPORT std::vector<plugin_config> populate_eclipse_list(EclipseIntegrationMode mode,
                                                                    std::vector<Component*> components,
                                                                    bool filter_by_condition);

/// The columns of one line of a descriptor file. Only tabs separate; empty columns are kept, except that nothing stands after a
/// tab at the end of the line. An empty line has no columns.
ECLIPSE_INT_EXPORT std::vector<std::string> split_by_tabs(std::string line);

/// Reads the descriptor file `file.second`, relative to the directory `file.first`, and appends one record for each data line
/// to `out`. A file that cannot be read, or is no regular file, appends nothing. Logs nothing.
/// Lines with fewer than two columns, and lines whose first column is "Repository", are no data.
ECLIPSE_INT_EXPORT void process_file(std::pair<std::string, std::string> file, std::vector<plugin_config>& out);

/// Adds what the records in `configs` name to three containers, which are not cleared first:
/// - `repositories`: the update sites as a director command takes them, "file://" and the path below `base_dir`; for an archive
///   (".zip" in lower case) the form jar:file://PATH!/ with double quotes around it, which are part of the text. A repository
///   is always below `base_dir`, even if it looks like an absolute path or a URL.
/// - `extras`: the third columns.
/// - `features`: the features in install order, each once, at the first of its places.
/// The order is a decimal number of 32 bits, which may be negative; one beyond that reads as the nearest limit, and no number
/// as 0. Lower ones come first. A record whose number is taken, by one that gave the same or by one that had to move, gets the
/// next free number above. A record without a repository is passed over. Logs each record taken and each place in the order.
ECLIPSE_INT_EXPORT void populate_lists(const std::vector<plugin_config>& configs, std::set<std::string>& repositories,
                                       std::set<std::string>& extras, std::vector<std::string>& features);

/// Appends `item` to `list` unless the list holds it already.
ECLIPSE_INT_EXPORT void add_unique(std::string item, std::vector<std::string>& list);

// ---- Directors ---------------------------------------------------------------------------------------------------------

/// Installs features with the director of the Eclipse instance whose executable is named: all at once, and if that fails one by
/// one. An instance that is new in this run gets the features of every component, a known one those of the components being
/// installed. It is new
/// - for the choice "internal" when an IDE component is being installed,
/// - for the choice "user" when USER_DEFINED_ECLIPSE_PATH is set and differs from CASHED_ECLIPSE_PATH, byte by byte. There the
///   host keeps, from run to run, the executable that a run used,
/// - never when KORU_MODE is "uninstall".
///
/// Writes ECLIPSE_PATH (the executable's directory) and, when not all went in at once, QN_SCRIPTS_FAILED ("yes") and
/// QN_SCRIPTS_COMPLETE_DESC: its text before, the heading eclipse_integration_failed_title, and what the director printed for
/// each feature that failed. The whole text is handed over up to its first zero byte, if a director printed one.
/// Returns the exit code of the last director command. It may be 0 although an earlier feature failed. Returns 0 when none was
/// run: there is no feature or no repository, or no such executable (then nothing is written either).
ECLIPSE_INT_EXPORT int integrate_into_instance(session_t* session, std::string eclipse_executable);

/// Removes the features of the components being removed with the director of the Eclipse instance whose executable is named:
/// all at once, and if that fails once more for each. Such a retry is the whole failed command with the feature behind it, a
/// text of which a shell makes no director command; so it is the first command that counts. Writes ECLIPSE_PATH.
/// Returns the exit code of the last command, 0 when there was none.
ECLIPSE_INT_EXPORT int unintegrate_from_instance(session_t* session, std::string eclipse_executable);

#endif
