// That the answers of the plug-in are ascribed to the right records.
#include <gtest/gtest.h>

#include <random>

#include "dry_run/plugin_functions.h"
#include "fake_host/fake_host.h"

using namespace eclipse_dry_run;

namespace {

PluginFunctions functions() {
  static const eclipse_host::Plugin plugin(ECLIPSE_INT_LIBRARY);
  return PluginFunctions(plugin);
}

/// Records whose features differ, some without a repository, with orders that collide often.
std::vector<plugin_config> random_records(std::mt19937& random, int count) {
  const auto below = [&](unsigned limit) { return random() % limit; };
  std::vector<plugin_config> records;
  for (int i = 0; i < count; ++i) {
    const std::string repository = below(5) == 0 ? "" : "site " + std::to_string(below(3)) + " Feature: x";
    const std::string order = below(3) == 0 ? "undefined" : std::to_string(static_cast<int>(below(20)) - 5);
    records.push_back({repository, "feature" + std::to_string(i), "", order, "/base"});
  }
  return records;
}

/// What the plug-in logs of these records, as it says it.
fake::Texts logged_of(const std::vector<plugin_config>& records) {
  fake::FakeHost host;
  std::set<std::string> repositories;
  std::set<std::string> extras;
  std::vector<std::string> features;
  populate_lists(records, repositories, extras, features);
  return host.log;
}

/// The same, put together from placements.
fake::Texts log_by_placements(const std::vector<plugin_config>& records) {
  fake::Texts log;
  std::map<std::int64_t, std::string> order;
  const auto placements = functions().placements(records);
  for (std::size_t i = 0; i < records.size(); ++i) {
    if (!placements[i]) continue;
    log.push_back("eclipse_int: Repository: " + placements[i]->url + " Feature: " + records[i].feature);
    order[placements[i]->slot] =
        "eclipse_int: order: " + std::to_string(placements[i]->slot) + " feature: " + records[i].feature;
  }
  for (const auto& [slot, line] : order) log.push_back(line);
  return log;
}

TEST(PluginFunctions, PlacementsAreThoseThatThePluginLogs) {
  std::mt19937 random(20);
  for (int count = 0; count < 200; ++count) {
    const auto records = random_records(random, count);
    EXPECT_EQ(log_by_placements(records), logged_of(records)) << count << " records";
  }
}

TEST(PluginFunctions, OrdersAreReadByThePlugin) {
  const std::vector<std::pair<std::string, std::int64_t>> cases = {
      {"undefined", 0}, {"", 0}, {"7", 7}, {" 7x", 7}, {"-3", -3}, {"99999999999", 2147483647}, {"-99999999999", -2147483648}};
  for (const auto& [text, number] : cases) EXPECT_EQ(functions().order(text), number) << text;
}

TEST(PluginFunctions, WhatHasOnlyTheActionsOfThePluginIsRefused) {
  const eclipse_host::Plugin plugin(ONLY_ACTIONS);
  try {
    const PluginFunctions functions(plugin);
    FAIL() << "was taken for the plug-in";
  } catch (const eclipse_host::PluginError& error) {
    EXPECT_STREQ(error.what(),
                 ONLY_ACTIONS ": has no function \"split_by_tabs\"; this is not the plug-in, or not this version of it");
  }
}

}  // namespace
