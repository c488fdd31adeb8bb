// Whole sessions by chance: the plug-in does what the reference model does, in everything that a host can see.
#include <gtest/gtest.h>

#include <iostream>

#include "differential/observed_session.h"
#include "differential/random_session.h"
#include "differential/seeds.h"
#include "fake_host/file_buffers.h"
#include "fake_host/temporary_directory.h"

namespace differential {
namespace {

/// What differs in the session of a seed, with the session; empty when nothing does.
std::string difference_of(std::uint64_t seed) {
  const fake::TemporaryDirectory directory;
  const PlannedSession plan = random_session(seed, directory.path());
  write_files(plan);
  std::string found = difference(perform(plan, exports::plug_in()), perform(plan, exports::model()));
  const fake::BufferAccount buffers = fake::settle_file_buffers();
  if (buffers.never_freed + buffers.freed_again > 0) found += "A buffer of get_file() was not freed exactly once.\n";
  return found.empty() ? "" : readable(plan) + found;
}

TEST(RandomSessions, ComeToTheSameAsWithTheModel) {
  const Seeds seeds = chosen_seeds();
  std::cout << seeds.count << " sessions, with the seeds from " << seeds.first << " on\n";
  for (std::uint64_t seed = seeds.first; seed < seeds.first + seeds.count; ++seed) {
    const std::string found = difference_of(seed);
    if (!found.empty()) FAIL() << "Seed " << seed << " (once more: differential_test --seed " << seed << ")\n" << found;
  }
}

}  // namespace
}  // namespace differential
