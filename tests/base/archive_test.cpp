#include "base/archive.h"
#include "base/limits.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "base/packing.h"
#include "fake_host/temporary_directory.h"

using namespace eclipse_base;
using namespace base_test;

namespace {

constexpr std::size_t limit = largest::mebibyte;

/// Pseudo-random, so that it cannot be compressed.
std::string noise(std::size_t length) {
  std::string bytes(length, '\0');
  std::uint32_t state = 1;
  for (char& byte : bytes) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<char>(state >> 24);
  }
  return bytes;
}

TEST(Decompression, GivesTheContent) {
  for (const std::string& content : {std::string(), std::string("text"), noise(300'000)}) {
    EXPECT_EQ(decompress(compressed_with_gzip(content), Compression::gzip, limit).bytes, content);
    EXPECT_EQ(decompress(compressed_with_xz(content), Compression::xz, limit).bytes, content);
    EXPECT_EQ(decompress(compressed_with_xz(content), Compression::xz, limit).error, "");
  }
}

TEST(Decompression, NoticesWhatIsCutOrChangedAnywhere) {
  const std::string content = "<profile>" + noise(200) + "</profile>";
  for (const auto& [compression, whole] :
       {std::pair(Compression::gzip, compressed_with_gzip(content)), std::pair(Compression::xz, compressed_with_xz(content))}) {
    for (std::size_t length = 6; length < whole.size(); ++length) {
      EXPECT_EQ(decompress(whole.substr(0, length), compression, limit).error, "is damaged") << length;
    }
    // In the eleventh byte of this gzip data there are bits without a meaning.
    for (std::size_t at = compression == Compression::gzip ? 11 : 6; at < whole.size(); ++at) {
      // The length at the end of gzip data, with which data in several parts begins, too.
      if (compression == Compression::gzip && at >= whole.size() - 4) continue;
      std::string changed = whole;
      changed[at] = static_cast<char>(changed[at] ^ 0x10);
      EXPECT_EQ(decompress(changed, compression, limit).error, "is damaged") << at;
    }
  }
}

TEST(Decompression, RefusesWhatIsNotCompressedLikeThat) {
  for (const std::string& content : {std::string(), std::string("text"), std::string("\x1F")}) {
    EXPECT_EQ(decompress(content, Compression::gzip, limit).error, "is not gzip data");
    EXPECT_EQ(decompress(content, Compression::xz, limit).error, "is not xz data");
  }
}

TEST(Decompression, StopsAtItsLimits) {
  const std::string large = noise(limit + 1);
  EXPECT_EQ(decompress(compressed_with_gzip(large.substr(1)), Compression::gzip, limit).error, "");
  const Unpacked larger = decompress(compressed_with_gzip(large), Compression::gzip, limit);
  EXPECT_EQ(larger.error, "unpacks to more than 1 MiB");
  EXPECT_TRUE(larger.exceeds_limit);
  EXPECT_EQ(larger.bytes, "");
  const Unpacked bomb = decompress(compressed_with_xz(std::string(64 * limit, 'x')), Compression::xz, 65 * limit);
  EXPECT_EQ(bomb.error, "unpacks to more than 250 times its size");
  EXPECT_TRUE(bomb.exceeds_limit);
}

TEST(ZipEntry, IsReadWithoutACentralDirectory) {
  const std::string zip = zipped({{"a", "first"}, {"b", "second"}});
  EXPECT_EQ(zip_entry(zip, "b", limit)->bytes, "second");
  EXPECT_EQ(zip_entry(zip.substr(0, zip.size() - 22), "b", limit)->bytes, "second");
  EXPECT_FALSE(zip_entry(zip, "c", limit).has_value());
  EXPECT_EQ(zip_entry("text", "a", limit)->error, "is not a zip archive");
  EXPECT_EQ(zip_entry(zipped({{"a", "x"}}, "password"), "a", limit)->error, "is encrypted");
  EXPECT_EQ(zip_entry(zipped({{"a", std::string(8 * limit, 'x')}}), "a", 9 * limit)->error,
            "unpacks to more than 250 times its size");
}

/// What is larger than a mebibyte may be so many times larger than its compressed form, and the next whole time a little less.
TEST(Decompression, HasALimitOfTheRatio) {
  const auto error_of = [](std::size_t size) {
    std::string gzip = compressed_with_gzip(std::string(size, 'x'));
    constexpr std::size_t end = 8;  // the checksum and the size
    // A name at the beginning makes the compressed form larger, by as much as is wanted.
    const std::size_t wanted = 2 * limit / largest::compression;
    gzip[3] = static_cast<char>(gzip[3] | 8);
    gzip.insert(10, std::string(wanted - gzip.size() - 1, 'n') + std::string(1, '\0'));
    EXPECT_EQ(gzip.size(), wanted);
    EXPECT_GT(gzip.size(), end);
    return decompress(gzip, Compression::gzip, 3 * limit).error;
  };
  const std::size_t wanted = 2 * limit / largest::compression;
  EXPECT_EQ(error_of((wanted + 1) * largest::compression - 1), "");
  EXPECT_EQ(error_of((wanted + 1) * largest::compression), "unpacks to more than 250 times its size");
}

TEST(Decompression, HasNoLimitOfTheRatioUpToAMebibyte) {
  EXPECT_EQ(decompress(compressed_with_gzip(std::string(limit, 'x')), Compression::gzip, 2 * limit).error, "");
  EXPECT_EQ(decompress(compressed_with_gzip(std::string(limit + 1, 'x')), Compression::gzip, 2 * limit).error,
            "unpacks to more than 250 times its size");
}

class ArchiveTest : public testing::Test {
 protected:
  static Archive archive(const std::string& bytes) {
    fake::write_file("file.zip", bytes);
    return Archive("file.zip");
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(ArchiveTest, NamesAndReadsItsEntries) {
  const Archive zip = archive(zipped({{"a", "first"}, {"b/c", noise(100'000)}, {"\xC3\xA4", "umlaut"}}));
  EXPECT_EQ(zip.error(), "");
  EXPECT_EQ(zip.names(), (std::set<std::string>{"a", "b/c", "\xC3\xA4"}));
  EXPECT_EQ(zip.read("a", limit).bytes, "first");
  EXPECT_EQ(zip.read("b/c", limit).bytes, noise(100'000));
  EXPECT_EQ(zip.read("b/c", 10).error, "unpacks to more than 0 MiB");
  EXPECT_EQ(archive(zipped({})).error(), "");
}

TEST_F(ArchiveTest, SaysWhyItCannotBeUsed) {
  const std::string zip = zipped({{"a", "first"}, {"b", "second"}});
  EXPECT_EQ(archive("").error(), "is not a zip archive");
  EXPECT_EQ(archive("text").error(), "is not a zip archive");
  constexpr const char* cut_off = "is cut off: the central directory of a zip archive is missing at its end";
  EXPECT_EQ(archive(zip.substr(0, zip.size() - 1)).error(), cut_off);
  EXPECT_EQ(archive(zip.substr(0, 40)).error(), cut_off);
  EXPECT_EQ(archive(zip.substr(1)).error(), "is not a zip archive");
  std::string moved = zip;
  moved.erase(45, 1);
  EXPECT_EQ(archive(moved).error(), "lacks bytes: its central directory is not where its end says");
  EXPECT_EQ(Archive("missing").error(), "cannot be read: No such file or directory");
  EXPECT_EQ(Archive(".").error(), "is not a regular file");
}

TEST_F(ArchiveTest, SaysWhyAnEntryCannotBeRead) {
  EXPECT_EQ(archive(zipped({{"a", "x"}}, "password")).read("a", limit).error, "is encrypted");
  const std::string content = noise(1000);
  std::string changed = zipped({{"a", content}});
  changed[changed.find(content.substr(0, 20)) + 5] ^= 1;
  EXPECT_EQ(archive(changed).read("a", limit).error, "is damaged");
}

TEST_F(ArchiveTest, ReadsWhatIsKeptTogetherWithTheNames) {
  fake::write_file("file.zip", zipped({{"a", "first"}, {"b", "second"}}));
  const Archive zip("file.zip", [](const std::string& name) { return name == "a"; });
  std::filesystem::remove("file.zip");
  EXPECT_EQ(zip.read("a", limit).bytes, "first");
  EXPECT_EQ(zip.read("b", limit).error, "cannot be read");
}

TEST_F(ArchiveTest, KeepsFewMebibytes) {
  const std::string most = noise(largest::configuration - 1);
  fake::write_file("file.zip", zipped({{"a", most}, {"b", most}, {"c", "third"}}));
  const Archive zip("file.zip", [](const std::string&) { return true; });
  std::filesystem::remove("file.zip");
  EXPECT_TRUE(zip.read("a", most.size()).bytes == most);
  EXPECT_TRUE(zip.read("b", most.size()).bytes == most);
  EXPECT_EQ(zip.read("c", limit).error, "cannot be read");
}

TEST_F(ArchiveTest, IsTheSameWhateverIsKept) {
  const std::string content = noise(1000);
  const std::string whole = zipped({{"a", content}, {"b", "second"}, {"c", std::string(largest::configuration + 1, 'x')}});
  std::string changed = whole;
  changed[changed.find(content.substr(0, 20)) + 5] ^= 1;
  std::string twice = zipped({{"a1", "first"}, {"a2", "second"}});
  for (std::size_t at = 0; (at = twice.find("a2")) != std::string::npos;) twice[at + 1] = '1';
  for (const std::string& bytes : {zipped({{"a", content}, {"b", "second"}}), twice, whole, changed,
                                   whole.substr(0, whole.size() - 1), zipped({{"a", "x"}}, "password")}) {
    const Archive zip = Archive::in_memory(bytes);
    const Archive keeping = Archive::in_memory(bytes, [](const std::string&) { return true; });
    EXPECT_EQ(keeping.error(), zip.error());
    EXPECT_EQ(keeping.names(), zip.names());
    for (const std::string& name : zip.names()) {
      for (const std::size_t most : {std::size_t{10}, limit, largest::artifact}) {
        EXPECT_EQ(keeping.read(name, most).bytes, zip.read(name, most).bytes) << name;
        EXPECT_EQ(keeping.read(name, most).error, zip.read(name, most).error) << name;
      }
    }
  }
}

TEST_F(ArchiveTest, KeepsBackslashesAsJavaDoes) {
  std::string zip = zipped({{"plugins\\a.jar", "a"}, {"content.jar", "c"}});
  // As programs on Windows say it: made for FAT.
  for (std::size_t at = 0; (at = zip.find("PK\1\2", at)) != std::string::npos; ++at) zip[at + 5] = 0;
  fake::write_file("a.zip", zip);
  EXPECT_EQ(Archive("a.zip").names(), (std::set<std::string>{"content.jar", "plugins\\a.jar"}));
}

TEST_F(ArchiveTest, KeepsBackslashesInLongNames) {
  const std::string name = std::string(300, 'a') + "\\b";
  EXPECT_EQ(archive(zipped({{name, "first"}, {"z\\c", "second"}})).names(), (std::set<std::string>{name, "z\\c"}));
}

TEST_F(ArchiveTest, SaysWhichCompressionJavaCannotUnpack) {
  const auto error_with = [](std::initializer_list<char> methods) {
    std::string zip = zipped({{"a", noise(50)}, {"b", noise(50)}, {"c", noise(50)}});
    std::size_t at = 0;
    for (const char method : methods) {
      zip[at + 8] = method;
      at = zip.find("PK\3\4", at + 1);
    }
    return archive(zip).error();
  };
  EXPECT_EQ(error_with({0, 8, 0}), "");
  EXPECT_EQ(error_with({8, 14, 12}), "is compressed by lzma, which Java cannot unpack; use deflate");
  EXPECT_EQ(error_with({8, 0, 12}), "is compressed by bzip, which Java cannot unpack; use deflate");
  EXPECT_EQ(archive(zipped({{"a", "text"}}, "password")).error(), "") << "encrypted";
}

TEST_F(ArchiveTest, ReadsEachOfSomeEntriesOnce) {
  const Archive zip = archive(zipped({{"a", "first"}, {"b", "second"}, {"c", "third"}}));
  const auto read = [&](const std::set<std::string>& names, std::size_t most) {
    std::vector<std::string> texts;
    zip.read_each(names, most, [&](const std::string& name, const Unpacked& content) {
      texts.push_back(name + ": " + content.bytes + content.error);
    });
    return texts;
  };
  using Texts = std::vector<std::string>;
  EXPECT_EQ(read({"c", "a", "missing"}, limit), (Texts{"a: first", "c: third"}));
  EXPECT_EQ(read({"b"}, 5), Texts{"b: unpacks to more than 0 MiB"});
  EXPECT_EQ(read({}, limit), Texts());
  std::filesystem::remove("file.zip");
  EXPECT_EQ(read({"a"}, limit), Texts());
  fake::write_file("file.zip", "text");
  EXPECT_EQ(read({"a"}, limit), Texts());
}

TEST_F(ArchiveTest, ReadsAllEntriesUpToOneThatIsDamaged) {
  std::string texts;
  const auto add = [&](const std::string& name, const std::string& bytes) { texts += name + "=" + bytes + ";"; };
  const std::string bytes = zipped({{"a", "first"}, {"b", noise(40)}, {"c", "third"}});
  EXPECT_EQ(archive(bytes).for_each(limit, add), "");
  EXPECT_EQ(texts, "a=first;b=" + noise(40) + ";c=third;");
  std::string changed = bytes;
  changed[changed.find(noise(40)) + 5] ^= 1;
  texts.clear();
  EXPECT_EQ(archive(changed).for_each(limit, add), "is damaged");
  EXPECT_EQ(texts, "a=first;");
  EXPECT_EQ(archive(bytes).for_each(20, add), "unpacks to more than 0 MiB");
}

TEST_F(ArchiveTest, MayChangeBeforeItIsRead) {
  const Archive zip = archive(zipped({{"a", "first"}}));
  EXPECT_EQ(zip.read("b", limit).error, "is damaged");
  for (const char* const change : {"gone", "text"}) {
    std::filesystem::remove("file.zip");
    if (change == std::string("text")) fake::write_file("file.zip", change);
    EXPECT_EQ(zip.read("a", limit).error, "cannot be read") << change;
    EXPECT_EQ(zip.for_each(limit, {}), "cannot be read") << change;
  }
}

TEST_F(ArchiveTest, HasALimitOfEntries) {
  Entries entries;
  for (std::size_t i = 0; i < largest::archive_entries; ++i) entries[std::to_string(i)] = "";
  EXPECT_EQ(archive(zipped(entries)).error(), "");
  entries["one more"] = "";
  const Archive zip = archive(zipped(entries));
  EXPECT_EQ(zip.error(), "has more than 200000 entries");
  EXPECT_TRUE(zip.exceeds_limit());
}

TEST_F(ArchiveTest, IsReadFromMemoryAsFromAFile) {
  const std::string whole = zipped({{"a", "text"}, {"d/b", noise(100'000)}});
  for (const std::string& bytes : {whole, whole + "comment", whole.substr(0, whole.size() - 1), whole.substr(1), zipped({}),
                                   std::string("text"), std::string()}) {
    fake::write_file("a.zip", bytes);
    const Archive in_file("a.zip");
    const Archive in_memory = Archive::in_memory(bytes);
    EXPECT_EQ(in_memory.error(), in_file.error());
    EXPECT_EQ(in_memory.names(), in_file.names());
    for (const std::string& name : in_file.names()) {
      EXPECT_EQ(in_memory.read(name, limit).bytes, in_file.read(name, limit).bytes);
    }
  }
}

TEST(ZipEnd, IsMissingWhenTheArchiveWasCut) {
  const fake::TemporaryDirectory directory;
  const std::string archive = zipped({{"a", "text"}});
  const auto error_of = [](const std::string& bytes) {
    fake::write_file("a.zip", bytes);
    return zip_end_error(OpenFile("a.zip"));
  };
  EXPECT_EQ(error_of(archive), "");
  EXPECT_EQ(error_of(archive + "comment"), "");
  EXPECT_EQ(error_of(zipped({})), "");
  EXPECT_EQ(error_of(archive + "PK\5, and more than the 22 bytes of an end"), "") << "only the beginning of its mark";
  EXPECT_EQ(error_of(archive + std::string(65535, 'x')), "");
  EXPECT_EQ(error_of(archive + std::string(65536, 'x')),
            "is cut off: the central directory of a zip archive is missing at its end");
  for (std::size_t length = 0; length < archive.size(); ++length) {
    EXPECT_EQ(error_of(archive.substr(0, length)), "is cut off: the central directory of a zip archive is missing at its end");
  }
  EXPECT_EQ(error_of(archive.substr(1)), "lacks bytes: its central directory is not where its end says");
  EXPECT_EQ(zip_end_error(OpenFile("missing.zip")), "");
}

TEST(ZipEnd, MayBeThatOfAnArchiveWhichIsStoredInTheOneThatWasCut) {
  const fake::TemporaryDirectory directory;
  constexpr const char* cut_off = "is cut off: the central directory of a zip archive is missing at its end";
  for (const std::string& inner : {zipped({{"a", "text"}}), zipped({})}) {
    const std::string entry = "PK\3\4" + std::string(26, 'x');
    fake::write_file("outer.zip", entry + inner + "the next entry");
    EXPECT_EQ(zip_end_error(OpenFile("outer.zip")), cut_off);
    EXPECT_EQ(Archive("outer.zip").error(), cut_off);
    fake::write_file("program.zip", "#!/bin/sh\n" + inner);
    EXPECT_EQ(zip_end_error(OpenFile("program.zip")), "") << "what unpacks itself";
  }
}

}  // namespace
