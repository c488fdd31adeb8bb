// The command: a stand-alone host for the plug-in, which runs the sessions that files describe.
#include <exception>
#include <string>

#include "cli/command_line.h"
#include "cli/standard_streams.h"
#include "cli/usage_error.h"

namespace {

int run_and_report_errors(int argc, const char* const* argv) {
  try {
    return eclipse_cli::run_command_line(argc, argv);
  } catch (const eclipse_cli::UsageError& error) {
    eclipse_cli::print_message(std::string(error.what()) + "\nRun with --help for more information.");
  } catch (const std::exception& error) {
    eclipse_cli::print_message(error.what());
  }
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  eclipse_cli::prepare_standard_streams();
  return eclipse_cli::with_output_written(run_and_report_errors(argc, argv));
}
