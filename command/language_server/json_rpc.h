// Requests, notifications and responses as JSON-RPC 2.0 has them.
#ifndef ECLIPSE_INT_LANGUAGE_SERVER_JSON_RPC_H
#define ECLIPSE_INT_LANGUAGE_SERVER_JSON_RPC_H

#include <cstddef>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>

namespace eclipse_language_server {

using Json = nlohmann::json;

enum class ErrorCode {
  parse_error = -32700,
  invalid_request = -32600,
  method_not_found = -32601,
  invalid_params = -32602,
  internal_error = -32603,
  server_not_initialized = -32002,
  request_cancelled = -32800,
  request_failed = -32803,
};

/// What a request is answered with in the place of a result.
class RequestError : public std::runtime_error {
 public:
  RequestError(ErrorCode code, const std::string& message) : std::runtime_error(message), code_(code) {}

  ErrorCode code() const { return code_; }

 private:
  ErrorCode code_;
};

/// JSON in one line. Bytes that are not UTF-8, as names of files may have them, become U+FFFD.
std::string text_of(const Json& json);

/// A request, or a notification, which is not answered.
struct Call {
  std::optional<Json> id;  ///< of a request
  std::string method;
  Json params;
};

/// What a message calls; nothing for a response. Throws RequestError: it is not JSON, nested too deeply, or not a message.
std::optional<Call> call_in(const std::string& message);

/// The message that answers a request. `id` is null for a message whose id is not known.
std::string response(const Json& id, const Json& result);
std::string error_response(const Json& id, const RequestError& error);
std::string notification(const std::string& method, const Json& params);

// A part of the parameters, by its JSON pointer, such as "/textDocument/uri". Throw RequestError when it is missing or of
// another kind.
const Json& part(const Json& params, const std::string& pointer);
std::string text_in(const Json& params, const std::string& pointer);
std::size_t number_in(const Json& params, const std::string& pointer);
/// Null when it is missing.
Json optional_part(const Json& params, const std::string& pointer);

}  // namespace eclipse_language_server

#endif
