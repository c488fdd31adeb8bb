#include "standalone_host/plugin.h"

#include <gtest/gtest.h>

#include "fake_host/fake_host.h"

using eclipse_host::ActiveSession;
using eclipse_host::Plugin;
using eclipse_host::PluginError;
using eclipse_host::Session;

namespace {

/// What is said when this file is loaded; empty when it can be.
std::string refusal(const std::filesystem::path& library) {
  try {
    const Plugin plugin(library);
    return "";
  } catch (const PluginError& error) {
    return error.what();
  }
}

TEST(Plugin, BesideThisProgramIsFoundAndHasEveryAction) {
  const Plugin plugin = Plugin::beside_this_program();
  EXPECT_TRUE(std::filesystem::equivalent(plugin.library(), PLUGIN)) << plugin.library();
  Session session;
  const ActiveSession active(session);
  std::vector<std::string> lines;
  session.on_log = [&](const std::string& line) { lines.push_back(line); };
  for (const std::string_view action : eclipse_host::action_names) EXPECT_EQ(plugin.call(action, session), 0) << action;
  EXPECT_EQ(lines.front(), "eclipse_int: eclipse_integration_required entered");
  EXPECT_EQ(lines.back(), "eclipse_int: nothing to unintegrate");
}

TEST(Plugin, SaysItsVersion) { EXPECT_EQ(Plugin(PLUGIN).version(), ECLIPSE_INT_VERSION); }

TEST(Plugin, UnknownActionIsOutOfRange) {
  const Plugin plugin(PLUGIN);
  Session session;
  EXPECT_THROW(plugin.call("get_ide_components", session), std::out_of_range);
  EXPECT_THROW(plugin.call("", session), std::out_of_range);
}

TEST(Plugin, NameWithoutADirectoryIsLookedForInTheWorkingDirectory) {
  const fake::TemporaryDirectory directory;
  std::filesystem::copy_file(PLUGIN, "plugin.so");
  EXPECT_EQ(Plugin("plugin.so").library(), "plugin.so");
}

TEST(Plugin, AnotherLibraryIsRefusedWithAReason) {
  const fake::TemporaryDirectory directory;
  fake::write_file("text.so", std::string(1000, 'x'));
  std::filesystem::create_directory("directory.so");
  const std::string& here = directory.path();
  const std::string fix = "; give the path of libeclipse_int.so";
  EXPECT_EQ(refusal("missing.so"), "missing.so: cannot be loaded: " + here +
                                       "/missing.so: cannot open shared object file: No such file or directory" + fix);
  EXPECT_EQ(refusal("text.so"), "text.so: cannot be loaded: " + here + "/text.so: invalid ELF header" + fix);
  EXPECT_EQ(refusal("directory.so"), "directory.so: is not a regular file" + fix);
  EXPECT_EQ(refusal(ASKS_FOR_MORE),
            ASKS_FOR_MORE ": cannot be loaded: " ASKS_FOR_MORE ": undefined symbol: operation_that_no_host_has" + fix);
}

TEST(Plugin, LibraryThatLacksAnActionIsRefusedWithItsName) {
  for (const std::string_view name : eclipse_host::action_names) {
    const std::string action(name);
    const std::string library = LIBRARIES_THAT_LACK_AN_ACTION "/lacks_" + action + ".so";
    EXPECT_EQ(refusal(library),
              library + ": has no action \"" + action + "\"; this is not the plug-in, or not this version of it");
  }
}

}  // namespace
