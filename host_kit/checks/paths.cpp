// Operations on paths.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "host_kit/checks/groups.h"

namespace host_kit {

namespace {

constexpr std::string_view path_promise = "The path in the host's normalised form.";
constexpr std::string_view path_join_promise =
    "The plug-in passes every path that it joins from pieces through it before it opens the file, checks whether it exists "
    "or "
    "puts it into a command.";
constexpr std::string_view resolved_promise = "The path made absolute and resolved; empty if that fails.";
constexpr std::string_view dirname_promise =
    "The path without its last component and the slash before that: \"/\" for \"/x\", empty for \"x\".";

bool is_same_file(const std::string& one, const std::string& other) {
  std::error_code error;
  return std::filesystem::equivalent(one, other, error) && !error;
}

constexpr Check path_names_the_same_file{
    .name = "path/same-file",
    .level = Level::must,
    .title = "path() names the same file as its argument.",
    .promise = path_promise,
    .harm = "Descriptor files are not found, and commands name the wrong repositories.",
    .fix = "Change only slashes, \".\" and \"..\"; keep all other bytes.",
    .perform =
        [](const Probe& probe) {
          const std::string directory = probe.scratch + "/a b%20$x";
          std::filesystem::create_directories(directory + "/sub");
          write_file(directory + "/f\xC3\xBC.zip", "");
          for (const std::string& text :
               {directory + "/f\xC3\xBC.zip", directory + "//f\xC3\xBC.zip", directory + "/./f\xC3\xBC.zip",
                directory + "/sub/../f\xC3\xBC.zip", directory, directory + "/"}) {
            const std::string normalised = path(text);
            expect(is_same_file(text, normalised), "path(" + shown(text) + ") names the same file", shown(normalised),
                   normalised.empty() ? "" : "bytes are converted, removed or quoted");
          }
        },
};

constexpr Check path_of_missing_file{
    .name = "path/of-missing-file",
    .level = Level::must,
    .title = "path() of a missing file is its path.",
    .promise = path_join_promise,
    .harm = "The log does not say which file was not found, and a missing repository becomes the root directory.",
    .fix = "Normalise the text; do not ask the file system.",
    .perform =
        [](const Probe& probe) {
          const std::string text = probe.scratch + "/missing/file";
          expect_text("path() of a missing file", text, path(text), {{"", "realpath(), which fails for such a file"}});
        },
    .after = "path/same-file",
};

constexpr Check path_adds_nothing{
    .name = "path/adds-nothing",
    .level = Level::must,
    .title = "path() leaves a normalised path unchanged.",
    .promise = path_join_promise,
    .harm = "Commands contain paths that differ from those that the user gave.",
    .fix = "Return a path that is already normalised unchanged.",
    .perform =
        [](const Probe&) {
          for (const char* const text : {"/opt/ide/eclipse", "/opt/ide", "/a", "/a b", "/A"}) {
            expect_text("path(" + shown(text) + ")", text, path(text), {{std::string(text) + "/", "a slash is added"}});
          }
        },
    .after = "path/of-missing-file",
};

constexpr Check path_is_idempotent{
    .name = "path/idempotent",
    .level = Level::should,
    .title = "path() of its own result is that result.",
    .promise = path_promise,
    .harm = "The same directory has two names, so that its repository is given to the director twice.",
    .fix = "Make path() idempotent: return a normalised path unchanged.",
    .perform =
        [](const Probe&) {
          for (const char* const text : {"/opt//ide/./x/../eclipse", "a/../b", "a//", "./a", "../a", "/"}) {
            const std::string once = path(text);
            expect_text("path(path(" + shown(text) + "))", once, path(once));
          }
        },
    .after = "path/adds-nothing",
};

constexpr Check path_has_one_form{
    .name = "path/one-form",
    .level = Level::may,
    .title = "path() removes \"//\", \".\" and \"..\".",
    .promise = path_promise,
    .harm = "Repositories that differ only in \"//\" or \"..\" are given to the director twice.",
    .fix = "Remove \"//\", \".\" and \"..\", for example with std::filesystem::path::lexically_normal().",
    .perform =
        [](const Probe&) {
          expect_text("path(\"/opt//ide/./x/../eclipse\")", "/opt/ide/eclipse", path("/opt//ide/./x/../eclipse"),
                      {{"/opt//ide/./x/../eclipse", "the text is returned as it is"}});
        },
    .after = "path/same-file",
};

constexpr Check resolved_path_is_absolute{
    .name = "resolved_path/absolute",
    .level = Level::must,
    .title = "resolved_path() is absolute.",
    .promise = resolved_promise,
    .harm = "The executable of the internal IDE depends on the working directory of the installer.",
    .fix = "Use realpath(), or std::filesystem::absolute() and weakly_canonical().",
    .perform =
        [](const Probe& probe) {
          std::filesystem::create_directory(probe.scratch + "/real");
          const std::string absolute = resolved_path(probe.scratch + "//real/.");
          expect(!absolute.empty() && absolute[0] == '/' && is_same_file(absolute, probe.scratch + "/real"),
                 "resolved_path() of a directory is its absolute path", shown(absolute));
          const std::filesystem::path here = std::filesystem::current_path();
          std::filesystem::current_path(probe.scratch);
          const std::string relative = resolved_path("real");
          std::filesystem::current_path(here);
          expect(!relative.empty() && relative[0] == '/' && is_same_file(relative, probe.scratch + "/real"),
                 "resolved_path(\"real\") is absolute, below the working directory", shown(relative),
                 relative == "real" ? "the text is returned as it is" : "");
        },
    .if_it_ends =
        "the null pointer that realpath() returns for a missing file becomes a std::string, or an exception is thrown",
};

constexpr Check resolved_path_has_no_links{
    .name = "resolved_path/links",
    .level = Level::should,
    .title = "resolved_path() follows symbolic links.",
    .promise = resolved_promise,
    .harm = "The same instance has two names, and is mistaken for a new one.",
    .fix = "Use realpath(), or std::filesystem::weakly_canonical().",
    .perform =
        [](const Probe& probe) {
          std::filesystem::create_directory(probe.scratch + "/real");
          std::filesystem::create_directory_symlink("real", probe.scratch + "/link");
          const std::string expected = std::filesystem::canonical(probe.scratch + "/real").string();
          expect_text("resolved_path() of a symbolic link", expected, resolved_path(probe.scratch + "/link"),
                      {{probe.scratch + "/link", "links are not followed"}});
        },
    .after = "resolved_path/absolute",
};

constexpr Check resolved_path_of_missing{
    .name = "resolved_path/missing",
    .level = Level::must,
    .title = "resolved_path() of a missing file is empty or absolute.",
    .promise = resolved_promise,
    .harm = "An exception or a crash ends the action because of a package whose directory is missing.",
    .fix = "Return an empty text, or the absolute path of what would be there.",
    .perform =
        [](const Probe& probe) {
          const std::string actual = resolved_path(probe.scratch + "/missing/file");
          expect(actual.empty() || actual[0] == '/', "resolved_path() of a missing file is empty or absolute", shown(actual));
        },
    .after = "resolved_path/absolute",
    .if_it_ends =
        "the null pointer that realpath() returns for a missing file becomes a std::string, or an exception is thrown",
};

constexpr Check relative_paths_are_known{
    .name = "path_is_relative/known",
    .level = Level::must,
    .title = "path_is_relative() is true exactly for a path without a slash at its beginning.",
    .promise = "True if the path is relative.",
    .harm = "The root is put before an absolute prefix, or a relative prefix is looked for in the working directory.",
    .fix = "Return whether the path does not begin with a slash.",
    .perform =
        [](const Probe&) {
          for (const char* const text : {"a", "a/b", "./a", "../a", "."})
            expect_equal("path_is_relative(" + shown(text) + ")", true, path_is_relative(text));
          for (const char* const text : {"/", "/a", "/a/../b", "//a"})
            expect_equal("path_is_relative(" + shown(text) + ")", false, path_is_relative(text));
        },
};

struct PathCase {
  const char* text;
  const char* part;
};

constexpr Check basenames{
    .name = "get_basename/last-component",
    .level = Level::must,
    .title = "get_basename() returns the last component of a path.",
    .promise = "It never contains a \"/\".",
    .harm = "The user's Eclipse is never accepted: its name is compared with ECLIPSE_BIN.",
    .fix = "Return what follows the last slash, or the whole text if there is none.",
    .perform =
        [](const Probe&) {
          for (const auto& [text, part] : std::initializer_list<PathCase>{{"/opt/ide/eclipse", "eclipse"},
                                                                          {"eclipse", "eclipse"},
                                                                          {"ide/eclipse", "eclipse"},
                                                                          {"/eclipse", "eclipse"},
                                                                          {"/opt/my eclipse", "my eclipse"},
                                                                          {"/opt/eclipse.exe", "eclipse.exe"},
                                                                          {"/opt/.eclipse", ".eclipse"}}) {
            expect_text("get_basename(" + shown(text) + ")", part, get_basename(text),
                        {{text, "the whole path is returned"},
                         {std::string("/") + part, "the slash is returned, too"},
                         {"eclipse", "the extension is removed"}});
          }
        },
};

constexpr Check basenames_ignore_trailing_slashes{
    .name = "get_basename/trailing-slashes",
    .level = Level::must,
    .title = "get_basename() ignores slashes at the end.",
    .promise = "The last component of a path, ignoring trailing slashes.",
    .harm = "Paths with a trailing slash have no name.",
    .fix = "Remove trailing slashes first.",
    .perform =
        [](const Probe&) {
          for (const char* const text : {"/opt/ide/", "/opt/ide///", "ide/"}) {
            expect_text("get_basename(" + shown(text) + ")", "ide", get_basename(text),
                        {{"", "the text after the last slash is returned"}});
          }
        },
    .after = "get_basename/last-component",
};

constexpr Check dirnames{
    .name = "get_dirname/all-but-last",
    .level = Level::must,
    .title = "get_dirname() returns all but the last component of a path.",
    .promise = dirname_promise,
    .harm = "ECLIPSE_PATH is not the directory of the executable.",
    .fix = "Return what is before the last slash.",
    .perform =
        [](const Probe&) {
          for (const auto& [text, part] : std::initializer_list<PathCase>{
                   {"/opt/ide/eclipse", "/opt/ide"}, {"ide/eclipse", "ide"}, {"/opt/my ide/e", "/opt/my ide"}}) {
            expect_text("get_dirname(" + shown(text) + ")", part, get_dirname(text),
                        {{text, "the whole path is returned"}, {std::string(part) + "/", "the slash is returned, too"}});
          }
        },
};

constexpr Check dirname_of_the_root{
    .name = "get_dirname/root",
    .level = Level::must,
    .title = "get_dirname() of a file in the root directory is \"/\".",
    .promise = dirname_promise,
    .harm = "An Eclipse in the root directory has no ECLIPSE_PATH.",
    .fix = "Return \"/\" if the only slash is the first character.",
    .perform =
        [](const Probe&) {
          expect_text("get_dirname(\"/x\")", "/", get_dirname("/x"), {{"", "the only slash is removed, too"}});
        },
    .after = "get_dirname/all-but-last",
};

constexpr Check dirname_of_a_name{
    .name = "get_dirname/name-alone",
    .level = Level::must,
    .title = "get_dirname() of a name without a slash is the empty text.",
    .promise = dirname_promise,
    .harm = "ECLIPSE_PATH is written although the plug-in has no directory for it.",
    .fix = "Return an empty text if there is no slash.",
    .perform =
        [](const Probe&) {
          expect_text("get_dirname(\"x\")", "", get_dirname("x"),
                      {{".", "this is what dirname(3) returns"}, {"x", "find() without a test for npos"}});
        },
    .after = "get_dirname/all-but-last",
};

template <typename Operation>
void expect_unchanged(const char* name, const std::string& argument, const Operation& operation) {
  // On the heap, as the texts of the plug-in mostly are.
  const std::string before(argument.data(), argument.size());
  operation(argument);
  expect_text("the argument of " + std::string(name) + ", after the call,", before, argument);
}

constexpr Check arguments_are_unchanged{
    .name = "arguments/unchanged",
    .level = Level::must,
    .title = "No operation changes the texts that it is given.",
    .promise = "No operation changes a text that it is given.",
    .harm = "The plug-in continues with a wrong path.",
    .fix = "Copy the text before you change it; never cast its const away.",
    .perform =
        [](const Probe& probe) {
          write_file(probe.scratch + "/file", "text");
          for (const std::string& text :
               {probe.scratch + "/file", probe.scratch + "//missing//", std::string("/"), std::string("name")}) {
            expect_unchanged("get_basename()", text, [](const std::string& argument) { get_basename(argument); });
            expect_unchanged("get_dirname()", text, [](const std::string& argument) { get_dirname(argument); });
            expect_unchanged("is_file()", text, [](const std::string& argument) { is_file(argument); });
            expect_unchanged("file_exists()", text, [](const std::string& argument) { file_exists(argument, false); });
            expect_unchanged("get_file()", text, [](const std::string& argument) { get_file(argument, 0, nullptr); });
            expect_unchanged("replaceAllSubstrings()", text,
                             [](const std::string& argument) { replaceAllSubstrings(argument, "/", "//"); });
          }
        },
    .after = "get_file/null-size replace/every-occurrence replace/contains-itself",
};

}  // namespace

std::vector<Check> path_checks() {
  return {path_names_the_same_file,
          path_of_missing_file,
          path_adds_nothing,
          path_is_idempotent,
          path_has_one_form,
          resolved_path_is_absolute,
          resolved_path_has_no_links,
          resolved_path_of_missing,
          relative_paths_are_known,
          basenames,
          basenames_ignore_trailing_slashes,
          dirnames,
          dirname_of_the_root,
          dirname_of_a_name,
          arguments_are_unchanged};
}

}  // namespace host_kit
