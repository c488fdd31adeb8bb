// What real shells, launchers and directors come to when they fail, explained.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "p2/director_failure.h"
#include "product.h"
#include "shell/command_runner.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

using namespace eclipse_p2;

namespace eclipse_verify {

namespace {

class RealFailures : public testing::Test {
 protected:
  /// Runs the instance with these arguments and explains what it came to.
  Failure failure_of(const std::string& arguments, int wanted_exit_code, const std::string& before = "") {
    const InstanceLogs logs(product.executable().parent_path());
    const auto result =
        eclipse_shell::run_in_shell(before + product.executable().string() + " -nosplash -application " + arguments);
    EXPECT_EQ(result.exit_code, wanted_exit_code) << result.output << result.error_output;
    return explain(result, logs);
  }

  std::string director(const std::string& site, const std::string& feature) const {
    return "org.eclipse.equinox.p2.director -repository file://" ECLIPSE_INT_INSTANCE_DIRECTORY "/sites/" + site + " -i " +
           feature + " 2>&1";
  }

  Product product;
};

TEST_F(RealFailures, TheDirectorDoesNotFindAFeature) {
  const Failure failure = failure_of(director("alpha", "org.example.alpha"), 13);
  EXPECT_EQ(failure.layer, Layer::director);
  EXPECT_THAT(failure.causes, ElementsAre("The installable unit org.example.alpha has not been found."));
  ASSERT_TRUE(failure.log.has_value());
  EXPECT_EQ(failure.log->parent_path(), product.executable().parent_path() / "configuration");
}

TEST_F(RealFailures, TheDirectorDoesNotFindWhatAFeatureNeeds) {
  const Failure failure = failure_of(director("broken", "org.example.broken.feature.group"), 13);
  EXPECT_EQ(failure.layer, Layer::director);
  EXPECT_THAT(failure.causes.front(), StartsWith("Cannot complete the install"));
  EXPECT_THAT(failure.causes, Contains(HasSubstr("org.example.nowhere")));
}

TEST_F(RealFailures, TheDirectorDoesNotFindARepository) {
  const Failure failure = failure_of(director("nowhere", "org.example.alpha.feature.group"), 13);
  EXPECT_EQ(failure.layer, Layer::director);
  EXPECT_THAT(failure.causes, Contains("Unable to load repositories."));
  EXPECT_THAT(failure.causes, Contains(StartsWith("No repository found at file:")));
}

TEST_F(RealFailures, TheDirectorBreaksOffWithoutAWord) {
  const Failure failure = failure_of(director("alpha", "org.example.alpha.feature.group/x.y"), 13);
  EXPECT_EQ(failure.layer, Layer::director);
  EXPECT_EQ(failure.meaning, "it aborted with an exception and printed no reason");
  EXPECT_THAT(failure.causes, Contains(HasSubstr("IllegalArgumentException")));
}

TEST_F(RealFailures, TheLauncherHasNoSuchApplication) {
  const Failure failure = failure_of("org.example.nothing 2>&1", 13);
  EXPECT_EQ(failure.layer, Layer::launcher);
  EXPECT_EQ(failure.meaning, "the instance has no such application");
}

TEST_F(RealFailures, TheLauncherCannotWriteAnywhere) {
  using std::filesystem::perms;
  std::filesystem::permissions(product.directory().parent_path(), perms(0755));
  std::filesystem::permissions(product.executable().parent_path() / "configuration", perms(0555));
  // Nothing is closed to root.
  const std::string somebody = geteuid() == 0 ? "setpriv --reuid=65534 --regid=65534 --clear-groups " : "";
  const Failure failure = failure_of(director("alpha", "x"), 15, "HOME=/nonexistent " + somebody);
  EXPECT_EQ(failure.layer, Layer::launcher);
  EXPECT_EQ(failure.meaning, "the instance or its configuration cannot be written");
  EXPECT_THAT(failure.causes, Contains(HasSubstr("configuration' could not be created")));
  std::filesystem::permissions(product.executable().parent_path() / "configuration", perms(0755));
}

TEST_F(RealFailures, TheShellFindsNoJava) {
  const Failure failure = failure_of(director("alpha", "x"), 127, "PATH=/nowhere ");
  EXPECT_EQ(failure.layer, Layer::shell);
  EXPECT_THAT(failure.causes, Contains(HasSubstr("java")));
}

TEST_F(RealFailures, TheShellDoesNotUnderstandTheRetryOfARemoval) {
  const InstanceLogs logs(product.executable().parent_path());
  const auto result = eclipse_shell::run_in_shell(product.executable().string() + " -u a,b 2>&1a 2>&1");
  EXPECT_THAT(result.exit_code, testing::AnyOf(1, 2));
  EXPECT_EQ(explain(result, logs).layer, Layer::shell);
}

TEST_F(RealFailures, ThePathOfADirectoryIsNoProgram) {
  const auto result = eclipse_shell::run_in_shell(product.directory().string() + " -i x 2>&1");
  EXPECT_EQ(result.exit_code, 126);
  EXPECT_EQ(explain(result, InstanceLogs(product.directory())).layer, Layer::shell);
}

}  // namespace

}  // namespace eclipse_verify
