// Which of the commands that are run one by one read differently from the others.
#ifndef ECLIPSE_INT_PLAN_ALIKE_RETRIES_H
#define ECLIPSE_INT_PLAN_ALIKE_RETRIES_H

#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace eclipse_plan {

struct TellingRetries {
  std::set<std::size_t> numbers;  ///< from 1
  std::size_t model = 0;          ///< the one of them that all others are like; 0 when there are no others
};

/// The retries that have to be looked at to know all: the first one, each that the shell does not read as it would with a plain
/// name in the place of the feature, each that is too long for it when the others are not, and one that is like all others.
/// `first` is the text of the first one.
TellingRetries telling_retries(const std::string& first, const std::vector<std::string>& features);

}  // namespace eclipse_plan

#endif
