// Calls a target with files, in the place of libFuzzer: replay FILE-OR-DIRECTORY...
#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

#include "fuzz/target.h"

namespace fs = std::filesystem;

namespace {

/// Absolute, since a target works in a directory of its own.
std::vector<fs::path> inputs_in(const fs::path& path) {
  if (!fs::is_directory(path)) return {fs::absolute(path)};
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(path)) files.push_back(fs::absolute(entry.path()));
  std::sort(files.begin(), files.end());
  return files;
}

void replay(const fs::path& input) {
  std::ifstream stream(input, std::ios::binary);
  const std::vector<char> content{std::istreambuf_iterator<char>(stream), {}};
  if (!stream.is_open()) throw std::runtime_error(input.string() + " cannot be read");
  std::cout << input.filename().string() << std::endl;  // at once, since a finding ends the process
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
}

}  // namespace

int main(int argc, char** argv) try {
  std::vector<fs::path> inputs;
  for (int i = 1; i < argc; ++i) {
    const std::vector<fs::path> more = inputs_in(argv[i]);
    inputs.insert(inputs.end(), more.begin(), more.end());
  }
  for (const fs::path& input : inputs) replay(input);
  std::cout << inputs.size() << " inputs replayed\n";
  return inputs.empty() ? 1 : 0;
} catch (const std::exception& error) {
  std::cerr << error.what() << "\n";
  return 1;
}
