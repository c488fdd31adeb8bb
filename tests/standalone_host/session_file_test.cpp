#include "standalone_host/session_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "fake_host/not_administrator.h"
#include "fake_host/temporary_directory.h"

namespace {

using eclipse_base::FileError;
using eclipse_host::CatalogueComponent;
using eclipse_host::read_session_file;
using eclipse_host::Session;
using Names = std::vector<std::string>;

std::string error_of(const std::string& text) {
  fake::write_file("s.json", text);
  Session session;
  try {
    read_session_file("s.json", session);
  } catch (const FileError& error) {
    return error.what();
  }
  return "read";
}

/// A session with one component that has these members as well.
std::string with_component(const std::string& members) {
  return R"({"mode": "install", "components": [{"code": "a", "installBase": "b", "installDir": "c")" +
         (members.empty() ? "" : ", " + members) + "}]}";
}

class SessionFile : public testing::Test {
 protected:
  const fake::TemporaryDirectory directory;

  void read(const std::string& text) {
    fake::write_file("products/s.json", text);
    read_session_file("products/s.json", session);
  }
  const CatalogueComponent& component(std::size_t index) const { return *session.components.at(index); }

  Session session;
};

TEST_F(SessionFile, FillsTheSession) {
  fake::write_file("products/repo/x", "");
  read(R"(// A session with everything in it.
    {
      "$schema": "session.schema.json",
      "mode": "modify",
      "graphical": true, /* a window */
      "variables": {"A": "", "ECLIPSE_BIN": "./b//../\u00e4\n\\", "a b": "${A}"},
      "components": [
        {
          "code": "org.example.ide", "installBase": "opt/./x/../y/", "installDir": "./ide/",
          "capabilities": ["ECLIPSE_IDE", "A"], "install": true, "remove": true, "installed": true,
          "package": {"root": "repo", "prefix": "p/./q", "files": ["b\\c\r\n", "", "a//b"]}
        },
        {"code": "org.example.tools", "installBase": "/opt//tools/", "installDir": "t", "capabilities": ["B"]}
      ]
    })");
  EXPECT_EQ(session.variables,
            (std::map<std::string, std::string>{
                {"A", ""}, {"ECLIPSE_BIN", "./b//../\xC3\xA4\n\\"}, {"KORU_MODE", "modify"}, {"a b", "${A}"}}));
  EXPECT_TRUE(session.graphical);
  ASSERT_EQ(session.components.size(), 2U);
  EXPECT_EQ(component(0).code, "org.example.ide");
  EXPECT_EQ(component(0).installBase, directory.path() + "/products/opt/y");
  EXPECT_EQ(component(0).installDir, "./ide/");
  EXPECT_TRUE(component(0).selected_for_install);
  EXPECT_TRUE(component(0).selected_for_removal);
  EXPECT_TRUE(component(0).installed);
  ASSERT_TRUE(component(0).package);
  EXPECT_EQ(component(0).package->root, directory.path() + "/products/repo");
  EXPECT_EQ(component(0).package->prefix, "p/./q");
  EXPECT_EQ(component(0).package->files, (Names{"b\\c\r\n", "", "a//b"}));
  EXPECT_EQ(component(1).installBase, "/opt/tools");
  EXPECT_FALSE(component(1).selected_for_install);
  EXPECT_FALSE(component(1).selected_for_removal);
  EXPECT_FALSE(component(1).installed);
  EXPECT_FALSE(component(1).package);
  EXPECT_EQ(session.capabilities, (std::map<std::string, Component*>{{"A", session.components[0].get()},
                                                                     {"B", session.components[1].get()},
                                                                     {"ECLIPSE_IDE", session.components[0].get()}}));
}

TEST_F(SessionFile, MayHoldNothingButAMode) {
  read(R"({"mode": "uninstall", "components": []})");
  EXPECT_EQ(session.variables, (std::map<std::string, std::string>{{"KORU_MODE", "uninstall"}}));
  EXPECT_FALSE(session.graphical);
  EXPECT_TRUE(session.components.empty());
  EXPECT_EQ(session.capabilities, (std::map<std::string, Component*>()));
}

TEST_F(SessionFile, TakesPackagesFromItsOwnDirectoryAndTheComponentsDirectory) {
  read(with_component(R"("package": {"files": []})"));
  ASSERT_TRUE(component(0).package);
  EXPECT_EQ(component(0).package->root, directory.path() + "/products");
  EXPECT_EQ(component(0).package->prefix, directory.path() + "/products/b/c");
}

TEST_F(SessionFile, LeavesAnEmptyInstallBaseEmpty) {
  read(R"({"mode": "install", "components": [
    {"code": "", "installBase": "", "installDir": "ide", "package": {"files": []}},
    {"code": "", "installBase": ".", "installDir": ""}
  ]})");
  EXPECT_EQ(component(0).installBase, "");
  EXPECT_EQ(component(0).package->prefix, "/ide");
  EXPECT_EQ(component(1).installBase, directory.path() + "/products");
}

TEST_F(SessionFile, ListsTheRegularFilesOfAScannedDirectoryByTheirBytes) {
  for (const char* file : {"b/x", "b.x", "B", "\xC3\xA4", "etc/eclipse/f.txt", "a\\b"}) {
    fake::write_file(std::string("products/files/") + file, "");
  }
  std::filesystem::create_directory("products/files/empty");
  std::filesystem::create_symlink("B", "products/files/link");
  std::filesystem::create_symlink("missing", "products/files/broken");
  std::filesystem::create_symlink("circle", "products/files/circle");
  std::filesystem::create_symlink(std::string(300, 'x'), "products/files/etc/long");
  std::filesystem::create_directory_symlink("etc", "products/files/directory-link");
  read(with_component(R"("package": {"scan": "./files/"})"));
  EXPECT_EQ(component(0).package->files, (Names{"B", "a\\b", "b.x", "b/x", "etc/eclipse/f.txt", "link", "\xC3\xA4"}));
}

struct Error {
  std::string text;
  std::string message;  ///< with DIRECTORY for the session file's directory
};

class SessionFileError : public testing::TestWithParam<Error> {};

TEST_P(SessionFileError, IsReported) {
  const fake::TemporaryDirectory directory;
  fake::write_file("file", "");
  std::string expected = GetParam().message;
  const std::size_t mark = expected.find("DIRECTORY");
  if (mark != std::string::npos) expected.replace(mark, std::string_view("DIRECTORY").size(), directory.path());
  EXPECT_EQ(error_of(GetParam().text), expected);
}

const std::string known_keys = R"("$schema", "mode", "graphical", "variables", "components")";

INSTANTIATE_TEST_SUITE_P(
    SessionFile, SessionFileError,
    testing::Values(
        Error{"[]", "s.json:1:1: document: expected an object, found an array; write it in { }"},
        Error{"{\"mode\": \"install\"}", "s.json:1:1: document: the key \"components\" is missing; add it"},
        Error{"\n {\"components\": []}", "s.json:2:2: document: the key \"mode\" is missing; add it"},
        Error{"{\"Mode\": \"install\", \"components\": []}", "s.json:1:2: Mode: unknown key; did you mean \"mode\"?"},
        Error{"{\"varables\": {}, \"mode\": \"install\", \"components\": []}",
              "s.json:1:2: varables: unknown key; did you mean \"variables\"?"},
        Error{"{\"zebra\": 1, \"mode\": \"install\", \"components\": []}",
              "s.json:1:2: zebra: unknown key; known here: " + known_keys},
        Error{"{\"\": 1, \"mode\": \"install\", \"components\": []}",
              "s.json:1:2: [\"\"]: unknown key; known here: " + known_keys},
        Error{"{\"mode\": 1, \"components\": []}",
              "s.json:1:10: mode: expected a string, found a number; write it in double quotes"},
        Error{"{\"mode\": \"Install\", \"components\": []}",
              "s.json:1:10: mode: unknown mode \"Install\"; write \"install\", \"modify\" or \"uninstall\""},
        Error{"{\"mode\": \"install\", \"$schema\": null, \"components\": []}",
              "s.json:1:32: $schema: expected a string, found null; write it in double quotes"},
        Error{"{\"mode\": \"install\", \"graphical\": \"no\", \"components\": []}",
              "s.json:1:34: graphical: expected true or false, found a string; write true or false, without quotes"},
        Error{"{\"mode\": \"install\", \"variables\": [], \"components\": []}",
              "s.json:1:34: variables: expected an object, found an array; write it in { }"},
        Error{"{\"mode\": \"install\", \"variables\": {\"A\": 1}, \"components\": []}",
              "s.json:1:40: variables.A: expected a string, found a number; write it in double quotes"},
        Error{"{\"mode\": \"install\", \"variables\": {\"KORU_MODE\": \"install\"}, \"components\": []}",
              "s.json:1:35: variables.KORU_MODE: is set by \"mode\"; remove it here"},
        Error{"{\"mode\": \"install\", \"variables\": {\"\": \"\"}, \"components\": []}",
              "s.json:1:35: variables[\"\"]: the name is empty; name the variable"},
        Error{"{\"mode\": \"install\", \"components\": {}}",
              "s.json:1:35: components: expected an array, found an object; write it in [ ]"},
        Error{"{\"mode\": \"install\", \"components\": [\n{}]}",
              "s.json:2:1: components[0]: the key \"code\" is missing; add it\n"
              "s.json:2:1: components[0]: the key \"installBase\" is missing; add it\n"
              "s.json:2:1: components[0]: the key \"installDir\" is missing; add it"},
        Error{"{\"mode\": \"install\", \"components\": [{\"code\": \"a\"}]}",
              "s.json:1:36: components[0]: the key \"installBase\" is missing; add it\n"
              "s.json:1:36: components[0]: the key \"installDir\" is missing; add it"},
        Error{"{\"mode\": \"install\", \"components\": [{\"code\": \"a\", \"installBase\": \"\"}]}",
              "s.json:1:36: components[0]: the key \"installDir\" is missing; add it"},
        Error{with_component("\n\"instal\": true"), "s.json:2:1: components[0].instal: unknown key; did you mean \"install\"?"},
        Error{
            with_component("\n\"install\": 1"),
            "s.json:2:12: components[0].install: expected true or false, found a number; write true or false, without quotes"},
        Error{with_component("\n\"capabilities\": \"ECLIPSE_IDE\""),
              "s.json:2:17: components[0].capabilities: expected an array, found a string; write it in [ ]"},
        Error{with_component("\n\"capabilities\": [1]"),
              "s.json:2:18: components[0].capabilities[0]: expected a string, found a number; write it in double quotes"},
        Error{
            with_component("\n\"capabilities\": [\"A\", \"A\"]"),
            "s.json:2:23: components[0].capabilities[1]: \"A\" is already a capability of components[0]; make the name unique: "
            "any name "
            "containing it works"},
        Error{
            with_component("\"capabilities\": [\"A\"]}, {\"code\": \"b\", \"installBase\": \"\", \"installDir\": \"\",\n"
                           "\"capabilities\": [\"B\", \"A\"]"),
            "s.json:2:23: components[1].capabilities[1]: \"A\" is already a capability of components[0]; make the name unique: "
            "any name "
            "containing it works"},
        Error{with_component("\"install\": true}, {\n\"code\": \"a\", \"installBase\": \"\", \"installDir\": \"\""),
              "s.json:2:9: components[1].code: \"a\" is already the code of components[0]; give each component its own code"},
        Error{with_component("\n\"package\": null"),
              "s.json:2:12: components[0].package: expected an object, found null; write it in { }"},
        Error{with_component("\n\"package\": {}"),
              "s.json:2:12: components[0].package: \"files\" or \"scan\" is missing; list the "
              "package's files, or name the directory to take them from"},
        Error{with_component("\n\"package\": {\"files\": [], \"scan\": \".\"}"),
              "s.json:2:26: components[0].package.scan: cannot be combined with \"files\"; keep one of the two"},
        Error{with_component("\n\"package\": {\"files\": [[]]}"),
              "s.json:2:23: components[0].package.files[0]: expected a string, found an array; write it in double quotes"},
        Error{with_component("\n\"package\": {\"file\": []}"),
              "s.json:2:13: components[0].package.file: unknown key; did you mean \"files\"?"},
        Error{
            with_component("\n\"package\": {\"root\": \"x/../y\", \"files\": []}"),
            "s.json:2:21: components[0].package.root: the directory \"DIRECTORY/y\" does not exist; create it, or correct the "
            "path"},
        Error{with_component("\n\"package\": {\"root\": \"file\", \"files\": []}"),
              "s.json:2:21: components[0].package.root: \"DIRECTORY/file\" is not a directory; correct the path"},
        Error{
            with_component("\n\"package\": {\"scan\": \"file/x\"}"),
            "s.json:2:21: components[0].package.scan: the directory \"DIRECTORY/file/x\" does not exist; create it, or correct "
            "the path"},
        Error{with_component("\n\"package\": {\"scan\": \"" + std::string(300, 'x') + "\"}"),
              "s.json:2:21: components[0].package.scan: \"DIRECTORY/" + std::string(300, 'x') +
                  "\" cannot be reached: File name too long; correct the path"}));

TEST_F(SessionFile, AllErrorsAreReportedInTheOrderOfTheFile) {
  EXPECT_EQ(error_of(R"({
  "components": [
    {
      "code": "a", "installBase": 1, "install": "yes", "capabilities": ["C", 2, "C"],
      "package": {"scan": [], "files": [1, "x", []], "roots": ""}
    },
    {"codes": "a", "installDir": "", "zebra": {"mode": 1}},
    7
  ],
  "variables": {"A": 1, "B": "", "KORU_MODE": "install", "C": null},
  "graphical": "no",
  "mod": "install"
})"),
            "s.json:3:5: components[0]: the key \"installDir\" is missing; add it\n"
            "s.json:4:35: components[0].installBase: expected a string, found a number; write it in double quotes\n"
            "s.json:4:49: components[0].install: expected true or false, found a string; write true or false, without quotes\n"
            "s.json:4:78: components[0].capabilities[1]: expected a string, found a number; write it in double quotes\n"
            "s.json:4:81: components[0].capabilities[2]: \"C\" is already a capability of components[0]; make the name unique: "
            "any name containing it works\n"
            "s.json:5:19: components[0].package.scan: cannot be combined with \"files\"; keep one of the two\n"
            "s.json:5:41: components[0].package.files[0]: expected a string, found a number; write it in double quotes\n"
            "s.json:5:49: components[0].package.files[2]: expected a string, found an array; write it in double quotes\n"
            "s.json:5:54: components[0].package.roots: unknown key; did you mean \"root\"?\n"
            "s.json:7:5: components[1]: the key \"installBase\" is missing; add it\n"
            "s.json:7:6: components[1].codes: unknown key; did you mean \"code\"?\n"
            "s.json:7:38: components[1].zebra: unknown key; known here: \"code\", \"installBase\", \"installDir\", "
            "\"capabilities\", \"install\", \"remove\", \"installed\", \"package\"\n"
            "s.json:8:5: components[2]: expected an object, found a number; write it in { }\n"
            "s.json:10:22: variables.A: expected a string, found a number; write it in double quotes\n"
            "s.json:10:34: variables.KORU_MODE: is set by \"mode\"; remove it here\n"
            "s.json:10:63: variables.C: expected a string, found null; write it in double quotes\n"
            "s.json:11:16: graphical: expected true or false, found a string; write true or false, without quotes\n"
            "s.json:12:3: mod: unknown key; did you mean \"mode\"?");
}

TEST_F(SessionFile, OnlyTheFirstOfVeryManyErrorsAreReported) {
  std::string variables;
  for (int i = 0; i < 1000; ++i) variables += (i == 0 ? "" : ",\n") + ("\"V" + std::to_string(i)) + "\": 1";
  fake::write_file("s.json", R"({"mode": "install", "components": [], "variables": {)" + variables + "}}");
  try {
    read_session_file("s.json", session);
    FAIL() << "no error";
  } catch (const FileError& errors) {
    ASSERT_EQ(errors.each().size(), 100U);
    EXPECT_EQ(errors.each().back().line(), 100U);
    EXPECT_EQ(errors.line(), 1U);
  }
}

TEST_F(SessionFile, SaysWhichPartOfAScannedDirectoryCannotBeRead) {
  fake::write_file("closed/file", "");
  std::filesystem::create_directories("a");
  std::filesystem::create_directories("b");
  std::filesystem::create_symlink("../closed/file", "a/link");
  std::filesystem::rename("closed", "b/closed");
  std::filesystem::create_symlink("b/closed", "closed");
  const auto error = [&](const std::string& place) {
    return "s.json:1:109: components[0].package.scan: cannot be scanned: \"" + directory.path() + place +
           "\": Permission denied; make it readable, or list the files in \"files\"";
  };
  ASSERT_EQ(chmod(".", 0777), 0);
  ASSERT_EQ(chmod("b/closed", 0), 0);
  {
    const fake::NotAdministrator unprivileged;
    EXPECT_EQ(error_of(with_component(R"("package": {"scan": "a"})")), error("/a/link"));
    EXPECT_EQ(error_of(with_component(R"("package": {"scan": "b"})")), error("/b/closed"));
  }
  ASSERT_EQ(chmod("b/closed", 0755), 0);
  EXPECT_EQ(error_of(with_component(R"("package": {"scan": "a"})")), "read");
  EXPECT_EQ(error_of(with_component(R"("package": {"scan": "b"})")), "read");
}

TEST_F(SessionFile, MayRepeatAnEmptyCode) {
  read(R"({"mode": "install", "components": [
    {"code": "", "installBase": "", "installDir": ""}, {"code": "", "installBase": "", "installDir": ""}]})");
  EXPECT_EQ(session.components.size(), 2U);
}

}  // namespace
