// What the bytes of a jar show, whether it is a file of its own or an entry of an archive.
#include "p2/jar_errors.h"

#include <gtest/gtest.h>

#include <map>

#include "base/packing.h"
#include "fake_host/temporary_directory.h"

using namespace eclipse_p2;
using namespace base_test;

namespace {

const std::string artifact = "osgi.bundle,a,1.0.0.v1";

std::string manifest_of(const std::string& lines) { return "Manifest-Version: 1.0\n" + lines + "\n"; }

std::string jar_with(const std::string& lines) { return zipped({{"META-INF/MANIFEST.MF", manifest_of(lines)}}); }

const std::string good_jar = jar_with("Bundle-SymbolicName: a;singleton:=true\nBundle-Version: 1.0.0.v1\n");

JarErrors errors_of(const ArtifactFile& file) {
  const Jar jar{artifact, file};
  JarErrors found;
  int count = 0;
  examine({&jar}, [&](const Jar& examined, const JarErrors& errors) {
    EXPECT_EQ(&examined, &jar);
    found = errors;
    ++count;
  });
  EXPECT_EQ(count, 1);
  return found;
}

/// Of an entry among others.
JarErrors errors_in_archive(const std::string& bytes, ArtifactFile expected = {}) {
  const fake::TemporaryDirectory directory;
  fake::write_file("site.zip", zipped({{"a.jar", "other"}, {"in/a.jar", bytes}, {"z", "text"}}));
  expected.name = "a.jar";
  expected.path = "site.zip";
  expected.entry = "in/a.jar";
  return errors_of(expected);
}

JarErrors errors_in_directory(const std::string& bytes, ArtifactFile expected = {}) {
  const fake::TemporaryDirectory directory;
  fake::write_file("a.jar", bytes);
  expected.name = "a.jar";
  expected.path = "a.jar";
  return errors_of(expected);
}

TEST(JarErrors, AreNoneOfAGoodJar) {
  EXPECT_EQ(errors_in_archive(good_jar), JarErrors());
  EXPECT_EQ(errors_in_directory(good_jar), JarErrors());
}

TEST(JarErrors, AreTheDamageOfAnEntry) {
  const std::string half = good_jar.substr(0, good_jar.size() / 2);
  EXPECT_EQ(errors_in_archive(half).damage, "is cut off: the central directory of a zip archive is missing at its end");
  EXPECT_EQ(errors_in_archive("text").damage, "is not a zip archive");
  ArtifactFile larger;
  larger.size = good_jar.size() + 1;
  EXPECT_EQ(errors_in_archive(good_jar, larger).damage, "has " + std::to_string(good_jar.size()) +
                                                            " bytes, but the repository lists it with " +
                                                            std::to_string(good_jar.size() + 1));
}

TEST(JarErrors, AreAWrongChecksum) {
  ArtifactFile listed;
  listed.checksums = {{eclipse_base::Digest::md5, "00"}};
  const std::string error = "does not have the listed checksum: MD5 00, but ";
  EXPECT_EQ(errors_in_archive(good_jar, listed).checksum.substr(0, error.size()), error);
  EXPECT_EQ(errors_in_directory(good_jar, listed).checksum, errors_in_archive(good_jar, listed).checksum);
}

TEST(JarErrors, AreAnAlterationAfterSigning) {
  const std::string jar = zipped({{"META-INF/MANIFEST.MF", manifest_of("\nName: a.txt\nSHA-256-Digest: x\n")},
                                  {"META-INF/KEY.SF", "Signature-Version: 1.0\n\nName: a.txt\n\n"},
                                  {"META-INF/KEY.RSA", ""},
                                  {"a.txt", "abc"}});
  EXPECT_EQ(errors_in_archive(jar).signature, "was altered after it was signed: a.txt");
  EXPECT_EQ(errors_in_directory(jar).signature, "was altered after it was signed: a.txt");
}

TEST(JarErrors, AreAnotherBundleOrVersion) {
  const std::string listed = ", but the repository lists it as a 1.0.0.v1";
  const std::map<std::string, std::string> identities = {
      {"Bundle-SymbolicName: a\nBundle-Version: 1.0.1\n", "contains a 1.0.1 by its manifest" + listed},
      {"Bundle-SymbolicName: b\nBundle-Version: 1.0.0.v1\n", "contains b 1.0.0.v1 by its manifest" + listed},
      {"Bundle-SymbolicName: a \nBundle-Version: 01.0.0.v1 \n", ""},
      {"Bundle-Version: 2\n", ""},
      {"Bundle-Name: a\n", ""}};
  for (const auto& [lines, error] : identities) {
    EXPECT_EQ(errors_in_archive(jar_with(lines)).identity, error);
    EXPECT_EQ(errors_in_directory(jar_with(lines)).identity, error);
  }
}

TEST(JarErrors, SayWhatIsTooLargeToBeExamined) {
  EXPECT_EQ(errors_in_archive(std::string(std::size_t{3} << 20U, '\0')).limit, "unpacks to more than 250 times its size");
}

TEST(JarErrors, AreNoneOfWhatCannotBeRead) {
  const fake::TemporaryDirectory directory;
  EXPECT_EQ(errors_of({.name = "a.jar", .path = "a.jar", .checksums = {{eclipse_base::Digest::md5, "00"}}}), JarErrors());
}

}  // namespace
