#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>

#include "eclipse_int/eclipse_int.h"
#include "every_text.h"
#include "fake_host/fake_host.h"
#include "plugin_config_equality.h"

using fake::FakeHost;
using fake::Texts;

namespace {

using Files = std::vector<std::pair<std::string, std::string>>;

constexpr EclipseIntegrationMode other_mode = static_cast<EclipseIntegrationMode>(7);

TEST(IntegrationFiles, EntriesBelowTheDescriptorDirectoryAreFound) {
  FakeHost host;
  host.add({.code = "c",
            .installBase = "/opt//base",
            .installDir = "dir/../app/",
            .package = {{.files = {"share\\app\\etc\\eclipse\\plugins.txt\r\n", "", "bin/etc/eclipse", "etc/eclipse\n",
                                   "bin/file", "etc/eclipse/", "ETC/ECLIPSE/x", "xetc/eclipse/y\n\r\n\n", "etc\\eclipse/a\nb\r",
                                   "%s/etc/eclipse/%n", "etc/ecl\nipse/z", "etc/eclipse/\r\n"}}}});
  EXPECT_EQ(get_integration_files(host.catalogue(), Integrate, false),
            (Files{{"/opt/base/app", "share/app/etc/eclipse/plugins.txt"},
                   {"/opt/base/app", "etc/eclipse/"},
                   {"/opt/base/app", "xetc/eclipse/y"},
                   {"/opt/base/app", "etc/eclipse/a\nb"},
                   {"/opt/base/app", "%s/etc/eclipse/%n"},
                   {"/opt/base/app", "etc/eclipse/"}}));
  EXPECT_EQ(host.events, (Texts{"eclipse_int: found eclipse configuration: share/app/etc/eclipse/plugins.txt",
                                "eclipse_int: found eclipse configuration: etc/eclipse/",
                                "eclipse_int: found eclipse configuration: xetc/eclipse/y",
                                "eclipse_int: found eclipse configuration: etc/eclipse/a\nb",
                                "eclipse_int: found eclipse configuration: %s/etc/eclipse/%n",
                                "eclipse_int: found eclipse configuration: etc/eclipse/"}));
}

TEST(IntegrationFiles, DirectoryIsJoinedFromBaseAndDirWhateverTheyAre) {
  FakeHost host;
  const fake::PackageFields package = {.prefix = "/elsewhere", .files = {"etc/eclipse/p"}};
  host.add({.code = "a", .installBase = "base", .installDir = "", .package = package});
  host.add({.code = "b", .installBase = "", .installDir = "dir", .package = package});
  host.add({.code = "c", .installBase = "/x/", .installDir = "/y/", .package = package});
  EXPECT_EQ(get_integration_files(host.catalogue(), Integrate, false),
            (Files{{"base", "etc/eclipse/p"}, {"/dir", "etc/eclipse/p"}, {"/x/y", "etc/eclipse/p"}}));
  EXPECT_EQ(host.calls_of({"path("}), (Texts{"path(base/)", "path(/dir)", "path(/x///y/)"}));
}

TEST(IntegrationFiles, ComponentsAndFilesKeepTheirOrder) {
  FakeHost host;
  host.add({.code = "z", .installBase = "z", .package = {{.files = {"etc/eclipse/2", "etc/eclipse/1", "etc/eclipse/2"}}}});
  host.add({.code = "a", .installBase = "a", .package = {{.files = {"etc/eclipse/0"}}}});
  const Files expected = {{"z", "etc/eclipse/2"}, {"z", "etc/eclipse/1"}, {"z", "etc/eclipse/2"}, {"a", "etc/eclipse/0"}};
  EXPECT_EQ(get_integration_files(host.catalogue(), Integrate, false), expected);
}

TEST(IntegrationFiles, ComponentsWithoutCodeProviderOrPackageAreSkipped) {
  FakeHost host;
  const fake::PackageFields package = {.files = {"etc/eclipse/p"}};
  host.components.push_back(nullptr);
  host.add({.code = "", .install = true, .package = package});
  host.add({.code = "without package", .install = true});
  host.add({.code = "without provider", .install = true, .package = package})->has_provider = false;
  host.add({.code = "c", .installBase = "base", .install = true, .package = package});
  EXPECT_EQ(get_integration_files(host.catalogue(), Integrate, true), (Files{{"base", "etc/eclipse/p"}}));
  EXPECT_EQ(host.calls, (Texts{"Component::installCondition(without package)", "Component::provider(without package)",
                               "Component::installCondition(without provider)", "Component::provider(without provider)",
                               "Component::installCondition(c)", "Component::provider(c)", "path(base/)",
                               "print_log(eclipse_int: found eclipse configuration: etc/eclipse/p)"}));
}

TEST(IntegrationFiles, NoComponentsGiveNothing) {
  FakeHost host;
  EXPECT_EQ(get_integration_files({}, Integrate, true), Files{});
  EXPECT_EQ(host.calls, Texts{});
}

struct FilterCase {
  EclipseIntegrationMode mode;
  bool filter;
  Texts expected;
  std::string condition;
};

TEST(IntegrationFiles, OnlyTheConditionOfTheModeFilters) {
  const std::vector<FilterCase> cases = {
      {Integrate, true, {"install", "both"}, "Component::installCondition"},
      {Unintegrate, true, {"remove", "both"}, "Component::uninstallCondition"},
      {other_mode, true, {"install", "remove", "both", "neither"}, ""},
      {Integrate, false, {"install", "remove", "both", "neither"}, ""},
      {Unintegrate, false, {"install", "remove", "both", "neither"}, ""},
  };
  for (const auto& [mode, filter, expected, condition] : cases) {
    FakeHost host;
    const auto add = [&host](const std::string& code, bool install, bool remove) {
      host.add({.code = code,
                .installBase = code,
                .install = install,
                .remove = remove,
                .installed = true,
                .package = {{.files = {"etc/eclipse/p"}}}});
    };
    add("install", true, false);
    add("remove", false, true);
    add("both", true, true);
    add("neither", false, false);
    Texts found;
    for (const auto& file : get_integration_files(host.catalogue(), mode, filter)) found.push_back(file.first);
    EXPECT_EQ(found, expected) << mode << filter;
    Texts asked;
    if (!condition.empty())
      asked = {condition + "(install)", condition + "(remove)", condition + "(both)", condition + "(neither)"};
    EXPECT_EQ(host.calls_of({"Component::installCondition", "Component::uninstallCondition", "Component::getInstalled"}),
              asked);
  }
}

TEST(IntegrationFiles, DirectoryIsFoundAtEveryPlaceInALongPath) {
  const Texts listed = every_text({"etc", "/", "\\", "eclipse", "e", "etc/eclips", "\n", "\xFF"}, 5);
  Files expected;
  for (std::string text : listed) {
    std::replace(text.begin(), text.end(), '\\', '/');
    if (text.find("etc/eclipse/") == std::string::npos) continue;
    while (text.ends_with('\n')) text.pop_back();
    expected.emplace_back("base", text);
  }
  ASSERT_GT(expected.size(), 50U);

  FakeHost host;
  host.add({.code = "c", .installBase = "base", .package = {{.files = listed}}});
  EXPECT_EQ(get_integration_files(host.catalogue(), Integrate, false), expected);
}

// ---- The records of all files, by either of the two functions that give them ----

using Populate = std::vector<plugin_config> (*)(EclipseIntegrationMode, std::vector<Component*>, bool);

class PluginList : public testing::TestWithParam<Populate> {};

INSTANTIATE_TEST_SUITE_P(Both, PluginList, testing::Values(&populate_plugin_list, &populate_eclipse_list),
                         [](const auto& populate) { return populate.index == 0 ? "Plugin" : "Eclipse"; });

TEST_P(PluginList, RecordsOfAllFilesComeInOrder) {
  FakeHost host;
  host.add({.code = "b",
            .installBase = "base",
            .installDir = "b/",
            .install = true,
            .package = {{.files = {"etc\\eclipse\\2.txt\r\n", "etc/eclipse/1.txt"}}}});
  host.add(
      {.code = "a", .installBase = "base", .installDir = "a", .install = true, .package = {{.files = {"etc/eclipse/1.txt"}}}});
  fake::write_file("base/b/etc/eclipse/2.txt", "site\tb2\nsite\tb2 again");
  fake::write_file("base/b/etc/eclipse/1.txt", "Repository\tFeature\nsite\tb1\textra\t5\n");
  fake::write_file("base/a/etc/eclipse/1.txt", "site\ta1");
  EXPECT_EQ(GetParam()(Integrate, host.catalogue(), true),
            (std::vector<plugin_config>{{"site", "b2", "", "undefined", "base/b"},
                                        {"site", "b2 again", "", "undefined", "base/b"},
                                        {"site", "b1", "extra", "5", "base/b"},
                                        {"site", "a1", "", "undefined", "base/a"}}));
  EXPECT_EQ(host.events, (Texts{"eclipse_int: found eclipse configuration: etc/eclipse/2.txt",
                                "eclipse_int: found eclipse configuration: etc/eclipse/1.txt",
                                "eclipse_int: found eclipse configuration: etc/eclipse/1.txt"}));
}

TEST_P(PluginList, FilesThatAreNotOnDiskAreLoggedAndLeftOut) {
  FakeHost host;
  host.add(
      {.code = "c",
       .installBase = "base",
       .package = {{.files = {"etc/eclipse/missing%s", "etc/eclipse/directory", "etc/eclipse/pipe", "etc/eclipse/there"}}}});
  std::filesystem::create_directories("base/etc/eclipse/directory");
  ASSERT_EQ(mkfifo("base/etc/eclipse/pipe", 0600), 0);
  fake::write_file("base/etc/eclipse/there", "site\tfeature");
  EXPECT_EQ(GetParam()(Integrate, host.catalogue(), false),
            (std::vector<plugin_config>{{"site", "feature", "", "undefined", "base"}}));
  EXPECT_EQ(host.events, (Texts{"eclipse_int: found eclipse configuration: etc/eclipse/missing%s",
                                "eclipse_int: found eclipse configuration: etc/eclipse/directory",
                                "eclipse_int: found eclipse configuration: etc/eclipse/pipe",
                                "eclipse_int: found eclipse configuration: etc/eclipse/there",
                                "eclipse_int: File base/etc/eclipse/missing%s not found",
                                "eclipse_int: File base/etc/eclipse/directory not found",
                                "eclipse_int: File base/etc/eclipse/pipe not found"}));
}

TEST_P(PluginList, ModeAndFilterArePassedOn) {
  FakeHost host;
  for (const std::string code : {"install", "remove"}) {
    host.add({.code = code,
              .installBase = code,
              .install = code == "install",
              .remove = code == "remove",
              .package = {{.files = {"etc/eclipse/p"}}}});
    fake::write_file(code + "/etc/eclipse/p", "site\t" + code);
  }
  const plugin_config install = {"site", "install", "", "undefined", "install"};
  const plugin_config remove = {"site", "remove", "", "undefined", "remove"};
  EXPECT_EQ(GetParam()(Integrate, host.catalogue(), true), std::vector{install});
  EXPECT_EQ(GetParam()(Unintegrate, host.catalogue(), true), std::vector{remove});
  EXPECT_EQ(GetParam()(other_mode, host.catalogue(), true), (std::vector{install, remove}));
  EXPECT_EQ(GetParam()(Unintegrate, host.catalogue(), false), (std::vector{install, remove}));
}

TEST_P(PluginList, EachFileIsLookedForByItsFullName) {
  FakeHost host;
  host.add({.code = "c", .installBase = "/", .package = {{.files = {"..\\etc\\eclipse\\p"}}}});
  EXPECT_EQ(GetParam()(Integrate, host.catalogue(), false), std::vector<plugin_config>{});
  EXPECT_EQ(
      host.calls,
      (Texts{"Component::provider(c)", "path(//)", "print_log(eclipse_int: found eclipse configuration: ../etc/eclipse/p)",
             "path(//../etc/eclipse/p)", "is_file(/etc/eclipse/p)", "print_log(eclipse_int: File /etc/eclipse/p not found)"}));
}

TEST_P(PluginList, NoComponentsGiveNothing) {
  FakeHost host;
  EXPECT_EQ(GetParam()(Integrate, {}, true), std::vector<plugin_config>{});
  EXPECT_EQ(host.calls, Texts{});
}

}  // namespace
