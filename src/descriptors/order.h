// The order column of a descriptor file: a number, and the slot that its record gets.
#ifndef ECLIPSE_INT_SRC_DESCRIPTORS_ORDER_H
#define ECLIPSE_INT_SRC_DESCRIPTORS_ORDER_H

#include <cstdint>
#include <map>
#include <string_view>

namespace eclipse_int {

/// The decimal number that `text` begins with, after white space and a sign; 0 when it begins with none.
/// A number beyond 32 bits gives the nearest limit. Reads as a standard stream does under the "C" locale, whatever the locale.
std::int32_t read_order(std::string_view text);

/// The slots taken so far. Each is taken once: whoever wants a taken one gets the next free one above it.
class OrderSlots {
 public:
  /// Takes the slot `wanted`, or the first free one above it, and returns it. Beyond the 32-bit range of the numbers in
  /// descriptor files the slots simply go on.
  std::int64_t take(std::int64_t wanted);

 private:
  // Runs of taken slots without a gap, each from its first slot to the free one after it. No two touch, so that the search for
  // a free slot is one look-up however many records want the same number.
  std::map<std::int64_t, std::int64_t> runs_;
};

}  // namespace eclipse_int

#endif
