// Whether two repositories have different files of one artifact.
#include "p2/artifact_file.h"

#include <gtest/gtest.h>

#include "base/archive.h"
#include "base/packing.h"
#include "fake_host/temporary_directory.h"

using namespace eclipse_p2;
using eclipse_base::Digest;

namespace {

class ArtifactFileTest : public testing::Test {
 protected:
  ArtifactFileTest() {
    for (const std::string name : {"a", "same"}) fake::write_file(name, "abc");
    fake::write_file("b", "xyz");
    fake::write_file("longer", "abcd");
  }

  static ArtifactFile file(const std::string& name, std::vector<Checksum> checksums = {}) {
    return {name, name, std::move(checksums)};
  }

  const fake::TemporaryDirectory directory_;
};

TEST_F(ArtifactFileTest, AKindOfChecksumThatBothListDecides) {
  const Checksum one{Digest::sha_256, "aa"};
  const Checksum other{Digest::sha_256, "bb"};
  EXPECT_TRUE(are_different(file("a", {one}), file("same", {other})));
  EXPECT_FALSE(are_different(file("a", {one}), file("b", {{Digest::sha_256, "AA"}})));
  EXPECT_FALSE(are_different(file("a", {{Digest::sha_512, "cc"}, one}), file("b", {one})));
}

TEST_F(ArtifactFileTest, WithoutSuchAKindTheBytesDecide) {
  const std::vector<Checksum> sha_256 = {{Digest::sha_256, "aa"}};
  const std::vector<Checksum> sha_512 = {{Digest::sha_512, "bb"}};
  EXPECT_FALSE(are_different(file("a", sha_256), file("same", sha_512)));
  EXPECT_TRUE(are_different(file("a", sha_256), file("b", sha_512)));
  EXPECT_TRUE(are_different(file("a", sha_256), file("longer")));
  EXPECT_TRUE(are_different(file("a"), file("b")));
  EXPECT_FALSE(are_different(file("a"), file("nowhere")));
}

TEST_F(ArtifactFileTest, MayBeInAnArchive) {
  fake::write_file("site.zip", base_test::zipped({{"plugins/a.jar", "abc"}, {"plugins/b.jar", "xyz"}}));
  const ArtifactFile packed{"plugins/a.jar", "site.zip", {}, {}, "plugins/a.jar"};
  EXPECT_EQ(content_of(packed).bytes, "abc");
  EXPECT_FALSE(are_different(packed, file("a")));
  EXPECT_TRUE(are_different(packed, file("b")));
  EXPECT_TRUE(are_different(packed, {"plugins/b.jar", "site.zip", {}, {}, "plugins/b.jar"}));
  const ArtifactFile in_no_archive{"plugins/a.jar", "a", {}, {}, "plugins/a.jar"};
  EXPECT_EQ(content_of(in_no_archive).error, eclipse_base::archive_error::not_zip);
  EXPECT_FALSE(are_different(in_no_archive, file("b")));
}

TEST_F(ArtifactFileTest, OnlyWhatCanBeReadHasAWrongChecksum) {
  const std::string digest = eclipse_base::digest_of("abc", Digest::sha_256);
  EXPECT_EQ(checksum_error(file("a", {{Digest::sha_256, digest}})), "");
  EXPECT_EQ(
      checksum_error(file("b", {{Digest::sha_256, digest}})),
      "does not have the listed checksum: SHA-256 " + digest + ", but " + eclipse_base::digest_of("xyz", Digest::sha_256));
  EXPECT_EQ(checksum_error(file("nowhere", {{Digest::sha_256, digest}})), "");
  EXPECT_EQ(checksum_error(file("b")), "");
}

}  // namespace
