// The options that all subcommands on a session share.
#ifndef ECLIPSE_INT_RUN_SESSION_OPTIONS_H
#define ECLIPSE_INT_RUN_SESSION_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

namespace eclipse_run {

struct SessionOptions {
  std::string session;                 ///< the session file, or a directory of components
  std::optional<std::string> eclipse;  ///< for a directory: the instance to change
  bool removes = false;                ///< for a directory: remove its components' features
  std::vector<std::string> settings;   ///< each "NAME=VALUE", with a name that is not empty
  std::optional<std::string> variables;
  std::optional<std::string> write_variables;
  std::optional<std::string> log;
  std::optional<std::string> plugin;
  bool json = false;
  double wait = 0;  ///< for a director that is at work on the instance, in seconds
};

}  // namespace eclipse_run

#endif
