#include "cli/run_so_far.h"

namespace eclipse_cli {

using namespace eclipse_host;

RunObserver RunSoFar::keeping(const RunObserver& observer) {
  RunObserver keeping = observer;
  keeping.on_action = [this, told = observer.on_action](const std::string& action) {
    actions.push_back(action);
    told(action);
  };
  keeping.on_log = [this, told = observer.on_log](const std::string& line) {
    log.push_back(line);
    told(line);
  };
  keeping.on_command = [this, told = observer.on_command](const std::string& command) {
    running = CommandRecord{actions.back(), command, {}, false};
    told(command);
  };
  keeping.command_progress.on_output = [this, told = observer.command_progress.on_output](std::string_view piece) {
    if (running) running->result.output += piece;
    told(piece);
  };
  keeping.command_progress.on_error_output = [this, told = observer.command_progress.on_error_output](std::string_view piece) {
    if (running) running->result.error_output += piece;
    told(piece);
  };
  keeping.command_progress.on_wait = [this, told = observer.command_progress.on_wait](double seconds) {
    if (running) running->result.seconds = seconds;
    told(seconds);
  };
  keeping.on_command_end = [this, told = observer.on_command_end](const CommandRecord& record) {
    commands.push_back(record);
    running.reset();
    told(record);
  };
  return keeping;
}

void RunSoFar::forget_running_output() {
  if (running) running->result = {};
}

}  // namespace eclipse_cli
