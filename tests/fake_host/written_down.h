// Long texts that are compared as a whole with files beside the tests. After an intended change, run the test with
// ECLIPSE_INT_WRITE_DOWN=1 in the environment: it writes them anew. Then read the difference.
#ifndef ECLIPSE_INT_TESTS_FAKE_HOST_WRITTEN_DOWN_H
#define ECLIPSE_INT_TESTS_FAKE_HOST_WRITTEN_DOWN_H

#include <string>

namespace fake {

/// The test fails if the file has another text.
void expect_written_down(const std::string& text, const std::string& file);

}  // namespace fake

#endif
