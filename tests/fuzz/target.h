// What all fuzz targets have in common.
#ifndef ECLIPSE_INT_TESTS_FUZZ_TARGET_H
#define ECLIPSE_INT_TESTS_FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

/// The target: what is done with one input. libFuzzer calls it, or replay.cpp where there is none.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Makes the working directory of this process one of its own, when it is called first.
void enter_own_directory();

/// Ends the process, which a fuzzer takes as a finding.
[[noreturn]] void report(std::string_view finding);

/// Reports when something does not hold that must. The input tells the rest.
void expect(bool holds, std::string_view what);
void expect_same(std::string_view what, std::string_view one, std::string_view other);
/// That a text neither steers a terminal nor hides anything, on one line or, if these are allowed, on several.
void expect_printable(std::string_view text, bool in_lines = false);

inline std::string text_of(const std::uint8_t* data, std::size_t size) { return {data, data + size}; }

/// The files in an input, by their names. A line "=== NAME" begins each. The content is packed as the name says, a ".jar" with
/// NAME.xml in it, unless it begins as packed data does, or the line ends with " raw". Names that lead out, and those that are
/// below another file, are left out.
std::map<std::string, std::string> files_in(const std::string& input);

/// Writes these files, and no others, into a directory.
void write_files(const std::string& directory, const std::map<std::string, std::string>& files);

}  // namespace fuzz

#endif
