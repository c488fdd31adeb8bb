#include "run/asked_resolution.h"

#include <string>
#include <vector>

#include "report/resolution_text.h"
#include "terminal/interruption.h"
#include "terminal/progress_line.h"

using namespace eclipse_resolve;
using namespace eclipse_terminal;

namespace eclipse_run {

Resolution asked_resolution(const eclipse_plan::Plan& plan, const eclipse_p2::UnitReplacement& update) {
  ProgressLine line;
  std::string question;
  Progress progress;
  progress.on_copy = Interruption::check;
  progress.on_question = [&](const std::vector<std::string>& features, std::size_t number, std::size_t most) {
    question = "Asking the director for " + eclipse_report::all_of(features) + " (" + std::to_string(number) + " of at most " +
               std::to_string(most) + ")";
    line.show(question);
  };
  progress.command = Interruption::observer().command_progress;
  const auto check = progress.command.on_wait;
  progress.command.on_wait = [&, check](double seconds) {
    check(seconds);
    line.show(question + ", " + std::to_string(static_cast<long>(seconds)) + " s");
  };
  return resolve(plan, update, progress);
}

}  // namespace eclipse_run
