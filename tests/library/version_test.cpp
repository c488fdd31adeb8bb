#include "eclipse_int/version.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "eclipse_int/eclipse_int.h"
#include "eclipse_int/library_version.h"

namespace {

TEST(Version, OfTheLibraryIsThatOfTheHeaders) {
  EXPECT_EQ(eclipse_int::library_version(reinterpret_cast<const void*>(&perform_integration)), ECLIPSE_INT_VERSION);
}

TEST(Version, OfALibraryThatDoesNotSayIsEmpty) {
  EXPECT_EQ(eclipse_int::library_version(reinterpret_cast<const void*>(&std::puts)), "");
  EXPECT_EQ(eclipse_int::library_version(nullptr), "");
}

TEST(Version, NotesAreReadWithinTheirSegment) {
  const auto version_in = [](const std::string& notes, std::size_t alignment = 4) {
    return eclipse_int::library_version_detail::version_in(notes.data(), notes.size(), alignment);
  };
  const auto note = [](const std::string& owner, const std::string& text, std::size_t alignment = 4) {
    const auto padded = [&](std::string bytes) {
      return bytes.append((alignment - bytes.size() % alignment) % alignment, '\0');
    };
    const std::uint32_t head[] = {static_cast<std::uint32_t>(owner.size() + 1), static_cast<std::uint32_t>(text.size() + 1), 1};
    return std::string(reinterpret_cast<const char*>(head), sizeof head) + padded(owner + '\0') + padded(text + '\0');
  };
  const std::string own = note("eclipse_int", "2.10.3");
  EXPECT_EQ(version_in(own), "2.10.3");
  EXPECT_EQ(version_in(note("GNU", "another") + own), "2.10.3");
  EXPECT_EQ(version_in(note("another_one", "another") + own), "2.10.3");
  EXPECT_EQ(version_in(note("GNU", "another", 8) + note("eclipse_int", "2.10.3", 8), 8), "2.10.3");
  for (std::size_t size = 0; size < own.size() - 1; ++size) EXPECT_EQ(version_in(own.substr(0, size)), "") << size;
}

TEST(Version, NumbersCompareAsVersionsDo) {
  static_assert(ECLIPSE_INT_VERSION_NUMBER >= ECLIPSE_INT_MAKE_VERSION(1, 0, 0));
  static_assert(ECLIPSE_INT_MAKE_VERSION(1, 2, 0) > ECLIPSE_INT_MAKE_VERSION(1, 1, 9));
  static_assert(ECLIPSE_INT_MAKE_VERSION(1, 10, 0) > ECLIPSE_INT_MAKE_VERSION(1, 9, 9));
  EXPECT_EQ(std::to_string(ECLIPSE_INT_VERSION_MAJOR) + "." + std::to_string(ECLIPSE_INT_VERSION_MINOR) + "." +
                std::to_string(ECLIPSE_INT_VERSION_PATCH),
            ECLIPSE_INT_VERSION);
}

}  // namespace
