// The input is "NAME|PREFIX|FILE|FILE...": what a package with this prefix lists. The descriptor files and the executable NAME
// that are found in it, and whether NAME occurs in it, are the same as with the model.
#include <vector>

#include "fake_host/temporary_directory.h"
#include "fuzz/comparison.h"

using differential::PlannedComponent;
using differential::PlannedFile;

namespace {

const std::vector<PlannedFile> files = {{"ide/eclipse"},
                                        {"ide/bin/eclipse"},
                                        {"base/dir/etc/eclipse/p", "site\tF\n"},
                                        {"base/dir/share/etc/eclipse/p", "site.zip\tG\n"}};

void write_files_once() {
  static const bool written = (differential::write_files({.files = files}), true);
  static_cast<void>(written);
}

/// Cuts off the text before the next "|", and the "|".
std::string take_piece(std::string& text) {
  const std::size_t end = text.find('|');
  std::string piece = text.substr(0, end);
  text.erase(0, end == text.npos ? end : end + 1);
  return piece;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::enter_own_directory();
  write_files_once();
  std::string text = fuzz::text_of(data, size);
  const std::string name = take_piece(text);
  PlannedComponent component{.code = "c", .installBase = "base", .installDir = "dir", .install = true};
  component.package = {.prefix = take_piece(text), .root = "."};
  while (!text.empty()) component.package->files.push_back(take_piece(text));
  fuzz::expect_same({.files = files,
                     .components = {component},
                     .steps = {differential::list_plugins(Integrate, true), differential::find_executable(name),
                               differential::match_contents(name)}});
  return 0;
}
