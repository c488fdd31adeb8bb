#include "lint/manual.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace eclipse_lint;

namespace {

TEST(ExplainedRule, ShowsItsSamples) {
  std::ostringstream out;
  print_rule(out, *find_rule("extra-columns"), false);
  EXPECT_EQ(out.str(),
            "extra-columns (warning, lines): a line has more than four columns\n\n"
            "Why\n  Only the first four columns are read.\n\n"
            "Fix\n  delete the other columns\n"
            "  --fix --unsafe-fixes does this where one result is probable; check it afterwards.\n\n"
            "Bad (→ is a tab)\n  tools.txt\n      sites/alpha→org.example.alpha.feature.group→→1→new\n\n"
            "Good\n  tools.txt\n      sites/alpha→org.example.alpha.feature.group→→1\n");
}

TEST(ExplainedRule, LongSamplesAreCutShort) {
  for (const Rule& rule : rules()) {
    std::ostringstream out;
    print_rule(out, rule, false);
    EXPECT_LT(out.str().size(), 4000U) << rule.name;
  }
}

}  // namespace
