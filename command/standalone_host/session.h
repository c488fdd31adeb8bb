// One session of the stand-alone host: what the operations of the host interface read and change, with hooks to script and
// observe them.
#ifndef ECLIPSE_INT_STANDALONE_HOST_SESSION_H
#define ECLIPSE_INT_STANDALONE_HOST_SESSION_H

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "eclipse_int/host.h"
#include "shell/command_runner.h"

namespace eclipse_host {

/// The package of one component.
struct CataloguePackage : Package {
  std::string root;                ///< what the provider's rootPath() returns
  std::vector<std::string> files;  ///< as the package lists them
};

/// One component of the catalogue, which is also its own provider: it has its own package or none.
class CatalogueComponent : public Component, private Provider {
 public:
  bool selected_for_install = false;
  bool selected_for_removal = false;
  bool installed = false;
  bool has_provider = true;
  std::optional<CataloguePackage> package;

  /// The provider of this component, null when it has none.
  Provider* provider_of() { return has_provider ? this : nullptr; }

 private:
  Package* findPackage(const std::string& repository, const std::string& code, const std::string& version) override;
  std::vector<std::string> packageFiles(Package* package) override;
  std::string rootPath() override;
};

/// One call of a host operation, before it is carried out.
struct HostCall {
  std::string_view operation;          ///< its name in the host interface, such as "Component::provider"
  std::vector<std::string> arguments;  ///< as texts; sessions, components, packages and out-parameters are left out
};

/// What KORU_MODE can be in a session that is run as a whole.
inline constexpr std::array<std::string_view, 3> modes = {"install", "modify", "uninstall"};

/// What ECLIPSE_INTEGRATION_CHOICE can be, besides empty; each has a function of Session.
inline constexpr std::array<std::string_view, 3> choices = {"internal", "user", "none"};

/// The variables that a run reads, whoever sets them.
inline constexpr std::array<std::string_view, 7> variables_read = {"KORU_MODE",
                                                                   "ECLIPSE_INTEGRATION_CHOICE",
                                                                   "ECLIPSE_BIN",
                                                                   "USER_DEFINED_ECLIPSE_PATH",
                                                                   "CASHED_ECLIPSE_PATH",
                                                                   "ECLIPSE_MIN_SUPPORTED_VERSION",
                                                                   "eclipse_integration_failed_title"};

/// The variable with the executable of an earlier run.
inline constexpr const char* cached_executable = "CASHED_ECLIPSE_PATH";

/// A session. The host operations work on the one that is active (see ActiveSession).
class Session : public session_t {
 public:
  std::map<std::string, std::string> variables;
  bool graphical = false;
  std::vector<std::unique_ptr<CatalogueComponent>> components;  ///< null pointers are passed on as such
  /// What the plug-in sees as the shared data object KORU_YUM_CAPABILITY_PROVIDERS, unless there is none.
  std::optional<std::map<std::string, Component*>> capabilities = std::map<std::string, Component*>();

  /// Runs a command line in the place of run_in_shell(), when set.
  std::function<eclipse_shell::CommandResult(const std::string& command)> run_command;
  /// Gets each line of the log as it was logged: a director's output in it keeps all its line feeds, including the last.
  std::function<void(const std::string& line)> on_log = [](const std::string&) {};
  /// Sees each variable that is written, after it was.
  std::function<void(const std::string& name, const std::string& value)> on_variable = [](const std::string&,
                                                                                          const std::string&) {};
  /// Gives the path that path() returns in the place of this one, when set.
  std::function<std::string(std::string path)> replace_path;
  /// Sees each buffer that get_file() hands to the plug-in, which is to free() it. Left empty, it costs nothing.
  std::function<void(const void* buffer)> on_file_buffer;
  /// Sees each call before it is carried out; what it throws comes out of the operation. Left empty, it costs nothing.
  std::function<void(const HostCall& call)> on_call;
  /// Asked of each call that may be answered badly in an ordinary way, after on_call: true makes the operation do that. It
  /// answers with null, an empty text or list, or false, or with a command that printed nothing and failed. Left empty, no.
  std::function<bool(const HostCall& call)> answers_badly;

  /// The value of a variable, empty when it is not set.
  std::string variable(const std::string& name) const;

  /// Whether KORU_MODE is "uninstall".
  bool is_removal() const { return variable("KORU_MODE") == "uninstall"; }

  /// Whether ECLIPSE_INTEGRATION_CHOICE is "internal": an IDE that is a component, with an executable named ECLIPSE_BIN.
  bool chooses_internal() const { return has_choice("internal"); }
  /// Whether it is "user": the one whose executable the user names.
  bool chooses_users_own() const { return has_choice("user"); }
  /// Whether it is "none": no integration.
  bool declines_integration() const { return has_choice("none"); }

  /// Replaces each "${NAME}" in a text by the value of that variable. A "${" without its "}" stays as it is.
  std::string expand(std::string_view text) const;

 private:
  bool has_choice(std::string_view choice) const;
};

/// Makes a session the one that the host operations work on, for the lifetime of this object. Some operations, print_log()
/// among them, do not get the session as an argument; so one is active at a time, on one thread. Operations that get another
/// session than the active one, or are called without one, throw std::logic_error.
class ActiveSession {
 public:
  explicit ActiveSession(Session& session);
  ~ActiveSession();
  ActiveSession(const ActiveSession&) = delete;
  ActiveSession& operator=(const ActiveSession&) = delete;

 private:
  Session* previous_;
};

}  // namespace eclipse_host

#endif
