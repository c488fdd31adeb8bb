#include "descriptors/order.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>

namespace eclipse_int {

std::int32_t read_order(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return 0;  // from_chars() would accept this second sign
  }
  std::int32_t number = 0;
  const auto error = std::from_chars(text.data(), text.data() + text.size(), number).ec;
  if (error != std::errc::result_out_of_range) return number;
  using limits = std::numeric_limits<std::int32_t>;
  return text.starts_with('-') ? limits::min() : limits::max();
}

std::int64_t OrderSlots::take(std::int64_t wanted) {
  const auto above = runs_.upper_bound(wanted);
  auto run = above;
  if (above != runs_.begin() && std::prev(above)->second >= wanted) {
    --run;
  } else {
    run = runs_.emplace_hint(above, wanted, wanted);
  }
  const std::int64_t slot = run->second++;
  if (above != runs_.end() && above->first == run->second) {
    run->second = above->second;
    runs_.erase(above);
  }
  return slot;
}

}  // namespace eclipse_int
