#include <gtest/gtest.h>
#include <zip.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <tuple>

#include "fake_host/temporary_directory.h"
#include "p2/repository.h"

using namespace eclipse_p2;
using fake::write_file;

namespace {

const std::string offer =
    "<?xml version='1.0'?><repository><units><unit id='a.feature.group' version='1.0.0'/></units></repository>";
const std::string other_offer = "<repository><units><unit id='b.feature.group' version='2.0.0'/></units></repository>";
const std::map<std::string, std::set<std::string>> units = {{"a.feature.group", {"1.0.0"}}};

using Entries = std::map<std::string, std::string>;

void write_archive(const std::string& file, const Entries& entries) {
  if (const auto parent = std::filesystem::path(file).parent_path(); !parent.empty())
    std::filesystem::create_directories(parent);
  zip_t* const archive = zip_open(file.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
  ASSERT_NE(archive, nullptr);
  for (const auto& [name, content] : entries) {
    zip_source_t* const source = zip_source_buffer(archive, content.data(), content.size(), 0);
    ASSERT_GE(zip_file_add(archive, name.c_str(), source, 0), 0);
  }
  ASSERT_EQ(zip_close(archive), 0);
}

/// The bytes of an archive.
std::string archive(const Entries& entries) {
  write_archive("scratch/archive", entries);
  std::string content(std::filesystem::file_size("scratch/archive"), '\0');
  std::ifstream("scratch/archive", std::ios::binary).read(content.data(), static_cast<std::streamsize>(content.size()));
  return content;
}

class SitesTest : public testing::Test {
 protected:
  const fake::TemporaryDirectory directory;
  Repositories repositories;
};

TEST_F(SitesTest, MissingPathIsNoSite) {
  EXPECT_FALSE(repositories.at("site").exists);
  EXPECT_FALSE(repositories.at("site").is_repository);
}

TEST_F(SitesTest, DirectoryWithPlainMetadata) {
  write_file("site/content.xml", offer);
  EXPECT_TRUE(repositories.at("site").is_directory);
  EXPECT_TRUE(repositories.at("site").is_repository);
  EXPECT_EQ(repositories.at("site").units, units);
}

TEST_F(SitesTest, DirectoryWithPackedMetadata) {
  write_archive("site/content.jar", {{"content.xml", offer}});
  EXPECT_EQ(repositories.at("site").units, units);
}

TEST_F(SitesTest, ArchiveWithPackedMetadata) {
  const std::string jar = archive({{"content.xml", offer}});
  write_archive("site.zip", {{"content.jar", jar}, {"features/x.jar", "x"}});
  EXPECT_FALSE(repositories.at("site.zip").is_directory);
  EXPECT_TRUE(repositories.at("site.zip").is_repository);
  EXPECT_EQ(repositories.at("site.zip").units, units);
}

TEST_F(SitesTest, ArchiveThatHoldsTheSiteInADirectory) {
  write_archive("site.zip", {{"site/content.jar", "x"}});
  EXPECT_FALSE(repositories.at("site.zip").is_repository);
  EXPECT_EQ(repositories.at("site.zip").nested, "site/");
}

TEST_F(SitesTest, DirectoryThatHoldsTheSiteInADirectory) {
  write_file("site/repository/content.xml", offer);
  EXPECT_FALSE(repositories.at("site").is_repository);
  EXPECT_EQ(repositories.at("site").nested, "repository/");
}

TEST_F(SitesTest, FileThatIsNoArchive) {
  write_file("site.zip", "no archive");
  EXPECT_TRUE(repositories.at("site.zip").exists);
  EXPECT_FALSE(repositories.at("site.zip").is_repository);
  EXPECT_EQ(repositories.at("site.zip").error, "it is no archive");
}

TEST_F(SitesTest, CompositeOffersWhatItsChildrenOffer) {
  write_file("one/content.xml", offer);
  write_file("all/two/content.xml", other_offer);
  write_file("all/compositeContent.xml",
             "<repository><children size='2'><child location='two'/><child location='../one'/></children></repository>");
  const std::map<std::string, std::set<std::string>> both = {{"a.feature.group", {"1.0.0"}}, {"b.feature.group", {"2.0.0"}}};
  EXPECT_EQ(repositories.at("all").units, both);
}

TEST_F(SitesTest, CompositeOfItselfOffersNothingThatCouldBeRead) {
  write_file("all/compositeContent.xml", "<repository><children><child location='../all'/></children></repository>");
  EXPECT_TRUE(repositories.at("all").is_repository);
  EXPECT_EQ(repositories.at("all").units, std::nullopt);
}

// Without a memory of what was looked into, each of the composites would be looked into six times from each other one.
TEST_F(SitesTest, CompositesThatNameEachOtherAreLookedIntoOnce) {
  std::string children;
  for (int i = 0; i < 6; ++i) children += "<child location='../" + std::to_string(i) + "'/>";
  for (int i = 0; i < 6; ++i) {
    write_file(std::to_string(i) + "/compositeContent.xml", "<repository><children>" + children + "</children></repository>");
  }
  EXPECT_TRUE(repositories.at("0").is_repository);
  EXPECT_EQ(repositories.at("0").missing_children, std::vector<std::string>());
  EXPECT_EQ(repositories.at("0").units, std::nullopt);
}

TEST_F(SitesTest, MetadataThatCannotBeReadHereLeavesTheOfferOpen) {
  write_file("site/content.xml.xz", "x");
  write_file("beside/content.xml.xz", "x");
  write_file("beside/content.jar", "perhaps damaged, but not looked at by who can read the other");
  for (const std::string name : {"site", "beside"}) {
    EXPECT_TRUE(repositories.at(name).is_repository) << name;
    EXPECT_EQ(repositories.at(name).units, std::nullopt) << name;
    EXPECT_EQ(repositories.at(name).error, "") << name;
  }
}

TEST_F(SitesTest, DamagedMetadataIsToldApart) {
  std::string flipped = archive({{"content.xml", offer + std::string(500, ' ')}});
  for (std::size_t i = 45; i < 60; ++i) flipped[i] = static_cast<char>(flipped[i] ^ 0x55);
  const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
      {"content.xml", "<repository><units><unit", "content.xml is no XML"},
      {"content.xml", "", "content.xml is no XML"},
      {"content.xml", "<html/>", "content.xml describes no repository"},
      {"content.jar", "no archive", "content.jar is no archive"},
      {"content.jar", archive({{"other.xml", offer}}), "content.jar holds no content.xml"},
      {"content.jar", archive({{"content.xml", "<repository"}}), "content.xml in content.jar is no XML"},
      {"content.jar", flipped, "content.xml in content.jar is damaged"},
      {"compositeContent.xml", "<repository>", "compositeContent.xml is no XML"},
      {"compositeContent.jar", "no archive", "compositeContent.jar is no archive"},
  };
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const auto& [name, content, damage] = cases[i];
    const std::string site = "site" + std::to_string(i);
    write_file(site + "/" + name, content);
    EXPECT_TRUE(repositories.at(site).is_repository) << damage;
    EXPECT_EQ(repositories.at(site).error, damage);
    EXPECT_EQ(repositories.at(site).units, std::nullopt) << damage;
  }
}

TEST_F(SitesTest, DamagedArchiveIsPreferredToTheFileBesideIt) {
  write_file("site/content.jar", "no archive");
  write_file("site/content.xml", offer);
  EXPECT_EQ(repositories.at("site").error, "content.jar is no archive");
}

TEST_F(SitesTest, CompositeLosesChildrenThatCannotBeLoaded) {
  write_file("one/content.xml", offer);
  write_file("damaged/content.xml", "<repository");
  std::filesystem::create_directories("empty");
  write_file("all/compositeContent.xml",
             "<repository><children><child location='../damaged'/><child location='../one'/><child location='../empty'/>"
             "<child location='missing'/></children></repository>");
  EXPECT_EQ(repositories.at("all").missing_children, (std::vector<std::string>{"../damaged", "../empty", "missing"}));
  EXPECT_EQ(repositories.at("all").units, units);
  EXPECT_EQ(repositories.at("all").error, "");
}

TEST_F(SitesTest, NothingIsSaidOfChildrenElsewhere) {
  for (const std::string location : {"https://example.org/site", "my%20site", "jar:file:/site.zip!/"}) {
    write_file("all/compositeContent.xml",
               "<repository><children><child location='" + location + "'/></children></repository>");
    Repositories afresh;
    EXPECT_EQ(afresh.at("all").missing_children, std::vector<std::string>()) << location;
    EXPECT_EQ(afresh.at("all").units, std::nullopt) << location;
  }
  write_archive("all.zip", {{"compositeContent.xml", "<repository><children><child location='one'/></children></repository>"}});
  EXPECT_EQ(repositories.at("all.zip").missing_children, std::vector<std::string>());
  EXPECT_EQ(repositories.at("all.zip").units, std::nullopt);
}

}  // namespace
