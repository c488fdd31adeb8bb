// Which of the commands for single features the shell reads differently from the others.
#ifndef ECLIPSE_INT_PLAN_DISTINCT_RETRIES_H
#define ECLIPSE_INT_PLAN_DISTINCT_RETRIES_H

#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace eclipse_plan {

struct DistinctRetries {
  std::set<std::size_t> numbers;   ///< from 1
  std::size_t representative = 0;  ///< the one of them that represents all others; 0 when there is none
};

/// The retries that must be examined to know all: the first one, each whose feature the shell reads in another way than a plain
/// name, each that is too long when the others are not (or the reverse), and one that represents all others. `first` is the
/// text of the first one.
DistinctRetries distinct_retries(const std::string& first, const std::vector<std::string>& features);

}  // namespace eclipse_plan

#endif
