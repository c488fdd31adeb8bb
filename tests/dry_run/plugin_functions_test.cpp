// That the answers of the plug-in are ascribed to the right records.
#include <gtest/gtest.h>

#include <memory>
#include <random>

#include "dry_run/plugin_functions.h"
#include "fake_host/fake_host.h"
#include "fake_host/temporary_directory.h"

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

TEST(PluginFunctions, PlacementsOfManyRecordsAreThoseThatThePluginLogs) {
  std::mt19937 random(21);
  for (const int count : {500, 501, 1023, 1024, 1500}) {
    const auto records = random_records(random, count);
    EXPECT_EQ(log_by_placements(records), logged_of(records)) << count << " records";
  }
}

TEST(PluginFunctions, DescriptorsAreThoseThatThePluginFinds) {
  const fake::TemporaryDirectory directory;
  fake::write_file("base/tools/etc/eclipse/tools.txt", "");
  eclipse_host::CatalogueComponent component;
  component.installBase = directory.path() + "/base";
  component.installDir = "tools";
  const auto found = functions().descriptor(component, "etc\\eclipse/tools.txt\r");
  ASSERT_TRUE(found);
  EXPECT_EQ(found->directory, directory.path() + "/base/tools");
  EXPECT_EQ(found->name, "etc/eclipse/tools.txt");
  EXPECT_EQ(found->path, directory.path() + "/base/tools/etc/eclipse/tools.txt");
  EXPECT_TRUE(found->exists);
  EXPECT_FALSE(functions().descriptor(component, "etc/eclipse/other.txt")->exists);
  EXPECT_FALSE(functions().descriptor(component, "etc/tools.txt"));
}

TEST(PluginFunctions, CapabilitiesMeanWhatThePluginMakesOfThem) {
  EXPECT_TRUE(functions().asks_for_integration({"OTHER", "ALPHA_ECLIPSE_PLUGIN"}));
  EXPECT_FALSE(functions().asks_for_integration({"OTHER", "ALPHA_ECLIPSE_IDE"}));
  EXPECT_FALSE(functions().asks_for_integration({}));
  EXPECT_TRUE(functions().marks_ide("ALPHA_ECLIPSE_IDE"));
  EXPECT_FALSE(functions().marks_ide("ALPHA_ECLIPSE_PLUGIN"));
}

TEST(PluginFunctions, VersionsAreComparedByThePlugin) {
  EXPECT_TRUE(functions().supports_version("4.26", "4.26"));
  EXPECT_TRUE(functions().supports_version("4.27", "4.26"));
  EXPECT_FALSE(functions().supports_version("4.25", "4.26"));
  EXPECT_FALSE(functions().supports_version("4.100", "4.26")) << "as texts";
}

TEST(PluginFunctions, ExecutablesAreThoseThatThePluginFinds) {
  const fake::TemporaryDirectory directory;
  for (const char* const file : {"ide/bin/other", "ide/bin/eclipse", "ide/sdk/eclipse"}) fake::write_file(file, "");
  const auto ide = std::make_unique<eclipse_host::CatalogueComponent>();
  ide->code = "ide";
  ide->package.emplace().prefix = directory.path() + "/ide";
  ide->package->files = {"bin/other", "bin/eclipse", "missing/eclipse", "sdk/eclipse"};
  eclipse_host::Session session;
  session.variables["ECLIPSE_BIN"] = "eclipse";
  session.capabilities->emplace("ALPHA_ECLIPSE_IDE", ide.get());
  EXPECT_EQ(functions().executables(session),
            (fake::Texts{directory.path() + "/ide/bin/eclipse", directory.path() + "/ide/sdk/eclipse"}));
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
