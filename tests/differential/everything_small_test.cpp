// Everything small: each input up to a size over the letters that matter comes to the same as with the model.
#include <gtest/gtest.h>

#include <iostream>
#include <set>

#include "differential/observed_session.h"
#include "fake_host/file_buffers.h"
#include "fake_host/temporary_directory.h"
#include "library/every_text.h"

namespace differential {
namespace {

/// Compares the two libraries on one session after another.
class EverythingSmall : public testing::Test {
 protected:
  ~EverythingSmall() override {
    std::cout << compared_ << " sessions compared\n";
    EXPECT_GT(compared_, 0U);
  }

  void expect_same(const PlannedSession& plan) {
    if (HasFatalFailure()) return;  // one difference is enough to read
    ++compared_;
    const std::string found = difference(perform(plan, exports::plug_in()), perform(plan, exports::model()));
    if (!found.empty()) FAIL() << readable(plan) << found;
    const fake::BufferAccount buffers = fake::settle_file_buffers();
    ASSERT_EQ(buffers.never_freed + buffers.freed_again, 0U) << readable(plan);
  }

 private:
  const fake::TemporaryDirectory directory_;
  std::size_t compared_ = 0;
};

/// Calls `use` with every list of at most `most` of these items.
template <typename Item, typename Use>
void for_each_list(const std::vector<Item>& items, std::size_t most, const Use& use) {
  std::vector<Item> list;
  const auto longer = [&](const auto& self) -> void {
    use(list);
    if (list.size() == most) return;
    for (const Item& item : items) {
      list.push_back(item);
      self(self);
      list.pop_back();
    }
  };
  longer(longer);
}

// ---- Lines and descriptor files ----

Step split(const std::string& line) {
  return {"split_by_tabs(" + readable(line) + ")",
          [line](const exports::Table& library, ObservedSession&) { return readable(library.split_by_tabs(line)); }};
}

TEST_F(EverythingSmall, Lines) {
  for (const std::string& line : every_text({"a", "\t", "\r", "\n"}, 7)) expect_same({.steps = {split(line)}});
}

TEST_F(EverythingSmall, DescriptorFiles) {
  for (const std::string& content : every_text({"a", "\t", "\r", "\n"}, 7)) {
    fake::write_file("d/f", content);
    expect_same({.files = {{"d/f", content}}, .steps = {read_descriptor("d", "f")}});
  }
}

TEST_F(EverythingSmall, DescriptorFilesOfColumns) {
  for (const std::string& content : every_text({"Repository", "site", "\t", "\n", "2", " "}, 5)) {
    fake::write_file("d/f", content);
    expect_same({.files = {{"d/f", content}}, .steps = {read_descriptor("d", "f")}});
  }
}

// ---- Records ----

/// With containers that hold something already.
Step reduce(const std::vector<plugin_config>& records) {
  return {"populate_lists(" + readable(records) + ")", [records](const exports::Table& library, ObservedSession&) {
            std::set<std::string> repositories = {"file://earlier"};
            std::set<std::string> extras = {"earlier"};
            std::vector<std::string> features = {"F9"};
            library.populate_lists(records, repositories, extras, features);
            return readable(repositories) + readable(extras) + readable(features);
          }};
}

TEST_F(EverythingSmall, ListsOfOrders) {
  // Neighbours, ties, what reads as 0, and the upper limit, above which a tie goes on.
  const Texts orders = {"undefined", "0", "1", "2", "-1", "x", "2147483647"};
  for_each_list(orders, 5, [&](const Texts& list) {
    std::vector<plugin_config> records;
    for (const std::string& order : list) {
      records.push_back({"site", "F" + std::to_string(records.size()), "", order, "base"});
    }
    expect_same({.steps = {reduce(records)}});
  });
}

TEST_F(EverythingSmall, ListsOfRecords) {
  std::vector<plugin_config> records;
  for (const std::string& repository : Texts{"", "site", "site.zip"}) {
    for (const std::string& feature : Texts{"", "F1", "F9"}) {
      for (const std::string& order : Texts{"undefined", "-1"})
        records.push_back({repository, feature, "x" + order, order, "/base/"});
    }
  }
  for_each_list(records, 3, [&](const std::vector<plugin_config>& list) { expect_same({.steps = {reduce(list)}}); });
}

TEST_F(EverythingSmall, Orders) {
  Texts orders = every_text({" ", "\t", "-", "+", "0", "9", "x", ".", ","}, 4);
  for (const std::string& sign : Texts{"", "-", "+", " ", "+-", "-+", "--"}) {
    for (const std::string& number : Texts{"2147483646", "2147483647", "2147483648", "2147483649", "4294967296",
                                           "9223372036854775808", "00000000002147483647", "99999999999999999999999999"}) {
      for (const std::string& tail : Texts{"", "x", "0", ".5", "\r"}) orders.push_back(sign + number + tail);
    }
  }
  for (const std::string& byte : Texts{"\v", "\f", "\n", "\r", "\xa0", "\x01", "e", "'"}) {
    for (const std::string& text : Texts{byte + "7", "7" + byte, "1" + byte + "000"}) orders.push_back(text);
  }
  for (const std::string& order : orders) expect_same({.steps = {reduce({{"site", "F", "", order, "base"}})}});
}

TEST_F(EverythingSmall, RepositoryEnds) {
  for (const std::string& repository : every_text({".", "zip", "ZIP", "/", "a", "\""}, 4)) {
    expect_same({.steps = {reduce({{repository, "F", "", "1", "/base"}})}});
  }
}

TEST_F(EverythingSmall, ListsWithoutRepeats) {
  for_each_list(Texts{"", "a", "A", "aa"}, 5, [&](const Texts& items) {
    const auto add_all = [items](const exports::Table& library, ObservedSession&) {
      Texts list;
      for (const std::string& item : items) library.add_unique(item, list);
      return readable(list);
    };
    expect_same({.steps = {{"add_unique for each of " + readable(items), add_all}}});
  });
}

// ---- Packages ----

PlannedSession with_files(const Texts& files, const Step& step) {
  PlannedComponent component{.code = "c", .installBase = "base", .installDir = "dir", .install = true};
  component.package = {.prefix = "ide", .files = files, .root = "."};
  return {.components = {component}, .steps = {step}};
}

TEST_F(EverythingSmall, ListedDescriptorFiles) {
  const Texts files = every_text({"etc", "etc/eclipse", "eclipse", "/", "\\", "e", "\n"}, 5);
  expect_same(with_files(files, list_integration_files(Integrate, true)));
}

TEST_F(EverythingSmall, ListedExecutables) {
  const Texts files = every_text({"eclipse", "ecl", ".ini", "/", "\\", "\r", "\n"}, 4);
  fake::write_file("ide/ecl/eclipse", "");
  fake::write_file("ide/eclipseeclipse", "");
  fake::write_file("ide/eclipse", "");
  for (const std::string& name : Texts{"eclipse", "", "e", "ecl", "ecl/eclipse", "ecl\\eclipse", "\n", "eclipseeclipse"}) {
    expect_same(with_files(files, find_executable(name)));
  }
}

TEST_F(EverythingSmall, ListedPathsAndPatterns) {
  const Texts texts = every_text({"a", "/", "\\", "\n"}, 3);
  for (const std::string& file : texts) {
    for (const std::string& pattern : texts) expect_same(with_files({file}, match_contents(pattern)));
  }
}

TEST_F(EverythingSmall, Codes) {
  const Texts texts = every_text({"a", "b", "."}, 3);
  PlannedSession plan{.components = {std::nullopt}};
  for (const std::string& code : texts) plan.components.push_back({{.code = code}});
  for (const std::string& prefix : texts) {
    plan.steps = {match_codes(prefix)};
    expect_same(plan);
  }
}

// ---- Modes, choices and conditions ----

TEST_F(EverythingSmall, ModesAndConditions) {
  const Texts capabilities = {"AN_ECLIPSE_PLUGIN", "ECLIPSE_IDE", "ECLIPSE_IDE_ECLIPSE_PLUGIN", "OTHER"};
  for (const std::string& mode : Texts{"install", "modify", "uninstall", "", "Install"}) {
    for (const std::string& choice : Texts{"internal", "user", ""}) {
      for_each_list(std::vector<int>{0, 1, 2, 3}, 2, [&](const std::vector<int>& flags) {
        PlannedSession plan{.variables = {{"KORU_MODE", mode}, {"ECLIPSE_INTEGRATION_CHOICE", choice}},
                            .steps = {call_action(exports::actions[0]), call_action(exports::actions[1])}};
        for (const int flag : flags) {
          plan.components.push_back({{.code = "c", .install = flag % 2 == 1, .installed = flag / 2 == 1}});
        }
        for_each_list(capabilities, flags.size(), [&](const Texts& names) {
          plan.capabilities.emplace();
          for (std::size_t i = 0; i < names.size(); ++i) (*plan.capabilities)[names[i]] = i;
          expect_same(plan);
        });
      });
    }
  }
}

// ---- The user's instance ----

TEST_F(EverythingSmall, Versions) {
  const Texts versions = {"", "4", "4.", "4.5", "4.5.0", "4.10", "4.7", "10.0", "9.0", "4.5\r", "4.5 ", "\x7f", "\x80", "\xff"};
  fake::write_file("ide/eclipse", "");
  for (const std::string& version : versions) {
    const std::string configuration = "eclipse.buildId=" + version + "\n";
    fake::write_file("ide/configuration/config.ini", configuration);
    for (const std::string& minimum : versions) {
      expect_same({.files = {{"ide/configuration/config.ini", configuration}},
                   .variables = {{"USER_DEFINED_ECLIPSE_PATH", "ide/eclipse"},
                                 {"ECLIPSE_BIN", "eclipse"},
                                 {"ECLIPSE_MIN_SUPPORTED_VERSION", minimum}},
                   .steps = {call_action(exports::actions[5])}});
    }
  }
}

TEST_F(EverythingSmall, Configurations) {
  fake::write_file("ide/eclipse", "");
  for (const std::string& configuration :
       every_text({"eclipse.", "buildId=", "eclipse.buildId=", "4", "\n", std::string(1, '\0')}, 5)) {
    fake::write_file("ide/configuration/config.ini", configuration);
    expect_same({.files = {{"ide/configuration/config.ini", configuration}},
                 .variables = {{"USER_DEFINED_ECLIPSE_PATH", "ide/eclipse"}, {"ECLIPSE_BIN", "eclipse"}},
                 .steps = {call_action(exports::actions[4])}});
  }
}

TEST_F(EverythingSmall, UserPaths) {
  fake::write_file("ide/Eclipse", "");
  fake::write_file("Eclipse", "");
  for (const std::string& path : every_text({"ide", "Eclipse", "/", "\\", "\n", "\r"}, 4)) {
    for (const std::string& name : Texts{"Eclipse", "eCLIPSE", "eclipse.exe", ""}) {
      expect_same(
          {.files = {{"ide/Eclipse"}, {"Eclipse"}},
           .variables = {{"USER_DEFINED_ECLIPSE_PATH", path}, {"ECLIPSE_BIN", name}, {"ECLIPSE_INTEGRATION_CHOICE", "user"}},
           .steps = {call_action(exports::actions[3]), call_action(exports::actions[4]), call_action(exports::actions[2])}});
    }
  }
}

}  // namespace
}  // namespace differential
