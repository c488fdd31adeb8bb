// What the director says of the command of a plan, without doing it.
#ifndef ECLIPSE_INT_RESOLVE_RESOLUTION_H
#define ECLIPSE_INT_RESOLVE_RESOLUTION_H

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "p2/director_command.h"
#include "p2/director_failure.h"
#include "plan/plan.h"
#include "shell/command_runner.h"

namespace eclipse_resolve {

/// What the director says when it is asked for these features at once.
struct Verdict {
  std::vector<std::string> features;
  std::optional<eclipse_p2::Failure> failure;  ///< nothing when they resolve
  int exit_code = 0;

  bool resolves() const { return !failure; }
};

struct Resolution {
  bool is_removal = false;
  std::string not_asked;    ///< why the director was not asked; empty when it was
  bool is_on_copy = false;  ///< it was asked on a copy of the instance; otherwise it has written logs and caches there
  /// For the command of an update, if there is one. When it fails, nothing else is asked, and nothing run.
  std::optional<Verdict> update = {};
  std::optional<Verdict> all;    ///< for all features at once, as the first command does
  std::vector<Verdict> each;     ///< for each feature alone, when the director cannot do all at once
  std::optional<Verdict> those;  ///< for those that resolve alone, at once: when there are several and they are not all

  bool was_asked() const { return update || all; }
  bool update_fails() const { return update && !update->resolves(); }
  bool fails() const { return update_fails() || (all && !all->resolves()); }
  /// Of `each`.
  std::vector<std::string> resolving_alone() const;
  /// The features that the run would install or remove; nothing when that cannot be foreseen.
  std::optional<std::vector<std::string>> expected() const;
};

struct Progress {
  std::function<void()> on_copy = [] {};  ///< before each file of the instance that is copied for the director; may throw
  /// Before the director is asked; of at most how many times.
  std::function<void(const std::vector<std::string>& features, std::size_t number, std::size_t most)> on_question =
      [](const auto&, std::size_t, std::size_t) {};
  eclipse_shell::CommandProgress command;
};

/// Asks the director of a plan's instance what it would do, after an update that replaces these units. It changes nothing that
/// is installed. Throws InstanceError.
Resolution resolve(const eclipse_plan::Plan& plan, const eclipse_p2::UnitReplacement& update = {},
                   const Progress& progress = {});

}  // namespace eclipse_resolve

#endif
