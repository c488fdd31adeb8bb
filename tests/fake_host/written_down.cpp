#include "fake_host/written_down.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

namespace fake {

void expect_written_down(const std::string& text, const std::string& file) {
  if (std::getenv("ECLIPSE_INT_WRITE_DOWN") != nullptr) std::ofstream(file, std::ios::binary) << text;
  std::ostringstream written;
  written << std::ifstream(file, std::ios::binary).rdbuf();
  EXPECT_EQ(text, written.str()) << file;
}

}  // namespace fake
