// That messages are found in an input however it comes, and that a wrong one is an error.
#include "language_server/message_stream.h"

#include <gtest/gtest.h>

#include <vector>

#include "base/limits.h"
#include "language_server/json_rpc.h"

using namespace eclipse_language_server;

namespace {

using Texts = std::vector<std::string>;

/// The messages in an input that comes in pieces of this size.
Texts messages_in(const std::string& input, std::size_t size) {
  MessageReader reader;
  Texts messages;
  for (std::size_t at = 0; at < input.size(); at += size) {
    reader.add(std::string_view(input).substr(at, size));
    while (const auto message = reader.next()) messages.push_back(message->exceeds_limit ? "too large" : message->content);
  }
  if (!reader.is_between_messages()) messages.push_back("incomplete");
  return messages;
}

TEST(MessageReader, FindsMessagesInPiecesOfAnySize) {
  const std::string input = framed("{}") + framed("") + framed("first\r\n\r\nContent-Length: 1\r\n\r\n") + framed("last");
  const Texts expected = {"{}", "", "first\r\n\r\nContent-Length: 1\r\n\r\n", "last"};
  for (std::size_t size = 1; size <= input.size(); ++size) EXPECT_EQ(messages_in(input, size), expected) << size;
}

TEST(MessageReader, AcceptsOtherFieldsSpellingsAndLineEnds) {
  const Texts expected = {"ab"};
  for (const std::string header : {"content-length:2\r\n\r\n", "Content-Length:  2 \n\n",
                                   "Content-Type: application/x; charset=utf-8\r\nContent-Length: 2\r\n\r\n",
                                   "Content-Length: 2\r\nContent-Type: x\n\r\n", "Content-Length: 0002\r\n\r\n"}) {
    EXPECT_EQ(messages_in(header + "ab", 1), expected) << header;
    EXPECT_EQ(messages_in(header + "ab", 1000), expected) << header;
  }
}

TEST(MessageReader, KnowsWhetherTheInputMayEnd) {
  const std::string input = framed("abc");
  for (std::size_t length = 1; length < input.size(); ++length) {
    EXPECT_EQ(messages_in(input.substr(0, length), 4), Texts{"incomplete"}) << length;
  }
  EXPECT_EQ(messages_in("", 1), Texts());
}

TEST(MessageReader, RefusesWrongHeaders) {
  for (const std::string header : {"\r\n\r\n", "Content-Length\r\n\r\n", "Content-Length:\r\n\r\n",
                                   "Content-Length: -1\r\n\r\n", "Content-Length: 2x\r\n\r\n", "Content-Length: 2 2\r\n\r\n",
                                   "Content-Length: +2\r\n\r\n", "Content-Length: 99999999999999999999\r\n\r\n",
                                   "Length: 2\r\n\r\n", "{}\r\n\r\n", "Content-Length: 2\r\nContent-Length: 2\r\n\r\n"}) {
    EXPECT_THROW(messages_in(header + "ab", 1), FramingError) << header;
    EXPECT_THROW(messages_in(header + "ab", 1000), FramingError) << header;
  }
}

TEST(MessageReader, RefusesAnEndlessHeader) {
  const std::string endless(10'000, 'x');
  EXPECT_THROW(messages_in(endless, 1), FramingError);
  EXPECT_THROW(messages_in(endless, 10'000), FramingError);
}

/// The empty line after it counts, too.
TEST(MessageReader, HasALimitOfTheHeader) {
  const auto input = [](std::size_t size) {
    const std::string header = "\r\nContent-Length: 2\r\n\r\n";
    return "X: " + std::string(size - header.size() - 3, 'x') + header + "{}";
  };
  const std::size_t limit = eclipse_base::largest::message_header;
  for (const std::size_t piece : {std::size_t{1}, 2 * limit}) {
    EXPECT_EQ(messages_in(input(limit), piece), Texts({"{}"}));
    EXPECT_THROW(messages_in(input(limit + 1), piece), FramingError);
  }
}

TEST(CallIn, HasALimitOfDepth) {
  const auto message = [](std::size_t levels) {
    const std::size_t lists = levels - 1;
    return "{\"method\": \"m\", \"params\": " + std::string(lists, '[') + std::string(lists, ']') + "}";
  };
  EXPECT_EQ(call_in(message(eclipse_base::largest::json_levels))->method, "m");
  EXPECT_THROW(call_in(message(eclipse_base::largest::json_levels + 1)), RequestError);
}

/// The object itself, its text and the list are values, too.
TEST(CallIn, HasALimitOfValues) {
  const auto message = [](std::size_t count) {
    std::string list = "{\"method\": \"m\", \"params\": [";
    for (std::size_t i = 1; i < count; ++i) list += "1,";
    return list + "1]}";
  };
  const std::size_t limit = eclipse_base::largest::json_values - 3;
  EXPECT_EQ(call_in(message(limit))->params.size(), limit);
  EXPECT_THROW(call_in(message(limit + 1)), RequestError);
}

TEST(MessageReader, SkipsWhatIsTooLarge) {
  const std::size_t limit = eclipse_base::largest::message;
  const std::string input = framed(std::string(limit + 1, 'x')) + framed("next");
  EXPECT_EQ(messages_in(input, 65536), Texts({"too large", "next"}));
  EXPECT_EQ(messages_in(input, input.size()), Texts({"too large", "next"}));
  const Texts kept = messages_in(framed(std::string(limit, 'x')), 1 << 20);
  ASSERT_EQ(kept.size(), 1U);
  EXPECT_EQ(kept[0].size(), limit);
}

/// The memory that it takes does not grow with what is skipped.
TEST(MessageReader, SkipsMoreThanThereIsMemory) {
  MessageReader reader;
  reader.add("Content-Length: 18446744073709551615\r\n\r\n");
  for (int i = 0; i < 100; ++i) {
    reader.add(std::string(65536, 'x'));
    EXPECT_FALSE(reader.next().has_value());
  }
  EXPECT_FALSE(reader.is_between_messages());
}

}  // namespace
