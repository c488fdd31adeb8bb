#include <iostream>
#include <memory>

#include "base/printable.h"
#include "cli/shared_options.h"
#include "cli/subcommands.h"
#include "draft/descriptor_draft.h"
#include "run/session_source.h"
#include "run/usage_error.h"
#include "terminal/exit_status.h"
#include "terminal/standard_streams.h"

using namespace eclipse_draft;
using namespace eclipse_run;
using namespace eclipse_terminal;

namespace eclipse_cli {

namespace {

constexpr const char* new_examples =
    "  eclipse-int new tools > tools.txt && mkdir -p tools/etc/eclipse && mv tools.txt tools/etc/eclipse\n"
    "      Write a descriptor file for the repositories below the component's directory.\n"
    "  eclipse-int new --session tools --eclipse /opt/ide > install.json\n"
    "      Write the session that \"eclipse-int run tools --eclipse /opt/ide\" runs.\n";

constexpr const char* new_exit_status =
    "Exit status:\n"
    "  0  success\n"
    "  2  no descriptor can be written for this directory; an error in the arguments; or standard output cannot be\n"
    "     written\n";

struct NewOptions {
  SessionOptions session;
  bool all = false;
  bool drafts_session = false;
};

int new_command(const NewOptions& options) {
  const std::string& directory = options.session.session;
  if (options.drafts_session) {
    std::cout << drafted_session(directory, options.session);
    return exit_success;
  }
  if (options.session.eclipse || options.session.removes)
    throw UsageError("--eclipse and --remove need --session; add it, or leave them out");
  eclipse_p2::Repositories repositories;
  const DescriptorDraft draft =
      draft_descriptor(repositories, directory, options.all ? OfferedFeatures::all : OfferedFeatures::in_categories);
  for (const std::string& note : draft.notes) {
    print_message("note: " + eclipse_base::printable(directory) + ": " + eclipse_base::printable(note));
  }
  std::cout << draft.text;
  return exit_success;
}

}  // namespace

Subcommand add_new(const Parser& program) {
  const Parser parser = program.add_subcommand(
      "new", "Print a descriptor file for the p2 repositories (update sites) in a component's directory");
  const auto options = std::make_shared<NewOptions>();
  parser.add_option("DIRECTORY", options->session.session, "The component's directory").required().option_text(" ");
  parser.add_flag("--all", options->all, "List all features [default: of a repository with categories, only\nthose in them]");
  parser.add_flag("--session", options->drafts_session,
                  "Print a session file instead, for the features of the components\nin DIRECTORY; needs --eclipse");
  add_directory_options(parser, options->session);
  add_plugin_option(parser, options->session);
  parser.set_help("eclipse-int new DIRECTORY [OPTIONS]", new_examples, new_exit_status);
  return {parser, [options] { return new_command(*options); }};
}

}  // namespace eclipse_cli
