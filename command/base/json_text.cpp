#include "base/json_text.h"

#include <nlohmann/json.hpp>

namespace eclipse_base {

std::string json_text(const nlohmann::ordered_json& document) {
  return document.dump(2, ' ', true, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace eclipse_base
