// That positions are converted between bytes and the units of the protocol.
#include "language_server/positions.h"

#include <gtest/gtest.h>

#include <string>

using namespace eclipse_language_server;

namespace {

/// One byte, two, three and four, and one that is not UTF-8.
const std::string line = "aä€😀\xFFz";

struct Boundary {
  std::size_t bytes;
  std::size_t utf16;
  std::size_t characters;
};
constexpr Boundary boundaries[] = {{0, 0, 0}, {1, 1, 1}, {3, 2, 2}, {6, 3, 3}, {10, 5, 4}, {11, 6, 5}, {12, 7, 6}};

TEST(Positions, AgreeAtEachCharacter) {
  for (const Boundary& each : boundaries) {
    EXPECT_EQ(units_in(line, each.bytes, PositionEncoding::utf8), each.bytes);
    EXPECT_EQ(units_in(line, each.bytes, PositionEncoding::utf16), each.utf16);
    EXPECT_EQ(units_in(line, each.bytes, PositionEncoding::utf32), each.characters);
    EXPECT_EQ(bytes_in(line, each.bytes, PositionEncoding::utf8), each.bytes);
    EXPECT_EQ(bytes_in(line, each.utf16, PositionEncoding::utf16), each.bytes);
    EXPECT_EQ(bytes_in(line, each.characters, PositionEncoding::utf32), each.bytes);
  }
}

TEST(Positions, InsideACharacterAreAtItsBeginning) {
  EXPECT_EQ(bytes_in(line, 4, PositionEncoding::utf16), 6U);
  for (const std::size_t bytes : {7U, 8U, 9U}) EXPECT_EQ(bytes_in(line, bytes, PositionEncoding::utf8), 6U);
}

TEST(Positions, AfterTheEndAreAtTheEnd) {
  for (const PositionEncoding encoding : {PositionEncoding::utf8, PositionEncoding::utf16, PositionEncoding::utf32}) {
    EXPECT_EQ(bytes_in(line, 1000, encoding), line.size());
    EXPECT_EQ(bytes_in(line, static_cast<std::size_t>(-1), encoding), line.size());
    EXPECT_EQ(units_in(line, static_cast<std::size_t>(-1), encoding), units_in(line, line.size(), encoding));
    EXPECT_EQ(bytes_in("", 3, encoding), 0U);
    EXPECT_EQ(units_in("", 3, encoding), 0U);
  }
}

}  // namespace
