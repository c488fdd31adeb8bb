// What an exit code means: which of the layers that a command goes through failed, and why.
#ifndef ECLIPSE_INT_P2_DIRECTOR_FAILURE_H
#define ECLIPSE_INT_P2_DIRECTOR_FAILURE_H

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "shell/command_runner.h"

namespace eclipse_p2 {

/// Exit codes of Eclipse's launcher, which starts the director.
namespace launcher_exit_code {

inline constexpr int application_failed = 13;  ///< the director failed, or could not be run
inline constexpr int cannot_write = 15;        ///< the instance or its configuration cannot be written

}  // namespace launcher_exit_code

/// The logs that an Eclipse instance writes into its configuration directory, as they were when this was made.
class InstanceLogs {
 public:
  explicit InstanceLogs(const std::filesystem::path& instance);

  /// The newest one that was written since then; nothing when none was.
  std::optional<std::filesystem::path> written_since() const;

 private:
  using Times = std::map<std::filesystem::path, std::filesystem::file_time_type>;
  Times times() const;

  std::filesystem::path directory_;
  Times before_;
};

/// A line that the director prints when it fails, before the reasons.
inline constexpr std::string_view installation_failed = "Installation failed.";

enum class Layer { shell, launcher, director, unknown };

/// "the shell", "the launcher", "the director" or "an unknown layer".
std::string_view name_of(Layer layer);

struct Failure {
  Layer layer = Layer::unknown;
  std::string meaning;                       ///< of the exit code in that layer
  std::vector<std::string> causes;           ///< as the layer reports them, the first cause first; not all of very many
  std::optional<std::filesystem::path> log;  ///< of the instance, with the causes
};

/// Explains why a command failed. `logs` was made for its instance before it was run.
Failure explain(const eclipse_shell::CommandResult& result, const InstanceLogs& logs);

/// One sentence, and the causes on indented lines below it.
std::string text_of(const Failure& failure, const std::string& indent = "  ");

/// The causes in the last session of a log: the messages of its entries, and the exceptions that ended it. Of more than a
/// hundred the first, and how many more there are.
struct LoggedCauses {
  std::vector<std::string> messages;
  bool is_application_error = false;  ///< an exception ended the application, or it could not be started
  bool is_application_missing = false;
};
LoggedCauses causes_in(std::string_view log);

}  // namespace eclipse_p2

#endif
