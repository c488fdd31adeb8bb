// The command run as a child in a directory of its own, on a product and an Eclipse that is a shell script.
#ifndef ECLIPSE_INT_TESTS_CLI_CHILD_COMMAND_H
#define ECLIPSE_INT_TESTS_CLI_CHILD_COMMAND_H

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "fake_host/temporary_directory.h"

namespace cli_test {

/// The result of a command. In the texts, DIRECTORY replaces the test's directory and "N s" every duration.
struct Outcome {
  int status;
  std::string output;
  std::string error;

  bool operator==(const Outcome& other) const {
    return status == other.status && output == other.output && error == other.error;
  }
};

void PrintTo(const Outcome& outcome, std::ostream* stream);

/// The content of a file; empty when it is not there.
std::string content_of(const std::string& file);

/// Names and texts as the members of a JSON object.
std::string members(const std::map<std::string, std::string>& texts);

/// The usual product: an Eclipse at eclipse/eclipse that the user names, and the component "tools" with the features "one" and
/// "two". What the Eclipse does as the director is in eclipse/N.sh for the N-th time that it is started; it succeeds
/// where there is none. The answer to what is installed ends as a director's does.
class ChildCommand : public testing::Test {
 protected:
  ChildCommand();

  /// Runs "eclipse-int ARGUMENTS" through a shell, started by `starter` when there is one.
  Outcome eclipse_int(const std::string& arguments, const std::string& starter = "") const;

  /// The beginning of a starter that limits the memory; empty when this build needs more to start, as under sanitizers.
  std::string memory_limit(int megabytes) const;

  /// Writes session.json: the usual product in this mode, and with these variables over the usual ones.
  void write_session(const std::string& mode, const std::map<std::string, std::string>& variables = {},
                     const std::string& state = "\"install\": true") const;

  /// Makes the product's update site, with its features in version 1.0.0.
  static void write_offer();

  /// What the director does when it is started for the N-th time, as shell commands.
  void script(int start, const std::string& commands) const;

  /// Lets each start of the director leave a new state of the profile, with the units of the newest one: by itself it writes
  /// none.
  static void let_director_leave_states();

  /// The arguments of each start of the director.
  std::string director_calls() const;

  const fake::TemporaryDirectory directory;
};

/// The arguments with which the director installs and removes these features of the usual product.
std::string install_arguments(const std::string& features);
std::string removal_arguments(const std::string& features);

}  // namespace cli_test

#endif
