// plan --update and run --update: what the plan says comes true.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "product.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr auto alpha = "org.example.alpha.feature.group";

std::string line(const std::string& site, const std::string& feature) { return "sites/" + site + "\t" + feature + "\n"; }

/// Has the instance with alpha 1.0.0, and then a session that can bring alpha 2.0.0, too.
class UpdatedProduct : public Product {
 public:
  UpdatedProduct() {
    component("tools", {"alpha", "gamma"}, line("alpha", alpha));
    EXPECT_EQ(run("install").status, 0);
    make_site("tools", "newer", "alpha", "2.0.0");
  }

  void set_descriptor(const std::string& text) const {
    std::ofstream(directory() / "tools/etc/eclipse/features.txt", std::ios::binary) << text;
  }

  /// Both with --json; `options` are of the plan.
  std::pair<Child, Child> plan_and_run(const std::string& options = "") const {
    const std::string session = write_session("install");
    Child plan = eclipse_int("plan --update --json " + options + session);
    return {std::move(plan), eclipse_int("run --update --json " + session)};
  }
};

}  // namespace

TEST(UpdatedRun, OfAFeatureThatIsAlsoPinnedIsRefusedAsPlanned) {
  const UpdatedProduct product;
  product.set_descriptor(line("alpha", alpha + std::string("/1.0.0")) + line("newer", alpha));
  const auto [plan, run] = product.plan_and_run();
  EXPECT_EQ(plan.status, 1);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(plan.result.at("update").at("refusal"), run.result.at("refusal"));
  EXPECT_THAT(run.result.at("refusal"), HasSubstr("in the versions 2.0.0 ("));
  EXPECT_EQ(product.installed(), features({"alpha"}));
}

TEST(UpdatedRun, OfTwoVersionsOnlyTheFirstGoesIn) {
  Product product;
  product.component("tools", {"alpha"}, line("alpha", alpha + std::string("/1.0.0")) + line("newer", alpha));
  product.make_site("tools", "newer", "alpha", "2.0.0");
  const std::string session = product.write_session("install");
  const Child plan = eclipse_int("plan --json " + session);
  EXPECT_EQ(plan.status, 1);
  EXPECT_EQ(plan.result.at("changes").at(0).at("change"), "add");
  EXPECT_EQ(plan.result.at("changes").at(1).at("change"), "fail");
  EXPECT_EQ(eclipse_int("run --json " + session).status, 1);
  EXPECT_EQ(product.installed(), features({"alpha"}));
}

TEST(UpdatedRun, IsResolvedAsAWholeByThePlan) {
  const UpdatedProduct product;
  product.set_descriptor(line("newer", alpha) + line("gamma", "org.example.gamma.feature.group"));
  const auto [plan, run] = product.plan_and_run("--resolve ");
  EXPECT_EQ(plan.status, 0) << plan.result;
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(plan.result.at("resolution").at("update").at("resolves"), true);
  EXPECT_EQ(plan.result.at("resolution").at("resolves"), true);
  EXPECT_THAT(product.installed(),
              ElementsAre("org.example.alpha.feature.group/2.0.0", "org.example.gamma.feature.group/1.0.0"));
}

TEST(UpdatedRun, ComesToWhatThePlanResolvedWhenAnotherFeatureFails) {
  UpdatedProduct product;
  product.make_site("tools", "bad", "bad", "1.0.0", "org.example.nowhere");
  product.set_descriptor(line("newer", alpha) + line("bad", "org.example.bad.feature.group"));
  const auto [plan, run] = product.plan_and_run("--resolve ");
  EXPECT_EQ(plan.status, 1);
  EXPECT_EQ(run.status, 1);
  const auto& resolution = plan.result.at("resolution");
  EXPECT_EQ(resolution.at("update").at("resolves"), true);
  EXPECT_THAT(resolution.at("expected"), ElementsAre(alpha));
  EXPECT_THAT(product.installed(), ElementsAre("org.example.alpha.feature.group/2.0.0"));
}

TEST(UpdatedRun, ThatTheDirectorWouldNotDoIsKnownBefore) {
  UpdatedProduct product;
  std::filesystem::remove_all(product.directory() / "tools/sites/newer");
  std::filesystem::remove(product.directory() / "tools/sites/newer.zip");
  product.make_site("tools", "newer", "alpha", "2.0.0", "org.example.nowhere");
  product.set_descriptor(line("newer", alpha) + line("gamma", "org.example.gamma.feature.group"));
  const auto [plan, run] = product.plan_and_run("--resolve ");
  EXPECT_EQ(plan.status, 1);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(plan.result.at("resolution").at("update").at("resolves"), false);
  EXPECT_EQ(run.result.at("status"), "refused");
  EXPECT_EQ(product.installed(), features({"alpha"}));
}
