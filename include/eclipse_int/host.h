// The host interface: every operation that the plug-in asks of the installer host which loads it.
//
// Everything that the plug-in needs of a host is declared here, and the host defines all of it. It exports the definitions from
// its executable (link with -rdynamic, or link the plug-in directly), where the dynamic linker finds them by name when the
// plug-in is loaded. A host that lacks one of them cannot load the plug-in with RTLD_NOW.
//
// What holds for all of it:
//
// - Calls come on the thread that called the plug-in, one after another, and only while that call runs.
// - The plug-in has no state of its own, so several threads may call it at a time, each with a session of its own, if the
//   operations of the host allow it.
// - Texts, lists, exceptions and the buffer of get_file() pass between the two, so host and plug-in are built for the same C++
//   standard library and ABI, and use one allocator. A host of the older ABI of texts lacks the operations by their names.
// - Texts are bytes. No encoding is assumed, and an empty text means "not set" wherever a text can be missing.
// - What a host returns by pointer stays the host's: the plug-in never frees it and keeps no pointer after the action returns.
//   The one exception is the buffer of get_file().
// - What is returned by value belongs to the plug-in.
// - No operation is expected to throw. An exception that one throws all the same passes through the plug-in, which releases
//   what it holds on the way, and comes out of the action as it went in.
// - Everything stands in the global namespace, and everything has C++ linkage.
#ifndef ECLIPSE_INT_HOST_H
#define ECLIPSE_INT_HOST_H

#include <set>
#include <string>
#include <vector>

#if defined(__GNUC__)
#define ECLIPSE_INT_PRINTF(format_index, first_argument) __attribute__((format(printf, format_index, first_argument)))
#else
#define ECLIPSE_INT_PRINTF(format_index, first_argument)
#endif

// The host may be compiled with hidden visibility; what the plug-in looks for has to be seen all the same.
#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif

class Component;

/// One package as its provider knows it. A host may derive its own record from this one; the plug-in only reads `prefix`.
struct Package {
  /// The directory below which the package's listed files are placed. It may be relative, and is then relative to the
  /// provider's rootPath().
  std::string prefix;
};

/// Knows the packages from which components are installed. A host implements it and owns every instance. The plug-in calls the
/// three operations by their places in the virtual table: they come first, in this order, with nothing virtual before them.
class Provider {
 public:
  /// Finds the package of a component.
  /// The plug-in looks up by `code` alone: it passes "" as `repository` and as `version`.
  /// Returns null when the provider holds no such package, which is an ordinary answer. The record stays the provider's.
  virtual Package* findPackage(const std::string& repository, const std::string& code, const std::string& version) = 0;

  /// The paths of the package's files in the package's own order, each as the package lists it: it may have "\" as its
  /// separator, end in line feeds and carriage returns, or be empty (then it is skipped).
  /// `package` is a record that findPackage() of this provider returned, never null.
  virtual std::vector<std::string> packageFiles(Package* package) = 0;

  /// The provider's installation root, against which a relative package prefix is resolved.
  virtual std::string rootPath() = 0;

  virtual ~Provider() = default;
};

/// One installable component. The host owns every instance, and keeps each alive as long as its session. The host
/// implements the member functions, usually for a class of its own that it derives from this one.
class Component {
 public:
  /// The identifying code. Every search of the plug-in skips a component whose code is empty.
  std::string code;
  /// Together, as installBase + "/" + installDir, the directory into which the component's files are placed.
  std::string installBase;
  std::string installDir;

  /// The provider that installed or will install this component. Null counts as a provider that holds no package.
  Provider* provider();

  /// True when the component is (being) selected for installation in this session.
  bool installCondition();

  /// True when the component is selected for removal in this session.
  bool uninstallCondition();

  /// True when the component is installed. The plug-in always passes 0.
  bool getInstalled(int);
};

/// The host's catalogue of a session.
class TSD {
 public:
  /// Every component known to the session, in the host's order, which decides the order of features that give none.
  /// A null pointer among them is skipped.
  std::vector<Component*> components();
};

/// One installer session. The host creates and owns it, usually as a class of its own that it derives from this one, and
/// passes it to every action. The plug-in hands it back to the session operations below.
struct session_t {
  TSD tsd;
};

// ---- The session -------------------------------------------------------------------------------------------------------

/// The value of a session variable, empty when it is not set.
std::string env_get_string(session_t* session, const char* name);

/// Sets a session variable. Both texts are copied by the host before it returns.
void env_set_string(session_t* session, const char* name, const char* value);
void env_set_string(session_t* session, const std::string& name, const std::string& value);

/// The host's expansion of an operand text that refers to session variables, such as "${NAME}"; empty when what it refers
/// to is not set. The plug-in always passes true; the meaning of that argument is the host's own.
std::string expand_operand(session_t* session, const char* text, bool);

/// The shared data object of that name, or null when the session holds none, which is an ordinary answer.
/// The plug-in asks for one name only, "KORU_YUM_CAPABILITY_PROVIDERS", and takes what it gets for a
/// `std::map<std::string, Component*>*` from a capability name to the component that provides it. It walks the map in key
/// order, never changes it, and skips an entry whose component is null or has no code. `name` is not written to.
void* session_get_cdata(session_t* session, char* name);

/// True when the installer runs with a graphical interface. Decides how the parts of the failure summary are separated:
/// by "<p>" with one, by line feeds without.
bool is_gui_mode(session_t* session);

// ---- The log -----------------------------------------------------------------------------------------------------------

/// Appends one line to the installer's log. `format` and what follows are those of printf; the line feed at the end is the
/// host's to add. A text that comes from the host or from a file is never part of `format`, only an argument for "%s"; a
/// director's output has line feeds in it. The lines begin with "eclipse_int: ", "eclipse_int::find_eclipse_ide" or
/// "verify_eclipse_version: ".
void print_log(const char* format, ...) ECLIPSE_INT_PRINTF(1, 2);

// ---- Paths and files ---------------------------------------------------------------------------------------------------

/// The path in the host's normalised form. The plug-in passes the paths through it that it joins from pieces before it opens
/// them, asks for them or puts them into a command.
std::string path(std::string text);

/// The path made absolute and resolved; empty when it cannot be. The plug-in asks it for the provider's root, a "/" and a
/// relative package prefix, joined.
std::string resolved_path(std::string text);

/// True for a relative path.
bool path_is_relative(std::string text);

/// The last component of a path, which slashes at its end do not count for. It never holds a "/".
std::string get_basename(const std::string& path);

/// The path without its last component and the slash before that: "/" for "/x", empty for "x".
std::string get_dirname(const std::string& path);

/// True when the path names an existing regular file.
bool is_file(const std::string& path);

/// True when the path exists. The plug-in always passes false; the meaning of that argument is the host's own.
bool file_exists(const std::string& path, bool);

/// The whole file as a zero-terminated text in a buffer from malloc(), or null when the file cannot be read.
/// The plug-in owns the buffer and releases it with free(). It passes 0 as the second argument and null as `size`, and takes
/// the text to end at the first zero byte. A host that is given a `size` stores the file's length in bytes there.
char* get_file(const std::string& path, int, long long* size);

// ---- Texts -------------------------------------------------------------------------------------------------------------

/// The items in their order (that of the vector, or the set's own), with `separator` between each two.
std::string join(std::vector<std::string> items, std::string separator);
std::string join(std::set<std::string> items, std::string separator);

/// `text` with every occurrence of `from` replaced by `to`, and nothing else changed.
std::string replaceAllSubstrings(const std::string& text, const std::string& from, const std::string& to);

// ---- Commands ----------------------------------------------------------------------------------------------------------

/// Runs a command line through the shell, waits for its end, stores the code that it exited with in `exit_status` (the code
/// itself, not what wait() stores) and returns what it printed on its standard output.
/// The command line has redirections in it, and its pieces (the path of the executable, features, repositories) stand in it
/// without quotes but for the URLs of archives: what is special to the shell in them is the shell's to interpret.
/// Every code but 0 is a failure to the plug-in, which knows nothing else of how a command ended. So a command that was killed,
/// or could not be started, is not to leave 0 there: as shells have it, 128 and the number of the signal, and 127 or 126.
/// A command has a zero byte in it when a descriptor has one in a column. Cut off there it is another command, which may well
/// succeed; it is a command that could not be started.
/// The plug-in passes the same `exit_status` to every command of a run, so a host that stores nothing there leaves the code of
/// the command before. It always passes true and "" as the last two arguments; their meaning is the host's own.
std::string get_command_output(std::string command, int* exit_status, bool, std::string);

#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#endif
