#include "p2/filter.h"

#include <gtest/gtest.h>

#include <map>

using namespace eclipse_p2;

namespace {

const Environment linux_system = {{"osgi.os", "linux"}, {"osgi.arch", "x86_64"}};

std::optional<bool> verdict(std::string_view filter) { return fulfils(linux_system, filter); }

TEST(Filter, ComparesAttributesThatAreKnown) {
  EXPECT_EQ(verdict(""), true);
  EXPECT_EQ(verdict("(osgi.os=linux)"), true);
  EXPECT_EQ(verdict(" ( OSGI.OS =linux) "), true);
  EXPECT_EQ(verdict("(osgi.os=*)"), true);
  EXPECT_EQ(verdict("(osgi.os=win32)"), false);
  EXPECT_EQ(verdict("(osgi.nl=de)"), std::nullopt);
}

TEST(Filter, IsDecidedByThePartThatDecides) {
  EXPECT_EQ(verdict("(& (osgi.os=linux)(osgi.arch=x86_64) )"), true);
  EXPECT_EQ(verdict("(&(osgi.nl=de)(osgi.os=win32))"), false);
  EXPECT_EQ(verdict("(&(osgi.nl=de)(osgi.os=linux))"), std::nullopt);
  EXPECT_EQ(verdict("(|(osgi.nl=de)(osgi.os=linux))"), true);
  EXPECT_EQ(verdict("(|(osgi.os=macosx)(osgi.os=win32))"), false);
  EXPECT_EQ(verdict("(|(osgi.nl=de)(osgi.os=win32))"), std::nullopt);
  EXPECT_EQ(verdict("(!(osgi.os=win32))"), true);
  EXPECT_EQ(verdict("(!(&(osgi.os=linux)(!(osgi.arch=aarch64))))"), false);
  EXPECT_EQ(verdict("(!(osgi.nl=de))"), std::nullopt);
}

TEST(Filter, IsUnknownWhenItIsNotUnderstood) {
  for (const std::string_view filter : {"osgi.os=win32", "(osgi.os=win32", "(osgi.os=win32))", "()", "(osgi.os>=win32)",
                                        "(osgi.os=win*)", "(osgi.os)", "(&(osgi.os=linux)x)", "(!osgi.os=win32)"}) {
    EXPECT_EQ(verdict(filter), std::nullopt) << filter;
  }
  std::string deep(100'000, '(');
  EXPECT_EQ(verdict(deep + std::string(deep.size(), ')')), std::nullopt);
}

TEST(Filter, MissingAttributesMayHaveNoValue) {
  for (const std::string_view filter :
       {"(osgi.nl=de)", "(osgi.nl=*)", "(&(osgi.os=linux)(osgi.nl=de))", "(!(!(osgi.nl=de)))"}) {
    EXPECT_EQ(fulfils(linux_system, filter, Missing::none), false) << filter;
  }
  for (const std::string_view filter : {"(osgi.os=linux)", "(!(osgi.nl=de))", "(|(osgi.nl=de)(osgi.os=linux))"}) {
    EXPECT_EQ(fulfils(linux_system, filter, Missing::none), true) << filter;
  }
  EXPECT_EQ(fulfils(linux_system, "(osgi.nl=d*)", Missing::none), false);
  EXPECT_EQ(fulfils(linux_system, "(osgi.os=lin*)", Missing::none), std::nullopt);
}

TEST(Filter, OfTheSystemIsForLinux) {
  EXPECT_EQ(fulfils(system_environment(false), "(&(osgi.os=linux)(org.eclipse.update.install.features=true))"), true);
  EXPECT_EQ(fulfils(system_environment(false), "(osgi.ws=win32)"), std::nullopt);
  EXPECT_EQ(fulfils(system_environment(true), "(osgi.ws=win32)"), false);
}

}  // namespace
