#include <algorithm>
#include <string_view>
#include <utility>

#include "descriptors/order.h"
#include "eclipse_int/eclipse_int.h"
#include "host/paths.h"

using namespace eclipse_int;

namespace {

/// The location of an update site as the director takes it. A repository is always below `base_dir`, also when its text looks
/// like an absolute path or a URL. The quotes belong to it: an archive's "!" and blanks have to get through the shell.
std::string repository_url(const plugin_config& config) {
  const std::string url = "file://" + joined_path(config.base_dir, config.repository);
  return url.ends_with(".zip") ? "\"jar:" + url + "!/\"" : url;
}

std::int32_t wanted_slot(const plugin_config& config) { return config.order == UNDEFINED_ORDER ? 0 : read_order(config.order); }

}  // namespace

void populate_lists(const std::vector<plugin_config>& configs, std::set<std::string>& repositories,
                    std::set<std::string>& extras, std::vector<std::string>& features) {
  OrderSlots slots;
  // Views of whole texts, so a zero byte stands behind each. Read in the order of the slots, which is not that of the records,
  // pointers to the strings would cost another cache miss for every record.
  std::vector<std::pair<std::int64_t, std::string_view>> order_table;
  for (const plugin_config& config : configs) {
    if (config.repository.empty()) continue;
    std::string url = repository_url(config);
    print_log("eclipse_int: Repository: %s Feature: %s", url.c_str(), config.feature.c_str());
    repositories.insert(std::move(url));
    order_table.emplace_back(slots.take(wanted_slot(config)), config.feature);
    extras.insert(config.extra);
  }

  std::sort(order_table.begin(), order_table.end());
  for (const auto& [slot, feature] : order_table) {
    // %lld, since slots may lie beyond the 32 bits of the numbers in the files.
    print_log("eclipse_int: order: %lld feature: %s", static_cast<long long>(slot), feature.data());
    if (!feature.empty()) add_unique(std::string(feature), features);
  }
}

void add_unique(std::string item, std::vector<std::string>& list) {
  if (std::ranges::find(list, item) == list.end()) list.push_back(std::move(item));
}
