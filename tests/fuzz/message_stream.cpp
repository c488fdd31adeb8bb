// The input is what an editor sends to the language server. In pieces of any size it is the same messages, or the same error;
// each is a call, a response or refused; and a message that is sent is read as it was.
#include "language_server/message_stream.h"

#include <exception>

#include "fuzz/target.h"
#include "language_server/json_rpc.h"

using namespace eclipse_language_server;
using fuzz::expect;
using fuzz::expect_same;

namespace {

/// The messages, each framed again, and what is wrong at the end.
std::string messages_in(const std::string& input, std::size_t piece) {
  MessageReader reader;
  std::string messages;
  try {
    for (std::size_t at = 0; at < input.size(); at += piece) {
      reader.add(std::string_view(input).substr(at, piece));
      while (const auto message = reader.next()) messages += message->exceeds_limit ? "too large" : framed(message->content);
    }
  } catch (const FramingError& error) {
    fuzz::expect_printable(error.what());
    return messages + error.what();
  }
  return messages + (reader.is_between_messages() ? "" : "incomplete");
}

void check_call(const std::string& message) {
  try {
    const auto call = call_in(message);
    if (!call) return;
    Json json = {{"method", call->method}, {"params", call->params}};
    if (call->id) json["id"] = *call->id;
    const auto again = call_in(text_of(json));
    expect(again && again->id == call->id && again->method == call->method && again->params == call->params,
           "a call is read as it is written");
  } catch (const RequestError& error) {
    const Json answer = Json::parse(error_response(nullptr, error));
    expect(answer.at("id").is_null() && answer.at("error").at("code").is_number_integer(), "an error is answered");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string input = fuzz::text_of(data, size);
  const std::string whole = messages_in(input, input.size() + 1);
  for (const std::size_t piece : {1U, 2U, 3U, 17U}) expect_same("messages in pieces", messages_in(input, piece), whole);
  expect_same("a message", messages_in(framed(input), 5), framed(input));
  check_call(input);
  MessageReader reader;
  reader.add(input);
  try {
    while (const auto message = reader.next()) check_call(message->content);
  } catch (const FramingError&) {
    return 0;
  }
  return 0;
}
