#include <gtest/gtest.h>
#include <zip.h>

#include <filesystem>
#include <fstream>
#include <map>

#include "lint/samples.h"
#include "lint/site.h"

using namespace eclipse_lint;
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
  const fake::TemporaryFolder folder;
  Sites sites;
};

TEST_F(SitesTest, MissingPathIsNoSite) {
  EXPECT_FALSE(sites.at("site").exists);
  EXPECT_FALSE(sites.at("site").is_repository);
}

TEST_F(SitesTest, DirectoryWithPlainMetadata) {
  write_file("site/content.xml", offer);
  EXPECT_TRUE(sites.at("site").is_directory);
  EXPECT_TRUE(sites.at("site").is_repository);
  EXPECT_EQ(sites.at("site").units, units);
}

TEST_F(SitesTest, DirectoryWithPackedMetadata) {
  write_archive("site/content.jar", {{"content.xml", offer}});
  EXPECT_EQ(sites.at("site").units, units);
}

TEST_F(SitesTest, ArchiveWithPackedMetadata) {
  const std::string jar = archive({{"content.xml", offer}});
  write_archive("site.zip", {{"content.jar", jar}, {"features/x.jar", "x"}});
  EXPECT_FALSE(sites.at("site.zip").is_directory);
  EXPECT_TRUE(sites.at("site.zip").is_repository);
  EXPECT_EQ(sites.at("site.zip").units, units);
}

TEST_F(SitesTest, ArchiveThatHoldsTheSiteInAFolder) {
  write_archive("site.zip", {{"site/content.jar", "x"}});
  EXPECT_FALSE(sites.at("site.zip").is_repository);
  EXPECT_EQ(sites.at("site.zip").nested, "site/");
}

TEST_F(SitesTest, DirectoryThatHoldsTheSiteInAFolder) {
  write_file("site/repository/content.xml", offer);
  EXPECT_FALSE(sites.at("site").is_repository);
  EXPECT_EQ(sites.at("site").nested, "repository/");
}

TEST_F(SitesTest, FileThatIsNoArchive) {
  write_file("site.zip", "no archive");
  EXPECT_TRUE(sites.at("site.zip").exists);
  EXPECT_FALSE(sites.at("site.zip").is_repository);
}

TEST_F(SitesTest, CompositeOffersWhatItsChildrenOffer) {
  write_file("one/content.xml", offer);
  write_file("all/two/content.xml", other_offer);
  write_file("all/compositeContent.xml",
             "<repository><children size='2'><child location='two'/><child location='../one'/></children></repository>");
  const std::map<std::string, std::set<std::string>> both = {{"a.feature.group", {"1.0.0"}}, {"b.feature.group", {"2.0.0"}}};
  EXPECT_EQ(sites.at("all").units, both);
}

TEST_F(SitesTest, CompositeOfItselfOffersNothingThatCouldBeRead) {
  write_file("all/compositeContent.xml", "<repository><children><child location='../all'/></children></repository>");
  EXPECT_TRUE(sites.at("all").is_repository);
  EXPECT_EQ(sites.at("all").units, std::nullopt);
}

TEST_F(SitesTest, MetadataThatCannotBeReadHereLeavesTheOfferOpen) {
  write_file("compressed/content.xml.xz", "x");
  write_file("damaged/content.xml", "<repository><units><unit");
  write_file("broken/content.jar", "no archive");
  for (const std::string name : {"compressed", "damaged", "broken"}) {
    EXPECT_TRUE(sites.at(name).is_repository) << name;
    EXPECT_EQ(sites.at(name).units, std::nullopt) << name;
  }
}

TEST_F(SitesTest, NewestProfileTellsWhatIsInstalled) {
  const std::string registry = "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/IDE.profile/";
  write_file(registry + "1001.profile", "<profile><units><unit id='old'/></units></profile>");
  write_file(registry + "1002.profile", "<profile><units><unit id='a'/><unit id='b'/></units></profile>");
  EXPECT_EQ(installed_units("ide"), (std::set<std::string>{"a", "b"}));
  EXPECT_EQ(installed_units("elsewhere"), std::nullopt);
}

}  // namespace
