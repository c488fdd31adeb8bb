// What the fuzz targets have in common: a directory of their own, and what happens when the plug-in differs from the model.
#ifndef ECLIPSE_INT_TESTS_FUZZ_COMPARISON_H
#define ECLIPSE_INT_TESTS_FUZZ_COMPARISON_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "differential/planned_session.h"

/// The target: what is done with one input. libFuzzer calls it, or replay.cpp where there is none.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// Makes the working directory of this process one of its own, when it is called first.
void enter_own_directory();

/// Ends the process, which a fuzzer takes as a finding.
[[noreturn]] void report(std::string_view finding);

/// Takes the steps of a session with the plug-in and with the model, and reports what differs.
void expect_same(const differential::PlannedSession& plan);

inline std::string text_of(const std::uint8_t* data, std::size_t size) { return {data, data + size}; }

}  // namespace fuzz

#endif
