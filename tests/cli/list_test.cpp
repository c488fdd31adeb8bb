// list: what repositories provide, as a person and as a program see it.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "base/packing.h"
#include "cli/child_command.h"

using fake::write_file;
using nlohmann::json;

namespace cli_test {

namespace {

const std::string metadata =
    "<repository><units>"
    "<unit id='org.example.alpha.feature.group' version='1.0.0'><properties>"
    "<property name='df_LT.name' value='Alpha'/><property name='org.eclipse.equinox.p2.name' "
    "value='%name'/></properties></unit>"
    "<unit id='org.example.alpha.feature.group' version='2.0.0'/>"
    "<unit id='org.example.beta.feature.group' version='1.0.0'/>"
    "<unit id='org.example.plugin' version='1.0.0'/>"
    "<unit id='main' version='0'><properties><property name='org.eclipse.equinox.p2.name' value='Main tools'/>"
    "<property name='org.eclipse.equinox.p2.type.category' value='true'/></properties><requires>"
    "<required namespace='org.eclipse.equinox.p2.iu' name='org.example.alpha.feature.group'/></requires></unit>"
    "<unit id='more' version='0'><properties><property name='org.eclipse.equinox.p2.type.category' value='true'/></properties>"
    "<requires><required namespace='org.eclipse.equinox.p2.iu' name='org.example.alpha.feature.group'/></requires></unit>"
    "</units></repository>";

class List : public ChildCommand {
 protected:
  List() {
    write_file("site/content.xml", metadata);
    write_file("bundles.zip", base_test::zipped({{"content.xml", "<repository><units><unit id='b'/></units></repository>"}}));
    write_file("all/compositeContent.xml",
               "<repository><children><child location='../site'/><child location='missing'/>"
               "<child location='https://example.org/site'/></children></repository>");
  }
};

TEST_F(List, ShowsTheFeaturesOfEachRepository) {
  EXPECT_EQ(eclipse_int("list site bundles.zip"),
            (Outcome{0,
                     "site\n"
                     "  FEATURE                          VERSION  NAME   CATEGORIES\n"
                     "  org.example.alpha.feature.group  1.0.0    Alpha  Main tools, more\n"
                     "  org.example.alpha.feature.group  2.0.0           Main tools, more\n"
                     "  org.example.beta.feature.group   1.0.0\n"
                     "\n"
                     "bundles.zip has no features\n",
                     ""}));
}

TEST_F(List, ShowsEveryUnitWhenAsked) {
  EXPECT_EQ(eclipse_int("list --all site").output,
            "site\n"
            "  UNIT                             VERSION  KIND      NAME        CATEGORIES\n"
            "  main                             0        category  Main tools\n"
            "  more                             0        category\n"
            "  org.example.alpha.feature.group  1.0.0    feature   Alpha       Main tools, more\n"
            "  org.example.alpha.feature.group  2.0.0    feature               Main tools, more\n"
            "  org.example.beta.feature.group   1.0.0    feature\n"
            "  org.example.plugin               1.0.0    other\n");
}

TEST_F(List, WarnsOfWhatItCannotShow) {
  const Outcome list = eclipse_int("list all");
  EXPECT_EQ(list.status, 0);
  EXPECT_EQ(list.error,
            "eclipse-int: warning: all: it may have more units: its child https://example.org/site is not on this disk\n"
            "eclipse-int: warning: all: the director skips these children, which do not exist or cannot be loaded: missing\n");
  EXPECT_NE(list.output.find("org.example.beta.feature.group"), std::string::npos);
}

TEST_F(List, PrintsOneDocumentForPrograms) {
  const json alpha = {{"id", "org.example.alpha.feature.group"},
                      {"version", "1.0.0"},
                      {"kind", "feature"},
                      {"name", "Alpha"},
                      {"categories", {"main", "more"}}};
  const json all = json::parse(eclipse_int("list --json all bundles.zip").output).at("repositories");
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0].at("units")[0], alpha);
  EXPECT_EQ(all[0].at("units").size(), 3U);
  EXPECT_EQ(all[0].at("kind"), "composite");
  EXPECT_EQ(all[0].at("complete"), false);
  EXPECT_EQ(all[0].at("unexaminedBecause"), "its child https://example.org/site is not on this disk");
  EXPECT_EQ(all[0].at("missingChildren"), json({"missing"}));
  EXPECT_EQ(all[1], json({{"path", "bundles.zip"},
                          {"kind", "archive"},
                          {"complete", true},
                          {"unexaminedBecause", ""},
                          {"missingChildren", json::array()},
                          {"units", json::array()}}));
}

TEST_F(List, NamesWhatIsNoRepositoryAndShowsTheRest) {
  write_file("plain/readme", "");
  write_file("product/repository/content.xml", metadata);
  write_file("broken/content.xml", "<repository>");
  const Outcome list = eclipse_int("list missing plain product broken bundles.zip");
  EXPECT_EQ(list.status, 2);
  EXPECT_EQ(list.output, "bundles.zip has no features\n");
  EXPECT_EQ(list.error,
            "eclipse-int: missing: does not exist; correct the path\n"
            "eclipse-int: plain: is not a p2 repository; give a directory or archive with p2 metadata at its top\n"
            "eclipse-int: product: has its p2 metadata in \"repository/\", not at its top; give that directory\n"
            "eclipse-int: broken: no director can load it: content.xml is not well-formed XML\n");
}

}  // namespace

}  // namespace cli_test
