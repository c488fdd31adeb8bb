#include "p2/installed_units.h"

#include <gtest/gtest.h>

#include "base/limits.h"
#include "fake_host/temporary_directory.h"
#include "p2/instance_error.h"

namespace eclipse_p2 {

namespace {

using Units = std::vector<Unit>;

TEST(InstalledUnits, AreTheLinesWithAVersion) {
  EXPECT_EQ(
      units_in("WARNING: a/b is old\nb.feature.group/1.0.0\r\na/2.1.0.v2022\nOperation completed in 811 ms.\n/1\nx/y\nz/"),
      (Units{{"a", "2.1.0.v2022"}, {"b.feature.group", "1.0.0"}}));
  EXPECT_EQ(units_in(""), Units());
}

/// An executable that fails has to say so; its path may hold anything.
TEST(InstalledUnits, AreAskedForInAnyDirectory) {
  const fake::TemporaryDirectory directory;
  const std::string executable = directory.path() + "/it's my \"$IDE\"/eclipse";
  fake::write_file(executable,
                   "#!/bin/sh\n[ \"$*\" = '-nosplash -nl en -application org.eclipse.equinox.p2.director -listInstalledRoots' ]"
                   " && echo a/1.0.0 && echo 'Operation completed in 8 ms.'\n");
  EXPECT_THROW(installed_units(executable), InstanceError) << "it is not executable yet";
  std::filesystem::permissions(executable, std::filesystem::perms(0755));
  EXPECT_EQ(installed_units(executable).roots, (Units{{"a", "1.0.0"}}));
  EXPECT_FALSE(installed_units(executable).all.has_value());
}

TEST(InstalledUnits, AreLookedUpInTheProfileOfTheInstanceThatALinkNames) {
  const fake::TemporaryDirectory directory;
  fake::write_file("ide/eclipse", "#!/bin/sh\necho 'Operation completed in 8 ms.'\n");
  std::filesystem::permissions("ide/eclipse", std::filesystem::perms(0755));
  fake::write_file("ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile",
                   "<profile><units><unit id='a' version='1.0.0'/></units></profile>");
  std::filesystem::create_symlink("ide/eclipse", "eclipse");
  for (const std::string executable : {"/ide/eclipse", "/eclipse"}) {
    const auto all = installed_units(directory.path() + executable).all;
    ASSERT_TRUE(all.has_value()) << executable;
    EXPECT_EQ(all->at(0).id, "a");
  }
}

/// What the beginning and the end of the answer say is not all that is installed.
TEST(InstalledUnits, AreNotKnownFromALargerAnswerThanIsKept) {
  const fake::TemporaryDirectory directory;
  const std::string executable = directory.path() + "/eclipse";
  fake::write_file("eclipse", "#!/bin/sh\necho a/1.0.0\nhead -c " + std::to_string(eclipse_base::largest::output) +
                                  " /dev/zero\necho\necho 'Operation completed in 8 ms.'\n");
  std::filesystem::permissions("eclipse", std::filesystem::perms(0755));
  try {
    installed_units(executable);
    ADD_FAILURE() << "no error";
  } catch (const InstanceError& error) {
    EXPECT_EQ(error.what(), "\"" + executable + "\" answers with more than 4 MiB, so the installed units are not known");
  }
}

}  // namespace

}  // namespace eclipse_p2
