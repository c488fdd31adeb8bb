// The input is an archive or compressed data as it is, or files that are packed here. What is packed is read as it was, and no
// more than the limit; a jar that is signed here is accepted until it is altered.
#include "base/archive.h"

#include <algorithm>
#include <filesystem>

#include "base/digest.h"
#include "base/packing.h"
#include "fake_host/temporary_directory.h"
#include "fuzz/target.h"
#include "p2/signed_jar.h"

using namespace eclipse_base;
using base_test::Entries;
using fuzz::expect;
using fuzz::expect_same;

namespace {

constexpr std::size_t limit = 65536;
const std::string file = "a.zip";

void check_content(const Unpacked& unpacked) {
  expect(unpacked.bytes.size() <= limit, "no more is unpacked than the limit");
  expect(unpacked.error.empty() || unpacked.bytes.empty(), "there is content or an error");
  expect(!unpacked.exceeds_limit || !unpacked.error.empty(), "a limit is an error");
  fuzz::expect_printable(unpacked.error);
}

/// That an entry with a name of its own is the same, wherever it is read.
void check_entries(const Archive& archive) {
  std::map<std::string, std::vector<std::string>> contents;
  const std::string error =
      archive.for_each(limit, [&](const std::string& name, const std::string& bytes) { contents[name].push_back(bytes); });
  fuzz::expect_printable(error);
  for (const std::string& name : archive.names()) {
    const Unpacked entry = archive.read(name, limit);
    check_content(entry);
    const auto found = contents.find(name);
    if (!error.empty() || found == contents.end() || found->second.size() != 1) continue;
    expect_same("the entry " + name, entry.bytes, found->second.front());
    expect_same("its error", entry.error, "");
  }
}

void check_raw(const std::string& bytes) {
  fake::write_file(file, bytes);
  const Archive archive(file);
  fuzz::expect_printable(archive.error());
  expect(!archive.exceeds_limit() || !archive.error().empty(), "a limit is an error");
  if (archive.error().empty()) check_entries(archive);
  if (const auto entry = zip_entry(bytes, "content.xml", limit)) check_content(*entry);
  check_content(decompress(bytes, Compression::gzip, limit));
  check_content(decompress(bytes, Compression::xz, limit));
  const std::string altered = eclipse_p2::signature_error(eclipse_p2::jar_file(file));
  expect(altered.empty() || archive.error().empty(), "only what can be read is known to be altered");
}

void check_packed(const Entries& entries) {
  const std::string zip = base_test::zipped(entries);
  fake::write_file(file, zip);
  const Archive archive(file);
  expect_same("the error of a good archive", archive.error(), "");
  expect(archive.names().size() == entries.size(), "all entries are there");
  for (const auto& [name, content] : entries) {
    expect_same(name, archive.read(name, limit).bytes, content);
    expect_same(name + " in a stream", zip_entry(zip, name, limit).value().bytes, content);
    expect_same(name + " in gzip", decompress(base_test::compressed_with_gzip(content), Compression::gzip, limit).bytes,
                content);
    if (!content.empty()) expect(archive.read(name, content.size() - 1).exceeds_limit, "a limit holds");
  }
  check_entries(archive);
}

/// "Name: VALUE" in lines of 72 bytes, as a manifest has it.
std::string attribute(const std::string& name, const std::string& value) {
  std::string line = name + ": " + value;
  for (std::size_t at = 70; at < line.size(); at += 72) line.insert(at, "\r\n ");
  return line + "\r\n";
}

void check_signed(const Entries& entries) {
  std::string sections;
  for (const auto& [name, content] : entries) {
    sections += attribute("Name", name) + attribute("SHA-256-Digest", base64_digest_of(content, Digest::sha_256)) + "\r\n";
  }
  Entries jar = entries;
  jar["META-INF/MANIFEST.MF"] = "Manifest-Version: 1.0\r\n\r\n" + sections;
  jar["META-INF/K.SF"] = "Signature-Version: 1.0\r\n" +
                         attribute("SHA-256-Digest-Manifest", base64_digest_of(jar["META-INF/MANIFEST.MF"], Digest::sha_256)) +
                         "\r\n" + sections;
  jar["META-INF/K.RSA"] = "";
  fake::write_file("a.jar", base_test::zipped(jar));
  expect_same("the error of a signed jar", eclipse_p2::signature_error(eclipse_p2::jar_file("a.jar")), "");
  const std::string altered = entries.begin()->first;
  jar[altered] += "x";
  fake::write_file("a.jar", base_test::zipped(jar));
  expect_same("that of an altered one", eclipse_p2::signature_error(eclipse_p2::jar_file("a.jar")),
              "was altered after it was signed: " + altered);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::enter_own_directory();
  const std::string input = fuzz::text_of(data, size);
  check_raw(input);
  const Entries files = fuzz::files_in(input);
  if (files.empty()) return 0;
  check_packed(files);
  if (std::none_of(files.begin(), files.end(), [](const auto& entry) { return entry.first.starts_with("META-INF"); }))
    check_signed(files);
  return 0;
}
