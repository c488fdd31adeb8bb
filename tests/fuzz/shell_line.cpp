// The input is a command line. Its words, quoted again, are the same words; what is said of it is at bytes that it has; and any
// text can be quoted.
#include "shell/shell_reading.h"

#include <algorithm>

#include "fuzz/target.h"

using namespace eclipse_shell;
using fuzz::expect;

namespace {

std::string quoted(const ShellWords& words) {
  std::string line;
  for (const std::string& word : words) line += (line.empty() ? "" : " ") + quoted_for_shell(word);
  return line;
}

void check_remarks(const ShellReading& reading, std::size_t size) {
  for (std::size_t i = 0; i < reading.remarks.size(); ++i) {
    expect(reading.remarks[i].offset < size && !reading.remarks[i].effect.empty(), "a remark is on a byte of the line");
    expect(i == 0 || reading.remarks[i - 1].offset <= reading.remarks[i].offset, "remarks are in the order of the line");
  }
  for (std::size_t i = 0; i < reading.word_ends.size(); ++i) {
    expect(reading.word_ends[i] < size, "a space is a byte of the line");
    expect(i == 0 || reading.word_ends[i - 1] < reading.word_ends[i], "spaces are in the order of the line");
  }
}

void check_quoted(const std::string& text) {
  const ShellReading reading = read_as_shell("x " + quoted_for_shell(text) + std::string(command_end));
  if (text.find('\0') != text.npos)
    return expect(!reading.error.empty() && reading.commands.empty(), "no shell gets a NUL byte");
  expect(reading.starts_only({"x", text}), "a quoted text is one word");
  if (!is_plain(text)) return;
  expect(read_as_shell("x " + text + std::string(command_end)).starts_only({"x", text}), "a plain text is one word");
  expect(read_as_shell("x a" + text + std::string(command_end)).starts_only({"x", "a" + text}), "and a part of one");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string line = fuzz::text_of(data, size);
  const ShellReading reading = read_as_shell(line);
  check_remarks(reading, size);
  expect(!reading.error.ends_with(" is not closed") || !reading.remarks.empty(), "what is not closed has a remark");
  for (const ShellWords& words : reading.commands) {
    expect(!words.empty(), "no command is without words");
    const ShellReading again = read_as_shell(quoted(words));
    expect(again.error.empty() && again.commands.size() == 1 && again.commands.front() == words,
           "quoted words are the same words");
  }
  const std::string word = as_word(line);
  expect(word == line || as_word(quoted_for_shell(word)) == word, "a word is what its quoted form means");
  check_quoted(line);
  return 0;
}
