// Writing to a descriptor.
#ifndef ECLIPSE_INT_BASE_WRITE_ALL_H
#define ECLIPSE_INT_BASE_WRITE_ALL_H

#include <string_view>

namespace eclipse_base {

/// Writes a text, in several pieces if need be. False with errno when not all of it could be written.
bool write_all(int descriptor, std::string_view text);

}  // namespace eclipse_base

#endif
