#include "bench/inputs.h"

#include <algorithm>
#include <numeric>
#include <random>

#include "bench/work_directory.h"

namespace bench {

namespace {

using std::to_string;

std::string plain_path(std::size_t i) {
  const std::string tool = "org.example.tools.module" + to_string(i % 97);
  switch (i % 4) {
    case 0:
      return "share/tools/plugins/" + tool + "_1.4." + to_string(i) + ".jar";
    case 1:
      return "share/tools/features/" + tool + ".feature_1.4.2/feature" + to_string(i) + ".xml";
    case 2:
      return "share/doc/" + tool + "/html/api/package" + to_string(i % 31) + "/Class" + to_string(i) + ".html";
    default:
      return "lib/tools/native/libtools" + to_string(i) + ".so.1.4.2";
  }
}

std::string listed_path(std::size_t i) {
  std::string name = plain_path(i);
  if (i % 100 == 0) name = "share/tools/component" + to_string(i) + "/etc/eclipse/plugins.txt";
  if (i % 100 == 51) name = "share/tools/ide" + to_string(i) + "/" + std::string(executable_name);
  // The hits of each kind take turns as well.
  if ((i / 100 + i) % 2 == 1) std::replace(name.begin(), name.end(), '/', '\\');
  if (i % 10 == 1) name += "\r\n";
  return name;
}

std::size_t bytes_of(const std::vector<std::string>& texts) {
  return std::accumulate(texts.begin(), texts.end(), std::size_t{0},
                         [](std::size_t bytes, const std::string& text) { return bytes + text.size(); });
}

std::unique_ptr<BareComponent> component(std::size_t number) {
  auto made = std::make_unique<BareComponent>();
  made->code = "EXAMPLE_COMPONENT_" + to_string(number);
  made->installBase = "product/opt/example/suite-1.4";
  made->installDir = "components/component-" + to_string(number);
  made->package.prefix = "/opt/example/suite-1.4/components";
  return made;
}

std::string order_text(Orders orders, std::size_t count, std::mt19937& random) {
  switch (orders) {
    case Orders::few_numbers:
      return to_string(random() % 100);
    case Orders::many_numbers:
      return to_string(random() % count);
    default:
      return "undefined";
  }
}

plugin_config record(std::size_t i, Orders orders, std::size_t count, std::mt19937& random) {
  const std::size_t unit = orders == Orders::distinct_units ? i : i % 100;
  return {"sites/tools-" + to_string(i / 10) + (i / 10 % 2 == 0 ? "/updates.zip" : "/repository"),
          "org.example.tools.module" + to_string(unit) + ".feature.group", "Tools for module " + to_string(unit),
          order_text(orders, count, random), "/opt/example/suite-1.4/components/tools"};
}

}  // namespace

Catalogue::Catalogue(std::size_t components, std::size_t paths_per_component) {
  for (std::size_t number = 0; number < components; ++number) {
    owned_.push_back(component(number));
    pointers_.push_back(owned_.back().get());
    for (std::size_t i = 0; i < paths_per_component; ++i) owned_.back()->files.push_back(listed_path(i));
  }
}

std::size_t Catalogue::input_bytes() const {
  std::size_t bytes = 0;
  for (const auto& each : owned_) bytes += bytes_of(each->files);
  return bytes;
}

void Catalogue::hand_over_lists() {
  for (const auto& each : owned_) each->hands_over = true;
}

std::vector<plugin_config> records(std::size_t count, Orders orders) {
  std::mt19937 random(20);
  std::vector<plugin_config> made;
  for (std::size_t i = 0; i < count; ++i) made.push_back(record(i, orders, count, random));
  return made;
}

std::string descriptor_text(const std::vector<plugin_config>& records) {
  std::string text = "Repository\tFeature\tDescription\tOrder\n";
  for (const plugin_config& each : records) {
    text += each.repository + "\t" + each.feature + "\t" + each.extra + "\t" + each.order + "\n";
  }
  return text;
}

std::string comment_text(std::size_t lines) {
  std::string text;
  for (std::size_t i = 0; i < lines; ++i)
    text += "# The update sites of the tools for module " + to_string(i) + ", in the order of their needs\n";
  return text;
}

InstallSession::InstallSession(std::size_t record_count) {
  constexpr std::size_t component_count = 20;
  const std::string directory = "product/opt/example/suite-of-" + to_string(record_count);
  const auto all = records(record_count, Orders::distinct_units);
  for (std::size_t number = 0; number < component_count; ++number) {
    components_.push_back(component(number));
    BareComponent& made = *components_.back();
    made.installBase = directory;
    session_.components.push_back(&made);
    session_.capabilities["EXAMPLE_" + to_string(number) + "_ECLIPSE_PLUGIN"] = &made;

    const auto share = [&](std::size_t n) {
      return all.begin() + static_cast<std::ptrdiff_t>(n * record_count / component_count);
    };
    const std::string text = descriptor_text({share(number), share(number + 1)});
    write_file(made.installBase + "/" + made.installDir + "/etc/eclipse/plugins.txt", text);
    input_bytes_ += text.size();
    for (std::size_t i = 1; i < record_count; ++i) made.files.push_back(plain_path(i));
    made.files.push_back("etc\\eclipse\\plugins.txt\r\n");
    input_bytes_ += bytes_of(made.files);
  }
  components_[0]->package.prefix = directory + "/ide";
  components_[0]->files[record_count / 2] = executable_name;
  write_file(directory + "/ide/" + std::string(executable_name), "");
  session_.capabilities["EXAMPLE_ECLIPSE_IDE"] = components_[0].get();
  session_.variables = {
      {"KORU_MODE", "install"}, {"ECLIPSE_INTEGRATION_CHOICE", "internal"}, {"ECLIPSE_BIN", std::string(executable_name)}};
}

}  // namespace bench
