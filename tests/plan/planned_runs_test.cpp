// Whole sessions by chance: what is planned is what is run.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "differential/random_session.h"
#include "fake_host/temporary_directory.h"
#include "plan/make_plan.h"
#include "standalone_host/session_run.h"

using namespace eclipse_dry_run;
using namespace eclipse_shell;

namespace eclipse_plan {

namespace {

using namespace eclipse_host;

std::unique_ptr<Session> session_of(const differential::PlannedSession& planned) {
  auto session = std::make_unique<Session>();
  session->variables = planned.variables;
  session->graphical = planned.graphical;
  for (const auto& fields : planned.components) {
    session->components.push_back(fields ? std::make_unique<CatalogueComponent>() : nullptr);
    if (!fields) continue;
    CatalogueComponent& component = *session->components.back();
    component.code = fields->code;
    component.installBase = fields->installBase;
    component.installDir = fields->installDir;
    component.selected_for_install = fields->install;
    component.selected_for_removal = fields->remove;
    component.installed = fields->installed;
    component.has_provider = fields->has_provider;
    if (!fields->package) continue;
    CataloguePackage& package = component.package.emplace();
    package.prefix = fields->package->prefix;
    package.root = fields->package->root;
    package.files = fields->package->files;
  }
  session->capabilities.reset();
  if (!planned.capabilities) return session;
  session->capabilities.emplace();
  for (const auto& [name, index] : *planned.capabilities) {
    session->capabilities->emplace(name, index ? session->components[*index].get() : nullptr);
  }
  return session;
}

/// The commands of a real run whose commands all end with this code.
std::vector<std::string> commands_run(const Plugin& plugin, Session& session, int exit_code) {
  session.run_command = [exit_code](const std::string&) { return CommandResult{"", "", exit_code, 0}; };
  RunRecord record;
  run_session(plugin, session, record);
  std::vector<std::string> commands;
  for (const CommandRecord& command : record.commands) commands.push_back(command.command);
  session.run_command = nullptr;
  return commands;
}

std::string line_of(const std::string& file, std::size_t number) {
  std::ifstream stream(file, std::ios::binary);
  std::string line;
  for (std::size_t i = 0; i < number; ++i) std::getline(stream, line);
  return line;
}

std::string joined_features(const Plan& plan) {
  std::string joined;
  for (const PlannedRecord* record : plan.features()) joined += (joined.empty() ? "" : ",") + record->config.feature;
  return joined;
}

struct Seen {
  int commands = 0;
  int removals = 0;
  int retries = 0;
  int records = 0;
  int moved = 0;
  int repeated = 0;
  int left_out = 0;
  int standing_out = 0;
};

bool read_alike(const PlannedCommand& one, const PlannedCommand& other) {
  const auto sizes = [](const ShellReading& reading) {
    std::vector<std::size_t> counts;
    for (const ShellWords& words : reading.commands) counts.push_back(words.size());
    return counts;
  };
  return one.runs_as_intended() == other.runs_as_intended() && one.is_too_long() == other.is_too_long() &&
         one.shell.error.empty() == other.shell.error.empty() && one.shell.has_expansion == other.shell.has_expansion &&
         sizes(one.shell) == sizes(other.shell) && one.shell.redirections.size() == other.shell.redirections.size();
}

void check_what_is_left_out(const Plan& plan, const Plan& shorter, Seen& seen) {
  EXPECT_EQ(shorter.retry_count, plan.retry_count);
  std::size_t longest = 0;
  std::vector<const PlannedCommand*> shown(plan.retries.size() + 1, nullptr);
  for (const PlannedCommand& retry : shorter.retries) {
    shown.at(retry.number) = &retry;
    EXPECT_EQ(retry.text, plan.retries.at(retry.number - 1).text);
  }
  for (const PlannedCommand& retry : plan.retries) {
    longest = std::max(longest, retry.text.size());
    if (shown[retry.number] != nullptr) continue;
    ++seen.left_out;
    ASSERT_NE(shown.at(shorter.representative_retry), nullptr);
    EXPECT_TRUE(read_alike(retry, *shown[shorter.representative_retry])) << retry.text;
  }
  EXPECT_EQ(shorter.longest_retry, longest);
  seen.standing_out += static_cast<int>(shorter.retries.size()) - 1;
}

void check(const Plugin& plugin, Session& session, Seen& seen) {
  const auto variables = session.variables;
  const Plan plan = make_plan(plugin, session, Retries::all);
  EXPECT_EQ(session.variables, variables);

  std::vector<std::string> planned;
  if (plan.command) planned.push_back(plan.command->text);
  EXPECT_EQ(commands_run(plugin, session, 0), planned);
  session.variables = variables;
  for (const PlannedCommand& retry : plan.retries) planned.push_back(retry.text);
  EXPECT_EQ(commands_run(plugin, session, 13), planned);
  session.variables = variables;

  for (const PlannedRecord& record : plan.records) {
    ++seen.records;
    seen.moved += record.slot != record.wanted_slot;
    seen.repeated += record.status == RecordStatus::repeated;
    const std::string line = line_of(record.file, record.line);
    EXPECT_TRUE(line.starts_with(record.config.repository + "\t" + record.config.feature)) << record.file << ":" << record.line;
  }
  if (!plan.command) return;
  ++seen.commands;
  seen.removals += plan.is_removal;
  seen.retries += static_cast<int>(plan.retries.size());
  EXPECT_TRUE(plan.command->text.ends_with((plan.is_removal ? " -u " : " -i ") + joined_features(plan) + " 2>&1"));
  EXPECT_EQ(plan.retry_count, plan.retries.size());
  check_what_is_left_out(plan, make_plan(plugin, session, Retries::distinct), seen);
}

TEST(PlannedRuns, AreTheRunsThemselves) {
  const Plugin plugin(PLUGIN);
  Seen seen;
  for (std::uint64_t seed = 1; seed <= 1000 && !testing::Test::HasFailure(); ++seed) {
    SCOPED_TRACE("Seed " + std::to_string(seed));
    const fake::TemporaryDirectory directory;
    const differential::PlannedSession planned = differential::random_session(seed, directory.path());
    write_files(planned);
    const std::unique_ptr<Session> session = session_of(planned);
    for (const char* const mode : {"install", "modify", "uninstall"}) {
      session->variables["KORU_MODE"] = mode;
      check(plugin, *session, seen);
    }
  }
  // That there was something to compare.
  EXPECT_GT(seen.commands, 150);
  EXPECT_GT(seen.removals, 50);
  EXPECT_GT(seen.retries, 500);
  EXPECT_GT(seen.records, 1000);
  EXPECT_GT(seen.moved, 100);
  EXPECT_GT(seen.repeated, 100);
  EXPECT_GT(seen.left_out, 100);
  EXPECT_GT(seen.standing_out, 10);
}

}  // namespace

}  // namespace eclipse_plan
