// That the two tables are of two libraries, each the right one: a comparison of a library with itself would find nothing.
#include "exports/exports.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace {

std::string library_of(const void* address) {
  Dl_info found = {};
  return dladdr(address, &found) == 0 ? "" : std::filesystem::path(found.dli_fname).filename().string();
}

/// The addresses in a table. It has nothing but pointers in it.
std::vector<const void*> addresses_of(const exports::Table& table) {
  const auto* const first = reinterpret_cast<const void* const*>(&table);
  return std::vector(first, first + sizeof table / sizeof(void*));
}

void expect_exports_of(const exports::Table& table, const std::string& library) {
  const std::vector<const void*> addresses = addresses_of(table);
  EXPECT_EQ(addresses.size(), 8U + 13U + 1U);
  EXPECT_EQ(std::set(addresses.begin(), addresses.end()).size(), addresses.size()) << "an export stands twice in the table";
  for (std::size_t i = 0; i < addresses.size(); ++i) EXPECT_EQ(library_of(addresses[i]), library) << "field " << i;
}

TEST(Exports, EachTableHoldsTheExportsOfItsOwnLibrary) {
  expect_exports_of(exports::plug_in(), "libeclipse_int.so");
  expect_exports_of(exports::model(), "libeclipse_int_model.so");
}

TEST(Exports, BothHaveTheOrderOfARecordThatGivesNone) {
  EXPECT_STREQ(*exports::plug_in().UNDEFINED_ORDER, "undefined");
  EXPECT_STREQ(*exports::model().UNDEFINED_ORDER, "undefined");
}

}  // namespace
