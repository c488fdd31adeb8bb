#include "p2/artifact_name.h"

#include <gtest/gtest.h>

namespace eclipse_p2 {

namespace {

TEST(ArtifactName, NamesTheUnitAndTheJar) {
  const std::string bundle = "osgi.bundle,org.example.one,1.0.0";
  EXPECT_TRUE(is_bundle(bundle));
  EXPECT_EQ(unit_of_artifact(bundle), (Unit{"org.example.one", "1.0.0"}));
  EXPECT_EQ(jar_of_bundle(bundle), "org.example.one_1.0.0.jar");
  EXPECT_EQ(name_of_bundle({"org.example.one", "1.0.0"}), bundle);
  const std::string feature = "org.eclipse.update.feature,org.example.one,1.0.0";
  EXPECT_FALSE(is_bundle(feature));
  EXPECT_EQ(unit_of_artifact(feature), (Unit{"org.example.one.feature.jar", "1.0.0"}));
  EXPECT_EQ(jar_of_bundle(feature), "");
  EXPECT_EQ(unit_of_artifact("binary,org.example.one,1.0.0"), (Unit{"org.example.one", "1.0.0"}));
}

}  // namespace

}  // namespace eclipse_p2
