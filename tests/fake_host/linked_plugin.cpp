// Part of each test program that is linked with the plug-in: no test runs with another library than the one under test.
#include <gtest/gtest.h>

#include "eclipse_int/eclipse_int.h"
#include "exports/under_test.h"

namespace {

class LinkedPlugin : public testing::Environment {
 public:
  void SetUp() override { exports::require_under_test(reinterpret_cast<const void*>(&perform_integration)); }
};

[[maybe_unused]] const testing::Environment* const linked_plugin = testing::AddGlobalTestEnvironment(new LinkedPlugin);

}  // namespace
