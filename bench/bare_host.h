// A host that does as little as a host can: it formats no log line, takes every path for normalised and runs no command. What
// is measured on it is the plug-in's own time.
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
  /// Gives the list away instead of a copy, which leaves nothing for a second call.
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

/// The processor time that went into the lists that packageFiles() returned so far: into their copies, not their release.
double time_in_package_files();

/// The command line that was to be run last, whichever session it was for.
std::string& last_command();

/// While one of these lives, is_file() answers yes without a look at the disk.
class EveryFileExists {
 public:
  EveryFileExists();
  ~EveryFileExists();
  EveryFileExists(const EveryFileExists&) = delete;
  EveryFileExists& operator=(const EveryFileExists&) = delete;
};

}  // namespace bench

#endif
