// An error of an Eclipse instance.
#ifndef ECLIPSE_INT_P2_INSTANCE_ERROR_H
#define ECLIPSE_INT_P2_INSTANCE_ERROR_H

#include <stdexcept>

namespace eclipse_p2 {

/// It is not known what the instance has installed. The message says why, on one or more lines.
class InstanceError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace eclipse_p2

#endif
