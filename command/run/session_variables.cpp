#include "run/session_variables.h"

#include <algorithm>

#include "base/printable.h"
#include "run/usage_error.h"
#include "standalone_host/session_run.h"
#include "terminal/standard_streams.h"

using namespace eclipse_host;
using namespace eclipse_terminal;

namespace eclipse_run {

SessionVariables::SessionVariables(const std::vector<std::string>& settings, const std::optional<std::string>& file)
    : file_(file), settings_(settings) {
  if (file_) of_file_ = read_variables_file(*file_);
}

void SessionVariables::add_to(Session& session) const {
  const auto mode = of_file_.find("KORU_MODE");
  if (mode != of_file_.end() && mode->second != session.variable("KORU_MODE")) {
    print_message("note: " + eclipse_base::printable(*file_) + ": KORU_MODE " + eclipse_base::in_quotes(mode->second) +
                  " is ignored; the session file, or --set KORU_MODE=..., sets the mode");
  }
  session.variables.insert(of_file_.begin(), of_file_.end());
  set_in(session);
}

void SessionVariables::set_in(Session& session) const {
  for (const std::string& setting : settings_) {
    const std::size_t equals = setting.find('=');
    session.variables[setting.substr(0, equals)] = setting.substr(equals + 1);
  }
}

void SessionVariables::check_mode() const {
  Session session;
  session.variables["KORU_MODE"] = modes.front();
  set_in(session);
  eclipse_run::check_mode(session);
}

void check_mode(const Session& session) {
  const std::string mode = session.variable("KORU_MODE");
  if (std::find(modes.begin(), modes.end(), mode) != modes.end()) return;
  throw UsageError("--set: KORU_MODE is " + eclipse_base::in_quotes(mode) + "; write " + eclipse_base::any_in_quotes(modes));
}

}  // namespace eclipse_run
