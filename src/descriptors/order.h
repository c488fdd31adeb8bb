// The order column of a descriptor file: a number, and the slot that its record gets.
#ifndef ECLIPSE_INT_SRC_DESCRIPTORS_ORDER_H
#define ECLIPSE_INT_SRC_DESCRIPTORS_ORDER_H

#include <cstdint>
#include <map>
#include <string_view>

namespace eclipse_int {

/// The decimal number at the start of `text`, after white space and a sign; 0 if there is none. A number out of the range of 32
/// bits gives the nearest limit. Reads as a standard stream does in the "C" locale, whatever the locale is.
std::int32_t read_order(std::string_view text);

/// The slots taken so far. Each is taken once: a record that wants a taken one gets the next free one above it.
class OrderSlots {
 public:
  /// Takes the slot `wanted`, or the first free one above it, and returns it. Slots continue beyond the 32-bit range of the
  /// numbers in descriptor files.
  std::int64_t take(std::int64_t wanted);

 private:
  // Runs of taken slots without a gap, each from its first slot to the free one after it. No two touch, so a free slot is found
  // with one look-up, however many records want the same number.
  std::map<std::int64_t, std::int64_t> runs_;
};

}  // namespace eclipse_int

#endif
