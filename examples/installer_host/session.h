// One run of the installer: its variables, its catalogue and its log.
#ifndef INSTALLER_HOST_SESSION_H
#define INSTALLER_HOST_SESSION_H

#include <atomic>
#include <deque>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "eclipse_int/host.h"

/// A component of the product, and its package. The plug-in knows it as a Component.
struct Product : Component {
  bool selected_for_install = false;
  bool selected_for_removal = false;
  bool installed = false;
  Package package;                 ///< its prefix is relative to the root of the provider
  std::vector<std::string> files;  ///< as the package lists them
};

struct Session;

/// Finds the packages of the components of one session.
class Catalogue : public Provider {
 public:
  explicit Catalogue(Session& session) : session_(session) {}
  Package* findPackage(const std::string& repository, const std::string& code, const std::string& version) override;
  std::vector<std::string> packageFiles(Package* package) override;
  std::string rootPath() override;

 private:
  Session& session_;
};

struct Session : session_t {
  std::string root;  ///< the directory into which the product is installed
  std::map<std::string, std::string> variables;
  std::deque<Product> products;                    ///< a deque never moves what it has
  std::map<std::string, Component*> capabilities;  ///< exactly this type: the plug-in gets its address as void*
  Catalogue catalogue{*this};
  std::ofstream log;

  std::atomic<bool> is_cancelled{false};  ///< set by the user interface, on another thread
  int commands_that_succeeded = 0;
};

/// The session of this thread, for the operations that are not given one. Set before the first action is called.
extern thread_local Session* session_of_thread;

#endif
