// The samples of all rules, and all that lint says of the bad ones as they are, doubled and with other line ends: each text and
// each place.
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>

#include "base/digest.h"
#include "base/printable.h"
#include "base/text.h"
#include "fake_host/written_down.h"
#include "lint/samples.h"

using namespace eclipse_lint;
using namespace lint_test;

namespace {

constexpr std::size_t longest_content = 4000;
constexpr std::size_t most_findings = 10;

/// Bytes as lines of printable characters; of very long ones only the digest.
std::string shown(const std::string& content) {
  using namespace eclipse_base;
  if (content.size() > longest_content) {
    return "    " + std::to_string(content.size()) + " bytes, SHA-256 " + digest_of(content, Digest::sha_256) + "\n";
  }
  std::string text;
  for (const std::string& line : split(content, '\n')) text += "    |" + printable(line, {.longest = no_limit}) + "|\n";
  return text;
}

std::string shown(const SampleFile& file) {
  std::ostringstream text;
  text << "  " << eclipse_base::printable(file.name) << " " << std::oct << file.permissions << " " << file.link_to << "\n";
  text << shown(file.content);
  for (const auto& [name, content] : file.entries) text << "   entry " << name << "\n" << shown(content);
  return text.str();
}

std::string shown(const Sample& sample) {
  std::string text = "  input " + sample.input + "\n";
  for (const SampleFile& file : sample.files) text += shown(file);
  return text;
}

TEST(Samples, AreWrittenDown) {
  std::string text;
  for (const Rule& rule : rules()) {
    text += std::string(rule.name) + ", bad\n" + shown(rule.bad) + std::string(rule.name) + ", good\n" + shown(rule.good);
  }
  fake::expect_written_down(text, std::string(WRITTEN_DOWN) + "/samples.txt");
}

std::string shown(const Edit& edit) {
  std::ostringstream text;
  text << "    " << edit.offset << "+" << edit.length << " (" << edit.begin.line << ":" << edit.begin.column << " to "
       << edit.end.line << ":" << edit.end.column << ") -> |"
       << eclipse_base::printable(edit.replacement, {.longest = eclipse_base::no_limit}) << "|\n";
  return text.str();
}

std::string shown(const Finding& finding) {
  std::string text = summary_of({finding}).front() + " (" + std::string(name_of(finding.severity)) + ")\n";
  text += "  " + finding.message + "\n  " + finding.fix + "\n";
  if (finding.reason) text += "  suppressed: " + *finding.reason + "\n";
  if (finding.correction) {
    text += std::string("  ") + (finding.correction->is_safe ? "safe: " : "unsafe: ") + finding.correction->title + "\n";
    for (const Edit& edit : finding.correction->edits) text += shown(edit);
  }
  return text;
}

/// Of very many, only the first ones as they are.
std::string shown(const Findings& findings) {
  std::string text;
  std::string rest;
  for (std::size_t i = 0; i < findings.size(); ++i) (i < most_findings ? text : rest) += shown(findings[i]);
  return rest.empty() ? text : text + "and more\n" + shown(rest);
}

/// Without what depends on the path of the temporary directory.
std::string independent(std::string text, const std::string& directory) {
  const std::string before = "command line has ";
  if (const auto number = text.find(before); number != text.npos) {
    const std::size_t start = number + before.size();
    text.replace(start, text.find(' ', start) - start, "N");
  }
  return eclipse_base::replaced(text, directory, "DIRECTORY");
}

using Change = std::string (*)(const std::string& content);

/// The sample with changed descriptor files, apart from very long ones.
Sample changed(Sample sample, Change change) {
  for (SampleFile& file : sample.files) {
    const bool is_descriptor = file.name == sample.input || file.name.find("etc/eclipse/") != std::string::npos;
    if (is_descriptor && !file.name.ends_with(".json") && file.content.size() <= longest_content)
      file.content = change(file.content);
  }
  return sample;
}

/// All findings in the bad samples of a group, with this change.
std::string findings_of(Group group, Change change) {
  std::string text;
  for (const Rule* const rule : rules_named(name_of(group))) {
    const fake::TemporaryDirectory directory;
    const Sample sample = changed(rule->bad, change);
    write_sample(sample);
    std::filesystem::permissions(".", std::filesystem::perms(0755));  // others may read it
    text += "# " + std::string(rule->name) + "\n" + independent(shown(findings_in(sample.input)), directory.path());
  }
  return text;
}

class FindingsOfGroup : public testing::TestWithParam<Group> {
 protected:
  static void expect_written_down(Change change, const std::string& name) {
    const std::string group(name_of(GetParam()));
    fake::expect_written_down(findings_of(GetParam(), change), std::string(WRITTEN_DOWN) + "/" + group + name + ".txt");
  }
};

TEST_P(FindingsOfGroup, InBadSamplesAreWrittenDown) {
  expect_written_down([](const std::string& content) { return content; }, "");
}

/// So that there are several lines of each kind.
TEST_P(FindingsOfGroup, InDoubledBadSamplesAreWrittenDown) {
  expect_written_down([](const std::string& content) { return content + content; }, ".doubled");
}

TEST_P(FindingsOfGroup, InBadSamplesWithCarriageReturnsAreWrittenDown) {
  expect_written_down([](const std::string& content) { return eclipse_base::replaced(content, "\n", "\r\n"); }, ".returns");
}

INSTANTIATE_TEST_SUITE_P(WrittenDown, FindingsOfGroup, testing::ValuesIn(groups),
                         [](const auto& parameter) { return std::string(name_of(parameter.param)); });

}  // namespace
