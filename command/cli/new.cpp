#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

#include "base/printable.h"
#include "cli/standard_streams.h"
#include "cli/subcommands.h"
#include "draft/descriptor_draft.h"

using namespace eclipse_draft;

namespace eclipse_cli {

namespace {

constexpr const char* examples =
    "  eclipse-int new tools > tools.txt && mkdir -p tools/etc/eclipse && mv tools.txt tools/etc/eclipse\n"
    "      Write a descriptor file for the update sites below the component's directory.\n";

constexpr const char* exit_status =
    "Exit status:\n"
    "  0  done\n"
    "  2  no descriptor can be written for this directory; or the arguments are invalid, or standard output\n"
    "     cannot be written\n";

struct NewOptions {
  std::string directory;
  bool all = false;
};

int perform(const NewOptions& options) {
  eclipse_p2::Repositories repositories;
  const DescriptorDraft draft =
      draft_descriptor(repositories, options.directory, options.all ? OfferedFeatures::all : OfferedFeatures::in_categories);
  for (const std::string& note : draft.notes) {
    print_message("note: " + eclipse_base::printable(options.directory) + ": " + eclipse_base::printable(note));
  }
  std::cout << draft.text;
  return 0;
}

}  // namespace

Subcommand add_new(CLI::App& program) {
  CLI::App* const parser = program.add_subcommand(
      "new", "Print a descriptor file for the p2 repositories (update sites) in a component's directory");
  const auto options = std::make_shared<NewOptions>();
  parser->add_option("DIRECTORY", options->directory, "The component's directory")->required()->option_text(" ");
  parser->add_flag("--all", options->all, "List all features, not only those in categories");
  set_help(*parser, "eclipse-int new DIRECTORY [OPTIONS]", examples, exit_status);
  return {parser, [options] { return perform(*options); }};
}

}  // namespace eclipse_cli
