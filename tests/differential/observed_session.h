// A session that does as planned, on the operations of the stand-alone host, and remembers all that a library asked of it.
#ifndef ECLIPSE_INT_TESTS_DIFFERENTIAL_OBSERVED_SESSION_H
#define ECLIPSE_INT_TESTS_DIFFERENTIAL_OBSERVED_SESSION_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "differential/planned_session.h"
#include "standalone_host/session.h"

namespace differential {

using Texts = std::vector<std::string>;

/// What was asked of the host in one step, in order, and what the step came to.
struct StepRecord {
  std::string step;
  Variables variables_before;
  Texts calls;  ///< every call of a host operation, the provider's among them: "operation(argument, ...)"
  Texts log;
  Texts commands;
  std::vector<int> exit_codes;  ///< of the commands
  std::string result;
  bool operator==(const StepRecord&) const = default;
};

class ObservedSession : public eclipse_host::Session {
 public:
  explicit ObservedSession(const PlannedSession& plan);

  /// Makes a new record, to which all goes that the host is asked for from now on.
  void begin(const Step& step);

  /// Begins a step, takes it and records its result.
  void take(const Step& step, const exports::Table& library);

  /// The components as TSD::components() gives them.
  std::vector<Component*> catalogue() const;

  /// One for each step that was begun.
  std::vector<StepRecord> records;

 private:
  void add_component(const PlannedComponent& planned);
  eclipse_shell::CommandResult next_result(const std::string& command);

  const PlannedSession& plan_;
  std::size_t commands_ = 0;
  eclipse_host::ActiveSession active_{*this};
};

/// Takes all steps of a session with one library. The files have to be there.
std::vector<StepRecord> perform(const PlannedSession& plan, const exports::Table& library);

/// Where two records begin to differ, told for a person; empty when they are the same.
std::string difference(const std::vector<StepRecord>& plug_in, const std::vector<StepRecord>& model);

}  // namespace differential

#endif
