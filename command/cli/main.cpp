// The command: a stand-alone host for the plug-in, which runs the sessions that files describe.
#include <exception>
#include <new>
#include <string>

#include "base/file_error.h"
#include "base/printable.h"
#include "cli/command_line.h"
#include "cli/standard_streams.h"
#include "cli/usage_error.h"
#include "p2/installed_units.h"

namespace {

int run_and_report_errors(int argc, const char* const* argv) {
  try {
    return eclipse_cli::run_command_line(argc, argv);
  } catch (const eclipse_cli::UsageError& error) {
    eclipse_cli::print_message(std::string(error.what()) + "\nRun with --help for more information.");
  } catch (const eclipse_p2::InstanceError& error) {
    eclipse_cli::print_message(error.what());
  } catch (const eclipse_base::FileError& errors) {
    eclipse_cli::print_errors(errors);
  } catch (const std::bad_alloc&) {
    eclipse_cli::print_message(eclipse_cli::out_of_memory);
  } catch (const std::exception& error) {
    eclipse_cli::print_message(eclipse_base::printable(error.what(), {.longest = eclipse_base::no_limit}));
  }
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  eclipse_cli::prepare_standard_streams();
  return eclipse_cli::with_output_written(run_and_report_errors(argc, argv));
}
