#include "language_server/json_rpc.h"

#include <utility>

#include "base/limits.h"

namespace largest = eclipse_base::largest;

namespace eclipse_language_server {

namespace {

/// Throws RequestError when a message is not JSON or has more in it than any editor sends.
Json parsed(const std::string& message) {
  using Event = Json::parse_event_t;
  std::size_t count = 0;
  const auto check = [&](int depth, Event event, const Json&) {
    const bool opens = event == Event::object_start || event == Event::array_start;
    if (opens || event == Event::value) ++count;
    // Copies of a value, and their destruction, recurse.
    if ((opens && static_cast<std::size_t>(depth) >= largest::json_levels) || count > largest::json_values)
      throw RequestError(ErrorCode::invalid_request, "the message is nested too deeply or has too many values");
    return true;
  };
  try {
    return Json::parse(message, check);
  } catch (const Json::exception& error) {
    throw RequestError(ErrorCode::parse_error, std::string("the message is not JSON: ") + error.what());
  }
}

}  // namespace

std::string text_of(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

std::optional<Call> call_in(const std::string& message) {
  Json json = parsed(message);
  if (!json.is_object()) throw RequestError(ErrorCode::invalid_request, "a message must be an object");
  const auto id = json.find("id");
  const auto method = json.find("method");
  if (method == json.end() && id != json.end()) return std::nullopt;
  if (method == json.end() || !method->is_string()) throw RequestError(ErrorCode::invalid_request, "a message has no method");
  if (id != json.end() && !id->is_string() && !id->is_number_integer())
    throw RequestError(ErrorCode::invalid_request, "the id of a request must be a string or a whole number");
  Call call{std::nullopt, method->get<std::string>(), nullptr};
  if (id != json.end()) call.id = *id;
  if (const auto params = json.find("params"); params != json.end()) call.params = std::move(*params);
  return call;
}

std::string response(const Json& id, const Json& result) {
  return text_of({{"jsonrpc", "2.0"}, {"id", id}, {"result", result}});
}

std::string error_response(const Json& id, const RequestError& error) {
  return text_of(
      {{"jsonrpc", "2.0"}, {"id", id}, {"error", {{"code", static_cast<int>(error.code())}, {"message", error.what()}}}});
}

std::string notification(const std::string& method, const Json& params) {
  return text_of({{"jsonrpc", "2.0"}, {"method", method}, {"params", params}});
}

const Json& part(const Json& params, const std::string& pointer) {
  const Json::json_pointer where(pointer);
  if (!params.contains(where)) throw RequestError(ErrorCode::invalid_params, pointer + " is missing");
  return params.at(where);
}

std::string text_in(const Json& params, const std::string& pointer) {
  const Json& text = part(params, pointer);
  if (!text.is_string()) throw RequestError(ErrorCode::invalid_params, pointer + " must be a string");
  return text.get<std::string>();
}

std::size_t number_in(const Json& params, const std::string& pointer) {
  const Json& number = part(params, pointer);
  if (!number.is_number_unsigned()) throw RequestError(ErrorCode::invalid_params, pointer + " must be a whole number from 0");
  return number.get<std::size_t>();
}

Json optional_part(const Json& params, const std::string& pointer) {
  const Json::json_pointer where(pointer);
  return params.contains(where) ? params.at(where) : Json();
}

}  // namespace eclipse_language_server
