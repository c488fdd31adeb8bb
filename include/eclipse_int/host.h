// The host interface: every operation that the plug-in asks of the installer host which loads it.
//
// Everything that the plug-in needs from a host is declared here, and the host defines all of it. The host exports the
// definitions from its executable (link it with -rdynamic), so that the dynamic linker finds them by name when the plug-in is
// loaded. If one of them is missing, loading the plug-in fails.
//
// General rules:
//
// - Calls come on the thread that called the plug-in, one after another, and only during that call.
// - The plug-in has no state of its own, so several threads may call it at the same time, each with a session of its own, if
//   the operations of the host allow it. print_log() and get_command_output() are not given the session: a host that needs it
//   there keeps it per thread.
// - Texts, lists, exceptions and the buffer of get_file() pass between the two, so host and plug-in must be built for the same
//   C++ standard library and ABI, and must use the same allocator. A host built for the old string ABI does not have the
//   operations under the names that the plug-in looks for.
// - Texts are bytes. No encoding is assumed, and an empty text means "not set" wherever a text can be missing.
// - No operation changes a text that it is given.
// - What a host returns by pointer still belongs to the host: the plug-in never frees it and keeps no pointer after the action
//   returns. The only exception is the buffer of get_file().
// - What is returned by value belongs to the plug-in.
// - No operation is expected to throw. If one throws anyway, the exception passes through the plug-in, which releases what it
//   holds on the way, and leaves the action unchanged.
// - Everything is in the global namespace and has C++ linkage.
#ifndef ECLIPSE_INT_HOST_H
#define ECLIPSE_INT_HOST_H

#include <set>
#include <string>
#include <vector>

#include "eclipse_int/version.h"

#if defined(__GNUC__)
#define ECLIPSE_INT_PRINTF(format_index, first_argument) __attribute__((format(printf, format_index, first_argument)))
#else
#define ECLIPSE_INT_PRINTF(format_index, first_argument)
#endif

// The host may be compiled with hidden visibility; what the plug-in looks for must be visible anyway.
#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

class Component;

/// One package, as recorded by its provider. A host may derive its own record from this one; the plug-in reads only `prefix`.
struct Package {
  /// The directory below which the package's listed files are placed. It may be relative, and is then relative to the
  /// provider's rootPath().
  std::string prefix;
};

/// Finds the packages from which components are installed. A host implements it and owns every instance. The plug-in calls the
/// three operations by their positions in the virtual table: they come first, in this order, with nothing virtual before them.
class Provider {
 public:
  /// Finds the package of a component.
  /// The plug-in looks up by `code` alone: it passes "" as `repository` and as `version`.
  /// Returns null if the provider has no such package, which is an ordinary answer. The provider keeps owning the record.
  virtual Package* findPackage(const std::string& repository, const std::string& code, const std::string& version) = 0;

  /// The paths of the package's files in the package's own order, each as the package lists it: it may use "\" as its
  /// separator, end in line feeds and carriage returns, or be empty (then it is skipped).
  /// `package` is a record that findPackage() of this provider returned, never null.
  virtual std::vector<std::string> packageFiles(Package* package) = 0;

  /// The provider's installation root, against which a relative package prefix is resolved.
  virtual std::string rootPath() = 0;

  virtual ~Provider() = default;
};

/// One installable component. The host owns every instance and keeps each alive as long as its session. The host
/// implements the member functions, usually by casting `this` to a class of its own that it derives from this one.
class Component {
 public:
  /// The identifying code. Every search skips a component whose code is empty.
  std::string code;
  /// Together, as installBase + "/" + installDir, the directory into which the component's files are placed.
  std::string installBase;
  std::string installDir;

  /// The provider that installed or will install this component. Null is treated as a provider without packages.
  Provider* provider();

  /// True if the component is (being) selected for installation in this session.
  bool installCondition();

  /// True if the component is selected for removal in this session.
  bool uninstallCondition();

  /// True if the component is installed. The plug-in always passes 0.
  bool getInstalled(int);
};

/// The host's catalogue of a session. It has no data of its own: `this` is the address of the first member of a session_t, and
/// so of the session_t itself. A host casts it to session_t*, then to its own session class.
class TSD {
 public:
  /// Every component known to the session, in the host's order, which decides the order of features that give none.
  /// Null pointers are skipped.
  std::vector<Component*> components();
};

/// One installer session. The host creates and owns it, usually as an object of a class of its own that it derives from this
/// one, and passes it to every action. The plug-in passes it back to the session operations below.
struct session_t {
  TSD tsd;
};

// ---- The session -------------------------------------------------------------------------------------------------------

/// The value of a session variable, empty if it is not set.
std::string env_get_string(session_t* session, const char* name);

/// Sets a session variable. The host copies both texts before it returns. Names are compared byte by byte.
void env_set_string(session_t* session, const char* name, const char* value);
void env_set_string(session_t* session, const std::string& name, const std::string& value);

/// The host's expansion of an operand text that refers to session variables, such as "${NAME}"; empty if the variable is not
/// set. The plug-in always passes true; the meaning of that argument is up to the host.
std::string expand_operand(session_t* session, const char* text, bool);

/// The shared data object of that name, or null if the session has none, which is an ordinary answer.
/// The plug-in asks for one name only, "KORU_YUM_CAPABILITY_PROVIDERS", and treats the result as a
/// `std::map<std::string, Component*>*` from a capability name to the component that provides it. It walks the map in key
/// order, never changes it, and skips entries whose component is null or has no code. The host must not write to `name`.
void* session_get_cdata(session_t* session, char* name);

/// True if the installer runs with a graphical interface. Decides what separates the parts of the failure summary:
/// "<p>" if there is one, line feeds otherwise.
bool is_gui_mode(session_t* session);

// ---- The log -----------------------------------------------------------------------------------------------------------

/// Appends one line to the installer's log. The arguments are those of printf; the host adds the line feed at the end.
/// A text that comes from the host or from a file is never part of `format`, only an argument for "%s"; the output of a
/// director contains line feeds. Lines begin with "eclipse_int: ", "eclipse_int::find_eclipse_ide" or
/// "verify_eclipse_version: ".
void print_log(const char* format, ...) ECLIPSE_INT_PRINTF(1, 2);

// ---- Paths and files ---------------------------------------------------------------------------------------------------

/// The path in the host's normalised form. The plug-in passes every path that it joins from pieces through it before it opens
/// the file, checks whether it exists or puts it into a command.
std::string path(std::string text);

/// The path made absolute and resolved; empty if that fails. The plug-in passes the provider's root, a "/" and a relative
/// package prefix, joined.
std::string resolved_path(std::string text);

/// True if the path is relative.
bool path_is_relative(std::string text);

/// The last component of a path, ignoring trailing slashes. It never contains a "/".
std::string get_basename(const std::string& path);

/// The path without its last component and the slash before that: "/" for "/x", empty for "x".
std::string get_dirname(const std::string& path);

/// True if the path names an existing regular file.
bool is_file(const std::string& path);

/// True if the path exists. The plug-in always passes false; the meaning of that argument is up to the host.
bool file_exists(const std::string& path, bool);

/// The whole file as a zero-terminated text in a buffer from malloc(), or null if the file cannot be read.
/// The plug-in owns the buffer and releases it with free(). It passes 0 as the second argument and null as `size`, and reads
/// the text up to the first zero byte. If `size` is not null, the host stores the file's length in bytes there.
char* get_file(const std::string& path, int, long long* size);

// ---- Texts -------------------------------------------------------------------------------------------------------------

/// The items in the order of the container, with `separator` between adjacent ones.
std::string join(std::vector<std::string> items, std::string separator);
std::string join(std::set<std::string> items, std::string separator);

/// `text` with every occurrence of `from` replaced by `to`, and nothing else changed.
std::string replaceAllSubstrings(const std::string& text, const std::string& from, const std::string& to);

// ---- Commands ----------------------------------------------------------------------------------------------------------

/// Runs a command line through the shell, waits until it ends, stores its exit code in `exit_status` (the code itself, not
/// what wait() stores) and returns what it printed to standard output. Every byte of the output counts: line feeds at its end
/// and zero bytes, too. The command line contains redirections, and its parts (the executable's path, features, repositories)
/// are not quoted, except for the URLs of archives: the shell interprets its metacharacters in them. The plug-in treats every
/// code but 0 as a failure and learns nothing else about how a command ended. So a command that was killed or could not be
/// started must not store 0. As shells do, store 128 plus the number of the signal, and 127 or 126. If a descriptor has a zero
/// byte in a column, the command has one, too. Cut off there, it would be another command, which might well succeed; treat it
/// as a command that could not be started. The plug-in passes the same `exit_status` to every command of a run, so if a host
/// stores nothing there, the code of the previous command remains. It always passes true and "" as the last two arguments;
/// their meaning is up to the host. Its standard input should be empty: a director that asks for a password would otherwise
/// wait for a terminal that nobody watches. A command leaves neither an open file nor a child that nobody has waited for. While
/// a host ignores SIGCHLD, the kernel keeps no exit codes; a host that does so turns it off for the command. An action blocks
/// for as many of these calls as it makes (one, and one for each feature if that fails): progress and cancelling belong here.
std::string get_command_output(std::string command, int* exit_status, bool, std::string);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#endif
