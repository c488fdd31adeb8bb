#include "fake_host/fake_host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "fake_host/file_buffers.h"

using eclipse_host::CatalogueComponent;
using eclipse_host::HostCall;
using eclipse_shell::CommandResult;

namespace fake {

namespace {

constexpr std::array<std::string_view, 4> log_prefixes = {
    "eclipse_int: ", "eclipse_int::find_eclipse_ide: ", "eclipse_int::find_eclipse_ide : ", "verify_eclipse_version: "};

std::string as_text(const HostCall& call) {
  std::string text(call.operation);
  for (std::size_t i = 0; i < call.arguments.size(); ++i) text += (i == 0 ? "(" : ", ") + call.arguments[i];
  return text + (call.arguments.empty() ? "()" : ")");
}

void expect_settled_buffers() {
  const BufferAccount account = settle_file_buffers();
  if (account.never_freed > 0) ADD_FAILURE() << account.never_freed << " buffer(s) of get_file() were not freed";
  if (account.freed_again > 0) ADD_FAILURE() << account.freed_again << " buffer(s) of get_file() were freed more than once";
}

}  // namespace

CatalogueComponent* add_component(eclipse_host::Session& session, const ComponentFields& fields) {
  auto component = std::make_unique<CatalogueComponent>();
  component->code = fields.code;
  component->installBase = fields.installBase;
  component->installDir = fields.installDir;
  component->selected_for_install = fields.install;
  component->selected_for_removal = fields.remove;
  component->installed = fields.installed;
  if (fields.package) {
    component->package.emplace();
    component->package->prefix = fields.package->prefix;
    component->package->files = fields.package->files;
    component->package->root = fields.package->root;
  }
  for (const std::string& name : fields.capabilities) (*session.capabilities)[name] = component.get();
  return session.components.emplace_back(std::move(component)).get();
}

FakeHost::FakeHost() {
  run_command = [this](const std::string& command) { return next_result(command); };
  on_log = [this](const std::string& line) { record_log(line); };
  on_variable = [this](const std::string& name, const std::string& value) {
    events.push_back(writes.emplace_back(name + "=" + value));
  };
  on_call = [this](const HostCall& call) { record_call(call); };
  on_file_buffer = watch_file_buffer;
}

FakeHost::~FakeHost() {
  if (!results.empty()) ADD_FAILURE() << results.size() << " scripted command result(s) were not used";
  expect_settled_buffers();
}

std::vector<Component*> FakeHost::catalogue() {
  std::vector<Component*> all;
  for (const auto& component : components) all.push_back(component.get());
  return all;
}

Texts FakeHost::calls_of(const Texts& operations) const {
  Texts chosen;
  for (const std::string& call : calls) {
    if (std::any_of(operations.begin(), operations.end(), [&](const std::string& name) { return call.starts_with(name); })) {
      chosen.push_back(call);
    }
  }
  return chosen;
}

CommandResult FakeHost::next_result(const std::string& command) {
  events.push_back("$ " + commands.emplace_back(command));
  if (results.empty()) {
    ADD_FAILURE() << "a command that was not scripted: " << command;
    return {};
  }
  CommandResult result = results.front();
  results.pop_front();
  return result;
}

void FakeHost::record_log(const std::string& line) {
  events.push_back(log.emplace_back(line));
  if (std::none_of(log_prefixes.begin(), log_prefixes.end(),
                   [&](std::string_view prefix) { return line.starts_with(prefix); })) {
    ADD_FAILURE() << "a log line without a known prefix: " << line;
  }
}

void FakeHost::record_call(const HostCall& call) {
  calls.push_back(as_text(call));
  before_call(call);
}

}  // namespace fake
