#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <tuple>

#include "base/limits.h"
#include "base/packing.h"
#include "fake_host/temporary_directory.h"
#include "p2/repository.h"

using namespace eclipse_p2;
using namespace base_test;
using fake::write_file;
namespace largest = eclipse_base::largest;

namespace {

const std::string offer =
    "<?xml version='1.0'?><repository><units><unit id='a.feature.group' version='1.0.0'/></units></repository>";
const std::string other_offer = "<repository><units><unit id='b.feature.group' version='2.0.0'/></units></repository>";
const std::map<std::string, std::set<std::string>> units = {{"a.feature.group", {"1.0.0"}}};

std::string composite_of(const std::vector<std::string>& locations) {
  std::string children;
  for (const std::string& location : locations) children += "<child location='" + location + "'/>";
  return "<repository><children>" + children + "</children></repository>";
}

void write_archive(const std::string& file, const Entries& entries) { write_file(file, zipped(entries)); }

constexpr const char* pointer = "version https://git-lfs.github.com/spec/v1\noid sha256:00\nsize 22\n";

class RepositoryTest : public testing::Test {
 protected:
  const fake::TemporaryDirectory directory;
  Repositories repositories;
  int count = 0;  ///< of repositories that a test made
};

TEST_F(RepositoryTest, MissingPathIsNone) {
  EXPECT_FALSE(repositories.at("site").exists);
  EXPECT_FALSE(repositories.at("site").is_repository);
}

TEST_F(RepositoryTest, DirectoryWithPlainMetadata) {
  write_file("site/content.xml", offer);
  EXPECT_TRUE(repositories.at("site").is_directory);
  EXPECT_TRUE(repositories.at("site").is_repository);
  EXPECT_EQ(repositories.at("site").units, units);
}

TEST_F(RepositoryTest, DirectoryWithPackedMetadata) {
  write_archive("site/content.jar", {{"content.xml", offer}});
  EXPECT_EQ(repositories.at("site").units, units);
}

TEST_F(RepositoryTest, ArchiveWithPackedMetadata) {
  const std::string jar = zipped({{"content.xml", offer}});
  write_archive("site.zip", {{"content.jar", jar}, {"features/x.jar", "x"}});
  EXPECT_FALSE(repositories.at("site.zip").is_directory);
  EXPECT_TRUE(repositories.at("site.zip").is_repository);
  EXPECT_EQ(repositories.at("site.zip").units, units);
}

TEST_F(RepositoryTest, ArchiveThatHasItInADirectory) {
  write_archive("site.zip", {{"site/content.jar", "x"}});
  EXPECT_FALSE(repositories.at("site.zip").is_repository);
  EXPECT_EQ(repositories.at("site.zip").nested, "site/");
}

TEST_F(RepositoryTest, DirectoryThatHasItInADirectory) {
  write_file("site/repository/content.xml", offer);
  EXPECT_FALSE(repositories.at("site").is_repository);
  EXPECT_EQ(repositories.at("site").nested, "repository/");
}

TEST_F(RepositoryTest, FileThatIsNotAnArchive) {
  write_file("site.zip", "no archive");
  EXPECT_TRUE(repositories.at("site.zip").exists);
  EXPECT_FALSE(repositories.at("site.zip").is_repository);
  EXPECT_EQ(repositories.at("site.zip").error, "it is not a zip archive");
}

TEST_F(RepositoryTest, DescribesItsUnits) {
  write_file("site/content.xml",
             "<repository><units>"
             "<unit id='a.feature.group' version='1.0.0'><properties>"
             "<property name='df_LT.featureName' value='Alpha Tools'/><property name='de.featureName' value='Alpha'/>"
             "<property name='org.eclipse.equinox.p2.name' value='%featureName'/></properties></unit>"
             "<unit id='a.feature.group' version='2.0.0'><properties>"
             "<property name='org.eclipse.equinox.p2.name' value='%unknown'/></properties></unit>"
             "<unit id='b' version='1'/>"
             "<unit id='main' version='0.0.0'><properties>"
             "<property name='org.eclipse.equinox.p2.name' value='Main'/>"
             "<property name='org.eclipse.equinox.p2.type.category' value='true'/></properties><requires>"
             "<required namespace='org.eclipse.equinox.p2.iu' name='a.feature.group' range='[1.0.0,1.0.0]'/>"
             "<required namespace='osgi.bundle' name='b' range='0.0.0'/></requires></unit>"
             "</units></repository>");
  write_file("other/content.xml", other_offer);
  write_file("all/compositeContent.xml", composite_of({"../site", "https://example.org/site", "../other"}));
  std::map<Unit, UnitDescription> found;
  found[{"a.feature.group", "1.0.0"}].label = "Alpha Tools";
  found[{"a.feature.group", "2.0.0"}].label = "%unknown";
  found[{"b", "1"}] = {};
  UnitDescription& category = found[{"main", "0.0.0"}];
  category.label = "Main";
  category.is_category = true;
  category.members = {"a.feature.group"};
  category.requirements = {{"org.eclipse.equinox.p2.iu", "a.feature.group", "[1.0.0,1.0.0]", "", true},
                           {"osgi.bundle", "b", "0.0.0", "", true}};
  EXPECT_EQ(repositories.at("site").descriptions, found);
  found[{"b.feature.group", "2.0.0"}];
  EXPECT_EQ(repositories.at("all").descriptions, found);
  EXPECT_EQ(repositories.at("all").units, std::nullopt);
}

TEST_F(RepositoryTest, CompositeProvidesWhatItsChildrenProvide) {
  write_file("one/content.xml", offer);
  write_file("all/two/content.xml", other_offer);
  write_file("all/compositeContent.xml",
             "<repository><children size='2'><child location='two'/><child location='../one'/></children></repository>");
  const std::map<std::string, std::set<std::string>> both = {{"a.feature.group", {"1.0.0"}}, {"b.feature.group", {"2.0.0"}}};
  EXPECT_EQ(repositories.at("all").units, both);
}

TEST_F(RepositoryTest, CompositeThatLeadsBackToItselfIsAnError) {
  write_file("all/compositeContent.xml", composite_of({"../all"}));
  write_file("one/compositeContent.xml", composite_of({"../two"}));
  write_file("two/compositeContent.xml", composite_of({"../one"}));
  write_file("outside/compositeContent.xml", composite_of({"../one"}));
  for (const auto& [path, child] : {std::pair("all", "../all"), {"one", "../two"}, {"two", "../one"}, {"outside", "../one"}}) {
    Repositories afresh;
    for (const auto& each : {&afresh, &repositories}) {
      const Repository& repository = each->at(path);
      EXPECT_TRUE(repository.is_repository) << path;
      EXPECT_TRUE(repository.is_endless) << path;
      EXPECT_EQ(repository.error, std::string("its child ") + child + " leads back to a composite that contains it");
      EXPECT_EQ(repository.units, std::nullopt) << path;
    }
  }
}

// By their paths there is no end of them: each link is a composite of two links.
TEST_F(RepositoryTest, LinksToACompositeAreTheComposite) {
  write_file("all/compositeContent.xml", composite_of({"a", "b"}));
  std::filesystem::create_symlink(".", "all/a");
  std::filesystem::create_symlink(".", "all/b");
  EXPECT_EQ(repositories.at("all").error, "its child a leads back to a composite that contains it");
}

// Without a memory of what was looked into, the last one would be looked into 2^40 times.
TEST_F(RepositoryTest, EachCompositeIsLookedIntoOnce) {
  for (int i = 0; i < 40; ++i) {
    const std::string next = "../" + std::to_string(i + 1);
    write_file(std::to_string(i) + "/compositeContent.xml", composite_of({next, next + "/../" + next.substr(3)}));
  }
  write_file("40/content.xml", offer);
  EXPECT_EQ(repositories.at("0").units, units);
  EXPECT_EQ(repositories.at("0").unexamined_because, "");
}

TEST_F(RepositoryTest, CompositesAreLookedIntoToALimitOfDepth) {
  for (int i = 0; i < 300; ++i) {
    write_file(std::to_string(i) + "/compositeContent.xml", composite_of({"../" + std::to_string(i + 1)}));
  }
  write_file("300/content.xml", offer);
  EXPECT_EQ(repositories.at("0").units, std::nullopt);
  EXPECT_EQ(repositories.at("0").error, "");
  EXPECT_EQ(repositories.at("0").unexamined_because, "its children are nested more than 200 levels deep");
  EXPECT_EQ(Repositories().at("250").units, units);
  EXPECT_EQ(Repositories().at("100").units, units);
  EXPECT_EQ(Repositories().at("99").units, std::nullopt);
}

std::set<std::string> ids_in(const Repository& repository) {
  std::set<std::string> ids;
  for (const auto& [id, versions] : repository.units.value_or(UnitVersions())) ids.insert(id);
  return ids;
}

void write_form(const std::string& directory, const std::string& name) {
  const std::string content = "<repository><units><unit id='" + name + "' version='1.0.0'/></units></repository>";
  std::string bytes = content;
  if (name == "content.jar") bytes = zipped({{"content.xml", content}});
  if (name == "content.xml.xz") bytes = compressed_with_xz(content);
  if (name.starts_with("composite")) {
    bytes = composite_of({name + ".child"});
    write_file(directory + "/" + name + ".child/content.xml", content);
  }
  if (name == "compositeContent.jar") bytes = zipped({{"compositeContent.xml", bytes}});
  write_file(directory + "/" + name, bytes);
}

// In the order in which the director prefers them.
TEST_F(RepositoryTest, OneFormOfItsMetadataIsRead) {
  const std::vector<std::string> forms = {"content.jar", "content.xml", "content.xml.xz", "compositeContent.jar",
                                          "compositeContent.xml"};
  for (std::size_t first = 0; first < forms.size(); ++first) {
    for (std::size_t i = first; i < forms.size(); ++i) write_form("site" + forms[first], forms[i]);
    EXPECT_EQ(ids_in(repositories.at("site" + forms[first])), std::set<std::string>{forms[first]});
  }
  for (const std::string unknown : {"content.xml.gz", "compositeContent.xml.xz"}) {
    write_file("unknown/" + unknown, "x");
    EXPECT_FALSE(repositories.at("unknown").is_repository) << unknown;
  }
}

struct IndexCase {
  std::string index;
  std::string read;  ///< which file is, or the error
};

// Each was seen with a director.
TEST_F(RepositoryTest, IndexNamesTheFormThatIsRead) {
  const std::string key = "metadata.repository.factory.order";
  const std::vector<IndexCase> cases = {
      {"version=1\n" + key + "=content.xml.xz,!\n", "content.xml.xz"},
      {"version=1\n" + key + "=content.xml.xz,content.xml,!\n", "content.xml.xz"},
      {"version=1\n" + key + "=Content.XML.xz\n", "content.xml.xz"},
      {"version = 1\r\n" + key + " = content.xml, content.xml.xz\r\n", "content.jar"},
      {"version=1\n" + key + "=compositeContent.xml,!\n", "compositeContent.xml"},
      {"# p2\nversion: 1.0.0\n" + key + " content.xml.xz, \\\n  !\n", "content.xml.xz"},
      {"version=1\n" + key + "=other.xml,content.xml,!\n", "content.jar"},
      {"version=1\n" + key + "=!\n", "p2.index excludes every metadata file that exists"},
      {"version=1\n" + key + "=content.jar,!\n", "p2.index excludes every metadata file that exists"},
      {"version=1\nartifact.repository.factory.order=artifacts.xml.xz\n", "content.jar"},
      {"version=2\n" + key + "=content.xml.xz,!\n", "content.jar"},
      {"version=1.5\n" + key + "=content.xml.xz,!\n", "content.jar"},
      {key + "=content.xml.xz,!\n", "content.jar"},
  };
  for (std::size_t i = 0; i < cases.size(); ++i) {
    const std::string site = "site" + std::to_string(i);
    for (const std::string form : {"content.jar", "content.xml.xz", "compositeContent.xml"}) write_form(site, form);
    write_file(site + "/p2.index", cases[i].index);
    const Repository& repository = repositories.at(site);
    EXPECT_TRUE(repository.is_repository);
    EXPECT_EQ(repository.units ? *ids_in(repository).begin() : repository.error, cases[i].read) << cases[i].index;
  }
}

TEST_F(RepositoryTest, ArchivesHaveTheSameForms) {
  write_archive("xz.zip", {{"content.xml.xz", compressed_with_xz(offer)},
                           {"content.jar", "damaged"},
                           {"p2.index", "version=1\nmetadata.repository.factory.order=content.xml.xz\n"}});
  EXPECT_EQ(repositories.at("xz.zip").units, units);
  write_archive("all.zip", {{"compositeContent.xml", composite_of({"one", "./two/"})},
                            {"one/content.xml", offer},
                            {"two/content.jar", zipped({{"content.xml", other_offer}})}});
  EXPECT_EQ(ids_in(repositories.at("all.zip")), (std::set<std::string>{"a.feature.group", "b.feature.group"}));
}

TEST_F(RepositoryTest, ArtifactsAreReadInEachForm) {
  const std::string list =
      "<repository><mappings><rule filter='(&amp; (classifier=osgi.bundle))' output='${repoUrl}/plugins/${id}_${version}.jar'/>"
      "</mappings><artifacts><artifact classifier='osgi.bundle' id='a' version='1'/>"
      "<artifact classifier='osgi.bundle' id='b' version='1'/></artifacts></repository>";
  const std::vector<std::pair<std::string, std::string>> forms = {{"artifacts.xml", list},
                                                                  {"artifacts.jar", zipped({{"artifacts.xml", list}})},
                                                                  {"artifacts.xml.xz", compressed_with_xz(list)}};
  for (const auto& [name, bytes] : forms) {
    const std::string child = name + ".child";
    write_file(child + "/content.xml", offer);
    write_file(child + "/" + name, bytes);
    write_file(child + "/plugins/a_1.jar", zipped({}));
    write_file("all" + name + "/compositeContent.xml", composite_of({"../" + child}));
    write_file("all" + name + "/compositeArtifacts.xml", composite_of({"../" + child}));
    for (const auto& [site, file] :
         {std::pair(child, std::string("plugins/b_1.jar")), std::pair("all" + name, "../" + child + "/plugins/b_1.jar")}) {
      const Repository& repository = repositories.at(site);
      EXPECT_TRUE(repository.lists_artifacts) << site;
      EXPECT_EQ(repository.artifacts, std::set<std::string>{"osgi.bundle,a,1"}) << site;
      EXPECT_EQ(repository.missing_artifacts, (std::map<std::string, std::string>{{"osgi.bundle,b,1", file}})) << site;
    }
  }
}

TEST_F(RepositoryTest, DamagedArtifactsAreNotThere) {
  const std::string checksum = "<property name='download.checksum.sha-256' value='00'/>";
  const auto artifact = [](const std::string& id, const std::string& properties) {
    return "<artifact classifier='osgi.bundle' id='" + id + "' version='1'><properties>" + properties +
           "</properties></artifact>";
  };
  write_file("site/content.xml", offer);
  write_file("site/artifacts.xml",
             "<repository><mappings><rule filter='(&amp; (classifier=osgi.bundle))' "
             "output='${repoUrl}/plugins/${id}_${version}.jar'/></mappings><artifacts>" +
                 artifact("good", "<property name='download.size' value='22'/>" + checksum) +
                 artifact("unchecked", "<property name='download.size' value='23'/>") + artifact("pointer", "") +
                 artifact("text", "") + artifact("cut", "<property name='download.size' value='23'/>" + checksum) +
                 "</artifacts></repository>");
  for (const std::string id : {"good", "unchecked", "cut"}) write_file("site/plugins/" + id + "_1.jar", zipped({}));
  write_file("site/plugins/pointer_1.jar", pointer);
  write_file("site/plugins/text_1.jar", "P");
  write_file("all/compositeContent.xml", composite_of({"../site"}));
  write_file("all/compositeArtifacts.xml", composite_of({"../site"}));
  for (const auto& [site, begin] :
       {std::pair("site", std::string("plugins/")), std::pair("all", std::string("../site/plugins/"))}) {
    const Repository& repository = repositories.at(site);
    EXPECT_EQ(repository.artifacts, (std::set<std::string>{"osgi.bundle,good,1", "osgi.bundle,unchecked,1"})) << site;
    EXPECT_EQ(repository.damaged_artifacts,
              (std::map<std::string, std::string>{
                  {"osgi.bundle,cut,1", begin + "cut_1.jar has 22 bytes, but the repository lists it with 23"},
                  {"osgi.bundle,pointer,1", begin + "pointer_1.jar is a Git LFS pointer, not the file that it stands for"},
                  {"osgi.bundle,text,1", begin + "text_1.jar is not a zip archive"}}))
        << site;
  }
}

TEST_F(RepositoryTest, DamagedMetadataIsAnError) {
  std::string flipped = zipped({{"content.xml", offer + std::string(500, ' ')}});
  for (std::size_t i = 80; i < 100; ++i) flipped[i] = static_cast<char>(flipped[i] ^ 0x55);
  const std::vector<std::tuple<std::string, std::string, std::string>> cases = {
      {"content.xml", "<repository><units><unit", "content.xml is not well-formed XML"},
      {"content.xml", "", "content.xml is not well-formed XML"},
      {"content.xml", "<html/>", "content.xml has no <repository> element"},
      {"content.jar", "no archive", "content.jar is not a zip archive"},
      {"content.jar", pointer, "content.jar is a Git LFS pointer, not the file that it stands for"},
      {"content.xml", pointer, "content.xml is a Git LFS pointer, not the file that it stands for"},
      {"content.xml.xz", pointer, "content.xml.xz is a Git LFS pointer, not the file that it stands for"},
      {"content.jar", zipped({{"other.xml", offer}}), "content.jar does not contain content.xml"},
      {"content.jar", zipped({{"content.xml", "<repository"}}), "content.xml in content.jar is not well-formed XML"},
      {"content.jar", flipped, "content.jar is damaged"},
      {"content.jar", zipped({{"content.xml", offer}}, "password"), "content.jar is encrypted"},
      {"content.xml.xz", "no archive", "content.xml.xz is not xz data"},
      {"content.xml.xz", compressed_with_xz(offer).substr(0, 50), "content.xml.xz is damaged"},
      {"compositeContent.xml", "<repository>", "compositeContent.xml is not well-formed XML"},
      {"compositeContent.jar", "no archive", "compositeContent.jar is not a zip archive"},
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

TEST_F(RepositoryTest, DamagedArchiveIsPreferredToTheFileBesideIt) {
  write_file("site/content.jar", "no archive");
  write_file("site/content.xml", offer);
  EXPECT_EQ(repositories.at("site").error, "content.jar is not a zip archive");
}

TEST_F(RepositoryTest, DamagedArchivesAreAnError) {
  const std::string zip = zipped({{"content.xml", offer}});
  write_file("cut.zip", zip.substr(0, zip.size() - 10));
  EXPECT_EQ(repositories.at("cut.zip").error, "it is cut off: the central directory of a zip archive is missing at its end");
  write_file("pointer.zip", pointer);
  EXPECT_EQ(repositories.at("pointer.zip").error, "it is a Git LFS pointer, not the file that it stands for");
  write_file("locked.zip", zipped({{"content.xml", offer}}, "password"));
  EXPECT_EQ(repositories.at("locked.zip").error, "content.xml is encrypted");
  std::string changed = zip;
  changed[zip.size() / 3] = static_cast<char>(changed[zip.size() / 3] ^ 1);
  write_file("changed.zip", changed);
  EXPECT_EQ(repositories.at("changed.zip").error, "content.xml is damaged");
}

TEST_F(RepositoryTest, WhatIsTooLargeIsNotExamined) {
  write_file("bomb/content.xml.xz", compressed_with_xz("<repository>" + std::string(10'000'000, ' ') + "</repository>"));
  EXPECT_EQ(repositories.at("bomb").unexamined_because, "content.xml.xz unpacks to more than 250 times its size");
  std::string many = "<repository>";
  for (int i = 0; i < 8'000'000; ++i) many += "<u/>";
  write_file("many/content.xml", many + "</repository>");
  EXPECT_EQ(repositories.at("many").unexamined_because, "content.xml has more than 8000000 tags and attributes");
  write_file("large/content.xml", "");
  std::filesystem::resize_file("large/content.xml", largest::metadata);
  EXPECT_EQ(Repositories().at("large").unexamined_because, "");
  EXPECT_EQ(Repositories().at("large").error, "content.xml is not well-formed XML");
  std::filesystem::resize_file("large/content.xml", largest::metadata + 1);
  EXPECT_EQ(repositories.at("large").unexamined_because, "content.xml is larger than 256 MiB");
  for (const std::string name : {"bomb", "many", "large"}) {
    EXPECT_TRUE(repositories.at(name).is_repository) << name;
    EXPECT_EQ(repositories.at(name).error, "") << name;
    EXPECT_EQ(repositories.at(name).units, std::nullopt) << name;
  }
}

TEST_F(RepositoryTest, CompositeSkipsChildrenThatCannotBeLoaded) {
  write_file("one/content.xml", offer);
  write_archive("one.zip", {{"content.xml", other_offer}});
  write_file("damaged/content.xml", "<repository");
  std::filesystem::create_directories("empty");
  write_archive("in.zip", {{"compositeContent.xml", composite_of({"../one"})}});
  const std::string here = std::filesystem::current_path().string();
  // An archive needs "jar:", a full path "file:", and "%20" stays as it is.
  const std::vector<std::string> missing = {"../damaged", "../empty", "missing", "../one.zip", here + "/one", "../o%6Ee"};
  std::vector<std::string> children = missing;
  children.push_back("../one");
  write_file("all/compositeContent.xml", composite_of(children));
  EXPECT_EQ(repositories.at("all").missing_children, missing);
  EXPECT_EQ(repositories.at("all").units, units);
  EXPECT_EQ(repositories.at("all").error, "");
  EXPECT_EQ(repositories.at("in.zip").missing_children, std::vector<std::string>{"../one"});
}

TEST_F(RepositoryTest, AtomicCompositeIsLoadedWithAllChildrenOrNotAtAll) {
  write_file("one/content.xml", offer);
  const std::string properties =
      "<repository><properties><property name='p2.atomic.composite.loading' value='true'/></properties>";
  const auto atomic = [&](const std::string& child) {
    write_file("all/compositeContent.xml",
               properties + composite_of({"../one", child}).substr(std::string("<repository>").size()));
    return Repositories().at("all").error;
  };
  EXPECT_EQ(atomic("../one/"), "");
  EXPECT_EQ(atomic("../none"),
            "its child ../none cannot be loaded, and p2.atomic.composite.loading allows the composite only with all its "
            "children");
}

TEST_F(RepositoryTest, AbsoluteChildrenAreNamed) {
  const std::string here = std::filesystem::current_path().string();
  write_file("one/content.xml", offer);
  const std::vector<std::string> absolute = {"file:" + here + "/one", "jar:file:" + here + "/one.zip!/"};
  write_file("all/compositeContent.xml",
             composite_of({absolute[0], "../one", "file:../one", absolute[1], "http://example.org"}));
  EXPECT_EQ(repositories.at("all").absolute_children, absolute);
}

TEST_F(RepositoryTest, UnitsForOtherSystemsAreTold) {
  const std::map<std::string, bool> filters = {{"", false},
                                               {"(osgi.os=win32)", true},
                                               {"(&amp;(osgi.os=win32)(osgi.ws=win32))", true},
                                               {"(osgi.os=linux)", false},
                                               {"(|(osgi.os=linux)(osgi.os=macosx))", false},
                                               {"(!(osgi.os=win32))", false},
                                               {"(org.eclipse.update.install.features=true)", false}};
  for (const auto& [filter, is_for_other] : filters) {
    write_file("site/content.xml",
               "<repository><units><unit id='a' version='1'><filter>" + filter + "</filter></unit></units></repository>");
    Repositories afresh;
    EXPECT_EQ(afresh.at("site").descriptions.at({"a", "1"}).is_for_other_system, is_for_other) << filter;
  }
}

TEST_F(RepositoryTest, RequirementsByNameAreKept) {
  const std::string name = "<required namespace='org.eclipse.equinox.p2.iu' range='1' name=";
  write_file(
      "site/content.xml",
      "<repository><references/><units><unit id='a' version='1'><filter>\n (osgi.os=linux)\n</filter><properties>"
      "<property name='org.eclipse.equinox.p2.type.group' value='true'/></properties><provides>"
      "<provided namespace='osgi.bundle' name='a' version='1.0.0'/><provided namespace='osgi.bundle' name='b' version='2'/>"
      "<provided namespace='java.package' name='p' version='3'/></provides><changes><change><from>" +
          name + "'patched'/></from></change></changes><requires>" + name +
          "'there'><filter>\n (osgi.os=win32)\n</filter></required>" + name + "'perhaps' optional='true'/>" + name +
          "'installed' greedy='false'/>" + name + "'least' min='0'/>" + name + "'never' max='0' min='0'/>" +
          "<required namespace='osgi.bundle' name='bundle'/><required namespace='java.package' name='p'/>"
          "<required match='x'/></requires></unit></units></repository>");
  const Repository& site = repositories.at("site");
  const UnitDescription& a = site.descriptions.at({"a", "1"});
  EXPECT_TRUE(a.is_group);
  EXPECT_EQ(a.filter, "(osgi.os=linux)");
  const std::string unit = "org.eclipse.equinox.p2.iu";
  EXPECT_EQ(a.requirements, (std::vector<Requirement>{{unit, "there", "1", "(osgi.os=win32)", true},
                                                      {unit, "perhaps", "1", "", false},
                                                      {unit, "installed", "1", "", false},
                                                      {unit, "least", "1", "", false},
                                                      {"osgi.bundle", "bundle", "", "", true}}));
  EXPECT_EQ(a.further_capabilities, (std::vector<Capability>{{"osgi.bundle", "b", "2"}}));
  EXPECT_EQ(a.names_patched, std::set<std::string>{"patched"});
}

TEST_F(RepositoryTest, ChildrenThatOnlyTheContentHasAreKnown) {
  for (const std::string site : {"a", "b"}) write_file(site + "/content.xml", offer);
  for (const std::string site : {"a", "b"}) write_file(site + "/artifacts.xml", "<repository/>");
  write_file("all/compositeContent.xml", composite_of({"../a", "../b"}));
  write_file("all/compositeArtifacts.xml", composite_of({"../a"}));
  EXPECT_EQ(repositories.at("all").children_without_artifacts, std::set<std::string>{"../b"});
}

TEST_F(RepositoryTest, AnIndexCanExcludeTheListOfArtifacts) {
  write_file("site/content.xml", offer);
  write_file("site/artifacts.xml", "<repository/>");
  write_file("site/p2.index", "version=1\nartifact.repository.factory.order=artifacts.xml.xz,!\n");
  EXPECT_EQ(repositories.at("site").error, "p2.index excludes every list of artifacts that exists");
}

TEST_F(RepositoryTest, ActionsThatP2DoesNotHaveAreForeign) {
  const auto foreign_in = [](const std::string& instructions, const std::string& more = "") {
    write_file("site/content.xml", "<repository><units><unit id='a' version='1'>" + more + "<touchpointData><instructions>" +
                                       instructions + "</instructions></touchpointData></unit></units></repository>");
    return Repositories().at("site").descriptions.at({"a", "1"}).foreign_actions;
  };
  using Texts = std::set<std::string>;
  const std::string own =
      "<instruction key='install'>\n installBundle(bundle:${artifact}); org.acme.register(a:b;);x(y);</instruction>";
  EXPECT_EQ(foreign_in(own), (Texts{"install:org.acme.register", "install:x"}));
  EXPECT_EQ(foreign_in(own, "<metaRequirements/>"), Texts());
  EXPECT_EQ(foreign_in("<instruction key='uninstall' import='org.acme.x'>x(y)</instruction>"), Texts());
  EXPECT_EQ(foreign_in("<instruction key='manifest'>Bundle-Name: a (b);c (d)</instruction>"), Texts());
  EXPECT_EQ(foreign_in("<instruction key='configure'>org.eclipse.equinox.p2.touchpoint.natives.mkdir(path:a);"
                       "setStartLevel(startLevel:4);</instruction>"),
            Texts());
}

TEST_F(RepositoryTest, ActionsBelongToATouchpoint) {
  const auto foreign_for = [this](const std::string& touchpoint, const std::string& actions) {
    const std::string site = std::to_string(++count);
    write_file(site + "/content.xml", "<repository><units><unit id='a' version='1'><touchpoint id='org.eclipse.equinox.p2." +
                                          touchpoint +
                                          "' version='1.0.0'/><touchpointData><instructions><instruction "
                                          "key='install'>" +
                                          actions +
                                          "</instruction></instructions></touchpointData>"
                                          "</unit></units></repository>");
    return repositories.at(site).descriptions.begin()->second.foreign_actions;
  };
  using Actions = std::set<std::string>;
  EXPECT_EQ(foreign_for("osgi", "markStarted(started:true);mkdir(path:a);rmdir(path:a);chmod(a:b);ln(a:b);"), Actions());
  EXPECT_EQ(foreign_for("osgi", "unzip(a:b);copy(a:b);"), (Actions{"install:copy", "install:unzip"}));
  EXPECT_EQ(foreign_for("native", "unzip(a:b);copy(a:b);mkdir(path:a);"), Actions());
  EXPECT_EQ(foreign_for("native", "markStarted(started:true);"), Actions{"install:markStarted"});
}

TEST_F(RepositoryTest, ActionsOfBundlesInAFeatureAreKnown) {
  const auto unit = [](const std::string& id, const std::string& kind, const std::string& action) {
    return "<unit id='" + id + "' version='1'>" + kind + "<touchpointData><instructions><instruction key='configure'>" +
           action + "(a:b);addJvmArg(jvmArg:-Da=b);</instruction></instructions></touchpointData></unit>";
  };
  const std::string group = "<properties><property name='org.eclipse.equinox.p2.type.group' value='true'/></properties>";
  const std::string jar = "<provides><provided namespace='org.eclipse.update.feature' name='a' version='1'/></provides>";
  write_file("site/content.xml", "<repository><units>" + unit("group", group, "markStarted") +
                                     unit("jar", jar, "org.eclipse.equinox.p2.touchpoint.eclipse.setStartLevel") +
                                     unit("bundle", "", "markStarted") + "</units></repository>");
  const auto actions_of = [&](const std::string& id) {
    return repositories.at("site").descriptions.at({id, "1"}).bundle_actions;
  };
  using Actions = std::set<std::string>;
  EXPECT_EQ(actions_of("group"), Actions{"configure:markStarted"});
  EXPECT_EQ(actions_of("jar"), Actions{"configure:org.eclipse.equinox.p2.touchpoint.eclipse.setStartLevel"});
  EXPECT_EQ(actions_of("bundle"), Actions());
}

TEST_F(RepositoryTest, ChecksumsThatTheDirectorComparesAreKept) {
  write_file("site/content.xml", offer);
  const std::string jar = zipped({});
  write_file("site/plugins/a_1.jar", jar);
  write_file("site/artifacts.xml",
             "<repository><mappings><rule filter='(&amp; (classifier=osgi.bundle))' "
             "output='${repoUrl}/plugins/${id}_${version}.jar'/></mappings><artifacts>"
             "<artifact classifier='osgi.bundle' id='a' version='1'><properties>"
             "<property name='download.md5' value='00'/><property name='download.checksum.sha-256' value='01'/>"
             "<property name='download.checksum.sha-512' value=''/><property name='artifact.checksum.other' value='02'/>"
             "</properties></artifact></artifacts></repository>");
  const Repository& site = repositories.at("site");
  ASSERT_EQ(site.artifact_files.size(), 1U);
  const ArtifactFile& file = site.artifact_files.at("osgi.bundle,a,1");
  ASSERT_EQ(file.checksums.size(), 1U);
  EXPECT_EQ(file.checksums[0].hexadecimal, "01");
  EXPECT_EQ(checksum_error(file), "does not have the listed checksum: SHA-256 01, but " +
                                      eclipse_base::digest_of(jar, eclipse_base::Digest::sha_256));
}

std::string artifacts_with(const std::string& filter, const std::string& output) {
  return "<repository><mappings><rule filter='" + filter + "' output='" + output +
         "'/></mappings><artifacts><artifact classifier='osgi.bundle' id='a' version='1'/></artifacts></repository>";
}

TEST_F(RepositoryTest, NamesWithBackslashesInAnArchiveAreDamage) {
  write_archive("site.zip", {{"content.xml", offer},
                             {"artifacts.xml", artifacts_with("(classifier=osgi.bundle)", "${repoUrl}/plugins/${id}.jar")},
                             {"plugins\\a.jar", zipped({})}});
  EXPECT_EQ(repositories.at("site.zip").damaged_artifacts.size(), 1U);
  EXPECT_EQ(repositories.at("site.zip").missing_artifacts.size(), 0U);
}

TEST_F(RepositoryTest, ArtifactsAreWhereTheFirstMatchingRuleLeads) {
  const std::string absolute = std::filesystem::absolute("elsewhere").string();
  write_archive("elsewhere/a_1.jar", {});
  const std::vector<std::tuple<std::string, std::string, std::string, bool>> rules = {
      {"(classifier=osgi.bundle)", "${repoUrl}/bundles/${id}/${version}.jar", "bundles/a/1.jar", false},
      {"(&amp; (classifier=osgi.bundle) (id=a))", "${repoUrl}/../elsewhere/${id}_${version}.jar", "", true},
      {"(&amp;(classifier=osgi.bundle))", "file:" + absolute + "/${id}_${version}.jar", "", true},
      {"(classifier=osgi.bundle)", "file:///missing/a.jar", "/missing/a.jar", false},
      {"(&amp; (classifier=binary))", "${repoUrl}/bundles/${id}.jar", "", true},
      {"(classifier=osgi.*)", "${repoUrl}/bundles/${id}.jar", "", true},
      {"(classifier=*)", "${repoUrl}/bundles/${id}.jar", "bundles/a.jar", false},
      {"(&amp;(classifier=osgi.bundle)(format=packed))", "${repoUrl}/bundles/${id}.jar", "", true},
      {"(|(classifier=osgi.bundle)(format=packed))", "${repoUrl}/bundles/${id}.jar", "bundles/a.jar", false},
      {"(classifier=osgi.bundle)", "${repoUrl}/${format}/${id}.jar", "", true}};
  for (const auto& [filter, output, missing, is_there] : rules) {
    const std::string name = "site" + std::to_string(++count);
    write_file(name + "/content.xml", offer);
    write_file(name + "/artifacts.xml", artifacts_with(filter, output));
    const Repository& site = repositories.at(name);
    EXPECT_EQ(site.artifacts->count("osgi.bundle,a,1") != 0, is_there) << filter << output;
    EXPECT_EQ(site.missing_artifacts.empty() ? "" : site.missing_artifacts.begin()->second, missing) << filter << output;
    EXPECT_EQ(site.absolute_artifact, output.find(absolute) != output.npos ? absolute + "/a_1.jar" : "") << output;
  }
}

TEST_F(RepositoryTest, ArtifactsMayBeOnAnotherMachine) {
  write_file("site/content.xml", offer);
  write_file("site/artifacts.xml", artifacts_with("(classifier=osgi.bundle)", "https://example.org/${id}_${version}.jar"));
  write_file("all/compositeContent.xml", composite_of({"../site"}));
  write_file("all/compositeArtifacts.xml", composite_of({"../site"}));
  for (const std::string name : {"site", "all"}) {
    const Repository& site = repositories.at(name);
    EXPECT_EQ(site.artifacts_elsewhere.at("osgi.bundle,a,1"), "https://example.org/a_1.jar") << name;
    EXPECT_TRUE(site.artifacts->empty()) << name;
  }
  write_file("relative/content.xml", offer);
  write_file("relative/artifacts.xml", artifacts_with("(classifier=osgi.bundle)", "plugins/${id}.jar"));
  EXPECT_EQ(repositories.at("relative").artifacts_elsewhere.begin()->second, "plugins/a.jar");
}

/// What is ignored, each as "NAME for READ_INSTEAD".
std::vector<std::string> ignored_in(const Repository& site) {
  std::vector<std::string> ignored;
  for (const IgnoredMetadata& metadata : site.ignored_metadata)
    ignored.push_back(metadata.name + " for " + metadata.read_instead +
                      (metadata.child.empty() ? "" : " in " + metadata.child));
  return ignored;
}

TEST_F(RepositoryTest, MetadataBesideThatWhichIsReadIsIgnored) {
  using Texts = std::vector<std::string>;
  write_archive("one/content.jar", {{"content.xml", offer}});
  write_file("one/content.xml", other_offer);
  write_file("one/content.xml.xz", compressed_with_xz(other_offer));
  EXPECT_EQ(repositories.at("one").units, units);
  EXPECT_EQ(ignored_in(repositories.at("one")), (Texts{"content.xml for content.jar", "content.xml.xz for content.jar"}));
  write_archive("two/content.jar", {{"content.xml", other_offer}});
  write_file("two/content.xml.xz", compressed_with_xz(offer));
  write_file("two/p2.index", "version=1\nmetadata.repository.factory.order=content.xml.xz,!\n");
  EXPECT_EQ(repositories.at("two").units, units);
  EXPECT_EQ(ignored_in(repositories.at("two")), Texts{"content.jar for content.xml.xz"});
}

TEST_F(RepositoryTest, IgnoredMetadataOfChildrenIsNotedOnce) {
  write_archive("one/content.jar", {{"content.xml", offer}});
  write_file("one/content.xml", other_offer);
  write_file("all/compositeContent.xml", composite_of({"../one"}));
  write_file("all/compositeArtifacts.xml", composite_of({"../one"}));
  write_file("outer/compositeContent.xml", composite_of({"../all/"}));
  EXPECT_EQ(ignored_in(repositories.at("all")), std::vector<std::string>{"content.xml for content.jar in ../one"});
  EXPECT_EQ(ignored_in(repositories.at("outer")), std::vector<std::string>{"content.xml for content.jar in ../all/../one"});
}

TEST_F(RepositoryTest, MetadataThatSaysTheSameIsNotIgnored) {
  const std::string with_property =
      "<repository><properties><property name='p2.compressed' value='true'/></properties>\n"
      "<units>\n  <unit id='a.feature.group' version='1.0.0'/>\n</units></repository>";
  write_archive("site/content.jar", {{"content.xml", offer}});
  write_file("site/content.xml", with_property);
  write_file("site/content.xml.xz", compressed_with_xz(offer));
  EXPECT_EQ(ignored_in(repositories.at("site")), std::vector<std::string>());
}

TEST_F(RepositoryTest, SecondElementIsIgnored) {
  const std::string second = "<units><unit id='b.feature.group' version='2.0.0'/></units></repository>";
  write_file("site/content.xml", offer.substr(0, offer.find("</repository>")) + second);
  EXPECT_EQ(repositories.at("site").units, units);
  EXPECT_EQ(ignored_in(repositories.at("site")),
            std::vector<std::string>{"the second <units> in content.xml for the first one"});
}

TEST_F(RepositoryTest, ArchiveInAnArchiveIsNamed) {
  write_archive("site.zip", {{"site-1.0.zip", "PK"}});
  EXPECT_EQ(repositories.at("site.zip").inner_archive, "site-1.0.zip");
  write_archive("two.zip", {{"site-1.0.zip", "PK"}, {"site-2.0.zip", "PK"}});
  EXPECT_EQ(repositories.at("two.zip").inner_archive, "");
  write_archive("directory/docs.zip", {{"index.html", "a"}});
  EXPECT_EQ(repositories.at("directory").inner_archive, "");
  write_archive("other/site.zip", {{"content.xml", offer}});
  EXPECT_EQ(repositories.at("other").inner_archive, "site.zip");
}

TEST_F(RepositoryTest, ArtifactsThatOnlyPack200HasAreDamaged) {
  const std::string artifact = "<artifact classifier='osgi.bundle' id='a' version='1'>";
  const std::string packed =
      artifact + "<processing><step id='org.eclipse.equinox.p2.processing.Pack200Unpacker'/></processing></artifact>";
  const auto damaged_in = [](const std::string& artifacts) {
    write_file("site/artifacts.xml", "<repository><artifacts>" + artifacts + "</artifacts></repository>");
    return Repositories().at("site").damaged_artifacts.size();
  };
  write_file("site/content.xml", offer);
  EXPECT_EQ(damaged_in(packed), 1U);
  EXPECT_EQ(damaged_in(packed + artifact + "</artifact>"), 0U);
}

TEST_F(RepositoryTest, RootFilesAreArtifactsToo) {
  write_file("site/content.xml", offer);
  write_file("site/artifacts.xml",
             "<repository><mappings><rule filter='(&amp; (classifier=binary))' output='${repoUrl}/binary/${id}_${version}'/>"
             "</mappings><artifacts><artifact classifier='binary' id='a_root' version='1'/></artifacts></repository>");
  EXPECT_EQ(repositories.at("site").missing_artifacts,
            (std::map<std::string, std::string>{{"binary,a_root,1", "binary/a_root_1"}}));
}

TEST_F(RepositoryTest, ChildrenAreFoundWhereTheDirectorFindsThem) {
  write_file("one/content.xml", offer);
  write_file("my site/content.xml", offer);
  write_archive("one.zip", {{"content.xml", offer}, {"deep/content.xml", offer}});
  const std::string here = std::filesystem::current_path().string();
  for (const std::string& location :
       {std::string("../one"), std::string("../one/"), std::string("../my site"), std::string("file:../one"),
        "file:" + here + "/one", "file://" + here + "/one", "jar:file:" + here + "/one.zip!/",
        "jar:file://" + here + "/one.zip!/", "jar:file:" + here + "/one.zip!/deep", "jar:file:" + here + "/one.zip!/deep/"}) {
    write_file("all/compositeContent.xml", composite_of({location}));
    EXPECT_EQ(Repositories().at("all").units, units) << location;
  }
}

TEST_F(RepositoryTest, ChildrenElsewhereAreNotExamined) {
  write_file("one/content.xml", offer);
  for (const std::string location : {"https://example.org/site", "http://example.org", "ftp:x"}) {
    write_file("all/compositeContent.xml", composite_of({location, "../one"}));
    write_file("above/compositeContent.xml", composite_of({"../all"}));
    for (const std::string name : {"all", "above"}) {
      Repositories afresh;
      EXPECT_EQ(afresh.at(name).missing_children, std::vector<std::string>()) << location;
      EXPECT_EQ(afresh.at(name).units, std::nullopt) << location;
      EXPECT_EQ(afresh.at(name).unexamined_because, "its child " + location + " is not on this disk");
    }
  }
}

}  // namespace
