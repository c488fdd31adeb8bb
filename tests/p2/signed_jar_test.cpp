#include "p2/signed_jar.h"

#include <gtest/gtest.h>

#include "base/packing.h"
#include "fake_host/temporary_directory.h"

using namespace eclipse_p2;
using namespace base_test;

namespace {

const std::string digest_of_abc = "ungWv48Bz+pBQUDeXa4iI7ADYaOWF3qctBD/YfIAFa0=";

/// A jar in which "a.txt" is "abc", as it is signed.
Entries signed_jar() {
  return {{"META-INF/MANIFEST.MF",
           "Manifest-Version: 1.0\r\n\r\nName: a.t\r\n xt\r\nSHA-256-Digest: " + digest_of_abc + "\r\n\r\n"},
          {"META-INF/KEY.SF", "Signature-Version: 1.0\r\n\r\nName: a.txt\r\nSHA-256-Digest: x\r\n\r\n"},
          {"META-INF/KEY.RSA", ""},
          {"a.txt", "abc"}};
}

std::string error_of(const Entries& entries) {
  const fake::TemporaryDirectory directory;
  fake::write_file("a.jar", zipped(entries));
  return signature_error(jar_file("a.jar"));
}

std::string error_with(const std::string& name, const std::string& content) {
  Entries entries = signed_jar();
  entries[name] = content;
  return error_of(entries);
}

TEST(SignedJar, IsAcceptedAsItWasSigned) {
  EXPECT_EQ(error_of(signed_jar()), "");
  EXPECT_EQ(error_with("b.txt", "more"), "");
}

TEST(SignedJar, IsRefusedWithAnotherEntry) { EXPECT_EQ(error_with("a.txt", "abcd"), "was altered after it was signed: a.txt"); }

TEST(SignedJar, IsRefusedWithOtherMainAttributes) {
  const std::string signature =
      "Signature-Version: 1.0\n"
      "SHA-256-Digest-Manifest: " +
      digest_of_abc + "\nSHA-256-Digest-Manifest-Main-Attributes: ";
  const std::string altered = "was altered after it was signed: META-INF/MANIFEST.MF";
  EXPECT_EQ(error_with("META-INF/KEY.SF", signature + digest_of_abc + "\n\n"), altered);
  // Of "Manifest-Version: 1.0" and an empty line.
  EXPECT_EQ(error_with("META-INF/KEY.SF", signature + "VmrRqAIgAm0FCZViZFzpaP8OfDbN4iY0MyYFuzTMPv8=" + "\n\n"), "");
}

TEST(SignedJar, IsNotExaminedWithoutSignature) {
  for (const std::string missing : {"META-INF/KEY.SF", "META-INF/KEY.RSA", "META-INF/MANIFEST.MF"}) {
    Entries entries = signed_jar();
    entries["a.txt"] = "abcd";
    entries.erase(missing);
    EXPECT_EQ(error_of(entries), "") << missing;
  }
  EXPECT_EQ(error_with("META-INF/KEY.SF", "Signature-Version: 1.0\n\nName: other.txt\n\n"), "");
}

TEST(SignedJar, IsNotJudgedByOlderDigests) {
  EXPECT_EQ(error_with("META-INF/MANIFEST.MF", "Manifest-Version: 1.0\n\nName: a.txt\nSHA1-Digest: x\n"), "");
}

TEST(SignedJar, IsNothingThatCannotBeRead) {
  const fake::TemporaryDirectory directory;
  fake::write_file("text.jar", "text");
  EXPECT_EQ(signature_error(jar_file("text.jar")), "");
  EXPECT_EQ(signature_error(jar_file("missing.jar")), "");
}

}  // namespace
