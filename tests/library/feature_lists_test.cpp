#include <gtest/gtest.h>

#include <clocale>
#include <locale>
#include <map>

#include "eclipse_int/eclipse_int.h"
#include "fake_host/fake_host.h"

using fake::FakeHost;
using fake::Texts;

namespace {

using Records = std::vector<plugin_config>;

struct Lists {
  std::set<std::string> repositories;
  std::set<std::string> extras;
  Texts features;
  bool operator==(const Lists&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const Lists& lists) {
  return stream << testing::PrintToString(lists.repositories) << testing::PrintToString(lists.extras)
                << testing::PrintToString(lists.features);
}

Lists lists_of(const Records& records) {
  Lists lists;
  populate_lists(records, lists.repositories, lists.extras, lists.features);
  return lists;
}

std::string path_call(const std::string& directory, const std::string& name) { return "path(" + directory + "/" + name + ")"; }

std::string record_line(const std::string& url, const std::string& feature) {
  return "eclipse_int: Repository: " + url + " Feature: " + feature;
}

std::string order_line(long long slot, const std::string& feature) {
  return "eclipse_int: order: " + std::to_string(slot) + " feature: " + feature;
}

TEST(AddUnique, AppendsWhatTheListDoesNotHold) {
  Texts list = {"a", "A", "a"};
  for (const std::string item : {"a", "b", "", "b", "", "A", "aa"}) add_unique(item, list);
  EXPECT_EQ(list, (Texts{"a", "A", "a", "b", "", "aa"}));
  add_unique(std::string("b\0", 2), list);
  EXPECT_EQ(list.back(), std::string("b\0", 2));
}

TEST(FeatureLists, NoRecordsChangeAndLogNothing) {
  FakeHost host;
  Lists lists = {{"r"}, {"e"}, {"f"}};
  populate_lists({}, lists.repositories, lists.extras, lists.features);
  EXPECT_EQ(lists, (Lists{{"r"}, {"e"}, {"f"}}));
  EXPECT_EQ(host.calls, Texts{});
}

TEST(FeatureLists, RecordsAreAddedToWhatTheContainersHold) {
  FakeHost host;
  Lists lists = {{"z"}, {"z"}, {"old", "f"}};
  populate_lists({{"site", "f", "x", "1", "/b"}, {"site", "g", "z", "2", "/b"}}, lists.repositories, lists.extras,
                 lists.features);
  EXPECT_EQ(lists, (Lists{{"file:///b/site", "z"}, {"x", "z"}, {"old", "f", "g"}}));
  EXPECT_EQ(host.events, (Texts{"eclipse_int: Repository: file:///b/site Feature: f",
                                "eclipse_int: Repository: file:///b/site Feature: g", order_line(1, "f"), order_line(2, "g")}));
}

TEST(FeatureLists, RecordWithoutARepositoryContributesNothing) {
  FakeHost host;
  EXPECT_EQ(lists_of({{"", "f", "x", "1", "/b"}, {"site", "g", "", "1", "/b"}}), (Lists{{"file:///b/site"}, {""}, {"g"}}));
  EXPECT_EQ(host.events, (Texts{"eclipse_int: Repository: file:///b/site Feature: g", order_line(1, "g")}));
}

TEST(FeatureLists, RepositoriesBecomeUrls) {
  struct Case {
    std::string base_dir;
    std::string repository;
    std::string url;
  };
  const std::vector<Case> cases = {
      {"/opt/a", "site", "file:///opt/a/site"},
      {"/opt/a/", "./x/../site/", "file:///opt/a/site"},
      {"/opt/a", "/absolute", "file:///opt/a/absolute"},
      {"/opt/a", "http://host/site", "file:///opt/a/http:/host/site"},
      {"relative", "site", "file://relative/site"},
      {"", "site", "file:///site"},
      {"/opt/app/comp", "site.zip", "\"jar:file:///opt/app/comp/site.zip!/\""},
      {"/opt/a", "site.zip/", "\"jar:file:///opt/a/site.zip!/\""},
      {"/opt/a", ".zip", "\"jar:file:///opt/a/.zip!/\""},
      {"/opt/a", "site.ZIP", "file:///opt/a/site.ZIP"},
      {"/opt/a", "site.zipx", "file:///opt/a/site.zipx"},
      {"/opt/a", "site.zip\r", "file:///opt/a/site.zip\r"},
      {"/opt/a", "zip", "file:///opt/a/zip"},
      {"/opt/a b", "si te%20%s", "file:///opt/a b/si te%20%s"},
      {"/opt/a", "back\\slash", "file:///opt/a/back\\slash"},
  };
  for (const auto& [base_dir, repository, url] : cases) {
    FakeHost host;
    EXPECT_EQ(lists_of({{repository, "f%n", "", "undefined", base_dir}}), (Lists{{url}, {""}, {"f%n"}}));
    EXPECT_EQ(host.calls_of({"path("}), Texts{path_call(base_dir, repository)});
    EXPECT_EQ(host.events, (Texts{record_line(url, "f%n"), order_line(0, "f%n")}));
  }
}

TEST(FeatureLists, SameRepositoryIsOneElementAndTheSetIsSortedByBytes) {
  FakeHost host;
  const Lists lists = lists_of({{"b", "1", "y", "1", ""},
                                {"a", "2", "x", "2", ""},
                                {"b", "3", "y", "3", ""},
                                {"a.zip", "4", "Z", "4", ""},
                                {"B", "5", "", "5", ""}});
  EXPECT_EQ(lists, (Lists{{"\"jar:file:///a.zip!/\"", "file:///B", "file:///a", "file:///b"},
                          {"", "Z", "x", "y"},
                          {"1", "2", "3", "4", "5"}}));
}

TEST(FeatureLists, OrderColumnIsReadAsAStreamReadsANumber) {
  const std::vector<std::pair<std::string, long long>> cases = {
      {"undefined", 0},
      {"0", 0},
      {"7", 7},
      {" 7", 7},
      {" \t\n\v\f\r7", 7},
      {"+7", 7},
      {"-3", -3},
      {"-0", 0},
      {"007", 7},
      {"5x", 5},
      {"5.9", 5},
      {"5 6", 5},
      {"1,000", 1},
      {"1e5", 1},
      {"0x10", 0},
      {"010", 10},
      {"3\r", 3},
      {std::string("3\0004", 3), 3},
      {"", 0},
      {" ", 0},
      {"abc", 0},
      {"x1", 0},
      {"+", 0},
      {"-", 0},
      {"+-5", 0},
      {"-+5", 0},
      {"++5", 0},
      {"--5", 0},
      {"- 5", 0},
      {"Undefined", 0},
      {"undefined ", 0},
      {"\xA0"
       "5",
       0},
      {"2147483647", 2147483647},
      {"2147483648", 2147483647},
      {"+2147483648", 2147483647},
      {"99999999999", 2147483647},
      {"99999999999999999999999999", 2147483647},
      {"00000000000000000000000000000001", 1},
      {"-2147483648", -2147483648},
      {"-2147483649", -2147483648},
      {"-99999999999999999999999999x", -2147483648},
  };
  for (const auto& [order, slot] : cases) {
    FakeHost host;
    EXPECT_EQ(lists_of({{"s", "f", "", order, ""}}).features, Texts{"f"});
    EXPECT_EQ(host.events.back(), order_line(slot, "f")) << testing::PrintToString(order);
  }
}

struct OrderCase {
  std::string name;
  Texts orders;  ///< of the features a, b, c, ...
  std::vector<std::pair<long long, std::string>> slots;
};

TEST(FeatureLists, FeaturesComeInTheOrderOfTheirSlots) {
  const std::vector<OrderCase> cases = {
      {"ascending", {"2", "1", "undefined"}, {{0, "c"}, {1, "b"}, {2, "a"}}},
      {"ties go to the first", {"1", "1", "2"}, {{1, "a"}, {2, "b"}, {3, "c"}}},
      {"a moved record moves others", {"undefined", "undefined", "1"}, {{0, "a"}, {1, "b"}, {2, "c"}}},
      {"undefined is 0", {"0", "undefined", "x", ""}, {{0, "a"}, {1, "b"}, {2, "c"}, {3, "d"}}},
      {"negative first", {"undefined", "-3", "-3"}, {{-3, "b"}, {-2, "c"}, {0, "a"}}},
      {"runs grow together", {"0", "2", "1", "0"}, {{0, "a"}, {1, "c"}, {2, "b"}, {3, "d"}}},
      {"beyond the numbers",
       {"2147483647", "99999999999", "2147483646", "2147483646"},
       {{2147483646, "c"}, {2147483647, "a"}, {2147483648, "b"}, {2147483649, "d"}}},
      {"from the lowest", {"-99999999999", "-2147483648"}, {{-2147483648, "a"}, {-2147483647, "b"}}},
  };
  for (const auto& [name, orders, slots] : cases) {
    FakeHost host;
    Records records;
    for (const std::string& order : orders)
      records.push_back({"s", std::string(1, static_cast<char>('a' + records.size())), "", order, ""});
    Texts features;
    Texts lines;
    for (const plugin_config& record : records)
      lines.push_back("eclipse_int: Repository: file:///s Feature: " + record.feature);
    for (const auto& [slot, feature] : slots) {
      features.push_back(feature);
      lines.push_back(order_line(slot, feature));
    }
    EXPECT_EQ(lists_of(records).features, features) << name;
    EXPECT_EQ(host.events, lines) << name;
  }
}

TEST(FeatureLists, RepeatedFeatureKeepsItsLowestSlotAndBothAreLogged) {
  FakeHost host;
  EXPECT_EQ(lists_of({{"s", "f", "", "5", ""}, {"s", "g", "", "3", ""}, {"t", "f", "", "1", ""}}),
            (Lists{{"file:///s", "file:///t"}, {""}, {"f", "g"}}));
  EXPECT_EQ(
      host.events,
      (Texts{"eclipse_int: Repository: file:///s Feature: f", "eclipse_int: Repository: file:///s Feature: g",
             "eclipse_int: Repository: file:///t Feature: f", order_line(1, "f"), order_line(3, "g"), order_line(5, "f")}));
}

TEST(FeatureLists, EmptyFeatureTakesASlotAndIsNotListed) {
  FakeHost host;
  EXPECT_EQ(lists_of({{"s", "", "x", "1", ""}, {"t", "f", "", "1", ""}}),
            (Lists{{"file:///s", "file:///t"}, {"", "x"}, {"f"}}));
  EXPECT_EQ(host.events, (Texts{"eclipse_int: Repository: file:///s Feature: ", "eclipse_int: Repository: file:///t Feature: f",
                                order_line(1, ""), order_line(2, "f")}));
}

/// The slots by a walk over those that are taken, one by one.
std::map<long long, std::string> slots_by_walking(const Records& records) {
  std::map<long long, std::string> taken;
  for (const plugin_config& record : records) {
    long long slot = record.order == "undefined" ? 0 : std::stoll(record.order);
    while (taken.contains(slot)) ++slot;
    taken[slot] = record.feature;
  }
  return taken;
}

TEST(FeatureLists, EverySmallListGetsTheSlotsThatAWalkFinds) {
  const Texts orders = {"undefined", "-1", "0", "1", "3", "2147483647"};
  const Texts names = {"a", "b", "c", "d", "e"};
  FakeHost host;
  std::vector<Records> lists = {{}};
  for (std::size_t i = 0; i < lists.size(); ++i) {
    const Records records = lists[i];
    host.events.clear();
    const Texts features = lists_of(records).features;
    Texts expected_features;
    Texts expected_lines;
    for (const auto& [slot, feature] : slots_by_walking(records)) {
      expected_features.push_back(feature);
      expected_lines.push_back(order_line(slot, feature));
    }
    ASSERT_EQ(features, expected_features);
    ASSERT_EQ(fake::last(host.events, records.size()), expected_lines);
    if (records.size() == names.size()) continue;
    for (const std::string& order : orders) {
      lists.push_back(records);
      lists.back().push_back({"s", names[records.size()], "", order, ""});
    }
  }
  EXPECT_EQ(lists.size(), 9331U);  // the powers of 6 from 0 to 5, summed up
}

TEST(FeatureLists, TenThousandRecordsWithoutOrderTakeTheSlotsInTheirOrder) {
  FakeHost host;
  const Records records(10'000, {"s", "f", "", "undefined", ""});
  EXPECT_EQ(lists_of(records).features, Texts{"f"});
  Texts expected(10'000, "eclipse_int: Repository: file:///s Feature: f");
  for (int slot = 0; slot < 10'000; ++slot) expected.push_back(order_line(slot, "f"));
  EXPECT_EQ(host.events, expected);
}

// A walk over the taken slots for each record would make this 20,000,000,000 steps, and the test would run out of its time.
TEST(FeatureLists, TwoHundredThousandRecordsWithoutOrderEndInTime) {
  FakeHost host;
  host.on_call = {};
  const Records records(200'000, {"s", "f", "", "undefined", ""});
  EXPECT_EQ(lists_of(records).features, Texts{"f"});
  EXPECT_EQ(host.events.back(), order_line(199'999, "f"));
}

struct GroupedNumbers : std::numpunct<char> {
  char do_thousands_sep() const override { return ','; }
  std::string do_grouping() const override { return "\3"; }
};

/// Makes numbers have grouped digits in everything that follows the program's locale, until it ends.
class OtherLocale {
 public:
  OtherLocale() : before_(std::locale::global(std::locale(std::locale::classic(), new GroupedNumbers))) {
    // Not every machine has one of these; the locale of the streams is changed on all.
    for (const char* const name : {"de_DE.UTF-8", "hi_IN.UTF-8", "C.UTF-8"}) {
      if (std::setlocale(LC_ALL, name) != nullptr) break;
    }
  }
  ~OtherLocale() {
    std::locale::global(before_);
    std::setlocale(LC_ALL, "C");
  }
  OtherLocale(const OtherLocale&) = delete;
  OtherLocale& operator=(const OtherLocale&) = delete;

 private:
  std::locale before_;
};

TEST(FeatureLists, NumbersDoNotDependOnTheLocale) {
  FakeHost host;
  const OtherLocale locale;
  EXPECT_EQ(lists_of({{"s", "a", "", "1,234", ""},
                      {"s", "b", "", "1234567", ""},
                      {"s", "c", "",
                       "\xC2\xA0"
                       "9",
                       ""}})
                .features,
            (Texts{"c", "a", "b"}));
  EXPECT_EQ(fake::last(host.events, 3), (Texts{order_line(0, "c"), order_line(1, "a"), order_line(1234567, "b")}));
}

}  // namespace
