// Which runs of this command made which states of a profile. It is kept in the instance, beside the lock.
#ifndef ECLIPSE_INT_INSTANCE_RUN_JOURNAL_H
#define ECLIPSE_INT_INSTANCE_RUN_JOURNAL_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "p2/unit_change.h"

namespace eclipse_instance {

struct RecordedRun {
  std::string command;                    ///< as it was started
  std::string before;                     ///< the time of the newest state before the run
  std::string after;                      ///< and of the newest one after it, or of the newest one before the next run
  std::string reverted_to = {};           ///< the time of the older state that it brought back; empty when it brought back none
  std::vector<std::string> repositories;  ///< the URLs from which it installed
  /// What the host knew as the executable of an earlier run, before this one and after it; nothing when that was unset.
  std::optional<std::string> cached_before = {};
  std::optional<std::string> cached_after = {};
  std::string variables_file = {};  ///< to which it wrote the variables; empty when it did not
  bool is_completed = true;         ///< otherwise it was killed, or is still at work
  /// The ids of the units that its commands were to install, to remove or to replace; nothing when they are not known.
  std::optional<std::set<std::string>> units = {};

  /// What came and went by name and was not asked for: somebody else has worked on the instance during the run, or before the
  /// next one if this one was killed.
  eclipse_p2::UnitChange not_asked_for(const eclipse_p2::UnitChange& change) const;
};

struct RunJournal {
  std::vector<RecordedRun> runs;  ///< oldest first; only runs that made a state
  std::string error = {};         ///< why the file cannot be read, with its name; empty when it can or does not exist

  /// The run that left this state as the newest one; null when none did.
  const RecordedRun* run_that_left(const std::string& time) const;
  /// The URLs from which any of the runs installed, each once, those of newer runs first.
  std::vector<std::string> repositories() const;
};

/// So many runs are kept.
inline constexpr std::size_t most_recorded_runs = 100;

/// Of the instance in this directory.
RunJournal read_run_journal(const std::filesystem::path& instance);

/// Records that a run begins, of which `after` is not known, or what it is about to do, unless the journal cannot be read. The
/// caller must have the lock of the instance. Throws FileError.
void record_beginning(const std::filesystem::path& instance, const RecordedRun& run);

/// The run that has begun made no state.
void forget_beginning(const std::filesystem::path& instance);

/// Gives a journal that cannot be read another name, and returns it; empty when it can be read. The caller must have the lock
/// of the instance. Throws FileError.
std::filesystem::path set_unreadable_journal_aside(const std::filesystem::path& instance);

/// Adds a run, in the place of its beginning, which is the last one and has the same command and `before`. The caller must have
/// the lock of the instance. The file is replaced completely or not at all. Throws FileError.
void record_run(const std::filesystem::path& instance, const RecordedRun& run);

}  // namespace eclipse_instance

#endif
