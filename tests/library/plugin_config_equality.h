// Lets a test compare records of descriptor files, and print those that differ.
#ifndef ECLIPSE_INT_TESTS_LIBRARY_PLUGIN_CONFIG_EQUALITY_H
#define ECLIPSE_INT_TESTS_LIBRARY_PLUGIN_CONFIG_EQUALITY_H

#include <ostream>
#include <tuple>

#include "eclipse_int/eclipse_int.h"

inline bool operator==(const plugin_config& a, const plugin_config& b) {
  return std::tie(a.repository, a.feature, a.extra, a.order, a.base_dir) ==
         std::tie(b.repository, b.feature, b.extra, b.order, b.base_dir);
}

inline std::ostream& operator<<(std::ostream& stream, const plugin_config& config) {
  return stream << '{' << config.repository << " | " << config.feature << " | " << config.extra << " | " << config.order
                << " | " << config.base_dir << '}';
}

#endif
