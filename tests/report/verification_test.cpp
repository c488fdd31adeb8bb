#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "fake_host/written_down.h"
#include "report/update_json.h"
#include "report/verification_json.h"
#include "report/verification_text.h"
#include "terminal/redirected_stream.h"

namespace {

using namespace eclipse_report;
using eclipse_p2::Unit;
using eclipse_verify::CheckedUnit;
using eclipse_verify::Source;
using eclipse_verify::Verification;
using terminal_test::written_to;

const std::string written_down = WRITTEN_DOWN;

CheckedUnit unit(const std::string& id, bool is_installed) {
  return {.unit = {id, ""},
          .places = {"tools.txt:1"},
          .brought = "",
          .is_installed = is_installed,
          .is_root = true,
          .required_by = {},
          .other_versions = {},
          .newer = ""};
}

/// Of each kind of installed unit, and of each kind of missing one.
Verification mixed() {
  Verification verification;
  verification.executable = "/opt/ide/eclipse\x1B";
  verification.source = Source::profile;
  verification.installed.roots = {{"root", "1.0.0"}};
  verification.installed.all.emplace();
  CheckedUnit required = unit("required", true);
  required.is_root = false;
  required.required_by = {"a", "b", "c", "d"};
  CheckedUnit newer = unit("newer", true);
  newer.newer = "2.0.0";
  newer.brought = "1.0.0";
  CheckedUnit other = unit("other", false);
  other.unit.version = "3.0.0";
  other.other_versions = {"1.0.0", "2.0.0"};
  other.brought = "3.0.0";
  CheckedUnit unknown = unit("unknown", false);
  unknown.other_versions = {"1.0.0"};
  CheckedUnit listed = unit("listed", false);
  listed.places.clear();
  for (int i = 1; i <= 22; ++i) listed.places.push_back("tools.txt:" + std::to_string(i));
  CheckedUnit brought = unit("brought", false);
  brought.brought = "1.0.0";
  verification.units = {unit("there", true), required, newer, other, unknown, listed, brought, unit("missing", false)};
  verification.unremoved = {unit("left", true)};
  verification.missing_files = {{{"bundle", "1.0.0"}, "/opt/ide/plugins/bundle\x1B.jar"}, {{"more", "1"}, "features/more_1"}};
  return verification;
}

Verification with(std::vector<CheckedUnit> units, bool is_removal = false) {
  Verification verification;
  verification.executable = "eclipse";
  verification.is_removal = is_removal;
  verification.installed.all.emplace();
  verification.units = std::move(units);
  return verification;
}

TEST(VerificationText, NamesEachDifference) {
  std::string text = verification_text(mixed());
  Verification of_removal = mixed();
  of_removal.is_removal = true;
  of_removal.unremoved.clear();
  of_removal.missing_files.clear();
  text += verification_text(of_removal);
  Verification of_director = mixed();
  of_director.installed.all.reset();
  of_director.source = Source::director;
  text += verification_text(of_director);
  of_director.installed.profile_error = "P.profile is damaged";
  text += verification_text(of_director);
  fake::expect_written_down(text, written_down + "/verification.txt");
}

TEST(VerificationText, CountsUnits) {
  EXPECT_EQ(verification_text(with({})), "Same: the session installs nothing into eclipse\n");
  EXPECT_EQ(verification_text(with({unit("a", true), unit("b", true)})),
            "Same: all 2 units to be installed are installed in eclipse\n");
  EXPECT_EQ(verification_text(with({unit("a", false), unit("b", true), unit("c", true)})),
            "Different: 1 of 3 units to be installed is not installed in eclipse\n"
            "  a is not installed (tools.txt:1)\n");
  EXPECT_EQ(verification_text(with({unit("a", false)}, true)), "Same: the 1 unit to be removed is not installed in eclipse\n");
  EXPECT_EQ(verification_text(with({unit("a", false), unit("b", true)}, true)),
            "Different: 1 of 2 units to be removed is still installed in eclipse\n"
            "  b is still installed (tools.txt:1)\n");
}

TEST(VerificationJson, HasEachMember) {
  std::string text = verification_json(mixed()).dump(1) + "\n";
  Verification of_director = with({}, true);
  of_director.installed.all.reset();
  text += verification_json(of_director).dump(1) + "\n";
  const eclipse_instance::InstanceDamage damage{"P.profile", "P.profile is damaged", "repair it"};
  text += written_to(STDOUT_FILENO, [&] {
    print_verification(with({}), damage);
    print_verification(with({}), {});
    print_unverifiable("eclipse", "no answer", damage);
    eclipse_plan::Plan plan;
    plan.last_log_line = "skip integration";
    plan.reasons = {"first", "second"};
    print_nothing_to_verify(plan);
  });
  fake::expect_written_down(text, written_down + "/verification.json.txt");
}

TEST(Reasons, EachHasALineOfItsOwn) {
  eclipse_plan::Plan plan;
  EXPECT_EQ(reasons_text(plan, "  "), "");
  plan.reasons = {"first\x1B", "second"};
  EXPECT_EQ(reasons_text(plan, "  "), "\n  first\\x1B\n  second");
}

TEST(UpdateJson, NamesWhatIsReplaced) {
  EXPECT_EQ(update_json({}, "").dump(), R"({"replacements":[],"command":null})");
  EXPECT_EQ(update_json({{{"a", "1"}, {"a", "2"}, "tools.txt:1"}, {{"b", "2"}, {"b", "1"}, "tools.txt:2", true}}, "run").dump(),
            R"({"replacements":[{"unit":"a","installed":"1","version":"2","downgrade":false,"location":"tools.txt:1"},)"
            R"({"unit":"b","installed":"2","version":"1","downgrade":true,"location":"tools.txt:2"}],"command":"run"})");
}

}  // namespace
