// The input is versions and names of units, one on each line. The order of versions is a total one that agrees with the
// spelling in which they are compared, and a name is read as it is printed.
#include "p2/version.h"

#include <vector>

#include "base/text.h"
#include "fuzz/target.h"
#include "p2/unit.h"

using namespace eclipse_p2;
using fuzz::expect;

namespace {

constexpr std::size_t most = 8;  // of which each three are compared

void check_order(const std::vector<std::string>& versions) {
  for (const std::string& a : versions) {
    expect(compare_versions(a, a) == 0, "a version is as new as itself");
    for (const std::string& b : versions) {
      const auto order = compare_versions(a, b);
      expect((order <=> 0) == (0 <=> compare_versions(b, a)), "one version is newer than the other as that one is older");
      expect((order == 0) == (whole_version(a) == whole_version(b)), "versions are equal when their whole spellings are");
      for (const std::string& c : versions) {
        expect(order > 0 || compare_versions(b, c) > 0 || compare_versions(a, c) <= 0, "the order is transitive");
      }
    }
  }
}

void check_spelling(const std::string& version) {
  const std::string whole = whole_version(version);
  fuzz::expect_same("the whole spelling, made again", whole_version(whole), whole);
  if (is_osgi_version(version)) expect(is_osgi_version(whole), "the whole spelling of a version of OSGi is one, too");
}

void check_unit(const std::string& text) {
  const Unit unit = unit_called(text);
  expect(unit_called(text_of(unit)) == unit, "a unit is read as it is printed");
  expect(is_wanted(unit, unit), "a unit is the wanted one if it is the same");
  expect(is_wanted({unit.id, ""}, unit), "any version is wanted without one");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::string> lines = eclipse_base::lines_of(fuzz::text_of(data, size));
  if (lines.size() > most) lines.resize(most);
  check_order(lines);
  for (const std::string& line : lines) {
    check_spelling(line);
    check_unit(line);
  }
  return 0;
}
