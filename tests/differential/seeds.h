// Which random sessions are tried.
#ifndef ECLIPSE_INT_TESTS_DIFFERENTIAL_SEEDS_H
#define ECLIPSE_INT_TESTS_DIFFERENTIAL_SEEDS_H

#include <cstdint>

namespace differential {

struct Seeds {
  std::uint64_t first = 1;
  std::uint64_t count = 4000;
};

/// As the command line of the test program says: "--seed N" for that one, "--sessions N" for so many from there on.
Seeds chosen_seeds();

}  // namespace differential

#endif
