#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "descriptors/order.h"
#include "eclipse_int/eclipse_int.h"
#include "host/paths.h"

using namespace eclipse_int;

namespace {

/// The location of an update site as the director takes it. A repository is always taken relative to `base_dir`, even if it
/// looks like an absolute path or a URL. The quotes are part of it: the "!" and the spaces of an archive must survive the
/// shell.
std::string repository_url(const plugin_config& config) {
  const std::string url = "file://" + joined_path(config.base_dir, config.repository);
  return url.ends_with(".zip") ? "\"jar:" + url + "!/\"" : url;
}

std::int32_t wanted_slot(const plugin_config& config) { return config.order == UNDEFINED_ORDER ? 0 : read_order(config.order); }

/// Only a slot beyond the range of the numbers in the files needs the longer conversion: a host may look at the format.
void log_slot(std::int64_t slot, const char* feature) {
  if (std::in_range<int>(slot)) {
    print_log("eclipse_int: order: %d feature: %s", static_cast<int>(slot), feature);
  } else {
    print_log("eclipse_int: order: %lld feature: %s", static_cast<long long>(slot), feature);
  }
}

}  // namespace

void populate_lists(const std::vector<plugin_config>& configs, std::set<std::string>& repositories,
                    std::set<std::string>& extras, std::vector<std::string>& features) {
  OrderSlots slots;
  // Views of whole texts, so each is followed by a zero byte. The table is read in slot order, not in record order, so pointers
  // to the strings would cost another cache miss for each record.
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
  // What add_unique() finds by a scan. With as many features as records, a scan for each would take quadratic time.
  const std::vector<std::string> listed_before = features;
  std::unordered_set<std::string_view> listed(listed_before.begin(), listed_before.end());
  for (const auto& [slot, feature] : order_table) {
    log_slot(slot, feature.data());
    if (!feature.empty() && listed.insert(feature).second) features.emplace_back(feature);
  }
}

void add_unique(std::string item, std::vector<std::string>& list) {
  if (std::ranges::find(list, item) == list.end()) list.push_back(std::move(item));
}
