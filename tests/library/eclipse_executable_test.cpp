#include <gtest/gtest.h>
#include <sys/stat.h>

#include "eclipse_int/eclipse_int.h"
#include "fake_host/fake_host.h"

using fake::FakeHost;
using fake::Texts;

namespace {

const std::string found = "eclipse_int: found eclipse executable: ";
const std::string not_found = "eclipse_int: eclipse not found";

TEST(EclipseExecutable, ListedFileIsFoundBelowThePrefix) {
  FakeHost host;
  fake::write_file("ide/sub/eclipse", "");
  const std::string prefix = host.directory.path() + "/ide";
  for (const std::string listed : {"sub/eclipse", "sub\\eclipse\r\n", "sub\\eclipse\n\n", "/sub//./eclipse\r"}) {
    host.events.clear();
    host.components.clear();
    host.add({.code = "ide", .package = {{.prefix = prefix, .files = {listed}}}});
    EXPECT_EQ(find_eclipse_executable("eclipse", host.catalogue()), prefix + "/sub/eclipse") << listed;
    EXPECT_EQ(host.events, Texts{found + prefix + "/sub/eclipse"}) << listed;
  }
}

TEST(EclipseExecutable, NameHasToBeTheWholeLastComponent) {
  FakeHost host;
  const std::string prefix = host.directory.path();
  for (const std::string name : {"eclipse.ini", "myeclipse", "Eclipse", "eclips", "eclipse/x"}) fake::write_file(name, "");
  host.add({.code = "ide",
            .package = {{.prefix = prefix,
                         .files = {"eclipse.ini", "myeclipse", "Eclipse", "eclips", "eclipse", "e", "", "eclipse/x"}}}});
  EXPECT_EQ(find_eclipse_executable("eclipse", host.catalogue()), "");
  EXPECT_EQ(host.events, Texts{not_found});
  // The base name is asked for before the file.
  EXPECT_EQ(host.calls_of({"get_basename", "is_file"}),
            (Texts{"get_basename(" + prefix + "/myeclipse)", "get_basename(" + prefix + "/eclipse)",
                   "is_file(" + prefix + "/eclipse)"}));
}

TEST(EclipseExecutable, NameWithASeparatorOrAnEmptyNameNeverMatches) {
  FakeHost host;
  fake::write_file("bin/eclipse", "");
  host.add({.code = "ide", .package = {{.prefix = host.directory.path(), .files = {"bin/eclipse", "bin\\eclipse", "\r\n"}}}});
  for (const std::string name : {"bin/eclipse", "bin\\eclipse", "/eclipse", "", "eclipse\n"}) {
    host.events.clear();
    EXPECT_EQ(find_eclipse_executable(name, host.catalogue()), "") << name;
    EXPECT_EQ(host.events, Texts{not_found}) << name;
  }
}

TEST(EclipseExecutable, OnlyRegularFilesAreTaken) {
  FakeHost host;
  std::filesystem::create_directories("directory/eclipse");
  std::filesystem::create_directories("pipe");
  ASSERT_EQ(mkfifo("pipe/eclipse", 0600), 0);
  host.add({.code = "ide",
            .package = {{.prefix = host.directory.path(), .files = {"directory/eclipse", "pipe/eclipse", "missing/eclipse"}}}});
  EXPECT_EQ(find_eclipse_executable("eclipse", host.catalogue()), "");
  EXPECT_EQ(host.events, Texts{not_found});
}

TEST(EclipseExecutable, RelativePrefixIsResolvedAgainstTheProvidersRoot) {
  FakeHost host;
  fake::write_file("root/ide/eclipse", "");
  host.add({.code = "ide", .package = {{.prefix = "x/../ide", .files = {"eclipse"}, .root = "root"}}});
  const std::string expected = host.directory.path() + "/root/ide/eclipse";
  EXPECT_EQ(find_eclipse_executable("eclipse", host.catalogue()), expected);
  EXPECT_EQ(host.calls, (Texts{"Component::provider(ide)", "path_is_relative(x/../ide)", "resolved_path(root/x/../ide)",
                               "path(" + host.directory.path() + "/root/ide/eclipse)", "get_basename(" + expected + ")",
                               "is_file(" + expected + ")", "print_log(" + found + expected + ")"}));
}

TEST(EclipseExecutable, RelativePrefixThatDoesNotResolveIsPassedOver) {
  FakeHost host;
  fake::write_file("ide/eclipse", "");
  // Longer than a file system lets a name be, so that it cannot be resolved.
  const std::string root(300, 'x');
  host.add({.code = "a", .package = {{.prefix = "ide", .files = {"eclipse"}, .root = root}}});
  host.add({.code = "b", .package = {{.prefix = "ide", .files = {"eclipse"}, .root = "."}}});
  const std::string expected = host.directory.path() + "/ide/eclipse";
  EXPECT_EQ(resolved_path(root + "/ide"), "");
  EXPECT_EQ(find_eclipse_executable("eclipse", host.catalogue()), expected);
  EXPECT_EQ(host.events, Texts{found + expected});
  EXPECT_EQ(host.calls_of({"is_file"}), Texts{"is_file(" + expected + ")"});
}

TEST(EclipseExecutable, EmptyPrefixIsRelative) {
  FakeHost host;
  fake::write_file("root/eclipse", "");
  host.add({.code = "ide", .package = {{.prefix = "", .files = {"eclipse"}, .root = "root"}}});
  EXPECT_EQ(find_eclipse_executable("eclipse", host.catalogue()), host.directory.path() + "/root/eclipse");
  EXPECT_EQ(host.calls_of({"resolved_path"}), Texts{"resolved_path(root/)"});
}

TEST(EclipseExecutable, AbsolutePrefixIsUsedAsItIs) {
  FakeHost host;
  const std::string prefix = host.directory.path() + "//ide/../ide/";
  fake::write_file("ide/eclipse", "");
  host.add({.code = "ide", .package = {{.prefix = prefix, .files = {"eclipse"}, .root = "/root"}}});
  EXPECT_EQ(find_eclipse_executable("eclipse", host.catalogue()), host.directory.path() + "/ide/eclipse");
  EXPECT_EQ(host.calls_of({"path_is_relative", "resolved_path", "path("}),
            (Texts{"path_is_relative(" + prefix + ")", "path(" + prefix + "/eclipse)"}));
}

TEST(EclipseExecutable, LastHitIsReturnedAndEachIsLogged) {
  FakeHost host;
  for (const std::string file : {"a/1/eclipse", "a/2/eclipse", "b/eclipse"}) fake::write_file(file, "");
  const std::string directory = host.directory.path();
  host.add({.code = "a", .package = {{.prefix = directory + "/a", .files = {"2/eclipse", "1/eclipse", "3/eclipse"}}}});
  host.add({.code = "b", .package = {{.prefix = directory + "/b", .files = {"eclipse", "eclipse.ini"}}}});
  host.add({.code = "c", .package = {{.prefix = directory + "/c", .files = {"eclipse"}}}});
  EXPECT_EQ(find_eclipse_executable("eclipse", host.catalogue()), directory + "/b/eclipse");
  EXPECT_EQ(host.events,
            (Texts{found + directory + "/a/2/eclipse", found + directory + "/a/1/eclipse", found + directory + "/b/eclipse"}));
}

TEST(EclipseExecutable, HostTextsAreNoFormat) {
  FakeHost host;
  fake::write_file("%s%n/ecl%dipse", "");
  host.add({.code = "ide", .package = {{.prefix = host.directory.path(), .files = {"%s%n\\ecl%dipse"}}}});
  EXPECT_EQ(find_eclipse_executable("ecl%dipse", host.catalogue()), host.directory.path() + "/%s%n/ecl%dipse");
  EXPECT_EQ(host.events, Texts{found + host.directory.path() + "/%s%n/ecl%dipse"});
}

TEST(EclipseExecutable, ComponentsWithoutCodeProviderOrPackageAreSkipped) {
  FakeHost host;
  fake::write_file("eclipse", "");
  const fake::PackageFields package = {.prefix = host.directory.path(), .files = {"eclipse"}};
  host.components.push_back(nullptr);
  host.add({.code = "", .package = package});
  host.add({.code = "without package"});
  host.add({.code = "without provider", .package = package})->has_provider = false;
  EXPECT_EQ(find_eclipse_executable("eclipse", host.catalogue()), "");
  EXPECT_EQ(host.calls, (Texts{"Component::provider(without package)", "Component::provider(without provider)",
                               "print_log(" + not_found + ")"}));
}

TEST(EclipseExecutable, NoComponentsLogOnceThatThereIsNone) {
  FakeHost host;
  EXPECT_EQ(find_eclipse_executable("eclipse", {}), "");
  EXPECT_EQ(host.calls, Texts{"print_log(" + not_found + ")"});
}

}  // namespace
