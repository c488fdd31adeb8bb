#include <gtest/gtest.h>

#include "eclipse_int/eclipse_int.h"
#include "fake_host/fake_host.h"

using fake::FakeHost;
using fake::Texts;

namespace {

TEST(ComponentByCode, MatchesCodesThatBeginWithThePrefix) {
  struct Case {
    std::string prefix;
    std::string code;
    bool expected;
  };
  const std::vector<Case> cases = {{"abc", "abcdef", true},  {"abc", "abc", true}, {"abc", "xabc", false}, {"abc", "ab", false},
                                   {"abc", "ABCDEF", false}, {"", "abc", true},    {"", "", true},         {"a", "", false}};
  FakeHost host;
  for (const auto& [prefix, code, expected] : cases) {
    Component* const component = host.add({.code = code});
    EXPECT_EQ(get_component_by_code_predicate(prefix, component), expected) << prefix << " " << code;
  }
  EXPECT_EQ(host.calls, Texts{});
}

TEST(ComponentByCode, NullComponentNeverMatches) {
  EXPECT_FALSE(get_component_by_code_predicate("", nullptr));
  EXPECT_FALSE(get_component_by_code_predicate("abc", nullptr));
}

struct ContentCase {
  std::string pattern;
  fake::PackageFields package;
  bool expected;
};

TEST(ComponentByContent, LooksAtPrefixAndFileRunTogetherAndNormalised) {
  const std::vector<ContentCase> cases = {
      {"/opt/xbin/eclipse", {.prefix = "/opt/x", .files = {"bin\\eclipse"}}, true},
      {"/opt/x/bin/eclipse", {.prefix = "/opt/x", .files = {"bin\\eclipse"}}, false},
      {"/opt/x/bin/eclipse", {.prefix = "/opt/x/", .files = {"bin\\eclipse"}}, true},
      {"bin\\eclipse", {.prefix = "/opt/x/", .files = {"bin\\eclipse"}}, false},
      {"x/b/c", {.prefix = "/opt/x", .files = {"/a/..//b/./c"}}, true},
      {"opt", {.prefix = "/opt/x/", .files = {"file"}}, true},
      {"t/x/f", {.prefix = "/opt/x/", .files = {"file"}}, true},
      {"", {.prefix = "/opt/x/", .files = {"file"}}, true},
      {"FILE", {.prefix = "/opt/x/", .files = {"file"}}, false},
      {"third", {.prefix = "/", .files = {"first", "", "third"}}, true},
      // The package's prefix stands as it is: neither are its backslashes turned, nor is a relative one resolved.
      {"a\\b/file", {.prefix = "a\\b/", .files = {"file"}, .root = "/root"}, true},
      // Line ends at the end of a listed path are part of what is searched.
      {"file\r\n", {.prefix = "/", .files = {"file\r\n"}}, true},
      {std::string("a\0b", 3), {.prefix = "/", .files = {std::string("a\0b", 3)}}, true},
  };
  for (const auto& [pattern, package, expected] : cases) {
    FakeHost host;
    Component* const component = host.add({.code = "c", .package = package});
    EXPECT_EQ(get_component_by_content_predicate(pattern, component), expected) << pattern << " in " << package.files.front();
    EXPECT_EQ(host.events, Texts{});
  }
}

TEST(ComponentByContent, StopsAtTheFirstFileThatMatchesAndSkipsEmptyOnes) {
  FakeHost host;
  Component* const component = host.add({.code = "c", .package = {{.prefix = "p/", .files = {"", "a", "", "b", "c", "b"}}}});
  EXPECT_TRUE(get_component_by_content_predicate("b", component));
  EXPECT_EQ(host.calls, (Texts{"Component::provider(c)", "path(p/a)", "path(p/b)"}));
}

TEST(ComponentByContent, EmptyEntriesAreNoFiles) {
  FakeHost host;
  EXPECT_FALSE(
      get_component_by_content_predicate("", host.add({.code = "c", .package = {{.prefix = "/opt", .files = {"", ""}}}})));
  EXPECT_FALSE(get_component_by_content_predicate("", host.add({.code = "d", .package = {{.prefix = "/opt"}}})));
}

TEST(ComponentByContent, NoComponentCodeProviderOrPackageNeverMatches) {
  FakeHost host;
  const fake::PackageFields package = {.prefix = "/", .files = {"file"}};
  EXPECT_FALSE(get_component_by_content_predicate("file", nullptr));
  EXPECT_FALSE(get_component_by_content_predicate("file", host.add({.code = "", .package = package})));
  EXPECT_EQ(host.calls, Texts{});
  auto* const without_provider = host.add({.code = "c", .package = package});
  without_provider->has_provider = false;
  EXPECT_FALSE(get_component_by_content_predicate("file", without_provider));
  EXPECT_FALSE(get_component_by_content_predicate("file", host.add({.code = "d"})));
  EXPECT_EQ(host.events, Texts{});
}

TEST(IdeComponents, NoneWithoutACapabilityMap) {
  FakeHost host;
  host.capabilities.reset();
  EXPECT_EQ(get_ide_components(&host), std::vector<Component*>{});
  EXPECT_EQ(host.calls, Texts{"session_get_cdata(KORU_YUM_CAPABILITY_PROVIDERS)"});
}

TEST(IdeComponents, ComeInKeyOrderOnceForEachMatchingCapability) {
  FakeHost host;
  Component* const second = host.add({.code = "second", .capabilities = {"ECLIPSE_IDE", "ECLIPSE_IDE_X"}});
  Component* const first = host.add({.code = "first", .capabilities = {"A_ECLIPSE_IDE_2"}});
  host.add({.code = "", .capabilities = {"ECLIPSE_IDE_EMPTY"}});
  host.add({.code = "plugin", .capabilities = {"ECLIPSE_PLUGIN", "ECLIPSE_ID", "eclipse_ide", ""}});
  (*host.capabilities)["ECLIPSE_IDE_NULL"] = nullptr;
  EXPECT_EQ(get_ide_components(&host), (std::vector<Component*>{first, second, second}));
  EXPECT_EQ(host.events, Texts{});
}

}  // namespace
