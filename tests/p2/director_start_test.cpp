// Where Eclipse works, as that of 4.26 on Java 17 does.
#include "p2/director_start.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "fake_host/temporary_directory.h"

using namespace eclipse_p2;

namespace {

/// Sets LC_ALL as long as it lives.
class Locale {
 public:
  explicit Locale(const char* name) {
    if (const char* const before = std::getenv("LC_ALL")) before_ = before;
    setenv("LC_ALL", name, 1);
  }
  ~Locale() { before_.empty() ? unsetenv("LC_ALL") : setenv("LC_ALL", before_.c_str(), 1); }
  Locale(const Locale&) = delete;
  Locale& operator=(const Locale&) = delete;

 private:
  std::string before_;
};

/// Of an executable in a directory of this name, without the path.
std::string error_in(const std::string& name) {
  const fake::TemporaryDirectory directory;
  const std::string executable = directory.path() + "/" + name + "/eclipse";
  fake::write_file(executable, "");
  std::filesystem::permissions(executable, std::filesystem::perms(0755));
  const auto error = start_error(executable);
  return error ? error->message.substr(error->message.rfind("eclipse\"") + 9) : "none";
}

TEST(DirectorStart, CharactersOfUrlsAndOfPathListsKeepItFromStarting) {
  for (const std::string name : {"a b", "a!b", "a+b", "a,b", "a[b", "a{b}", "a@b", "a=b"})
    EXPECT_EQ(error_in(name), "none") << name;
  for (const std::string character : {"#", "%", ":"}) {
    EXPECT_EQ(error_in("a" + character + "b"), "contains \"" + character + "\", and Eclipse does not work in such a directory");
  }
}

TEST(DirectorStart, OtherCharactersThanAsciiNeedALocaleWithUtf8) {
  const std::string umlaut = "\xC3\xA4";
  for (const char* const locale : {"C", "POSIX", "xx_XX.UTF-8"}) {
    const Locale set(locale);
    EXPECT_FALSE(is_readable_in_locale(umlaut)) << locale;
    EXPECT_TRUE(is_readable_in_locale("a")) << locale;
    EXPECT_EQ(error_in(umlaut), "has non-ASCII characters, which the director cannot read in the current locale") << locale;
    EXPECT_EQ(error_in("a"), "none") << locale;
  }
  const Locale set("C.UTF-8");
  EXPECT_TRUE(is_readable_in_locale(umlaut));
  EXPECT_EQ(error_in(umlaut), "none");
  EXPECT_EQ(error_in("\xE4"), "is not valid UTF-8, and Java cannot open it");
}

TEST(DirectorStart, WhatTheShellCannotStartComesFirst) {
  EXPECT_EQ(start_error("/nowhere/a#b/eclipse")->message,
            "\"/nowhere/a#b/eclipse\" does not exist, so the shell cannot start it (exit code 127)");
}

}  // namespace
