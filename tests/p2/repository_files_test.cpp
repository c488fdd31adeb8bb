// Which file of a repository is read, in directories and in archives, and all that is said of it.
#include "p2/repository_files.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "base/packing.h"
#include "fake_host/not_administrator.h"
#include "fake_host/temporary_directory.h"

namespace eclipse_p2 {

namespace {

namespace fs = std::filesystem;
using base_test::Entries;

std::string named(const std::string& name, const std::string& more = "") {
  return "<repository name='" + name + "'>" + more + "</repository>";
}

/// All that is known of the file that is read: what it is named, and what is said of it.
std::string described(const RepositoryFiles& files, Listing listing = Listing::content) {
  if (!files.error().empty()) return "error: " + files.error();
  const auto metadata = files.read(listing);
  EXPECT_EQ(metadata.has_value(), files.has_any(listing));
  if (!metadata) return "none";
  std::string text = metadata->document.child("repository").attribute("name").value();
  text += metadata->is_composite ? " composite" : "";
  text += metadata->error.empty() ? "" : " error: " + metadata->error;
  text += metadata->is_unreadable ? " unreadable" : "";
  text += metadata->exceeds_limit ? " exceeds" : "";
  for (const IgnoredMetadata& ignored : metadata->ignored) text += " [" + ignored.name + " for " + ignored.read_instead + "]";
  return text;
}

class RepositoryFilesTest : public testing::Test {
 protected:
  /// As a directory and, with the same result, as an archive, at its top and below.
  static std::string in_all_places(const Entries& entries, Listing listing = Listing::content) {
    fs::remove_all("site");
    Entries inside = {{"other", ""}};
    for (const auto& [name, content] : entries) {
      fake::write_file("site/" + name, content);
      inside["in/side/" + name] = content;
    }
    fake::write_file("top.zip", base_test::zipped(entries));
    fake::write_file("inside.zip", base_test::zipped(inside));
    const std::string text = described(RepositoryFiles({"site"}), listing);
    EXPECT_EQ(described(RepositoryFiles({"top.zip"}), listing), text);
    EXPECT_EQ(described(RepositoryFiles({"inside.zip", "in/side/"}), listing), text);
    return text;
  }

  const fake::TemporaryDirectory directory;
};

std::string jar(const std::string& entry, const std::string& name) { return base_test::zipped({{entry, named(name)}}); }

TEST_F(RepositoryFilesTest, TheFirstFormIsRead) {
  const std::string units = "<units><unit id='a'/></units>";
  Entries all = {{"content.jar", jar("content.xml", "jar")},
                 {"content.xml", named("plain", units)},
                 {"content.xml.xz", base_test::compressed_with_xz(named("xz"))},
                 {"compositeContent.jar", jar("compositeContent.xml", "composite jar")},
                 {"compositeContent.xml", named("composite plain", units)}};
  EXPECT_EQ(in_all_places(all), "jar [content.xml for content.jar] [compositeContent.xml for content.jar]");
  all.erase("content.jar");
  EXPECT_EQ(in_all_places(all), "plain [content.xml.xz for content.xml] [compositeContent.jar for content.xml]");
  all.erase("content.xml");
  EXPECT_EQ(in_all_places(all), "xz [compositeContent.xml for content.xml.xz]");
  all.erase("content.xml.xz");
  EXPECT_EQ(in_all_places(all), "composite jar composite [compositeContent.xml for compositeContent.jar]");
  all.erase("compositeContent.jar");
  EXPECT_EQ(in_all_places(all), "composite plain composite");
  all.erase("compositeContent.xml");
  all["readme"] = "";
  EXPECT_EQ(in_all_places(all), "none");
  EXPECT_EQ(in_all_places({{"artifacts.xml", named("list")}}), "none");
}

TEST_F(RepositoryFilesTest, ListsOfArtifactsHaveTheSameForms) {
  Entries all = {{"artifacts.jar", jar("artifacts.xml", "jar")},
                 {"artifacts.xml", named("plain")},
                 {"artifacts.xml.xz", base_test::compressed_with_xz(named("xz"))},
                 {"compositeArtifacts.jar", jar("compositeArtifacts.xml", "composite jar")},
                 {"compositeArtifacts.xml", named("composite plain")}};
  for (const auto& [file, name] :
       std::vector<std::pair<std::string, std::string>>{{"artifacts.jar", "jar"},
                                                        {"artifacts.xml", "plain"},
                                                        {"artifacts.xml.xz", "xz"},
                                                        {"compositeArtifacts.jar", "composite jar composite"},
                                                        {"compositeArtifacts.xml", "composite plain composite"}}) {
    EXPECT_EQ(in_all_places(all, Listing::artifacts), name);
    EXPECT_TRUE(RepositoryFiles::is_form(Listing::artifacts, file));
    EXPECT_FALSE(RepositoryFiles::is_form(Listing::content, file));
    all.erase(file);
  }
}

TEST_F(RepositoryFilesTest, AnIndexNamesAnotherOrder) {
  const auto with = [](const std::string& index, Listing listing = Listing::content) {
    return in_all_places({{"content.xml", named("plain")},
                          {"content.xml.xz", base_test::compressed_with_xz(named("xz"))},
                          {"artifacts.xml", named("list")},
                          {"p2.index", index}},
                         listing);
  };
  const std::string key = "metadata.repository.factory.order";
  EXPECT_EQ(with("version=1\n" + key + "=content.xml.xz\n"), "xz");
  EXPECT_EQ(with("version = 1\r\n" + key + " = CONTENT.xml.xz , !\r\n"), "xz");
  EXPECT_EQ(with("version:1.0.0\n" + key + ":content.\\\nxml.xz,!\n"), "xz");
  EXPECT_EQ(with("version 1\n" + key + " content.xml.xz\n"), "xz");
  for (const std::string& index : {key + "=content.xml.xz\n", "version=2\n" + key + "=content.xml.xz\n",
                                   "version=1\n#" + key + "=content.xml.xz\n", "version=1\n!" + key + "=content.xml.xz\n",
                                   "version=1\n" + key + "=compositeContent.xml\n", "version=1\n\n" + key + "=,,\n"}) {
    EXPECT_EQ(with(index), "plain") << index;
  }
  EXPECT_EQ(with("version=1\n" + key + "=compositeContent.xml,!\n"),
            " error: p2.index excludes every metadata file that exists");
  EXPECT_EQ(with("version=1\n" + key + "=!\n", Listing::artifacts), "list");
  EXPECT_EQ(with("version=1\nartifact.repository.factory.order=!\n", Listing::artifacts),
            " error: p2.index excludes every list of artifacts that exists");
  EXPECT_EQ(with("version=1\nartifact.repository.factory.order=!\n"), "plain");
}

TEST_F(RepositoryFilesTest, WhatIsDamagedIsNamed) {
  EXPECT_EQ(in_all_places({{"content.xml", "<repo"}, {"content.xml.xz", ""}}), " error: content.xml is not well-formed XML");
  EXPECT_EQ(in_all_places({{"content.jar", jar("other.xml", "")}}), " error: content.jar does not contain content.xml");
  EXPECT_EQ(in_all_places({{"content.jar", base_test::zipped({{"content.xml", "<other/>"}})}}),
            " error: content.xml in content.jar has no <repository> element");
  EXPECT_EQ(in_all_places({{"content.xml.xz", "xz"}}), " error: content.xml.xz is not xz data");
  EXPECT_EQ(in_all_places({{"compositeContent.jar", "jar"}}), " composite error: compositeContent.jar is not a zip archive");
}

TEST_F(RepositoryFilesTest, FurtherElementsOfAKindAreIgnored) {
  const std::string one = "<units/><mappings/><artifacts/><children/>";
  EXPECT_EQ(in_all_places({{"content.xml", named("r", one + one)}}), "r");
  EXPECT_EQ(
      in_all_places(
          {{"content.xml", named("r", one + "<units/><mappings><a/></mappings><artifacts/><children><b/></children>")}}),
      "r [the second <mappings> in content.xml for the first one] [the second <children> in content.xml for the first one]");
  EXPECT_EQ(in_all_places({{"content.jar", base_test::zipped({{"content.xml", named("r", "<units/><units><a/></units>")}})}}),
            "r [the second <units> in content.xml in content.jar for the first one]");
}

TEST_F(RepositoryFilesTest, WhatCannotBeLookedIntoIsAnError) {
  fake::write_file("file", "text");
  fs::create_directory("directory");
  EXPECT_EQ(described(RepositoryFiles({"file"})), "error: is not a zip archive");
  EXPECT_EQ(described(RepositoryFiles({"missing"})), "error: is not a regular file");
  EXPECT_EQ(described(RepositoryFiles({"directory", "inside/"})), "error: is not a zip archive");
  EXPECT_EQ(described(RepositoryFiles({"directory"})), "none");
  EXPECT_FALSE(RepositoryFiles({"directory"}).are_in_archive());
  fake::write_file("a.zip", base_test::zipped({{"d/content.xml", named("r")}, {"e\\f", ""}}));
  const RepositoryFiles archive({"a.zip", "d/"});
  EXPECT_TRUE(archive.are_in_archive());
  EXPECT_EQ(archive.path(), "a.zip");
  EXPECT_EQ(archive.entry("content.xml"), "d/content.xml");
  EXPECT_TRUE(archive.has("content.xml"));
  EXPECT_FALSE(archive.has("artifacts.xml"));
  EXPECT_TRUE(RepositoryFiles({"a.zip"}).has_with_backslashes("e/f"));
  EXPECT_FALSE(RepositoryFiles({"a.zip"}).has_with_backslashes("d/content.xml"));
  EXPECT_FALSE(RepositoryFiles({"a.zip"}).has_with_backslashes("e/g"));
}

TEST_F(RepositoryFilesTest, AnIndexThatIsTooLargeIsUnknown) {
  fake::write_file("site/content.xml", named("r"));
  fake::write_file("site/p2.index", "");
  fs::resize_file("site/p2.index", std::uintmax_t{1} << 40U);
  EXPECT_EQ(described(RepositoryFiles({"site"})), " error: p2.index is larger than 4 MiB exceeds");
}

TEST_F(RepositoryFilesTest, WhatThisUserMayNotReadIsNamed) {
  fake::write_file("site/content.xml", named("plain"));
  fake::write_file("site.zip", base_test::zipped({{"content.xml", named("packed")}}));
  fs::permissions(directory.path(), fs::perms(0755));
  for (const std::string name : {"site/content.xml", "site.zip"}) fs::permissions(name, fs::perms::none);
  const fake::NotAdministrator not_administrator;
  EXPECT_EQ(described(RepositoryFiles({"site"})), " error: content.xml cannot be read unreadable");
  EXPECT_EQ(described(RepositoryFiles({"site.zip"})), "error: cannot be read");
}

}  // namespace

}  // namespace eclipse_p2
