#include "dry_run/component_directories.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/file_error.h"
#include "base/text.h"
#include "fake_host/temporary_directory.h"
#include "standalone_host/plugin.h"

namespace {

using namespace eclipse_dry_run;
namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class ComponentDirectories : public testing::Test {
 protected:
  /// Each component, and then its files, as "COMPONENT", " LISTED SHOWN" or " LISTED SHOWN example".
  Texts found(const std::string& searched = ".") const {
    static const eclipse_host::Plugin plugin(ECLIPSE_INT_LIBRARY);
    static const PluginFunctions library(plugin);
    DescriptorFiles files;
    Texts texts;
    for (const ComponentDirectory& component : component_directories(library, files, searched)) {
      texts.push_back(eclipse_base::replaced(component.path.string(), directory.path(), "DIRECTORY"));
      for (const FoundFile& file : component.files) {
        texts.push_back(" " + file.listed + " " + file.shown + (file.is_example ? " example" : ""));
      }
    }
    return texts;
  }

  static void write(const std::string& component, const std::string& repository = "site") {
    fake::write_file(component + "/etc/eclipse/p.txt", repository + "\tf\n");
  }
  static void write_site(const std::string& place) { fake::write_file(place + "/content.xml", "<repository/>"); }

  const fake::TemporaryDirectory directory;
};

TEST_F(ComponentDirectories, HoldTheirDescriptors) {
  write("a");
  fake::write_file("a/readme", "");
  write("b/c");
  fake::write_file("b/readme", "");
  fs::create_directories("b/empty");
  EXPECT_EQ(found(), (Texts{"DIRECTORY", " b/empty ./b/empty", " b/readme ./b/readme", "DIRECTORY/a",
                            " etc/eclipse/p.txt ./a/etc/eclipse/p.txt", " readme ./a/readme", "DIRECTORY/b/c",
                            " etc/eclipse/p.txt ./b/c/etc/eclipse/p.txt"}));
  EXPECT_EQ(found("a"), (Texts{"DIRECTORY/a", " etc/eclipse/p.txt a/etc/eclipse/p.txt", " readme a/readme"}));
}

TEST_F(ComponentDirectories, AreTheNearestOnesWithASiteOfTheirDescriptors) {
  write("product/x/y");
  write_site("product/site");
  EXPECT_EQ(found(), (Texts{"DIRECTORY/product", " site/content.xml ./product/site/content.xml",
                            " x/y/etc/eclipse/p.txt ./product/x/y/etc/eclipse/p.txt"}));
  write_site("product/x/y/site");
  EXPECT_EQ(found().at(2), "DIRECTORY/product/x/y");
  EXPECT_EQ(found("product/x").front(), "DIRECTORY/product/x/y");
}

TEST_F(ComponentDirectories, OfADirectoryOfDescriptorsAreAroundIt) {
  write("a");
  fake::write_file("a/etc/eclipse/deep/q.txt", "site\tf\n");
  fake::write_file("a/readme", "");
  EXPECT_EQ(found("a/etc/eclipse"), (Texts{"DIRECTORY/a", " etc/eclipse/deep/q.txt a/etc/eclipse/deep/q.txt",
                                           " etc/eclipse/p.txt a/etc/eclipse/p.txt"}));
  EXPECT_EQ(found("a/etc/eclipse/deep"), (Texts{"DIRECTORY/a", " etc/eclipse/deep/q.txt a/etc/eclipse/deep/q.txt"}));
  EXPECT_EQ(found("a/etc").front(), "DIRECTORY/a");
  fs::remove_all("a/etc/eclipse/deep");
  fs::remove("a/etc/eclipse/p.txt");
  EXPECT_EQ(found("a/etc/eclipse"), (Texts{"DIRECTORY/a", " etc/eclipse a/etc/eclipse"})) << "an empty one";
}

TEST_F(ComponentDirectories, HaveExamplesThatCountOnlyAlone) {
  write("core");
  write("core/doc/sample");
  EXPECT_EQ(found(), (Texts{"DIRECTORY/core", " doc/sample/etc/eclipse/p.txt ./core/doc/sample/etc/eclipse/p.txt example",
                            " etc/eclipse/p.txt ./core/etc/eclipse/p.txt"}));
  fs::remove_all("core/etc");
  EXPECT_EQ(found(), (Texts{"DIRECTORY/core/doc/sample", " etc/eclipse/p.txt ./core/doc/sample/etc/eclipse/p.txt"}));
}

TEST_F(ComponentDirectories, MayBeCalledLikeExamples) {
  write("core");
  write("doc");
  const Texts core = {"DIRECTORY/core", " etc/eclipse/p.txt ./core/etc/eclipse/p.txt"};
  EXPECT_EQ(found(), (Texts{"DIRECTORY", " doc/etc/eclipse/p.txt ./doc/etc/eclipse/p.txt example", core[0], core[1]}));
  write_site("doc/site");
  EXPECT_EQ(found(), (Texts{core[0], core[1], "DIRECTORY/doc", " etc/eclipse/p.txt ./doc/etc/eclipse/p.txt",
                            " site/content.xml ./doc/site/content.xml"}))
      << "it has a repository";
}

TEST_F(ComponentDirectories, ThatCannotBeSearchedAreAnError) {
  try {
    found("missing");
    FAIL();
  } catch (const eclipse_base::FileError& error) {
    EXPECT_EQ(std::string(error.what()).substr(0, 9), "missing: ");
  }
}

}  // namespace
