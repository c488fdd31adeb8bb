// The input is the config.ini of the user's instance: the version in it, and its comparison with a minimum, are the same as the
// model's. The minimum is what follows the last NUL byte, which the plug-in does not get to see in the file.
#include "fake_host/temporary_directory.h"
#include "fuzz/comparison.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::enter_own_directory();
  const std::string content = fuzz::text_of(data, size);
  const std::size_t zero = content.rfind('\0');
  const std::string minimum = zero == content.npos ? "4.5" : content.substr(zero + 1);
  fake::write_file("ide/eclipse", "");
  fake::write_file("ide/configuration/config.ini", content);
  fuzz::expect_same({.files = {{"ide/configuration/config.ini", content}},
                     .variables = {{"USER_DEFINED_ECLIPSE_PATH", "ide/eclipse"},
                                   {"ECLIPSE_BIN", "eclipse"},
                                   {"ECLIPSE_MIN_SUPPORTED_VERSION", minimum}},
                     .steps = {differential::call_action(exports::actions[5])}});
  return 0;
}
