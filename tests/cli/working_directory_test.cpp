// The command in a working directory that was deleted: full paths work, others are errors with a reason.
#include "cli/child_command.h"

namespace cli_test {

namespace {

class WorkingDirectory : public ChildCommand {
 protected:
  WorkingDirectory() { write_session("install"); }

  Outcome from_a_deleted_one(const std::string& arguments) const {
    return eclipse_int(arguments, "mkdir gone; cd gone; rmdir ../gone;");
  }
  std::string here(const std::string& file) const { return directory.path() + "/" + file; }
};

Outcome refusal(const std::string& path) {
  return {2, "", "eclipse-int: " + path + ": cannot determine its full path: No such file or directory; give the full path\n"};
}

TEST_F(WorkingDirectory, IsNotNeededForFullPaths) {
  fake::write_file("tools/site/content.xml",
                   "<repository><units><unit id='one' version='1'/><unit id='two' version='1'/></units></repository>");
  const Outcome lint = from_a_deleted_one("lint " + here("session.json"));
  EXPECT_EQ(lint.error, "");
  EXPECT_NE(lint.output.find("DIRECTORY/tools/etc/eclipse/tools.txt:2:"), std::string::npos) << lint.output;
  EXPECT_EQ(from_a_deleted_one("run " + here("session.json") + " --plugin " ECLIPSE_INT_LIBRARY).status, 0);
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
}

TEST_F(WorkingDirectory, IsNeededForOtherPaths) {
  for (const std::string command : {"run", "plan", "verify", "lint"}) {
    EXPECT_EQ(from_a_deleted_one(command + " ../session.json"), refusal("../session.json")) << command;
  }
  EXPECT_EQ(from_a_deleted_one("lint ../tools"), refusal("../tools"));
  EXPECT_EQ(from_a_deleted_one("run " + here("session.json") + " --plugin p.so"), refusal("p.so"));
  EXPECT_EQ(director_calls(), "");
}

}  // namespace

}  // namespace cli_test
