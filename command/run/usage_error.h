// A mistake in the arguments of the command that the parser does not find.
#ifndef ECLIPSE_INT_RUN_USAGE_ERROR_H
#define ECLIPSE_INT_RUN_USAGE_ERROR_H

#include <stdexcept>

namespace eclipse_run {

/// The message names the option or argument, what is wrong with it and the fix.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace eclipse_run

#endif
