#include "p2/signed_jar.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <vector>

#include "base/archive.h"
#include "base/digest.h"
#include "base/limits.h"
#include "base/text.h"
#include "p2/jar_manifest.h"

using namespace eclipse_base;

namespace eclipse_p2 {

namespace {

/// Jars signed with older ones count as not signed, at least if they are recent.
constexpr std::array checked_digests = {Digest::sha_512, Digest::sha_256};

/// With the empty line at its end.
std::string_view main_section_of(std::string_view text) {
  std::size_t end = text.size();
  for (const std::string_view empty_line : {"\r\n\r\n", "\n\n", "\r\r"}) {
    const std::size_t at = text.find(empty_line);
    if (at != text.npos) end = std::min(end, at + empty_line.size());
  }
  return text.substr(0, end);
}

/// Whether bytes differ from a digest in attributes such as "SHA-256-Digest", whose name ends as given.
bool differ(std::string_view bytes, const Section& attributes, const std::string& end) {
  return std::any_of(checked_digests.begin(), checked_digests.end(), [&](Digest digest) {
    const auto listed = attributes.find(lower_case(name_of(digest)) + end);
    return listed != attributes.end() && listed->second != base64_digest_of(bytes, digest);
  });
}

constexpr std::string_view signature_ending = ".SF";

bool is_signature_file(const std::string& entry) { return entry.starts_with("META-INF/") && entry.ends_with(signature_ending); }

bool is_manifest_or_signature(const std::string& entry) { return entry == manifest_name || is_signature_file(entry); }

/// The signature files that have a block, each "META-INF/NAME.SF".
std::vector<std::string> signature_files_in(const Archive& jar) {
  constexpr std::array<std::string_view, 3> blocks = {".RSA", ".DSA", ".EC"};
  std::vector<std::string> files;
  for (const std::string& name : jar.names()) {
    if (!is_signature_file(name)) continue;
    const std::string base = name.substr(0, name.size() - signature_ending.size());
    const auto has_block = [&](std::string_view block) { return jar.has(base + std::string(block)); };
    if (std::any_of(blocks.begin(), blocks.end(), has_block)) files.push_back(name);
  }
  return files;
}

/// The director accepts a manifest with further entries, as those of a second signature are.
bool is_altered(const std::string& manifest, const Section& signature) {
  return differ(manifest, signature, "-digest-manifest") &&
         differ(main_section_of(manifest), signature, "-digest-manifest-main-attributes");
}

}  // namespace

Archive jar_file(std::filesystem::path file) { return Archive(std::move(file), is_manifest_or_signature); }

Archive jar_in_memory(std::string_view content) { return Archive::in_memory(content, is_manifest_or_signature); }

std::string signature_error(const Archive& archive) {
  if (!archive.error().empty() || !archive.has(manifest_name)) return "";
  const std::vector<std::string> signature_files = signature_files_in(archive);
  if (signature_files.empty()) return "";
  const Unpacked text = archive.read(manifest_name, largest::artifact);
  Manifest manifest = manifest_in(text.bytes);
  std::map<std::string, Section> is_signed;
  for (const std::string& file : signature_files) {
    const Manifest signature = manifest_in(archive.read(file, largest::artifact).bytes);
    if (is_altered(text.bytes, signature.main)) return std::string("was altered after it was signed: ") + manifest_name;
    for (const auto& [name, section] : signature.entries) is_signed.insert(manifest.entries.extract(name));
  }
  if (is_signed.empty()) return "";
  std::string altered;
  archive.for_each(largest::artifact, [&](const std::string& name, const std::string& bytes) {
    const auto entry = is_signed.find(name);
    if (altered.empty() && entry != is_signed.end() && differ(bytes, entry->second, "-digest")) altered = name;
  });
  return altered.empty() ? "" : "was altered after it was signed: " + altered;
}

}  // namespace eclipse_p2
