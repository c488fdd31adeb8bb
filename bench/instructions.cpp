// One call of the plug-in for `valgrind --tool=callgrind --collect-atstart=no`, which counts the instructions from the call to
// its return, including those of the standard library. The lists are handed over, because copying them is the host's work.
#include <valgrind/callgrind.h>

#include <functional>
#include <iostream>
#include <map>
#include <set>
#include <stdexcept>

#include "bench/inputs.h"
#include "bench/work_directory.h"
#include "exports/exports.h"

using namespace bench;
using exports::plug_in;

namespace {

void count(const std::function<void()>& call) {
  CALLGRIND_TOGGLE_COLLECT;
  call();
  CALLGRIND_TOGGLE_COLLECT;
}

void scan() {
  Catalogue catalogue(10, 1000);
  catalogue.hand_over_lists();
  std::vector<Component*> components = catalogue.components();
  std::vector<std::pair<std::string, std::string>> found;
  count([&] { found = plug_in().get_integration_files(std::move(components), Integrate, true); });
  if (found.size() != 100) throw std::logic_error("not all descriptors were found");
}

void descriptor() {
  const std::string directory = "product/opt/example/suite-1.4/components/component-1";
  write_file(directory + "/etc/eclipse/plugins.txt", descriptor_text(records(1000, Orders::many_numbers)));
  std::vector<plugin_config> read;
  count([&] { plug_in().process_file({directory, "etc/eclipse/plugins.txt"}, read); });
  if (read.size() != 1000) throw std::logic_error("not all records were read");
}

void lists() {
  const auto configs = records(1000, Orders::many_numbers);
  std::set<std::string> repositories;
  std::set<std::string> extras;
  std::vector<std::string> features;
  count([&] { plug_in().populate_lists(configs, repositories, extras, features); });
  if (features.size() != 100) throw std::logic_error("not all features are in the list");
}

}  // namespace

int main(int argc, char** argv) try {
  const std::map<std::string, void (*)()> cases = {{"scan", scan}, {"descriptor", descriptor}, {"lists", lists}};
  plug_in();  // load it before counting starts
  const WorkDirectory directory;
  cases.at(argc == 2 ? argv[1] : "")();
  return 0;
} catch (const std::exception& error) {
  std::cerr << argv[0] << ": " << error.what() << '\n';
  return 1;
}
