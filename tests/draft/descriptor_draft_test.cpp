#include "draft/descriptor_draft.h"

#include <gtest/gtest.h>

#include <utility>

#include "base/file_error.h"
#include "base/packing.h"
#include "fake_host/temporary_directory.h"

using namespace eclipse_draft;
using base_test::zipped;
using fake::write_file;

namespace {

using Texts = std::vector<std::string>;

std::string unit(const std::string& id, const std::string& version) {
  return "<unit id='" + id + "' version='" + version + "'/>";
}

std::string category_of(const std::string& id) {
  return "<unit id='main' version='1'><properties><property name='org.eclipse.equinox.p2.type.category' "
         "value='true'/></properties>"
         "<requires><required namespace='org.eclipse.equinox.p2.iu' name='" +
         id + "'/></requires></unit>";
}

std::string metadata(const std::string& units) { return "<repository><units>" + units + "</units></repository>"; }

class Draft : public testing::Test {
 protected:
  DescriptorDraft draft(OfferedFeatures offered = OfferedFeatures::in_categories) const {
    eclipse_p2::Repositories repositories;
    return draft_descriptor(repositories, "tools", offered);
  }

  std::string error() const {
    try {
      return "no error, but " + draft().text;
    } catch (const eclipse_base::FileError& error) {
      return error.what();
    }
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(Draft, NamesEachFeatureWithItsRepository) {
  write_file("tools/sites/b/content.xml", metadata(unit("a.plugin", "1") + unit("b.one.feature.group", "1")));
  write_file("tools/sites/a.zip",
             zipped({{"content.xml", metadata(unit("a.two.feature.group", "1") + unit("a.one.feature.group", "1"))}}));
  write_file("tools/doc/manual.zip", zipped({{"index.html", ""}}));
  write_file("tools/doc/sites.txt", "");
  EXPECT_EQ(draft().text,
            "Repository\tFeature\n"
            "sites/a.zip\ta.one.feature.group\n"
            "sites/a.zip\ta.two.feature.group\n"
            "sites/b\tb.one.feature.group\n");
  EXPECT_EQ(draft().notes, Texts());
}

TEST_F(Draft, TakesTheFeaturesInCategoriesIfThereAreAny) {
  const std::string units = unit("a.feature.group", "1") + unit("a.source.feature.group", "1");
  write_file("tools/site/content.xml", metadata(units + category_of("a.feature.group")));
  write_file("tools/plain/content.xml", metadata(unit("b.feature.group", "1") + category_of("b.plugin")));
  EXPECT_EQ(draft().text, "Repository\tFeature\nplain\tb.feature.group\nsite\ta.feature.group\n");
  EXPECT_EQ(draft(OfferedFeatures::all).text,
            "Repository\tFeature\nplain\tb.feature.group\nsite\ta.feature.group\nsite\ta.source.feature.group\n");
}

TEST_F(Draft, TakesTheHighestVersionOfAFeature) {
  write_file("tools/sites/1/content.xml", metadata(unit("a.feature.group", "1.10.0") + unit("b.feature.group", "1.0.0")));
  write_file("tools/sites/2/content.xml", metadata(unit("a.feature.group", "1.9.0") + unit("b.feature.group", "1.1.0")));
  EXPECT_EQ(draft().text, "Repository\tFeature\nsites/1\ta.feature.group\nsites/2\tb.feature.group\n");
}

TEST_F(Draft, TakesEachFeatureOfAHigherVersion) {
  const auto site = [](const std::string& version) {
    return metadata(unit("a.feature.group", version) + unit("b.feature.group", version) + unit("c.feature.group", version));
  };
  write_file("tools/1/content.xml", site("1"));
  write_file("tools/2/content.xml", site("2"));
  EXPECT_EQ(draft().text, "Repository\tFeature\n2\ta.feature.group\n2\tb.feature.group\n2\tc.feature.group\n");
}

TEST_F(Draft, NamesACompositeInsteadOfItsChildren) {
  write_file("tools/sites/a/content.xml", metadata(unit("a.feature.group", "1")));
  write_file("tools/sites/all/compositeContent.xml",
             "<repository><children><child location='../a'/><child location='inner'/></children></repository>");
  write_file("tools/sites/all/inner/content.xml", metadata(unit("b.feature.group", "1")));
  EXPECT_EQ(draft().text, "Repository\tFeature\nsites/all\ta.feature.group\nsites/all\tb.feature.group\n");
  EXPECT_EQ(draft().notes, Texts{"sites/a was left out: another repository has its features, too"});
}

TEST_F(Draft, NamesARepositoryWithWhatFeaturesRequireUnlessACompositeHasIt) {
  write_file("tools/a/content.xml", metadata(unit("a.feature.group", "1")));
  write_file("tools/lib/content.xml", metadata(unit("b.plugin", "1")));
  EXPECT_EQ(draft().text, "Repository\tFeature\na\ta.feature.group\nlib\t\t\n");
  EXPECT_EQ(draft().notes, Texts{});
  write_file("tools/all/compositeContent.xml",
             "<repository><children><child location='../a'/><child location='../lib'/></children></repository>");
  EXPECT_EQ(draft().text, "Repository\tFeature\nall\ta.feature.group\n");
  EXPECT_EQ(draft().notes,
            (Texts{"a was left out: another repository has its features, too", "lib was left out: it has no features"}));
}

TEST_F(Draft, SaysWhatItLeftOut) {
  write_file("tools/a/content.xml", metadata(unit("a.feature.group", "1")));
  write_file("tools/b/content.xml", metadata(""));
  write_file("tools/c/content.xml", "<repository>");
  write_file("tools/d\t.zip", "no archive");
  write_file("tools/e/compositeContent.xml",
             "<repository><children><child location='../a'/><child location='http://example.org/x'/></children></repository>");
  EXPECT_EQ(draft().text, "Repository\tFeature\ne\ta.feature.group\n");
  EXPECT_EQ(draft().notes,
            (Texts{"a was left out: another repository has its features, too", "b was left out: it has no features",
                   "c was left out: content.xml is not well-formed XML", "d\\t.zip was left out: it is not a zip archive",
                   "more features may be in e: its child http://example.org/x is not on this disk"}));
}

TEST_F(Draft, NeedsFeatures) {
  EXPECT_EQ(error(), "tools: cannot be searched: No such file or directory; make it and the directories in it readable");
  write_file("tools/readme", "");
  EXPECT_EQ(error(), "tools: has no p2 repository below it; put a repository of the component there");
  write_file("tools/site/content.xml", metadata(unit("b.plugin", "1")));
  EXPECT_EQ(error(), "tools: has no features below it; put a repository with features there");
  write_file("tools/site/content.xml", metadata(""));
  EXPECT_EQ(error(), "tools: has no features below it: site was left out: it has no features");
  write_file("tools/content.xml", metadata(unit("b.feature.group", "1")));
  EXPECT_EQ(error(), "tools: is a p2 repository; give the directory of the component that contains it");
}

TEST_F(Draft, RefusesWhatNoDescriptorCanName) {
  for (const auto& [name, shown, problem] : {std::tuple("a\tb", "a\\tb", "a tab or a line end"),
                                             {"a\nb.zip", "a\\nb.zip", "a tab or a line end"},
                                             {"a\rb", "a\\rb", "a tab or a line end"},
                                             {"a b", "a b", "a space or a shell metacharacter"},
                                             {"a$b.zip", "a$b.zip", "a space or a shell metacharacter"}}) {
    const fake::TemporaryDirectory own;
    const std::string site = metadata(unit("a.feature.group", "1"));
    if (std::string(name).ends_with(".zip")) {
      write_file(std::string("tools/") + name, zipped({{"content.xml", site}}));
    } else {
      write_file(std::string("tools/") + name + "/content.xml", site);
    }
    EXPECT_EQ(error(), std::string("tools: the path \"") + shown + "\" contains " + problem + "; rename it");
  }
  write_file("tools/a b.zip", zipped({{"content.xml", metadata(unit("a.feature.group", "1"))}}));
  EXPECT_EQ(draft().text, "Repository\tFeature\na b.zip\ta.feature.group\n");
  write_file("tools/site/content.xml", metadata(unit("a.feature.group", "2") + unit("x;y.feature.group", "1")));
  EXPECT_EQ(error(), "tools/site: the id \"x;y.feature.group\" contains a space or a shell metacharacter; rename it");
}

}  // namespace
