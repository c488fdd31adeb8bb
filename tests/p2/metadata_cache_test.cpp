// Which metadata of an archive a director takes from what it has cached.
#include "p2/metadata_cache.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <chrono>
#include <map>

#include "base/packing.h"
#include "fake_host/temporary_directory.h"
#include "p2/repository.h"

namespace eclipse_p2 {

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::seconds;

// The numbers are those of java.net.URI.
TEST(JavaHashOfUri, IsThatOfJava) {
  const std::map<std::string, int> hashes = {{"jar:file:///opt/a.zip!/", -1323533478},
                                             {"jar:file:///opt/two%20words.zip!/", -1567230933},
                                             {"jar:file:///opt/ä€😀.zip!/", 1982263518},
                                             {"jar:file:///opt/a.zip!/child", 1958613420},
                                             {"jar:file:///opt/a.zip!/content.xml.xz", 1418424808}};
  for (const auto& [uri, hash] : hashes) EXPECT_EQ(java_hash_of_uri(uri), hash) << uri;
}

TEST(NameOfCachedMetadata, IsThatOfTheDirector) {
  const auto name = [](const char* archive, const std::string& inside, const std::string& file) {
    return MetadataCache("ide", archive).file_for(inside, file).string();
  };
  const std::string cache = "ide/p2/org.eclipse.equinox.p2.repository/cache/";
  EXPECT_EQ(name("/opt/a.zip", "", "content.jar"), cache + "content-1323533478.jar");
  EXPECT_EQ(name("/opt/a.zip", "", "compositeContent.xml"), cache + "compositeContent-1323533478.xml");
  EXPECT_EQ(name("/opt/a.zip", "child", "artifacts.jar"), cache + "artifacts1958613420.jar");
  EXPECT_EQ(name("/opt/a.zip", "", "content.xml.xz"), cache + "1418424808");
  EXPECT_EQ(name("/opt/a\u00A0b\u3000\u0085.zip", "", "content.jar"), cache + "content-651873351.jar");
  EXPECT_EQ(name("/opt/two words.zip", "", "content.jar"), cache + "content-1567230933.jar");
  EXPECT_EQ(name("/opt/{^|`\"<>\\}.zip", "", "content.jar"), cache + "content76113548.jar");
}

class CachedMetadata : public testing::Test {
 protected:
  static std::string content_with(const std::string& id) {
    return "<repository><units><unit id='" + id + "' version='1.0.0'/></units></repository>";
  }

  void write_archive(const base_test::Entries& entries) const {
    fake::write_file("a.zip", base_test::zipped(entries));
    fs::last_write_time("a.zip", time + milliseconds(700));
  }

  /// What is cached of a file of the archive, with the time that the archive has, or with a later one.
  void keep(const std::string& inside, const std::string& name, const std::string& content, milliseconds later = {}) const {
    const fs::path file = cache().file_for(inside, name);
    fake::write_file(file.string(), content);
    fs::last_write_time(file, time + later);
  }

  MetadataCache cache() const { return {"ide", directory.path() + "/a.zip"}; }

  /// The units that the director sees in the archive.
  std::string seen() const {
    const MetadataCache metadata_cache = cache();
    Repositories repositories(metadata_cache);
    const Repository& repository = repositories.at(directory.path() + "/a.zip");
    std::string ids = repository.error;
    if (repository.units) {
      for (const auto& [id, versions] : *repository.units) ids += id + " ";
    }
    return ids;
  }

  const fake::TemporaryDirectory directory;
  fs::file_time_type time = std::chrono::floor<seconds>(fs::file_time_type::clock::now());
};

TEST_F(CachedMetadata, IsReadAsLongAsItHasTheTimeOfTheArchiveInSeconds) {
  write_archive({{"content.xml", content_with("new")}});
  EXPECT_FALSE(cache().may_be_read(false));
  EXPECT_EQ(seen(), "new ");
  keep("", "content.xml", content_with("old"));
  EXPECT_TRUE(cache().may_be_read(false));
  EXPECT_EQ(seen(), "old ");
  for (const milliseconds later : {milliseconds(-1000), milliseconds(1), milliseconds(700), milliseconds(1000)}) {
    keep("", "content.xml", content_with("old"), later);
    EXPECT_FALSE(cache().may_be_read(false)) << later.count();
    EXPECT_EQ(seen(), "new ") << later.count();
  }
}

TEST_F(CachedMetadata, IsNotTrustedWithoutATime) {
  write_archive({{"content.xml", content_with("new")}});
  const std::array<timespec, 2> epoch = {};
  ASSERT_EQ(utimensat(AT_FDCWD, "a.zip", epoch.data(), 0), 0);
  time = fs::last_write_time("a.zip");
  keep("", "content.xml", content_with("old"));
  EXPECT_FALSE(cache().may_be_read(false));
  EXPECT_EQ(seen(), "new ");
}

TEST_F(CachedMetadata, IsReadInTheFormThatTheArchiveHas) {
  const auto jar_with = [](const std::string& id) { return base_test::zipped({{"content.xml", content_with(id)}}); };
  write_archive({{"content.jar", jar_with("new")}});
  keep("", "content.xml", content_with("old"));
  EXPECT_EQ(seen(), "new ");
  keep("", "content.jar", jar_with("older"));
  EXPECT_EQ(seen(), "older ");
  write_archive({{"content.xml", content_with("new")}});
  EXPECT_EQ(seen(), "new ") << "the .jar hides the .xml";
  write_archive({{"content.xml.xz", base_test::compressed_with_xz(content_with("new"))}});
  EXPECT_EQ(seen(), "new ");
  keep("", "content.xml.xz", base_test::compressed_with_xz(content_with("old")));
  EXPECT_EQ(seen(), "old ");
}

TEST_F(CachedMetadata, IsThatOfAChildToo) {
  write_archive({{"compositeContent.xml", "<repository><children><child location='child/'/></children></repository>"},
                 {"child/content.xml", content_with("new")}});
  EXPECT_EQ(seen(), "new ");
  keep("child", "content.xml", content_with("old"));
  EXPECT_EQ(seen(), "old ");
  EXPECT_TRUE(cache().may_be_read(true));
  EXPECT_FALSE(cache().may_be_read(false)) << "another archive may have the same time";
}

TEST_F(CachedMetadata, CannotBeReadWhenItIsDamaged) {
  write_archive({{"content.jar", base_test::zipped({{"content.xml", content_with("new")}})}});
  keep("", "content.jar", "PK");
  EXPECT_NE(seen().find("content.jar"), std::string::npos) << seen();
}

}  // namespace

}  // namespace eclipse_p2
