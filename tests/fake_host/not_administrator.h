// For files that may not be read.
#ifndef ECLIPSE_INT_TESTS_FAKE_HOST_NOT_ADMINISTRATOR_H
#define ECLIPSE_INT_TESTS_FAKE_HOST_NOT_ADMINISTRATOR_H

#include <gtest/gtest.h>
#include <unistd.h>

namespace fake {

/// Takes the administrator's rights from the process, whom no permission stops otherwise.
class NotAdministrator {
 public:
  NotAdministrator() {
    if (before_ == 0) {
      EXPECT_EQ(seteuid(nobody), 0);
    }
  }
  ~NotAdministrator() {
    if (before_ == 0) {
      EXPECT_EQ(seteuid(0), 0);
    }
  }
  NotAdministrator(const NotAdministrator&) = delete;
  NotAdministrator& operator=(const NotAdministrator&) = delete;

 private:
  static constexpr uid_t nobody = 65534;
  const uid_t before_ = geteuid();
};

}  // namespace fake

#endif
