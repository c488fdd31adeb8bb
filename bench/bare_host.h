// A host that does as little as a host can: it formats no log line, treats every path as normalised and runs no command. So the
// measured time is the plug-in's own.
#ifndef ECLIPSE_INT_BENCH_BARE_HOST_H
#define ECLIPSE_INT_BENCH_BARE_HOST_H

#include <map>
#include <string>
#include <vector>

#include "eclipse_int/host.h"

namespace bench {

/// A component that is selected, and is the provider of its own package.
class BareComponent : public Component, public Provider {
 public:
  Package package;
  std::vector<std::string> files;
  /// Returns the list itself instead of a copy, so that a second call returns nothing.
  bool hands_over = false;

  Package* findPackage(const std::string&, const std::string&, const std::string&) override { return &package; }
  std::vector<std::string> packageFiles(Package*) override;
  std::string rootPath() override { return "."; }
};

struct BareSession : session_t {
  std::map<std::string, std::string> variables;
  std::vector<Component*> components;
  std::map<std::string, Component*> capabilities;
};

/// The processor time of this thread, in seconds.
double processor_time();

/// The processor time spent on copying the lists that packageFiles() has returned so far, not on releasing them.
double time_in_package_files();

/// The last command line that was to be run, in any session.
std::string& last_command();

/// While one of these exists, is_file() returns true without looking at the disk.
class EveryFileExists {
 public:
  EveryFileExists();
  ~EveryFileExists();
  EveryFileExists(const EveryFileExists&) = delete;
  EveryFileExists& operator=(const EveryFileExists&) = delete;
};

}  // namespace bench

#endif
