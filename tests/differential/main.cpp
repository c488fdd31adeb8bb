// differential_test [--seed N] [--sessions N] [GOOGLETEST-OPTION...]
#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <string>

#include "differential/seeds.h"

namespace {

differential::Seeds seeds;

std::uint64_t number(const std::string& option, const char* text) {
  char* end = nullptr;
  const std::uint64_t value = text == nullptr ? 0 : std::strtoull(text, &end, 10);
  if (end == nullptr || end == text || *end != '\0') {
    std::cerr << "differential_test: " << option << " takes a number\n";
    std::exit(2);
  }
  return value;
}

}  // namespace

differential::Seeds differential::chosen_seeds() { return seeds; }

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  bool count_given = false;
  for (int i = 1; i < argc; i += 2) {
    const std::string option = argv[i];
    const std::uint64_t value = number(option, argv[i + 1]);
    if (option == "--seed") {
      seeds.first = value;
      if (!count_given) seeds.count = 1;
    } else if (option == "--sessions") {
      seeds.count = value;
      count_given = true;
    } else {
      std::cerr << "differential_test: no option " << option << "; there are --seed N and --sessions N\n";
      return 2;
    }
  }
  return RUN_ALL_TESTS();
}
