#include "base/digest.h"

#include <gtest/gtest.h>

using namespace eclipse_base;

namespace {

// Those of the standards.
TEST(Digests, AreThoseThatAreKnown) {
  EXPECT_EQ(digest_of("", Digest::md5), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_EQ(digest_of("abc", Digest::md5), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(digest_of("abc", Digest::sha_1), "a9993e364706816aba3e25717850c26c9cd0d89d");
  EXPECT_EQ(digest_of("abc", Digest::sha_256), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(digest_of("abc", Digest::sha_512),
            "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
            "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f");
}

TEST(Digests, AreInBase64AsInManifests) {
  EXPECT_EQ(base64_digest_of("", Digest::md5), "1B2M2Y8AsgTpgAmY7PhCfg==");
  EXPECT_EQ(base64_digest_of("abc", Digest::sha_256), "ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=");
}

TEST(Digests, AreNamedAsTheDirectorNamesThem) {
  EXPECT_EQ(name_of(Digest::sha_512), "SHA-512");
  EXPECT_EQ(name_of(Digest::sha_256), "SHA-256");
  EXPECT_EQ(name_of(Digest::sha_1), "SHA-1");
  EXPECT_EQ(name_of(Digest::md5), "MD5");
}

}  // namespace
