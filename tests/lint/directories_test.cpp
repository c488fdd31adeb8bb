// Which components are found in a directory.
#include <gtest/gtest.h>

#include <filesystem>

#include "lint/samples.h"

using namespace eclipse_lint;
using namespace lint_test;
using fake::write_file;
using Texts = std::vector<std::string>;

namespace {

/// A component with the site "s", which offers a feature of its own.
void write_component(const std::string& directory, const std::string& feature, const std::string& descriptor) {
  write_file(directory + "/etc/eclipse/t", descriptor);
  write_file(directory + "/s/content.xml",
             "<repository><units><unit id='" + feature + ".feature.group' version='1.0.0'/></units></repository>");
}

Texts found_in(const std::string& directory) { return summary_of(findings_in(directory)); }

class Directories : public testing::Test {
 protected:
  Directories() {
    write_component("product/one", "x.a", "s\tx.a.feature.group\t\t1\n");
    write_component("product/more/two", "x.b", "s\tx.b.feature.group\t\t1\n");
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(Directories, EachComponentInOneIsCheckedByItself) {
  for (const std::string product : {"product", "product/", "./product", ".", "product/more", "product/more/.."}) {
    EXPECT_EQ(found_in(product), Texts()) << product;
  }
  write_component("product/more/two", "x.b", "s\tx.b\nsites\tx.b.feature.group\n");
  EXPECT_EQ(found_in("product"), Texts({"product/more/two/etc/eclipse/t:1:3+3 feature-without-group-suffix",
                                        "product/more/two/etc/eclipse/t:2:1+5 repository-missing"}));
}

TEST_F(Directories, DirectoryInAnEtcEclipseGivesItsDescriptors) {
  write_file("product/one/etc/eclipse/sub/u", "s\tx.a\n");
  for (const std::string part : {"product/one/etc/eclipse/sub", "product/one/etc/eclipse", "product/one/etc", "product/one"}) {
    const std::string shown = std::string("product/one/etc/eclipse/sub/u").substr(part.size());
    EXPECT_EQ(found_in(part), Texts({part + shown + ":1:3+3 feature-without-group-suffix"})) << part;
  }
  write_file("product/one/etc/eclipse/sub/u", "sites\tx.a.feature.group\n");
  EXPECT_EQ(found_in("product/one/etc/eclipse/sub"), Texts({"product/one/etc/eclipse/sub/u:1:1+5 repository-missing"}));
}

TEST_F(Directories, ALineFeedInTheirNamesIsAShellMetacharacter) {
  write_component("pro\nduct", "x.a", "s\tx.a.feature.group\n");
  EXPECT_EQ(found_in("pro\nduct"), Texts({"pro\nduct/etc/eclipse/t:1:1+1 repository-needs-shell-quoting"}));
}

TEST_F(Directories, OneThatLiesInSomeEtcEclipseMayHoldComponents) {
  std::filesystem::create_directories("etc/eclipse");
  std::filesystem::rename("product", "etc/eclipse/product");
  EXPECT_EQ(found_in("etc/eclipse/product"), Texts());
}

TEST_F(Directories, ComponentReachesAsFarAsItsSites) {
  write_file("product/one/share/etc/eclipse/t", "s\tx.a.feature.group\n");
  EXPECT_EQ(found_in("product"), Texts({"product/one/etc/eclipse/t:1:22+1 feature-order-conflict"}));
  std::filesystem::remove_all("product/one/etc");
  EXPECT_EQ(found_in("product"), Texts());
  EXPECT_EQ(found_in("product/one"), Texts());
  EXPECT_EQ(found_in("product/one/share/etc/eclipse"), Texts());
  EXPECT_EQ(found_in("product/one/share"), Texts({"product/one/share/etc/eclipse/t:1:1+1 repository-missing"}));
}

TEST_F(Directories, ComponentWithoutAnySiteIsTheDirectoryThatHoldsEtcEclipse) {
  std::filesystem::remove_all("product/one/s");
  const Findings findings = findings_in("product");
  ASSERT_EQ(summary_of(findings), Texts({"product/one/etc/eclipse/t:1:1+1 repository-missing"}));
  EXPECT_EQ(findings[0].message, "repository does not exist: " + directory.path() + "/product/one/s");
}

TEST_F(Directories, ComponentsMayCountOnTheSitesOfOthers) {
  write_component("product/one", "x.a", "s\tx.a.feature.group\ns\tx.b.feature.group\n");
  EXPECT_EQ(found_in("product"), Texts());
  EXPECT_EQ(found_in("product/one"), Texts({"product/one/etc/eclipse/t:2:3+17 feature-not-found"}));
  write_component("product/one", "x.a", "s\tx.c.feature.group\n");
  write_component("product/more/two", "x.b", "s\tx.d.feature.group\n");
  EXPECT_EQ(found_in("product"), Texts({"product/more/two/etc/eclipse/t:1:3+17 feature-not-found",
                                        "product/one/etc/eclipse/t:1:3+17 feature-not-found"}));
}

TEST_F(Directories, WhatLooksLikeADescriptorIsFoundBesideTheComponents) {
  write_file("product/three/etc/Eclipse/t", "Repository\tFeature\n");
  write_file("product/one/s/etc/Eclipse/t", "Repository\tFeature\n");
  EXPECT_EQ(found_in("product"), Texts({"product/one/s/etc/Eclipse/t descriptor-outside-etc-eclipse",
                                        "product/three/etc/Eclipse/t descriptor-outside-etc-eclipse"}));
}

TEST_F(Directories, DescriptorsAmongExamplesAreOnlyMentioned) {
  write_file("product/one/doc/sample.txt", "Repository\tFeature\nsites/mine\tx.mine.feature.group\n");
  write_file("product/one/examples/demo/etc/eclipse/t", "sites/mine\tx.mine\n");
  write_file("product/docs/demo/etc/eclipse/t", "sites/mine\tx.mine\n");
  EXPECT_EQ(found_in("product"), Texts({"product/docs/demo/etc/eclipse/t example-is-descriptor",
                                        "product/one/examples/demo/etc/eclipse/t example-is-descriptor"}));
  EXPECT_EQ(found_in("product/one"), Texts({"product/one/examples/demo/etc/eclipse/t example-is-descriptor"}));
  EXPECT_EQ(findings_in("product/one")[0].severity, Severity::note);
}

TEST_F(Directories, DescriptorsAmongExamplesAreCheckedWhereThereAreNoOthers) {
  write_file("examples/three/etc/eclipse/t", "s\tx.a.feature.group\n");
  for (const std::string examples : {"examples", "examples/three"}) {
    EXPECT_EQ(found_in(examples), Texts({"examples/three/etc/eclipse/t:1:1+1 repository-missing"})) << examples;
  }
}

TEST_F(Directories, ComponentMayBeCalledLikeDocumentation) {
  write_component("product/doc", "x.doc", "s\tx.doc\n");
  EXPECT_EQ(found_in("product"), Texts({"product/doc/etc/eclipse/t:1:3+5 feature-without-group-suffix"}));
  EXPECT_EQ(found_in("."), Texts({"./product/doc/etc/eclipse/t:1:3+5 feature-without-group-suffix"}));
  // Also if its descriptor is wrong altogether.
  write_component("product/doc", "x.doc", "s x.doc\n");
  EXPECT_EQ(found_in("product"), Texts({"product/doc/etc/eclipse/t descriptor-without-data"}));
  // Without a repository, it is an example.
  std::filesystem::remove_all("product/doc/s");
  EXPECT_EQ(found_in("product"), Texts({"product/doc/etc/eclipse/t example-is-descriptor"}));
  std::filesystem::remove_all("product/doc");
  // In a component, or elsewhere than the components, it is an example, too.
  write_component("product/one/sub", "x.sub", "s\tx.sub.feature.group\n");
  for (const std::string examples : {"product/one/doc", "product/samples/doc", "examples"}) {
    write_component(examples, "x.doc", "s\tx.doc\n");
    EXPECT_EQ(found_in("."), Texts({"./" + examples + "/etc/eclipse/t example-is-descriptor"})) << examples;
    std::filesystem::remove_all(examples);
  }
}

TEST_F(Directories, DescriptorMayBeALinkToAFileOfNoComponent) {
  write_file("product/shared/t", "Repository\tFeature\ns\tx.a.feature.group\n");
  EXPECT_EQ(found_in("product"), Texts({"product/shared/t descriptor-outside-etc-eclipse"}));
  std::filesystem::remove("product/one/etc/eclipse/t");
  std::filesystem::create_symlink("../../../shared/t", "product/one/etc/eclipse/t");
  EXPECT_EQ(found_in("product"), Texts());
  std::filesystem::rename("product/one/etc/eclipse/t", "product/one/etc/eclipse/u");
  write_file("product/one/etc/eclipse/t", "s\tx.a.feature.group\n");
  EXPECT_EQ(found_in("product"), Texts());
}

TEST_F(Directories, ExamplesInAnEtcEclipseAreDescriptors) {
  write_file("product/one/etc/eclipse/examples/t", "t\tx.c.feature.group\t\t2\n");
  EXPECT_EQ(found_in("product/one"), Texts({"product/one/etc/eclipse/examples/t:1:1+1 repository-missing"}));
}

TEST_F(Directories, RepositoriesOfOtherComponentsAreNoted) {
  write_file("product/one/etc/eclipse/t", "../more/two/s\tx.b.feature.group\n");
  const Texts outside = {"product/one/etc/eclipse/t:1:1+13 repository-outside-component"};
  ASSERT_EQ(found_in("product"), outside);
  const Finding noted = findings_in("product")[0];
  EXPECT_EQ(noted.severity, Severity::note);
  EXPECT_EQ(noted.message, "\"../more/two/s\" is outside of the component's directory, in that of another component, " +
                               directory.path() + "/product/more/two");
  write_file("product/more/two/etc/eclipse/t", "../../one/s\tx.a.feature.group\n");
  EXPECT_EQ(findings_in("product")[0].message,
            "\"../../one/s\" is outside of the component's directory, in that of another component, " + directory.path() +
                "/product/one");
  ASSERT_EQ(found_in("product/one"), outside);
  EXPECT_EQ(findings_in("product/one")[0].severity, Severity::warning);
  EXPECT_EQ(found_in("product/one/etc/eclipse/t"), outside);
  write_file("product/one/etc/eclipse/t", "../one/s\tx.a.feature.group\nup/../s\tx.a.feature.group\t\t1\n../lost\tx.b\n");
  EXPECT_EQ(findings_in("product/one")[0].fix, "write \"s\"");
  EXPECT_EQ(findings_in("product/one")[0].severity, Severity::warning);
}

TEST_F(Directories, LinksThatLeadOutOfAComponentAreReported) {
  std::filesystem::rename("product/one/s", "built");
  std::filesystem::create_directory_symlink(directory.path() + "/built", "product/one/s");
  ASSERT_EQ(found_in("product"), Texts({"product/one/etc/eclipse/t:1:1+1 repository-outside-component"}));
  EXPECT_EQ(findings_in("product")[0].message,
            "\"s\" is outside of the component's directory: a symbolic link leads to " + directory.path() + "/built");
  std::filesystem::remove("product/one/s");
  std::filesystem::rename("built", "product/one/v1");
  std::filesystem::create_directory_symlink("v1", "product/one/s");
  EXPECT_EQ(found_in("product"), Texts());
}

TEST_F(Directories, AbsoluteChildrenOfACompositeAreReported) {
  write_file("product/one/all/compositeContent.xml",
             "<repository><children><child location='file:" + directory.path() + "/product/one/s'/></children></repository>");
  write_file("product/one/etc/eclipse/t", "all\tx.a.feature.group\n");
  EXPECT_EQ(found_in("product"), Texts({"product/one/etc/eclipse/t:1:1+3 repository-outside-component"}));
}

TEST_F(Directories, HiddenFilesWithoutDataAreOnlyNoted) {
  write_file("product/one/etc/eclipse/.gitkeep", "");
  write_file("product/one/etc/eclipse/.DS_Store", std::string("\0\0\0\1Bud1", 8));
  for (const Finding& finding : findings_in("product")) {
    EXPECT_EQ(finding.rule->name, "not-a-descriptor");
    EXPECT_EQ(finding.severity, Severity::note);
  }
  EXPECT_EQ(found_in("product").size(), 2U);
}

TEST_F(Directories, EmptyOneHasNothingToSayOf) {
  std::filesystem::create_directories("empty/etc/eclipse");
  for (const std::string empty : {"empty", "empty/etc", "empty/etc/eclipse"}) EXPECT_EQ(found_in(empty), Texts()) << empty;
}

}  // namespace
