// Values as texts: for comparing whole records, and for people who have to understand a difference.
#ifndef ECLIPSE_INT_TESTS_DIFFERENTIAL_READABLE_H
#define ECLIPSE_INT_TESTS_DIFFERENTIAL_READABLE_H

#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "eclipse_int/eclipse_int.h"

namespace differential {

/// In quotes and on one line, with every other byte than the printable ones of ASCII escaped. Two texts that differ stay
/// different.
std::string readable(std::string_view text);
inline std::string readable(const char* text) { return readable(std::string_view(text)); }
inline std::string readable(const std::string& text) { return readable(std::string_view(text)); }
inline std::string readable(bool value) { return value ? "true" : "false"; }
inline std::string readable(int value) { return std::to_string(value); }
std::string readable(const plugin_config& record);
/// By its code.
std::string readable(const Component* component);
std::string readable(const std::pair<std::string, std::string>& texts);

template <typename Items>
std::string readable_items(const Items& items) {
  std::string text;
  for (const auto& item : items) text += (text.empty() ? "" : ", ") + readable(item);
  return "[" + text + "]";
}

template <typename Item>
std::string readable(const std::vector<Item>& items) {
  return readable_items(items);
}

inline std::string readable(const std::set<std::string>& items) { return readable_items(items); }

}  // namespace differential

#endif
