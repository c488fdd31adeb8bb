#include "p2/repository_url.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <utility>

namespace eclipse_p2 {

namespace {

Repository repository(bool is_directory) {
  Repository repository;
  repository.exists = true;
  repository.is_directory = is_directory;
  return repository;
}

std::string error_in(std::string_view path, bool is_archive) {
  const auto error = url_error(path, is_archive, repository(!is_archive));
  return error ? error->message + (error->hinders_all ? " (all)" : "") : "";
}

const std::string as_url = " as URL syntax";

TEST(RepositoryUrl, PathThatTheDirectorReadsAsItIs) {
  for (const char* path : {"/a/b", "/a b", "/a%zz", "/a%4", "/a!b"}) {
    EXPECT_EQ(error_in(path, false), "") << path;
    EXPECT_EQ(error_in(path, true), "") << path;
  }
  for (const char* path : {"/a?b", "/a[b", "/a]b"}) EXPECT_EQ(error_in(path, true), "") << path;
  EXPECT_EQ(error_in("/a!/b", false), "");
}

TEST(RepositoryUrl, PathThatTheDirectorReadsAsUrlSyntax) {
  const std::string begin = "cannot be loaded: the director reads ";
  for (const bool is_archive : {false, true}) {
    EXPECT_EQ(error_in("/a#b", is_archive), begin + "\"#\"" + as_url);
    EXPECT_EQ(error_in("/a%41", is_archive), begin + "\"%41\"" + as_url);
  }
  EXPECT_EQ(error_in("/a!/b.zip", true), begin + "\"!/\"" + as_url);
  EXPECT_EQ(error_in("/a?b", false), begin + "\"?\"" + as_url);
  EXPECT_EQ(error_in("/a[b", false), begin + "\"[\"" + as_url + " (all)");
  EXPECT_EQ(error_in("/a#]", false), begin + "\"#\"" + as_url + " (all)");
}

TEST(RepositoryUrl, CommaHindersAll) {
  for (const bool is_archive : {false, true}) {
    EXPECT_EQ(error_in("/a,b", is_archive),
              "cannot be loaded: the director splits its list of repositories at the comma (all)");
  }
}

TEST(RepositoryUrl, PathThatIsNotAsciiNeedsALocaleWithUtf8) {
  const char* const before = std::getenv("LC_ALL");
  const std::string kept = before == nullptr ? "" : before;
  for (const auto& [locale, error] :
       {std::pair("C.UTF-8", ""),
        std::pair(
            "C",
            "cannot be loaded: its path has non-ASCII characters, which the director cannot read in the current locale")}) {
    setenv("LC_ALL", locale, 1);
    EXPECT_EQ(error_in("/\xC3\xA4", false), error) << locale;
    EXPECT_EQ(error_in("/\xC3\xA4", true), error) << locale;
  }
  kept.empty() ? unsetenv("LC_ALL") : setenv("LC_ALL", kept.c_str(), 1);
}

TEST(RepositoryUrl, PathThatIsNotUtf8) { EXPECT_EQ(error_in("/\xE4", false), "cannot be loaded: its path is not UTF-8"); }

TEST(RepositoryUrl, NameOfAnotherKind) {
  EXPECT_EQ(url_error("/a.zip", true, repository(true))->message,
            "is a directory whose name ends in .zip, so the plug-in passes it on as an archive");
  EXPECT_EQ(url_error("/a.ZIP", false, repository(false))->message,
            "is a file whose name does not end in .zip, so the plug-in passes it on as a directory");
  EXPECT_FALSE(url_error("/missing.zip", true, {}));
}

}  // namespace

}  // namespace eclipse_p2
