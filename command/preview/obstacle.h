// What keeps a feature from the director, although the plan has a command for it.
#ifndef ECLIPSE_INT_PREVIEW_OBSTACLE_H
#define ECLIPSE_INT_PREVIEW_OBSTACLE_H

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>

#include "plan/plan.h"

namespace eclipse_preview {

/// What keeps the features of one plan from the director. The features, the commands and what the shell changes in them may be
/// many, so each is looked through once.
class Obstacles {
 public:
  /// The plan has a command. It must outlive this object.
  explicit Obstacles(const eclipse_plan::Plan& plan);

  /// Why no command of the plan gives the director this feature, with its repository and its component's directory, as they are
  /// written; empty when one does. `number` is that of the feature in install order, from 1.
  std::string of(const eclipse_plan::PlannedRecord& feature, std::size_t number) const;

 private:
  /// A command, and what keeps all features of it from the director, or one of them.
  struct Command {
    std::string of_all;                                         ///< empty when it depends on the feature
    std::unordered_map<std::string_view, std::string> of_text;  ///< by the text that the shell changes
    std::string of_others;                                      ///< empty when they pass
  };

  static Command looked_at(const eclipse_plan::PlannedCommand& command);
  const Command& last_command_for(std::size_t number) const;

  const eclipse_plan::Plan& plan_;
  bool is_retried_;
  Command all_;
  std::map<std::size_t, Command> retries_;
};

}  // namespace eclipse_preview

#endif
