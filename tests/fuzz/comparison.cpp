#include "fuzz/comparison.h"

#include "differential/observed_session.h"
#include "fake_host/file_buffers.h"

namespace fuzz {

void expect_same(const differential::PlannedSession& plan) {
  const std::string found = difference(perform(plan, exports::plug_in()), perform(plan, exports::model()));
  if (!found.empty()) report(readable(plan) + found);
  const fake::BufferAccount buffers = fake::settle_file_buffers();
  if (buffers.never_freed + buffers.freed_again > 0) report("a buffer of get_file() was not freed exactly once");
}

}  // namespace fuzz
