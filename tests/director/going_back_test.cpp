// Updating an Eclipse instance and going back, with the real director.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "product.h"
#include "shell/command_runner.h"

namespace fs = std::filesystem;
using testing::ElementsAre;

namespace {

using Texts = std::vector<std::string>;

constexpr auto alpha_then_broken =
    "sites/alpha\torg.example.alpha.feature.group\n"
    "sites/broken\torg.example.broken.feature.group\n";
constexpr auto broken_then_alpha =
    "sites/broken\torg.example.broken.feature.group\n"
    "sites/alpha\torg.example.alpha.feature.group\n";

Texts alpha(const std::string& version) { return {"org.example.alpha.feature.group/" + version}; }

/// That of the component "tools".
void write_descriptor(const Product& product, const std::string& content) {
  std::ofstream(product.directory() / "tools/etc/eclipse/features.txt") << content;
}

/// Puts a script in the place of the executable, which runs `commands` in the start of this number, and otherwise $real.
void intercept(const Product& product, int start, const std::string& commands) {
  const fs::path executable = product.executable();
  fs::rename(executable, executable.string() + ".real");
  std::ofstream(executable) << "#!/bin/sh\nhere=" << executable.parent_path().string()
                            << "\nreal=\"$here/eclipse.real\"\necho >> \"$here/starts\"\n"
                               "if [ \"$(wc -l < \"$here/starts\")\" != "
                            << start << " ]; then exec \"$real\" \"$@\"; fi\n"
                            << commands << "\n";
  fs::permissions(executable, fs::perms(0755));
}

/// Runs "run SESSION --all-or-nothing --json" with its process number in the file "number" of the product.
Child run_all_or_nothing(const Product& product) {
  return eclipse_int("run --all-or-nothing --json " + product.write_session("install") + " & echo $! > " +
                     (product.directory() / "number").string() + "; wait $!");
}

}  // namespace

TEST(Updating, IsOneStepForwardAndOneBack) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group\n");
  const std::string session = product.write_session("install");
  ASSERT_EQ(eclipse_int("run --json " + session).status, 0);
  product.make_site("tools", "newer", "alpha", "2.0.0");
  write_descriptor(product,
                   "sites/alpha\torg.example.alpha.feature.group\n"
                   "sites/newer\torg.example.alpha.feature.group\n");

  EXPECT_EQ(eclipse_int("run --json " + session).result["status"], "refused");
  const Child plan = eclipse_int("plan --update --json " + session);
  EXPECT_EQ(plan.status, 0);
  const Child forward = eclipse_int("run --update --json " + session);
  EXPECT_EQ(forward.status, 0) << forward.result;
  EXPECT_EQ(forward.result["commands"][0]["command"], plan.result["update"]["command"]);
  EXPECT_EQ(product.installed(), alpha("2.0.0")) << "the highest version of both sites";

  // A version that is named, which is lower.
  write_descriptor(product,
                   "sites/alpha\torg.example.alpha.feature.group/1.0.0\n"
                   "sites/newer\t\n");
  EXPECT_EQ(eclipse_int("run --update --json " + session).result["status"], "refused");
  EXPECT_EQ(eclipse_int("run --update --allow-downgrade --json " + session).status, 0);
  EXPECT_EQ(product.installed(), alpha("1.0.0"));

  EXPECT_EQ(eclipse_int("undo --json " + session).status, 0);
  EXPECT_EQ(product.installed(), alpha("2.0.0"));
  EXPECT_EQ(eclipse_int("undo --json " + session).status, 0);
  EXPECT_EQ(product.installed(), alpha("1.0.0")) << "as before the update";
  EXPECT_EQ(eclipse_int("undo --json " + session).status, 0);
  EXPECT_EQ(product.installed(), Texts()) << "as before the first run, whose state was written where the instance was made";
  EXPECT_FALSE(fs::exists(ECLIPSE_INT_INSTANCE_DIRECTORY "/partial")) << "and which stays as it is";
}

TEST(Updating, RootThatAnotherHoldsBackLeavesEverythingAsItIs) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group\n");
  product.make_site("tools", "holder", "holder", "1.0.0", "org.example.alpha.plugin;bundle-version=\"[1.0.0,2.0.0)\"");
  product.make_site("tools", "newer", "alpha", "2.0.0");
  const std::string holder = "sites/holder\torg.example.holder.feature.group\n";
  const std::string session = product.write_session("install");
  write_descriptor(product, holder + "sites/alpha\torg.example.alpha.feature.group\n");
  ASSERT_EQ(eclipse_int("run --json " + session).status, 0);
  write_descriptor(product, holder + "sites/newer\torg.example.alpha.feature.group\n");
  const Child run = eclipse_int("run --update --json " + session);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.result["refusal"], "the director did not update the features, and nothing was changed");
  EXPECT_THAT(run.result["commands"][0]["failure"]["causes"].dump(), testing::HasSubstr("org.example.holder"));
  EXPECT_EQ(product.installed(), features({"alpha", "holder"}));
}

TEST(GoingBack, RunsAreUndoneOneAfterTheOther) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group\n");
  const std::string file = (product.directory() / "state.json").string();
  const std::string variables = " --variables " + file + " --write-variables " + file;
  ASSERT_EQ(eclipse_int("run --json " + product.write_session("install") + variables).status, 0);
  product.component("more", {"gamma"}, "sites/gamma\torg.example.gamma.feature.group\n");
  const std::string session = product.write_session("modify");
  ASSERT_EQ(eclipse_int("run --json " + session + variables).status, 0);
  ASSERT_EQ(product.installed(), features({"alpha", "gamma"}));

  const Child history = eclipse_int("history --json " + product.executable().string());
  EXPECT_EQ(history.status, 0);
  const auto& newest = history.result["states"][0];
  EXPECT_EQ(newest["change"]["installed"], nlohmann::json(features({"gamma"})));
  EXPECT_THAT(newest["run"]["command"].get<std::string>(), testing::StartsWith("eclipse-int run --json "));

  // The temporary directory has a repository that the director has to load.
  const fs::path temporary = product.directory() / "a,b%41 c";
  fs::create_directory(temporary);
  const std::string before = fs::temp_directory_path().string();
  setenv("TMPDIR", temporary.c_str(), 1);
  const Child first = eclipse_int("undo --json " + session + variables);
  setenv("TMPDIR", before.c_str(), 1);
  EXPECT_EQ(first.status, 0) << first.result;
  EXPECT_EQ(product.installed(), features({"alpha"}));
  const Child second = eclipse_int("undo --json " + session + variables);
  EXPECT_EQ(second.status, 0) << second.result;
  EXPECT_EQ(product.installed(), Texts());
  EXPECT_EQ(second.result["variables"]["CASHED_ECLIPSE_PATH"], nullptr) << "the instance is new again";
  const Child forward =
      eclipse_int("undo --json --eclipse " + product.executable().string() + " --to " + newest["time"].get<std::string>());
  EXPECT_EQ(forward.status, 0) << forward.result;
  EXPECT_EQ(product.installed(), features({"alpha", "gamma"}));
}

/// The new release has taken the place of the old one in the directory of the site.
TEST(GoingBack, WhatIsNowhereAnyMoreIsNamedBeforeTheDirectorStarts) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group\n");
  const std::string session = product.write_session("install");
  ASSERT_EQ(eclipse_int("run --json " + session).status, 0);
  product.make_site("tools", "newer", "alpha", "2.0.0");
  const fs::path sites = product.directory() / "tools/sites";
  fs::rename(sites / "alpha", product.directory() / "old");
  fs::rename(sites / "newer", sites / "alpha");
  ASSERT_EQ(eclipse_int("run --update --json " + session).status, 0);
  const nlohmann::json missing = {"feature org.example.alpha 1.0.0"};
  for (const std::string option : {"--dry-run ", ""}) {
    const Child undo = eclipse_int("undo --json " + option + session);
    EXPECT_EQ(undo.status, 1);
    EXPECT_EQ(undo.result["missing"], missing) << "the bundle is still there";
    EXPECT_EQ(undo.result["unexaminedRepositories"], nlohmann::json::array());
    EXPECT_EQ(undo.result["command"], nullptr);
  }
  // A director finds as little.
  const std::string to = eclipse_int("undo --json --dry-run " + session).result["to"].get<std::string>();
  const std::string revert = product.executable().string() +
                             " -nosplash -application org.eclipse.equinox.p2.director -repository file://" +
                             (sites / "alpha").string() + " -revert " + to;
  EXPECT_THAT(eclipse_shell::run_in_shell(revert).error_output,
              testing::HasSubstr("No repository found containing: org.eclipse.update.feature,org.example.alpha,1.0.0"));

  const std::string old = "--repository " + (product.directory() / "old").string() + " ";
  EXPECT_EQ(eclipse_int("undo --json --dry-run " + old + session).result["missing"], nlohmann::json::array());
  EXPECT_EQ(eclipse_int("undo --json " + old + session).status, 0);
  EXPECT_EQ(product.installed(), alpha("1.0.0"));
}

TEST(GoingBack, StateWithoutADirectorIsRefused) {
  Product product;
  const std::string eclipse = product.executable().string();
  const Child history = eclipse_int("history --json " + eclipse);
  const auto& oldest = history.result["states"].back();
  ASSERT_EQ(oldest["units"], 0);
  const Child undo = eclipse_int("undo --json --force --eclipse " + eclipse + " --to " + oldest["time"].get<std::string>());
  EXPECT_EQ(undo.status, 1);
  EXPECT_THAT(undo.result["error"].get<std::string>(), testing::HasSubstr("has no director"));
  const Child repair = eclipse_int("repair --json " + eclipse + " --to " + oldest["time"].get<std::string>());
  EXPECT_EQ(repair.status, 1);
  EXPECT_THAT(repair.result["error"].get<std::string>(), testing::HasSubstr("has no director"));
  EXPECT_EQ(repair.result["renamed"], nlohmann::json::array());
}

/// The names of files on which damage that is reported rests.
TEST(NewestState, MayBeOfTheFutureButNotRenamed) {
  Product product;
  product.component("tools", {"alpha"}, "sites/alpha\torg.example.alpha.feature.group\n");
  ASSERT_EQ(eclipse_int("run --json " + product.write_session("install")).status, 0);
  const std::string in_profile = "cd " + product.executable().parent_path().string() +
                                 "/p2/org.eclipse.equinox.p2.engine/profileRegistry/EclipseProfile.profile && "
                                 "l=$(ls | tail -n 1) && t=${l%%.*} && ";
  const auto shell = [](const std::string& command) { return eclipse_shell::run_in_shell(command).exit_code; };
  const std::string remove = product.executable().string() +
                             " -nosplash -application org.eclipse.equinox.p2.director -uninstallIU "
                             "org.example.alpha.feature.group > /dev/null 2>&1";
  const std::string check = "plan --json " + product.write_session("uninstall");

  ASSERT_EQ(shell(in_profile + "mv $l $((t + 1)).profile.gz"), 0);
  EXPECT_NE(shell(remove), 0);
  EXPECT_THAT(eclipse_int(check).result["damage"]["fix"].get<std::string>(), testing::StartsWith("rename it to "));
  ASSERT_EQ(shell(in_profile + "mv $l $((t - 1)).profile.gz && touch abc.profile.gz"), 0);
  EXPECT_NE(shell(remove), 0);
  EXPECT_THAT(eclipse_int(check).result["damage"]["file"].get<std::string>(), testing::EndsWith("/abc.profile.gz"));
  EXPECT_EQ(eclipse_int("repair --json " + product.executable().string()).status, 0);
  EXPECT_EQ(product.installed(), features({"alpha"}));

  ASSERT_EQ(shell(in_profile + "l=$(ls | grep -v damaged | tail -n 1) && t=${l%%.*} && n=$((t + 300000)) && "
                               "zcat $l | sed \"s/timestamp='$t'/timestamp='$n'/\" | gzip > $n.profile.gz && rm $l"),
            0);
  EXPECT_EQ(eclipse_int(check).result["damage"], nullptr);
  EXPECT_EQ(shell(remove), 0);
  EXPECT_EQ(product.installed(), Texts());
}

TEST(AllOrNothing, FailureInAnyCommandLeavesTheRootsOfBefore) {
  Product product;
  product.component("more", {"gamma"}, "sites/gamma\torg.example.gamma.feature.group\n");
  ASSERT_EQ(eclipse_int("run --json " + product.write_session("install")).status, 0);
  product.component("tools", {"alpha", "broken"}, alpha_then_broken);
  for (const std::string descriptor : {alpha_then_broken, broken_then_alpha}) {
    write_descriptor(product, descriptor);
    const Child run = run_all_or_nothing(product);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.result["commands"].size(), 4U);
    EXPECT_EQ(run.result["allOrNothing"]["change"]["removed"], nlohmann::json(features({"alpha"}))) << run.result;
    EXPECT_EQ(run.result["allOrNothing"]["error"], nullptr);
    EXPECT_EQ(product.installed(), features({"gamma"}));
  }
}

TEST(AllOrNothing, SignalLeavesTheRootsOfBefore) {
  Product product;
  product.component("tools", {"alpha", "broken"}, alpha_then_broken);
  // The first start is for all features, the second one for alpha.
  intercept(product, 2, "\"$real\" \"$@\"; status=$?; kill -s TERM $(cat \"$here/../number\"); sleep 0.5; exit $status");
  const Child run = run_all_or_nothing(product);
  EXPECT_EQ(run.status, 143);
  EXPECT_EQ(run.result["commands"].size(), 2U);
  EXPECT_EQ(run.result["allOrNothing"]["change"]["removed"], nlohmann::json(features({"alpha"}))) << run.result;
  EXPECT_EQ(product.installed(), Texts());
}

TEST(AllOrNothing, DirectorThatDiesLeavesTheRootsOfBefore) {
  Product product;
  product.component("tools", {"alpha", "broken"}, alpha_then_broken);
  // It dies as soon as it has begun the new state.
  intercept(product, 2,
            "states() { ls \"$here\"/p2/*/profileRegistry/*.profile/*.profile* | wc -l; }\n"
            "before=$(states); \"$real\" \"$@\" & pid=$!\n"
            "while [ \"$(states)\" = \"$before\" ] && kill -0 $pid; do sleep 0.01; done\n"
            "kill -s KILL $pid; exit 137");
  const Child run = run_all_or_nothing(product);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.result["allOrNothing"]["error"], nullptr) << run.result;
  EXPECT_EQ(product.installed(), Texts());
}
