// The command: a stand-alone host for the plug-in, which runs the sessions that files describe.
#include <cstdlib>
#include <exception>
#include <new>
#include <string>

#include "base/file_error.h"
#include "base/printable.h"
#include "cli/command_line.h"
#include "p2/instance_error.h"
#include "run/usage_error.h"
#include "terminal/exit_status.h"
#include "terminal/standard_streams.h"

using namespace eclipse_run;
using namespace eclipse_terminal;

namespace {

/// Throws std::bad_alloc, also when there is not enough memory for the message about another error.
int run_and_report_errors(int argc, const char* const* argv) {
  try {
    return eclipse_cli::run_command_line(argc, argv);
  } catch (const eclipse_run::UsageError& error) {
    eclipse_terminal::print_message(std::string(error.what()) + "\nRun with --help for more information.");
  } catch (const eclipse_p2::InstanceError& error) {
    eclipse_terminal::print_message(error.what());
  } catch (const eclipse_base::FileError& errors) {
    eclipse_terminal::print_errors(errors);
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    eclipse_terminal::print_message(eclipse_base::printable(error.what(), {.longest = eclipse_base::no_limit}));
  }
  return eclipse_terminal::exit_trouble;
}

bool is_out_of_memory(const std::exception_ptr& exception) {
  try {
    std::rethrow_exception(exception);
  } catch (const std::bad_alloc&) {
    return true;
  } catch (...) {
    return false;
  }
}

/// Memory can run out in a function of another library that may not throw. When that is one of the standard library which goes
/// through a directory, there is no exception any more.
[[noreturn]] void end_without_memory() {
  const std::exception_ptr exception = std::current_exception();
  if (exception && !is_out_of_memory(exception)) std::abort();
  eclipse_terminal::print_out_of_memory();
  std::_Exit(eclipse_terminal::exit_trouble);
}

int run_within_memory(int argc, const char* const* argv) {
  try {
    return run_and_report_errors(argc, argv);
  } catch (const std::bad_alloc&) {
    eclipse_terminal::print_out_of_memory();
    return eclipse_terminal::exit_trouble;
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::set_terminate(end_without_memory);
  eclipse_terminal::prepare_standard_streams();
  return eclipse_terminal::with_output_written(run_within_memory(argc, argv));
}
