#include "fuzz/target.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "base/packing.h"
#include "base/printable.h"
#include "base/text.h"
#include "differential/readable.h"
#include "fake_host/temporary_directory.h"

using differential::readable;
namespace fs = std::filesystem;

namespace fuzz {

namespace {

bool is_name(std::string_view name) {
  const auto is_plain = [](char byte) {
    return std::isalnum(static_cast<unsigned char>(byte)) != 0 || std::string_view("./-_").find(byte) != std::string_view::npos;
  };
  if (name.empty() || !std::all_of(name.begin(), name.end(), is_plain)) return false;
  const auto parts = eclipse_base::split(name, '/');
  return std::none_of(parts.begin(), parts.end(),
                      [](const std::string& part) { return part.empty() || part == "." || part == ".."; });
}

std::string packed(const std::string& name, std::string content) {
  if (name.ends_with(".xz") && !content.starts_with("\xFD"
                                                    "7z"))
    return base_test::compressed_with_xz(content);
  if (name.ends_with(".gz") && !content.starts_with("\x1F\x8B")) return base_test::compressed_with_gzip(content);
  const fs::path file = fs::path(name).filename();
  if (file.extension() != ".jar" || content.starts_with("PK")) return content;
  return base_test::zipped({{file.stem().string() + ".xml", content}});
}

/// Whether a name is a directory of another one.
bool is_directory(const std::map<std::string, std::string>& files, const std::string& name) {
  const auto below = files.lower_bound(name + "/");
  return below != files.end() && below->first.starts_with(name + "/");
}

}  // namespace

void enter_own_directory() { static const fake::TemporaryDirectory directory; }

void report(std::string_view finding) {
  std::cerr << finding << std::endl;
  std::abort();
}

void expect(bool holds, std::string_view what) {
  if (!holds) report("does not hold: " + std::string(what));
}

void expect_same(std::string_view what, std::string_view one, std::string_view other) {
  if (one != other) report(std::string(what) + ":\n" + readable(one) + "\ndiffers from\n" + readable(other));
}

void expect_printable(std::string_view text, bool in_lines) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = eclipse_base::character_length(text.substr(at));
    const bool is_line_feed = in_lines && text[at] == '\n';
    if (!is_line_feed && (length == 0 || !eclipse_base::is_printable(text.substr(at, length))))
      report("is not printable: " + readable(text));
    at += length;
  }
}

std::map<std::string, std::string> files_in(const std::string& input) {
  constexpr std::string_view mark = "=== ";
  constexpr std::string_view raw = " raw";
  std::map<std::string, std::string> files;
  for (std::size_t at = input.starts_with(mark) ? 0 : input.npos; at != input.npos;) {
    const std::size_t line_end = std::min(input.find('\n', at), input.size());
    std::string name = input.substr(at + mark.size(), line_end - std::min(line_end, at + mark.size()));
    const bool is_raw = name.ends_with(raw);
    if (is_raw) name.resize(name.size() - raw.size());
    const std::size_t next = std::min(input.find("\n" + std::string(mark), line_end), input.size());
    const std::size_t start = std::min(line_end + 1, next);
    std::string content = input.substr(start, next - start);
    at = next == input.size() ? input.npos : next + 1;
    if (is_name(name)) files[name] = is_raw ? std::move(content) : packed(name, std::move(content));
  }
  std::erase_if(files, [&](const auto& file) { return is_directory(files, file.first); });
  return files;
}

void write_files(const std::string& directory, const std::map<std::string, std::string>& files) {
  fs::remove_all(directory);
  fs::create_directories(directory);
  for (const auto& [name, content] : files) fake::write_file(directory + "/" + name, content);
}

}  // namespace fuzz
