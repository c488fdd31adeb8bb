// A run after which the instance has everything that the session offers, or is as it was.
#ifndef ECLIPSE_INT_RUN_ALL_OR_NOTHING_H
#define ECLIPSE_INT_RUN_ALL_OR_NOTHING_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/json_text.h"
#include "instance/reversion.h"
#include "p2/unit_change.h"
#include "plan/offer.h"
#include "plan/plan.h"
#include "run/run_function.h"
#include "terminal/interruption.h"

namespace eclipse_run {

class AllOrNothing {
 public:
  /// The run that may be reverted, and its additions to the report.
  AllOrNothing(RunFunction run, ReportAdditions additions);

  /// Both refer to this object.
  ///   allOrNothing: {whole, before: time or null, revertedTo: time or null, renamed: [file], restored: [file],
  ///     change, command, failure,
  ///     error}, only when the session has a command
  RunFunction function();
  ReportAdditions additions() const;

 private:
  void run(const eclipse_host::Plugin& plugin, eclipse_host::Session& session, eclipse_host::RunRecord& record,
           const eclipse_host::RunObservers& observers);
  std::string why_there_is_no_way_back() const;
  bool is_whole(const eclipse_host::RunRecord& record) const;
  bool has_all() const;
  void go_back(eclipse_host::Session& session, eclipse_host::RunRecord& record);
  void repair();
  std::string goal() const;
  void revert_unless_unchanged();
  bool was_reverted() const { return !is_whole_ && error_.empty(); }
  std::string text() const;
  void add_to(eclipse_base::Json& json) const;

  RunFunction run_;
  ReportAdditions additions_;
  eclipse_plan::Plan plan_;
  eclipse_plan::Offer offer_;
  std::filesystem::path instance_;  ///< a link to it may be changed meanwhile
  std::string before_;              ///< the time of the newest state before the run; empty when there is none
  bool was_damaged_ = false;
  bool is_whole_ = true;
  std::vector<std::filesystem::path> renamed_;   ///< the new names of states that the run left damaged
  std::vector<std::filesystem::path> restored_;  ///< files of the configuration that the run left damaged
  std::optional<eclipse_p2::UnitChange> change_;
  std::optional<eclipse_instance::Reversion> reversion_;
  std::string error_;                                         ///< why the instance is not as it was
  std::optional<eclipse_terminal::Interrupted> interrupted_;  ///< by which the way back was stopped
};

}  // namespace eclipse_run

#endif
