// Which plug-in the tests are about.
#ifndef ECLIPSE_INT_TESTS_EXPORTS_UNDER_TEST_H
#define ECLIPSE_INT_TESTS_EXPORTS_UNDER_TEST_H

namespace exports {

/// Throws std::runtime_error unless `function` is code of the plug-in under test: that of this build, or the file that the
/// environment variable ECLIPSE_INT_UNDER_TEST names. The dynamic linker may have found a library of another tree, and what is
/// shown of that one shows nothing of ours.
void require_under_test(const void* function);

}  // namespace exports

#endif
