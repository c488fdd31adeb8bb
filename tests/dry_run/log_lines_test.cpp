// That the plug-in logs the lines that tools look for.
#include "dry_run/log_lines.h"

#include <gtest/gtest.h>

#include "dry_run/dry_run.h"
#include "fake_host/temporary_directory.h"

using namespace eclipse_dry_run;
using namespace eclipse_host;

namespace {

using Texts = std::vector<std::string>;

class LogLines : public testing::Test {
 protected:
  LogLines() {
    fake::write_file("ide/eclipse", "");
    session.variables = {{"KORU_MODE", "install"},
                         {"ECLIPSE_INTEGRATION_CHOICE", "user"},
                         {"ECLIPSE_BIN", "eclipse"},
                         {"USER_DEFINED_ECLIPSE_PATH", directory.path() + "/ide/eclipse"}};
  }

  CatalogueComponent& add(const std::string& code, const Texts& files) {
    auto& component = *session.components.emplace_back(std::make_unique<CatalogueComponent>());
    component.code = code;
    component.installBase = directory.path();
    component.installDir = code;
    component.selected_for_install = true;
    component.package.emplace().prefix = directory.path() + "/" + code;
    component.package->files = files;
    return component;
  }

  DryRun run() const {
    DescriptorFiles files;
    return perform_dry_run(plugin, session, files, std::set<std::size_t>{0});
  }

  /// What `read` finds in the lines of the log.
  template <typename Read>
  auto found(const Read& read) const {
    std::vector<typename decltype(read(""))::value_type> found;
    for (const std::string& line : run().log) {
      if (auto value = read(line)) found.push_back(*std::move(value));
    }
    return found;
  }

  fake::TemporaryDirectory directory;
  Plugin plugin{ECLIPSE_INT_LIBRARY};
  Session session;
};

TEST_F(LogLines, ReportThatNoExecutableIsFound) {
  EXPECT_TRUE(run().logged(log_lines::executable_not_found));
  session.capabilities->emplace("ECLIPSE_IDE", &add("ide", {"eclipse"}));
  EXPECT_FALSE(run().logged(log_lines::executable_not_found));
}

TEST_F(LogLines, ReportThatTheInstanceIsMissing) {
  session.variables["KORU_MODE"] = "uninstall";
  EXPECT_FALSE(run().logged(log_lines::instance_missing));
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "missing";
  EXPECT_TRUE(run().logged(log_lines::instance_missing));
}

TEST_F(LogLines, ReportThatThereIsNothingToInstallOrRemove) {
  EXPECT_TRUE(run().logged(log_lines::nothing_to_install));
  EXPECT_FALSE(run().logged(log_lines::nothing_to_remove));
  session.variables["KORU_MODE"] = "uninstall";
  EXPECT_FALSE(run().logged(log_lines::nothing_to_install));
  EXPECT_TRUE(run().logged(log_lines::nothing_to_remove));
}

TEST_F(LogLines, ReportTheExecutable) {
  EXPECT_EQ(found(log_lines::found_executable), Texts());
  session.capabilities->emplace("SOME_ECLIPSE_IDE", &add("ide", {"eclipse"}));
  const Texts executables = found(log_lines::found_executable);
  ASSERT_FALSE(executables.empty());
  EXPECT_EQ(executables.back(), directory.path() + "/ide/eclipse");
}

TEST_F(LogLines, ReportDescriptorsThatAreFoundAndThatDoNotExist) {
  fake::write_file("tools/etc/eclipse/one", "");
  add("tools", {"etc/eclipse/one", "etc/eclipse/two"});
  EXPECT_EQ(found(log_lines::found_descriptor), (Texts{"etc/eclipse/one", "etc/eclipse/two"}));
  EXPECT_EQ(found(log_lines::missing_descriptor), Texts{directory.path() + "/tools/etc/eclipse/two"});
}

TEST_F(LogLines, ReportRecordsAndTheirPlaces) {
  fake::write_file("tools/etc/eclipse/one", "my Feature: site\tF\t\t7\n\tG\nsite.zip\tH feature: x\t\t-1\n");
  add("tools", {"etc/eclipse/one"});
  const std::string base = directory.path() + "/tools/";
  const auto records = found(log_lines::taken_record);
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(records[0].url, "file://" + base + "my Feature: site");
  EXPECT_EQ(records[0].feature, "F");
  EXPECT_EQ(records[1].url, "\"jar:file://" + base + "site.zip!/\"");
  EXPECT_EQ(records[1].feature, "H feature: x");
  const auto places = found(log_lines::placed_feature);
  ASSERT_EQ(places.size(), 2U);
  EXPECT_EQ(places[0].slot, -1);
  EXPECT_EQ(places[0].feature, "H feature: x");
  EXPECT_EQ(places[1].slot, 7);
  EXPECT_EQ(places[1].feature, "F");
}

TEST_F(LogLines, AreNotFoundInOtherLines) {
  for (const std::string line : {"", "eclipse_int: ", "eclipse_int: File not found", "eclipse_int: Repository: x",
                                 "eclipse_int: order: x feature: y", "eclipse_int: order: 1", "eclipse_int: out: x"}) {
    EXPECT_FALSE(log_lines::found_executable(line)) << line;
    EXPECT_FALSE(log_lines::found_descriptor(line)) << line;
    EXPECT_FALSE(log_lines::missing_descriptor(line)) << line;
    EXPECT_FALSE(log_lines::taken_record(line)) << line;
    EXPECT_FALSE(log_lines::placed_feature(line)) << line;
  }
}

}  // namespace
