// The input is a descriptor file: its records, and the command lines that are made of them, are the same as the model's.
#include "fake_host/temporary_directory.h"
#include "fuzz/comparison.h"

using differential::PlannedComponent;
using differential::PlannedSession;

namespace {

const std::string file = "base/dir/etc/eclipse/p";

PlannedSession session(const std::string& content) {
  PlannedComponent component{.code = "c", .installBase = "base", .installDir = "dir", .install = true, .remove = true};
  component.package = {.files = {"etc/eclipse/p"}};
  return {.files = {{file, content}},
          .components = {component},
          .results = {{"failed\n", "", 13, 0}, {}},
          .steps = {differential::read_descriptor("base/dir", "etc/eclipse/p"), differential::integrate_into("base"),
                    differential::unintegrate_from("base")}};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::enter_own_directory();
  const std::string content = fuzz::text_of(data, size);
  fake::write_file(file, content);
  fuzz::expect_same(session(content));
  return 0;
}
