// How a text differs from another one, as diff -u shows it.
#ifndef ECLIPSE_INT_BASE_UNIFIED_DIFF_H
#define ECLIPSE_INT_BASE_UNIFIED_DIFF_H

#include <string>
#include <string_view>

namespace eclipse_base {

/// The unified diff of two contents of a file, with three lines of context, which patch applies. Empty when they are equal. The
/// name of the file is in quotes, with escapes, when it has characters that cannot be printed.
/// Where very many lines differ, lines may be removed and added again that are the same.
std::string unified_diff(std::string_view file, std::string_view before, std::string_view after);

}  // namespace eclipse_base

#endif
