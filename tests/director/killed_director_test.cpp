// Directors that are killed while they write with what the instance starts, after the state of the profile.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "product.h"

namespace fs = std::filesystem;
using testing::HasSubstr;

namespace {

using Texts = std::vector<std::string>;

const std::string bundles_info = "configuration/org.eclipse.equinox.simpleconfigurator/bundles.info";
const std::string config_ini = "configuration/config.ini";

std::string content_of(const fs::path& file) {
  std::ostringstream content;
  content << std::ifstream(file).rdbuf();
  return content.str();
}

class KilledDirector : public testing::Test {
 protected:
  KilledDirector() : session(session_of(product)) {}

  /// Runs the session; the first director that opens the file to write it is killed, "before" or "after" the old content is
  /// gone.
  Child run_and_kill_at(const std::string& file, const std::string& when, const std::string& options = "") const {
    const fs::path once = product.directory() / "once";
    std::ofstream(once) << (when == "before" ? "before" : "");
    const Child child =
        eclipse_int("run --json " + session + options, "LD_PRELOAD=" KILLED_AT_OPEN " ECLIPSE_INT_TEST_KILL_AT=/" + file +
                                                           " ECLIPSE_INT_TEST_KILL_ONCE=" + once.string());
    EXPECT_FALSE(fs::exists(once)) << "no director was killed";
    return child;
  }

  std::string quoted_executable() const { return "\"" + product.executable().string() + "\""; }
  std::string instance_file(const std::string& file) const { return content_of(product.executable().parent_path() / file); }

  /// Repairs the instance, and checks that its files are those of before.
  void expect_repaired() const {
    const Child repair = eclipse_int("repair --json " + quoted_executable());
    EXPECT_EQ(repair.status, 0) << repair.result;
    EXPECT_EQ(repair.result["roots"], nlohmann::json(Texts{"local.ide/4.26.0"}));
    EXPECT_EQ(instance_file(bundles_info), bundles_before);
    EXPECT_EQ(instance_file(config_ini), configuration_before);
  }

  Product product;
  const std::string session;
  const std::string bundles_before = instance_file(bundles_info);
  const std::string configuration_before = instance_file(config_ini);

 private:
  static std::string session_of(Product& product) {
    product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group\n");
    return product.write_session("install");
  }
};

TEST_F(KilledDirector, WithAnEmptyListOfBundles) {
  const Child run = run_and_kill_at("bundles.info", "after");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.result["damage"]["message"].get<std::string>(), HasSubstr("so every director fails"));
  EXPECT_EQ(instance_file(bundles_info), "");
  EXPECT_EQ(eclipse_int("verify --json " + session).status, 1) << "the p2 profile has the feature";
  expect_repaired();
  EXPECT_EQ(eclipse_int("run --json " + session).status, 0);
  EXPECT_EQ(product.installed(), features({"alpha"}));
  EXPECT_THAT(instance_file(bundles_info), HasSubstr("org.example.alpha.plugin,1.0.0,"));
}

/// The director that is started next finds the feature installed, and nothing to do.
TEST_F(KilledDirector, WithBundlesThatAreNotListed) {
  const Child run = run_and_kill_at("bundles.info", "before");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.result["damage"]["message"].get<std::string>(), HasSubstr("does not list org.example.alpha.plugin/1.0.0"));
  expect_repaired();
}

TEST_F(KilledDirector, WithAnEmptyConfiguration) {
  const Child run = run_and_kill_at("config.ini", "after");
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.result["damage"]["message"].get<std::string>(), HasSubstr("config.ini has no settings"));
  expect_repaired();
}

/// The next one would write a list of a few bundles.
TEST_F(KilledDirector, ListOfBundlesThatIsMissingIsBroughtBack) {
  ASSERT_EQ(eclipse_int("run --json " + session).status, 0);
  fs::remove(product.executable().parent_path() / bundles_info);
  const Child plan = eclipse_int("plan --json " + session);
  EXPECT_THAT(plan.result["damage"]["message"].get<std::string>(), HasSubstr("bundles.info is missing"));
  expect_repaired();
}

TEST_F(KilledDirector, IsNoLossWithAllOrNothing) {
  const Child run = run_and_kill_at("config.ini", "after", " --all-or-nothing");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.result.count("damage"), 0U);
  EXPECT_EQ(run.result["allOrNothing"]["error"], nullptr) << run.result;
  EXPECT_EQ(instance_file(config_ini), configuration_before);
  EXPECT_EQ(instance_file(bundles_info), bundles_before);
  EXPECT_EQ(product.installed(), Texts());
}

}  // namespace
