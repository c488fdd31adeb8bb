// That the random sessions get everywhere. A comparison of sessions in which nothing happens would find nothing.
#include "differential/random_session.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iostream>
#include <string_view>

#include "differential/observed_session.h"
#include "differential/seeds.h"
#include "fake_host/file_buffers.h"
#include "fake_host/temporary_directory.h"

namespace differential {
namespace {

/// Every text that the plug-in logs, with "%" for what it fills in.
const Texts log_texts = {
    "eclipse_int: eclipse_integration_required entered",
    "eclipse_int: provides_list is NULL",
    "eclipse_int: eclipse integration is required",
    "eclipse_int: eclipse integration is not required",
    "eclipse_int::find_eclipse_ide: entered",
    "eclipse_int::find_eclipse_ide: ECLIPSE_INTEGRATION_CHOICE is set to internal",
    "eclipse_int::find_eclipse_ide : provides_list is NULL",
    "eclipse_int::find_eclipse_ide: eclipse integration is not required",
    "eclipse_int::find_eclipse_ide: eclipse ide is found",
    "eclipse_int::find_eclipse_ide: eclipse ide is enabled",
    "eclipse_int::find_eclipse_ide: eclipse ide is disabled",
    "eclipse_int: internal eclipse install subdir: %",
    "eclipse_int: user eclipse install subdir: %",
    "eclipse_int: eclipse integration skipped",
    "eclipse_int: no integration choice haven't been done yet. Setting default eclipse path: %",
    "eclipse_int: user_eclipse_version",
    "eclipse_int: user_eclipse_version - user defined eclipse path is not set",
    "eclipse_int: user_eclipse_version - user defined eclipse path is not correct",
    "eclipse_int: eclipse_version - config file not found",
    "eclipse_int: eclipse_version - cannot open config file",
    "eclipse_int: search for pattern eclipse.buildId=  - pattern not found",
    "eclipse_int: EOL wasn't found",
    "verify_eclipse_version: user_eclipse_version",
    "verify_eclipse_version: eclipse_version is empty",
    "verify_eclipse_version: eclipse_min_supported_version is not set. Exit",
    "verify_eclipse_version: compare % and %",
    "eclipse_int: found eclipse configuration: %",
    "eclipse_int: File % not found",
    "eclipse_int: found eclipse executable: %",
    "eclipse_int: eclipse not found",
    "eclipse_int: Repository: % Feature: %",
    "eclipse_int: order: % feature: %",
    "eclipse_int: perform_integration entered",
    "eclipse_int: perform_unintegration entered",
    "eclipse_int: nothing to integrate",
    "eclipse_int: nothing to unintegrate",
    "eclipse_int: integrate_into_instance entered",
    "eclipse_int: unintegrate_from_instance entered",
    "eclipse_int: eclipse is not installed and there is not need to perform any integration action",
    "eclipse_int: eclipse install subdir: %",
    "eclipse_int: feature or repo list is empty, skip integration",
    "eclipse_int: feature list is empty",
    "eclipse_int: running command: %",
    "eclipse_int: out: %",
    "eclipse_int: exit code: %",
    "eclipse_int: failed to integrate all plug-ins at once, integrating individually",
    "eclipse_int: failed to unintegrate all plug-ins at once, unintegrating individually",
};

/// Whether a line is one that a log text makes.
bool is_made_by(std::string_view text, std::string_view line) {
  const std::size_t gap = text.find('%');
  if (gap == text.npos) return text == line;
  if (!line.starts_with(text.substr(0, gap))) return false;
  for (std::size_t end = gap; end <= line.size(); ++end) {
    if (is_made_by(text.substr(gap + 1), line.substr(end))) return true;
  }
  return false;
}

/// A step of a session in which the plug-in was asked to do something.
struct Occasion {
  const PlannedSession& plan;
  const StepRecord& record;

  bool is(std::string_view step) const { return record.step == step; }
  bool logs(std::string_view text) const {
    return std::any_of(record.log.begin(), record.log.end(), [&](const std::string& line) { return is_made_by(text, line); });
  }
  bool calls(const std::string& start) const {
    return std::any_of(record.calls.begin(), record.calls.end(), [&](const auto& call) { return call.starts_with(start); });
  }
  std::string before(const std::string& variable) const {
    const auto found = record.variables_before.find(variable);
    return found == record.variables_before.end() ? "" : found->second;
  }
  bool has_choice(const std::string& choice) const { return before("ECLIPSE_INTEGRATION_CHOICE") == choice; }
  std::size_t commands() const { return record.commands.size(); }
  bool fails_at_once() const { return commands() > 1 && record.exit_codes.front() != 0; }
  std::size_t failed_retries() const {
    return static_cast<std::size_t>(std::count_if(record.exit_codes.begin() + 1, record.exit_codes.end(), std::identity()));
  }
};

constexpr std::string_view integration = "perform_integration";
constexpr std::string_view unintegration = "perform_unintegration";

bool gets_in(const Occasion& o) { return o.logs("eclipse_int: eclipse install subdir: %"); }

bool names_a_user_path(const Occasion& o) { return o.has_choice("user") && !o.before("USER_DEFINED_ECLIPSE_PATH").empty(); }

bool knows_the_user_path(const Occasion& o) {
  return names_a_user_path(o) && o.before("CASHED_ECLIPSE_PATH") == o.before("USER_DEFINED_ECLIPSE_PATH");
}

/// Whether the integration looked at a package without asking for the condition of its component.
bool takes_every_component(const Occasion& o) {
  const Texts& calls = o.record.calls;
  for (auto call = std::find(calls.begin(), calls.end(), "TSD::components()"); call != calls.end(); ++call) {
    if (call->starts_with("Component::provider") && !std::prev(call)->starts_with("Component::installCondition")) return true;
  }
  return false;
}

bool takes_the_selected(const Occasion& o) {
  const Texts& calls = o.record.calls;
  const bool asks = std::any_of(std::find(calls.begin(), calls.end(), "TSD::components()"), calls.end(),
                                [](const std::string& call) { return call.starts_with("Component::installCondition"); });
  return asks && !takes_every_component(o);
}

bool is_while_installing(const Occasion& o) { return gets_in(o) && o.before("KORU_MODE") != "uninstall"; }

struct Branch {
  std::string name;
  std::function<bool(const Occasion&)> is_taken_in;
};

/// Both perform actions choose their instance and run their commands in the same ways.
std::vector<Branch> branches_of(std::string_view action) {
  std::vector<Branch> branches = {
      {"the user's path", [](const Occasion& o) { return names_a_user_path(o) && o.calls("file_exists"); }},
      {"no user's path",
       [](const Occasion& o) { return o.has_choice("user") && !names_a_user_path(o) && o.record.log.size() == 1; }},
      {"internal and found", [](const Occasion& o) { return o.has_choice("internal") && o.calls("file_exists"); }},
      {"internal and not found",
       [](const Occasion& o) { return o.has_choice("internal") && o.logs("eclipse_int: eclipse not found"); }},
      {"no choice", [](const Occasion& o) { return o.logs("eclipse_int: nothing to %"); }},
      {"executable not there", [](const Occasion& o) { return o.logs("eclipse_int: eclipse is not installed%"); }},
      {"executable there", gets_in},
      {"no feature", [](const Occasion& o) { return gets_in(o) && o.commands() == 0 && o.logs("eclipse_int: Repository: %"); }},
      {"no repository",
       [](const Occasion& o) { return gets_in(o) && o.commands() == 0 && !o.logs("eclipse_int: Repository: %"); }},
      {"all at once succeeds", [](const Occasion& o) { return o.commands() == 1 && o.record.exit_codes[0] == 0; }},
      {"every retry succeeds", [](const Occasion& o) { return o.fails_at_once() && o.failed_retries() == 0; }},
      {"every retry fails", [](const Occasion& o) { return o.fails_at_once() && o.failed_retries() == o.commands() - 1; }},
      {"a retry fails, the last one succeeds",
       [](const Occasion& o) { return o.fails_at_once() && o.failed_retries() > 0 && o.record.exit_codes.back() == 0; }},
      {"a retry succeeds, the last one fails",
       [](const Occasion& o) {
         return o.fails_at_once() && o.failed_retries() < o.commands() - 1 && o.record.exit_codes.back() != 0;
       }},
  };
  for (Branch& branch : branches) {
    branch.name = std::string(action) + ": " + branch.name;
    branch.is_taken_in = [action, inner = branch.is_taken_in](const Occasion& o) { return o.is(action) && inner(o); };
  }
  return branches;
}

/// Those that only the integration has: which components it takes, and the summary.
std::vector<Branch> integration_branches() {
  return {
      {"old instance: uninstalling",
       [](const Occasion& o) { return o.is(integration) && o.before("KORU_MODE") == "uninstall" && takes_the_selected(o); }},
      {"new instance: an IDE is being installed",
       [](const Occasion& o) { return is_while_installing(o) && o.has_choice("internal") && takes_every_component(o); }},
      {"old instance: no IDE is being installed",
       [](const Occasion& o) { return is_while_installing(o) && o.has_choice("internal") && takes_the_selected(o); }},
      {"new instance: another user's path",
       [](const Occasion& o) { return is_while_installing(o) && names_a_user_path(o) && takes_every_component(o); }},
      {"old instance: the same user's path",
       [](const Occasion& o) { return is_while_installing(o) && knows_the_user_path(o) && takes_the_selected(o); }},
      {"old instance: no user's path",
       [](const Occasion& o) {
         return is_while_installing(o) && o.has_choice("user") && !names_a_user_path(o) && takes_the_selected(o);
       }},
      {"old instance: no choice",
       [](const Occasion& o) { return is_while_installing(o) && o.has_choice("none") && takes_the_selected(o); }},
      {"failure in the summary, graphical",
       [](const Occasion& o) { return o.plan.graphical && o.calls("replaceAllSubstrings"); }},
      {"failure in the summary, on a console",
       [](const Occasion& o) { return !o.plan.graphical && o.calls("replaceAllSubstrings"); }},
      {"summary after another one",
       [](const Occasion& o) {
         return !o.before("QN_SCRIPTS_COMPLETE_DESC").empty() && o.calls("env_set_string(\"QN_SCRIPTS_FAILED\"");
       }},
  };
}

/// Shows every step of the sessions of all seeds.
void for_each_occasion(const std::function<void(const Occasion&)>& look) {
  const Seeds seeds;
  for (std::uint64_t seed = seeds.first; seed < seeds.first + seeds.count; ++seed) {
    const fake::TemporaryDirectory directory;
    const PlannedSession plan = random_session(seed, directory.path());
    write_files(plan);
    for (const StepRecord& record : perform(plan, exports::plug_in())) look({plan, record});
    fake::settle_file_buffers();
  }
}

TEST(RandomSession, IsTheSameForTheSameSeed) {
  EXPECT_EQ(readable(random_session(1, "/directory")), readable(random_session(1, "/directory")));
  EXPECT_NE(readable(random_session(1, "/directory")), readable(random_session(2, "/directory")));
}

TEST(RandomSession, ReachesEveryLogText) {
  std::map<std::string, std::size_t> counts;
  Texts unknown;
  for_each_occasion([&](const Occasion& occasion) {
    for (const std::string& line : occasion.record.log) {
      const auto text = std::find_if(log_texts.begin(), log_texts.end(), [&](const auto& t) { return is_made_by(t, line); });
      text == log_texts.end() ? unknown.push_back(line) : static_cast<void>(++counts[*text]);
    }
  });
  EXPECT_EQ(unknown, Texts{}) << "log lines that are made by none of the texts";
  for (const std::string& text : log_texts) {
    EXPECT_GT(counts[text], 0U) << text;
    std::cout << counts[text] << " x " << text << "\n";
  }
}

TEST(RandomSession, ReachesEveryBranchOfBothPerformActions) {
  std::vector<Branch> branches = branches_of(integration);
  for (const auto& more : {branches_of(unintegration), integration_branches()}) {
    branches.insert(branches.end(), more.begin(), more.end());
  }
  std::map<std::string, std::size_t> counts;
  for_each_occasion([&](const Occasion& occasion) {
    for (const Branch& branch : branches) counts[branch.name] += branch.is_taken_in(occasion);
  });
  for (const Branch& branch : branches) {
    EXPECT_GT(counts[branch.name], 0U) << branch.name;
    std::cout << counts[branch.name] << " x " << branch.name << "\n";
  }
}

}  // namespace
}  // namespace differential
