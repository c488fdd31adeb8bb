// That paths become URIs and URIs paths.
#include "base/uri.h"

#include <gtest/gtest.h>

using namespace eclipse_base;

namespace {

TEST(Uri, EscapesWhatIsNotPlain) {
  EXPECT_EQ(uri_of("/a b/ä#?%.txt"), "file:///a%20b/%C3%A4%23%3F%25.txt");
  EXPECT_EQ(uri_of("a/b.txt"), "a/b.txt");
}

TEST(Uri, NamesAFileOfThisMachine) {
  EXPECT_EQ(file_of_uri("file:///a%20b/%C3%A4%23%3f%25.txt"), "/a b/ä#?%.txt");
  EXPECT_EQ(file_of_uri("file:///a/b:c.txt"), "/a/b:c.txt");
  EXPECT_EQ(file_of_uri("file://localhost/a"), "/a");
  EXPECT_EQ(file_of_uri("file:/a"), "/a");
  EXPECT_EQ(file_of_uri("file:///a/./b//../c"), "/a/c");
}

TEST(Uri, NamesNoOtherFile) {
  for (const std::string uri :
       {"", "/a", "a", "file:", "file://", "file:a", "file://host/a", "untitled:a", "http://x/a", "file:///a%", "file:///a%2",
        "file:///a%zz", "file:///a%+1", "file:///a%00b", "FILE", "file:///a%-1"}) {
    EXPECT_EQ(file_of_uri(uri), std::nullopt) << uri;
  }
  EXPECT_EQ(file_of_uri(std::string("file:///a\0b", 11)), std::nullopt);
}

TEST(Uri, OfEveryByteIsReadBack) {
  std::string path = "/";
  for (int byte = 1; byte < 256; ++byte) {
    if (byte != '/' && byte != '.') path += static_cast<char>(byte);
  }
  EXPECT_EQ(file_of_uri(uri_of(path)), path);
}

}  // namespace
