#include "base/json_text.h"

#include <nlohmann/json.hpp>

namespace eclipse_base {

std::string json_text(const Json& document) { return document.dump(2, ' ', true, Json::error_handler_t::replace) + "\n"; }

}  // namespace eclipse_base
