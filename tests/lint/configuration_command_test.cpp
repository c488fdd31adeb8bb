// The configuration file as users have it.
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/child_command.h"

using cli_test::ChildCommand;
using cli_test::Outcome;
using fake::write_file;
using Json = nlohmann::json;

namespace fs = std::filesystem;

namespace {

class ConfigurationCommand : public ChildCommand {
 protected:
  ConfigurationCommand() {
    write_file("product/a/etc/eclipse/a.txt", "s\tx.a.feature.group\tmine\n");
    write_file("product/b/etc/eclipse/b.txt", "s\tx.b.feature.group\tmine\n");
  }

  static void configure(const std::string& rules, const std::string& file = "product/.eclipse-int.json") {
    write_file(file, R"({"rules": {)" + rules + "}}");
  }
};

const std::string line_of_a = "product/a/etc/eclipse/a.txt:1:21: ";
const std::string line_of_b = "product/b/etc/eclipse/b.txt:1:21: ";
const std::string told = ": column 3, \"mine\", is ignored [third-column-ignored]\n";

TEST_F(ConfigurationCommand, CountsForWhatIsLinted) {
  const std::string lint = "lint --format brief --disable repositories ";
  const Outcome without = {0, line_of_a + "note" + told + line_of_b + "note" + told + "2 notes in 2 files\n", ""};
  EXPECT_EQ(eclipse_int(lint + "product"), without);
  configure(R"("third-column-ignored": "error")");
  EXPECT_EQ(eclipse_int(lint + "product"),
            (Outcome{1, line_of_a + "error" + told + line_of_b + "error" + told + "2 errors in 2 files\n", ""}));
  EXPECT_EQ(eclipse_int(lint + "--no-config product"), without);
  configure(R"("third-column-ignored": "off")");
  EXPECT_EQ(eclipse_int(lint + "product"), (Outcome{0, "", ""}));
  configure(R"("lines": "warning")", "other.json");
  EXPECT_EQ(eclipse_int(lint + "--config other.json product/a/etc/eclipse/a.txt"),
            (Outcome{0, line_of_a + "warning" + told + "1 warning in 1 file\n", ""}));
}

TEST_F(ConfigurationCommand, IsTheNearestOfEachInput) {
  configure(R"("third-column-ignored": "error")");
  configure(R"("third-column-ignored": "warning")", "product/b/.eclipse-int.json");
  EXPECT_EQ(eclipse_int("lint --format brief product/a/etc/eclipse/a.txt product/b/etc/eclipse/b.txt"),
            (Outcome{1, line_of_a + "error" + told + line_of_b + "warning" + told + "1 error, 1 warning in 2 files\n", ""}));
  EXPECT_EQ(eclipse_int("lint --format brief - --stdin-name product/b/etc/eclipse/b.txt < product/b/etc/eclipse/b.txt"),
            (Outcome{0, line_of_b + "warning" + told + "1 warning in 1 file\n", ""}));
}

TEST_F(ConfigurationCommand, CountsInAllFormats) {
  configure(R"("third-column-ignored": "error", "repositories": "off")");
  const auto json = Json::parse(eclipse_int("lint product/a --format json").output);
  EXPECT_EQ(json["counts"], Json({{"error", 1}, {"warning", 0}, {"note", 0}, {"suppressed", 0}}));
  EXPECT_EQ(json["findings"][0]["severity"], "error");
  const auto sarif = Json::parse(eclipse_int("lint product/a --format sarif").output);
  EXPECT_EQ(sarif["runs"][0]["results"][0]["level"], "error");
  EXPECT_EQ(eclipse_int("lint product/a --format github").output.substr(0, 50),
            "::error file=product/a/etc/eclipse/a.txt,line=1,co");
}

TEST_F(ConfigurationCommand, SuppressionsAreNotReportedWhereTheyAreNotNeeded) {
  write_file("product/.eclipse-int.json",
             R"({"suppressions": [{"rule": "third-column-ignored", "file": "a", "reason": "ours"}]})");
  EXPECT_EQ(eclipse_int("lint --format brief product/b/etc/eclipse/b.txt"),
            (Outcome{0, line_of_b + "note" + told + "1 note in 1 file\n", ""}));
  EXPECT_EQ(eclipse_int("lint --format brief product/a/etc/eclipse/a.txt"), (Outcome{0, "", ""}));
}

TEST_F(ConfigurationCommand, AllItsErrorsAreReportedOnce) {
  write_file("product/.eclipse-int.json", R"({
  "rules": {"third-column-ignord": "off", "lines": "warn"},
  "suppression": []
})");
  const std::string first = R"(there is no rule or group "third-column-ignord"; did you mean "third-column-ignored"?)";
  const std::string second = R"(unknown severity "warn"; write "error", "warning", "note" or "off")";
  const std::string third = R"(unknown key; did you mean "suppressions"?)";
  const std::string file = "product/.eclipse-int.json";
  const std::string errors = "eclipse-int: " + file + ":2:13: rules.third-column-ignord: " + first + "\neclipse-int: " + file +
                             ":2:52: rules.lines: " + second + "\neclipse-int: " + file + ":3:3: suppression: " + third + "\n";
  EXPECT_EQ(eclipse_int("lint product/a product/b"), (Outcome{2, "", errors}));
  EXPECT_EQ(eclipse_int("lint --fix product/a"), (Outcome{2, "", errors}));
  const Outcome json = eclipse_int("lint product/a --format json");
  EXPECT_EQ(json.error, errors);
  EXPECT_EQ(Json::parse(json.output)["errors"],
            Json({{{"file", file}, {"line", 2}, {"column", 13}, {"message", "rules.third-column-ignord: " + first}},
                  {{"file", file}, {"line", 2}, {"column", 52}, {"message", "rules.lines: " + second}},
                  {{"file", file}, {"line", 3}, {"column", 3}, {"message", "suppression: " + third}}}));
  const auto sarif = Json::parse(eclipse_int("lint product/a --format sarif").output);
  const Json& notifications = sarif["runs"][0]["invocations"][0]["toolExecutionNotifications"];
  ASSERT_EQ(notifications.size(), 3U);
  EXPECT_EQ(notifications[1]["locations"][0]["physicalLocation"],
            Json({{"artifactLocation", {{"uri", file}}}, {"region", {{"startLine", 2}, {"startColumn", 52}}}}));
  EXPECT_EQ(eclipse_int("lint product/a --format github").output,
            "::error file=" + file + ",line=2,col=13,title=invalid input::rules.third-column-ignord: " + first +
                "\n::error file=" + file + ",line=2,col=52,title=invalid input::rules.lines: " + second +
                "\n::error file=" + file + ",line=3,col=3,title=invalid input::suppression: " + third + "\n");
}

TEST_F(ConfigurationCommand, ThatCannotBeReadIsAnError) {
  const std::string file = "product/.eclipse-int.json";
  const auto error = [&](const std::string& reason) {
    return Outcome{2, "", "eclipse-int: " + file + ": " + reason + "; give the path of a JSON file\n"};
  };
  ASSERT_EQ(mkfifo(file.c_str(), 0644), 0);
  EXPECT_EQ(eclipse_int("lint product"), error("is not a regular file"));
  fs::remove(file);
  fs::create_directory(file);
  EXPECT_EQ(eclipse_int("lint product"), error("is not a regular file"));
  fs::remove(file);
  fs::create_symlink("missing", file);
  EXPECT_EQ(eclipse_int("lint product"), error("cannot be read: No such file or directory"));
  fs::remove(file);
  write_file(file, "{}");
  fs::resize_file(file, 65 << 20);
  EXPECT_EQ(eclipse_int("lint product"), error("is larger than 64 MiB"));
  EXPECT_EQ(
      eclipse_int("lint product --config missing"),
      (Outcome{2, "", "eclipse-int: missing: cannot be read: No such file or directory; give the path of a JSON file\n"}));
  EXPECT_EQ(eclipse_int("lint product --disable lines,repositories --no-config"), (Outcome{0, "", ""}));
}

TEST_F(ConfigurationCommand, CountsInThePlan) {
  write_session("install");
  const auto counts = [&](const std::string& options = "") {
    return Json::parse(eclipse_int("plan session.json --json " + options).output)["lint"];
  };
  const Json before = counts();
  EXPECT_EQ(before, Json({{"error", 2}, {"warning", 2}, {"note", 0}}));
  configure(R"("repositories": "note")", ".eclipse-int.json");
  EXPECT_EQ(counts(), Json({{"error", 0}, {"warning", 2}, {"note", 2}}));
  EXPECT_EQ(counts("--no-config"), before);
  write_file("other.json", R"({"suppressions": [{"rule": "repository-missing", "reason": "made later"}]})");
  EXPECT_EQ(counts("--config other.json"), Json({{"error", 0}, {"warning", 2}, {"note", 0}}));
  configure(R"("zebra": "off")", ".eclipse-int.json");
  EXPECT_EQ(eclipse_int("plan session.json"),
            (Outcome{2, "",
                     "eclipse-int: .eclipse-int.json:1:12: rules.zebra: there is no rule or group \"zebra\"; "
                     "\"eclipse-int explain\" lists them all\n"}));
}

}  // namespace
