// How "eclipse-int check-host" and the library that it makes a host load communicate: by environment variables and one file.
#ifndef ECLIPSE_INT_HOST_KIT_ENVIRONMENT_H
#define ECLIPSE_INT_HOST_KIT_ENVIRONMENT_H

#include <string_view>

namespace host_kit::environment {

inline constexpr const char* only = "ECLIPSE_INT_CHECK_ONLY";              ///< names, separated by commas
inline constexpr const char* in_process = "ECLIPSE_INT_CHECK_IN_PROCESS";  ///< "1": without child processes
inline constexpr const char* seconds = "ECLIPSE_INT_CHECK_SECONDS";        ///< for each check
inline constexpr const char* log = "ECLIPSE_INT_CHECK_LOG";                ///< the file of print_log()
inline constexpr const char* waivers = "ECLIPSE_INT_CHECK_WAIVERS";        ///< the file of accepted failures
inline constexpr const char* format = "ECLIPSE_INT_CHECK_FORMAT";          ///< of the report
inline constexpr const char* report = "ECLIPSE_INT_CHECK_REPORT";          ///< its file; standard error without one
inline constexpr const char* junit = "ECLIPSE_INT_CHECK_JUNIT";            ///< the file of a second report, in JUnit XML
inline constexpr const char* end_host = "ECLIPSE_INT_CHECK_END_HOST";      ///< "1": the host ends after the checks
inline constexpr const char* drill = "ECLIPSE_INT_CHECK_DRILL";            ///< "1": an exception comes out of the first action
inline constexpr const char* progress = "ECLIPSE_INT_CHECK_PROGRESS";      ///< the file that says how far it got: see below

}  // namespace host_kit::environment

/// What the file of the progress holds. It is empty until the library is loaded.
namespace host_kit::progress {

inline constexpr std::string_view loaded = "loaded";
inline constexpr std::string_view checking = "checking ";  ///< and the name of a check
inline constexpr std::string_view all_hold = "0";          ///< or have only warnings
inline constexpr std::string_view has_errors = "1";
inline constexpr std::string_view given_up = "2";  ///< and why

}  // namespace host_kit::progress

#endif
