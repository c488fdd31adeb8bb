#include "differential/observed_session.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "fake_host/file_buffers.h"

using eclipse_host::CatalogueComponent;
using eclipse_host::HostCall;
using eclipse_shell::CommandResult;

namespace differential {

namespace {

/// A component whose package operations can be watched and answered badly like the rest of the host.
class ObservedComponent : public CatalogueComponent {
 public:
  explicit ObservedComponent(const eclipse_host::Session& session) : session_(session) {}

 private:
  Package* findPackage(const std::string& repository, const std::string& wanted, const std::string& version) override {
    if (goes_badly({"Provider::findPackage", {repository, wanted, version}})) return nullptr;
    return package && wanted == code ? &*package : nullptr;
  }

  std::vector<std::string> packageFiles(Package* record) override {
    if (goes_badly({"Provider::packageFiles", {record == &*package ? "the package" : "another package"}})) return {};
    return package->files;
  }

  std::string rootPath() override {
    if (goes_badly({"Provider::rootPath", {}})) return {};
    return package->root;
  }

  bool goes_badly(const HostCall& call) {
    if (session_.on_call) session_.on_call(call);
    return session_.answers_badly && session_.answers_badly(call);
  }

  const eclipse_host::Session& session_;
};

std::string as_text(const HostCall& call) {
  std::string text;
  for (const std::string& argument : call.arguments) text += (text.empty() ? "" : ", ") + readable(argument);
  return std::string(call.operation) + "(" + text + ")";
}

/// The lines of a record, each of them with what it is.
Texts lines_of(const StepRecord& record) {
  Texts lines = record.calls;
  for (const std::string& line : record.log) lines.push_back("logged: " + readable(line));
  for (std::size_t i = 0; i < record.commands.size(); ++i) {
    lines.push_back("ran: " + readable(record.commands[i]) + " = " + readable(record.exit_codes[i]));
  }
  for (const auto& [name, value] : record.variables_before) lines.push_back("before: " + name + " = " + readable(value));
  lines.push_back("result: " + record.result);
  return lines;
}

std::string difference(const StepRecord& plug_in, const StepRecord& model) {
  const Texts ours = lines_of(plug_in);
  const Texts theirs = lines_of(model);
  const auto [our, their] = std::mismatch(ours.begin(), ours.end(), theirs.begin(), theirs.end());
  std::string text = "In " + plug_in.step + ", both the same:\n";
  for (auto line = ours.begin(); line != our; ++line) text += "    " + *line + "\n";
  text += "  plug-in: " + (our == ours.end() ? "nothing more" : *our) + "\n";
  return text + "  model:   " + (their == theirs.end() ? "nothing more" : *their) + "\n";
}

}  // namespace

ObservedSession::ObservedSession(const PlannedSession& plan) : plan_(plan) {
  for (const auto& component : plan.components) {
    if (component) {
      add_component(*component);
    } else {
      components.push_back(nullptr);
    }
  }
  if (!plan.capabilities) capabilities.reset();
  for (const auto& [name, place] : plan.capabilities.value_or(std::map<std::string, std::optional<std::size_t>>())) {
    (*capabilities)[name] = place ? components.at(*place).get() : nullptr;
  }
  variables = plan.variables;
  graphical = plan.graphical;
  run_command = [this](const std::string& command) { return next_result(command); };
  on_log = [this](const std::string& line) { records.back().log.push_back(line); };
  on_call = [this](const HostCall& call) { records.back().calls.push_back(as_text(call)); };
  on_file_buffer = fake::watch_file_buffer;
  if (!plan.failing_operation.empty()) {
    answers_badly = [this](const HostCall& call) { return call.operation == plan_.failing_operation; };
  }
}

void ObservedSession::add_component(const PlannedComponent& planned) {
  auto component = std::make_unique<ObservedComponent>(*this);
  component->code = planned.code;
  component->installBase = planned.installBase;
  component->installDir = planned.installDir;
  component->selected_for_install = planned.install;
  component->selected_for_removal = planned.remove;
  component->installed = planned.installed;
  component->has_provider = planned.has_provider;
  if (planned.package) {
    component->package.emplace();
    component->package->prefix = planned.package->prefix;
    component->package->files = planned.package->files;
    component->package->root = planned.package->root;
  }
  components.push_back(std::move(component));
}

void ObservedSession::begin(const Step& step) { records.push_back({step.text, variables, {}, {}, {}, {}, ""}); }

void ObservedSession::take(const Step& step, const exports::Table& library) {
  begin(step);
  records.back().result = step.take(library, *this);
}

std::vector<Component*> ObservedSession::catalogue() const {
  std::vector<Component*> all;
  for (const auto& component : components) all.push_back(component.get());
  return all;
}

CommandResult ObservedSession::next_result(const std::string& command) {
  const CommandResult& result = plan_.results.at(commands_++ % plan_.results.size());
  records.back().commands.push_back(command);
  records.back().exit_codes.push_back(result.exit_code);
  return result;
}

std::vector<StepRecord> perform(const PlannedSession& plan, const exports::Table& library) {
  ObservedSession session(plan);
  for (const Step& step : plan.steps) session.take(step, library);
  return session.records;
}

std::string difference(const std::vector<StepRecord>& plug_in, const std::vector<StepRecord>& model) {
  const auto [ours, theirs] = std::mismatch(plug_in.begin(), plug_in.end(), model.begin(), model.end());
  if (ours == plug_in.end() && theirs == model.end()) return "";
  if (ours == plug_in.end() || theirs == model.end()) return "One took more steps than the other.\n";
  return difference(*ours, *theirs);
}

}  // namespace differential
