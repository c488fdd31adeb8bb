// Whatever stands in the place of a file that the command reads, it ends soon with an error that names the file, or goes on as
// it does without the file.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <map>
#include <sstream>

#include "cli/child_command.h"

namespace cli_test {

namespace {

namespace fs = std::filesystem;

const std::string special = "is not a regular file";

/// What stands there, and what is said of it where nothing else is expected.
struct Kind {
  std::string name;
  std::string error;
  std::function<void(const fs::path& file)> make;
};

const std::vector<Kind> kinds = {
    {"missing", "No such file or directory", [](const fs::path&) {}},
    {"directory", special, [](const fs::path& file) { fs::create_directory(file); }},
    {"FIFO", special, [](const fs::path& file) { ASSERT_EQ(mkfifo(file.c_str(), 0600), 0); }},
    {"endless", special, [](const fs::path& file) { fs::create_symlink("/dev/zero", file); }},
    {"unreadable", "Permission denied",
     [](const fs::path& file) {
       fake::write_file(file, "x");
       fs::permissions(file, fs::perms::none);
     }},
    // No file system has space for it twice.
    {"too large", "is larger than ",
     [](const fs::path& file) {
       fake::write_file(file, "x");
       fs::resize_file(file, std::uintmax_t{15} << 40U);
     }},
    // Nobody can read its beginning.
    {"read error", "Input/output error", [](const fs::path& file) { fs::create_symlink("/proc/self/mem", file); }}};

/// What the command does then: it goes on as if there were no such file, or ends with this status and a line that has the
/// file's name and this text.
struct Expected {
  bool is_as_missing = false;
  int status = 0;
  std::string text = {};
};

const Expected as_missing{true};
Expected error(int status, const std::string& text = "") { return {false, status, text}; }

struct ReadFile {
  std::string file;
  std::string arguments;
  Expected expected;
  std::map<std::string, Expected> exceptions = {};  ///< by kind
  std::string director = {};                        ///< what it does with the file "prepared", if anything
};

const std::string registry = "eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/";
const std::string bundles = "eclipse/configuration/org.eclipse.equinox.simpleconfigurator/bundles.info";
const std::string settings = "eclipse/p2/org.eclipse.equinox.p2.engine/.settings/x.prefs";

const std::map<std::string, Expected> may_be_a_directory = {{"directory", error(2, "is a directory")}};
const std::map<std::string, Expected> may_be_missing = {{"missing", as_missing}};
/// Of the files of a repository, a directory is none of them, and what is too large here is not for the director.
const std::map<std::string, Expected> of_repository = {
    {"missing", as_missing}, {"directory", as_missing}, {"unreadable", error(1, "cannot be read")}, {"too large", error(0)}};
/// A file that may be missing in an instance is there when it is a regular one. A director could not write it anew.
const std::map<std::string, Expected> regular_or_missing = {
    {"missing", as_missing}, {"directory", as_missing}, {"FIFO", as_missing}, {"endless", as_missing}, {"too large", error(2)}};

const std::vector<ReadFile> read_files = {
    {"other.json", "run other.json", error(2), may_be_a_directory},
    {"other.json", "plan other.json", error(2), may_be_a_directory},
    {"other.json", "undo other.json", error(2), may_be_a_directory},
    {"other.json", "lint session.json --suppressions other.json", error(2)},
    {"other.json", "lint session.json --config other.json", error(2)},
    {".eclipse-int.json", "lint session.json", error(2), may_be_missing},
    {"other.json", "run session.json --variables other.json", error(2)},
    {"other.json", "undo session.json --variables other.json --write-variables v.json", error(2)},
    {"plugin.so", "run session.json --plugin plugin.so", error(2), {{"too large", error(2, "invalid ELF header")}}},
    {"waivers", "check-host --waivers waivers -- " ECLIPSE_INT_COMMAND " run --plugin {plugin} session.json", error(2)},
    {"tools/etc/eclipse/tools.txt",
     "run session.json",
     error(0),
     {{"missing", as_missing},
      {"directory", as_missing},
      {"FIFO", as_missing},
      {"endless", as_missing},
      {"too large", error(2)}}},
    {"tools/etc/eclipse/tools.txt",
     "lint tools",
     error(1),
     {{"missing", as_missing},
      {"directory", error(1, "is a directory, not a file")},
      {"FIFO", error(1, "is a pipe, not a file")},
      {"endless", error(1, "is a device, not a file")}}},
    {"tools/site/content.xml", "lint session.json", error(1), of_repository},
    {"tools/site/content.jar", "lint session.json", error(1), of_repository},
    {"tools/site/content.xml.xz", "lint session.json", error(1), of_repository},
    {"tools/site/compositeContent.xml", "lint session.json", error(1), of_repository},
    {"tools/site/artifacts.xml", "lint session.json", error(1), of_repository},
    {"tools/site/artifacts.jar", "lint session.json", error(1), of_repository},
    {"tools/site/p2.index",
     "lint session.json",
     error(1),
     {{"missing", as_missing}, {"directory", as_missing}, {"unreadable", as_missing}, {"too large", error(0)}}},
    {"eclipse/configuration/config.ini", "run session.json", error(0), regular_or_missing},
    {"eclipse/configuration/config.ini", "history eclipse", as_missing},
    {"eclipse/studio.ini", "history eclipse", as_missing},
    {registry + "2.profile.gz", "plan session.json", error(0), may_be_missing},
    {registry + "2.profile", "repair eclipse", error(1), may_be_missing},
    {bundles, "verify session.json", as_missing},
    {bundles, "run session.json", error(0), regular_or_missing},
    {"eclipse/configuration/.eclipse-int.runs.json",
     "history eclipse",
     error(0),
     {{"missing", as_missing}, {"endless", error(0, "is a symlink")}, {"read error", error(0, "is a symlink")}}},
    {"eclipse/configuration/.eclipse-int.lock",
     "run session.json",
     as_missing,
     {{"unreadable", error(2, "cannot be read by this user")}}},
    {"eclipse/artifacts.xml", "run session.json", error(0), regular_or_missing},
    {"eclipse/configuration/org.eclipse.update/platform.xml", "run session.json", error(0), regular_or_missing},
    {"eclipse/configuration/org.eclipse.equinox.source/source.info", "verify session.json", as_missing},
    {"eclipse/.eclipseproduct", "run session.json", as_missing},
    {settings,
     "plan session.json --resolve",
     error(2),
     {{"missing", as_missing},
      {"directory", as_missing},
      {"FIFO", as_missing},
      {"endless", as_missing},
      {"too large", error(2, "makes the copy larger than 512 MiB")}}},
    {"eclipse/configuration/new.log",
     "run session.json",
     error(1),
     {{"missing", as_missing},
      {"directory", as_missing},
      {"FIFO", as_missing},
      {"endless", as_missing},
      {"too large", error(1, "new.log")}},
     "mv prepared eclipse/configuration/new.log 2> moved; exit 13"},
};

/// As root, only without the right to read everything.
std::string starter() {
  const std::string rights = geteuid() == 0 ? "setpriv --bounding-set -dac_override,-dac_read_search " : "";
  return rights + "timeout -s KILL 60";
}

class ReadFiles : public ChildCommand, public testing::WithParamInterface<ReadFile> {
 protected:
  /// What the command says when this stands in the place of the file.
  Outcome outcome_with(const Kind& kind) const {
    for (const auto& entry : fs::directory_iterator(".")) fs::remove_all(entry.path());
    write_product();
    const ReadFile& read = GetParam();
    const fs::path file = read.director.empty() ? read.file : "prepared";
    fs::create_directories(fs::absolute(file).parent_path());
    fs::remove(file);
    kind.make(file);
    if (!read.director.empty()) {
      for (int start = 1; start <= 3; ++start) script(start, read.director);
    }
    return eclipse_int(read.arguments, memory_limit(1500) + starter());
  }

 private:
  void write_product() const {
    fake::write_file("eclipse/eclipse", eclipse_);
    fs::permissions("eclipse/eclipse", fs::perms(0755));
    write_session("install");
    fake::write_file("tools/etc/eclipse/tools.txt", "Repository\tFeature\nsite\tone\nsite\ttwo\n");
    fake::write_file("tools/site/other", "");
    if (!GetParam().file.starts_with("tools/site/c")) write_offer();
    fake::write_file("eclipse/configuration/config.ini", "eclipse.p2.profile=P\n");
    fake::write_file(registry + "1.profile",
                     "<profile><units><unit id='one' version='1.0.0'><artifacts><artifact classifier='osgi.bundle' id='one' "
                     "version='1.0.0'/></artifacts></unit></units></profile>");
    fs::create_directories(fs::path(bundles).parent_path());
    let_director_leave_states();
  }

  const std::string eclipse_ = content_of("eclipse/eclipse");
};

bool has_line(const Outcome& outcome, const std::string& name, const std::string& text) {
  std::istringstream lines(outcome.output + "\n" + outcome.error);
  for (std::string line; std::getline(lines, line);) {
    if (line.find(name) != std::string::npos && line.find(text) != std::string::npos) return true;
  }
  return false;
}

void PrintTo(const ReadFile& read, std::ostream* stream) { *stream << read.file << " by " << read.arguments; }

TEST_P(ReadFiles, MayBeAnything) {
  const ReadFile& read = GetParam();
  const Outcome without = outcome_with(kinds.front());
  for (const Kind& kind : kinds) {
    const std::string description = read.file + ": " + kind.name + ": " + read.arguments;
    const auto exception = read.exceptions.find(kind.name);
    const Expected& expected = exception == read.exceptions.end() ? read.expected : exception->second;
    const Outcome outcome = outcome_with(kind);
    if (expected.is_as_missing) {
      EXPECT_EQ(outcome, without) << description;
      continue;
    }
    EXPECT_EQ(outcome.status, expected.status) << description;
    const std::string text = expected.text.empty() ? kind.error : expected.text;
    EXPECT_TRUE(has_line(outcome, fs::path(read.file).filename().string(), text)) << description << "\n"
                                                                                  << outcome.output << outcome.error;
  }
}

INSTANTIATE_TEST_SUITE_P(Each, ReadFiles, testing::ValuesIn(read_files));

}  // namespace

}  // namespace cli_test
