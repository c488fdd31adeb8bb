// The part of the shell's grammar that splits a line into words:
//
//   line        = command *( operator command )
//   command     = *( blank / assignment / redirection ) *( blank / word / redirection / comment )
//   assignment  = name "=" word
//   operator    = ";" / "&" / "|" / "(" / ")" / LF     and the doubled ones
//   redirection = *DIGIT ( "<" / ">" ) [ "<" / ">" / "&" / "|" ] *blank word
//   word        = 1*( plain / "\" any / "'" *any "'" / DQUOTE *( any / "\" any / expanded ) DQUOTE / expanded )
//   expanded    = "$" name / "${" *any "}" / "$(" *any ")" / "`" *any "`" / "*" / "?" / "["
//   comment     = "#" *any                             only where a word could begin
#include "shell/shell_reading.h"

#include <algorithm>
#include <cctype>

#include "base/printable.h"
#include "base/text.h"
#include "shell/exit_code.h"
#include "shell/pathname_expansion.h"

namespace eclipse_shell {

namespace {

constexpr std::string_view spaces = " \t";
constexpr std::string_view operators = ";&|()\n";
constexpr std::string_view globs = "*?[";
/// Characters that end a word, or are special within one.
constexpr std::string_view special = " \t;&|()\n<>\\'\"$`*?[";

bool is_digit(char byte) { return std::isdigit(static_cast<unsigned char>(byte)) != 0; }

bool is_number(std::string_view text) { return !text.empty() && std::all_of(text.begin(), text.end(), is_digit); }

/// Letters, digits and "./:_". It does not stop at others, so that the compiler can look at many bytes at once: texts may be
/// very long.
bool has_only_plain_bytes(std::string_view text) {
  const auto is_in = [](unsigned char byte, unsigned char first, unsigned char last) {
    return static_cast<unsigned char>(byte - first) <= static_cast<unsigned char>(last - first);
  };
  unsigned char others = 0;
  for (const char each : text) {
    const auto byte = static_cast<unsigned char>(each);
    const bool is_plain = is_in(byte | 0x20U, 'a', 'z') || is_in(byte, '.', ':') || byte == '_';
    others |= static_cast<unsigned char>(!is_plain);
  }
  return others == 0;
}

/// Whether "$" and this byte begin a parameter expansion.
bool begins_parameter(char byte) {
  return std::isalnum(static_cast<unsigned char>(byte)) != 0 ||
         std::string_view("_{(@*#?-$!").find(byte) != std::string_view::npos;
}

/// Whether the text begins with the name of a variable and "=".
bool is_assignment(std::string_view text) {
  const auto end =
      std::find_if(text.begin(), text.end(), [](unsigned char byte) { return std::isalnum(byte) == 0 && byte != '_'; });
  return end != text.begin() && end != text.end() && *end == '=' && !is_digit(text.front());
}

/// Of "<&" or ">&" after the number of a file descriptor, which may be left out.
std::string effect_of_duplicate(std::string_view number, char arrow, bool closes) {
  std::string file = "file descriptor " + std::string(number);
  if (number == "0" || (number.empty() && arrow == '<')) file = "standard input";
  if (number == "1" || (number.empty() && arrow == '>')) file = "standard output";
  if (number == "2") file = "standard error";
  if (closes) return file + " is closed";
  return file + (arrow == '<' ? " is redirected from another file descriptor" : " is redirected to another file descriptor");
}

/// A word while it is read.
struct Word {
  std::string text;                ///< after quote removal
  std::string pattern;             ///< for pathname expansion: the same, with a backslash before each quoted character
  std::vector<std::size_t> globs;  ///< where "*", "?" and "[" are that are not quoted
  bool has_expansion = false;      ///< of another kind

  void add(std::string_view unquoted) {
    text += unquoted;
    pattern += unquoted;
  }
  void add_quoted(char byte) {
    text += byte;
    // A slash separates directories, quoted or not.
    if (byte != '/') pattern += '\\';
    pattern += byte;
  }
};

class ShellReader {
 public:
  explicit ShellReader(std::string_view line) : line_(line) {}

  ShellReading read() {
    if (const std::size_t zero = line_.find('\0'); zero != line_.npos) return unreadable(zero);
    while (reading_.error.empty() && at_ < line_.size()) read_part();
    if (reading_.error.empty() && wants_more_ && !command_begun_) refuse("a command is missing at the end");
    std::erase_if(reading_.commands, [](const ShellWords& words) { return words.empty(); });
    // The remark on quotes comes at the closing quote, after those on the quoted text.
    std::stable_sort(reading_.remarks.begin(), reading_.remarks.end(),
                     [](const ShellRemark& one, const ShellRemark& other) { return one.offset < other.offset; });
    return std::move(reading_);
  }

 private:
  /// No shell gets the line, so there are no words.
  static ShellReading unreadable(std::size_t zero) {
    ShellReading reading;
    reading.commands.clear();
    reading.remarks.push_back({zero, "a shell command cannot contain a NUL byte"});
    reading.error = "byte " + std::to_string(zero + 1) + " is NUL, and a shell command cannot contain a NUL byte (exit code " +
                    std::to_string(exit_code::not_started) + ")";
    return reading;
  }

  char next() const { return line_[at_]; }
  bool is_at(std::string_view bytes) const { return at_ < line_.size() && bytes.find(next()) != bytes.npos; }
  void remark(std::size_t offset, std::string effect) { reading_.remarks.push_back({offset, std::move(effect)}); }
  void refuse(std::string error) { reading_.error = std::move(error); }

  void refuse_at(std::size_t offset, std::string error) {
    remark(offset, "the shell rejects the command here");
    refuse(std::move(error));
  }

  void expanded(std::size_t offset, std::string effect) {
    reading_.has_expansion = true;
    remark(offset, std::move(effect));
  }

  void expand(Word& word, std::size_t offset, std::string effect) {
    word.has_expansion = true;
    expanded(offset, std::move(effect));
  }

  void read_part() {
    if (is_at(spaces)) {
      reading_.word_ends.push_back(at_);
      at_ = std::min(line_.find_first_not_of(spaces, at_), line_.size());
    } else if (is_at(operators)) {
      read_operator();
    } else if (next() == '#') {
      remark(at_, "the rest of the line is a comment");
      at_ = std::min(line_.find('\n', at_), line_.size());
    } else {
      read_word_or_redirection();
    }
  }

  void read_operator() {
    const std::size_t start = at_;
    const char first = next();
    while (is_at({&first, 1})) ++at_;
    const std::string text(line_.substr(start, at_ - start));
    if (first == '\n') {
      wants_more_ = wants_more_ && !command_begun_;
    } else if (text != ";" && text != "&" && text != "|" && text != "&&" && text != "||") {
      return refuse_at(start, "unexpected \"" + text + "\"");
    } else if (!command_begun_) {
      return refuse_at(start, "a command is missing before \"" + text + "\"");
    } else {
      wants_more_ = text != ";" && text != "&";
    }
    remark(start, "the command ends here, and the rest is run as another command");
    command_begun_ = false;
    reading_.commands.emplace_back();
  }

  /// A number directly before the arrow belongs to it.
  void read_word_or_redirection() {
    command_begun_ = true;
    std::size_t arrow = at_;
    while (arrow < line_.size() && is_digit(line_[arrow])) ++arrow;
    if (arrow < line_.size() && (line_[arrow] == '<' || line_[arrow] == '>')) {
      read_redirection(arrow);
    } else {
      const bool assigns = reading_.commands.back().empty() && is_assignment(line_.substr(at_));
      if (assigns) expanded(at_, "the word assigns a variable, and the command begins after it");
      Word word = read_word();
      word.has_expansion = word.has_expansion || assigns;
      add(std::move(word));
    }
  }

  /// What matches replaces the word, unless the shell expands something else in it, too.
  void add(Word word) {
    ShellWords& words = reading_.commands.back();
    if (word.globs.empty() || word.has_expansion) return words.push_back(std::move(word.text));
    const auto paths = expanded_pathnames(word.pattern);
    if (!paths) {
      expanded(word.globs.front(), "pathname expansion may replace the word with file names, among too many to look at");
      words.push_back(std::move(word.text));
    } else if (paths->empty() || *paths == ShellWords{word.text}) {
      reading_.idle_globs.insert(reading_.idle_globs.end(), word.globs.begin(), word.globs.end());
      words.push_back(std::move(word.text));
    } else {
      expanded(word.globs.front(), "pathname expansion replaces the word with " + list_of(*paths));
      words.insert(words.end(), paths->begin(), paths->end());
    }
  }

  static std::string list_of(std::vector<std::string> paths) {
    std::transform(paths.begin(), paths.end(), paths.begin(), eclipse_base::in_quotes);
    return eclipse_base::first_few(paths);
  }

  void read_redirection(std::size_t arrow) {
    const std::size_t start = at_;
    at_ = arrow + 1;
    if (is_at("<>&|")) ++at_;
    const bool duplicates = line_[at_ - 1] == '&';
    while (is_at(spaces)) ++at_;
    if (at_ == line_.size() || is_at(operators) || is_at("<>"))
      return refuse_at(start, "the target of a redirection is missing");
    const std::string target = read_word().text;
    const std::string text(line_.substr(start, at_ - start));
    reading_.redirections.push_back(text);
    if (duplicates && !is_number(target) && target != "-") {
      refuse_at(start, "\"" + text + "\" redirects to the file descriptor \"" + target + "\", which is not a number");
    } else if (text != error_redirection) {
      remark(start, duplicates ? effect_of_duplicate(line_.substr(start, arrow - start), line_[arrow], target == "-")
                               : "the input or output is redirected to a file");
    }
  }

  Word read_word() {
    Word word;
    const std::size_t start = at_;
    while (reading_.error.empty() && at_ < line_.size() && !is_at(spaces) && !is_at(operators) && !is_at("<>")) {
      if (next() == '~' && at_ == start) expand(word, at_, "tilde expansion replaces \"~\" with a home directory");
      if (is_at(globs)) word.globs.push_back(at_);
      read_piece(word);
    }
    return word;
  }

  void read_piece(Word& word) {
    switch (next()) {
      case '\\':
        return read_escaped(word);
      case '\'':
        return read_single_quoted(word);
      case '"':
        return read_double_quoted(word);
      case '$':
      case '`':
        return read_expanded(word);
      default:
        return read_plain(word);
    }
  }

  void read_plain(Word& word) {
    const std::size_t end = std::min(line_.find_first_of(special, at_ + 1), line_.size());
    word.add(line_.substr(at_, end - at_));
    at_ = end;
  }

  void read_escaped(Word& word) {
    remark(at_, "the backslash is removed");
    if (++at_ == line_.size()) {
      word.add_quoted('\\');
    } else if (next() == '\n') {
      ++at_;
    } else {
      word.add_quoted(line_[at_++]);
    }
  }

  void read_single_quoted(Word& word) {
    const std::size_t end = line_.find('\'', at_ + 1);
    if (end == line_.npos) return refuse_open_quote(at_);
    remark(at_, "the quotes are removed");
    for (const char byte : line_.substr(at_ + 1, end - at_ - 1)) word.add_quoted(byte);
    at_ = end + 1;
  }

  void read_double_quoted(Word& word) {
    const std::size_t start = at_++;
    while (reading_.error.empty()) {
      if (at_ == line_.size()) return refuse_open_quote(start);
      if (next() == '"') break;
      if (next() == '\\' && at_ + 1 < line_.size() &&
          std::string_view("$`\"\\\n").find(line_[at_ + 1]) != std::string_view::npos) {
        read_escaped(word);
      } else if (is_at("$`")) {
        read_expanded(word);
      } else {
        word.add_quoted(line_[at_++]);
      }
    }
    remark(start, reading_.error.empty() ? "the quotes are removed" : "the closing quote is missing");
    ++at_;
  }

  void refuse_open_quote(std::size_t offset) {
    remark(offset, "the closing quote is missing");
    refuse("the quote at byte " + std::to_string(offset + 1) + " is not closed");
  }

  void read_expanded(Word& word) {
    const std::size_t start = at_;
    const std::string_view rest = line_.substr(at_ + 1);
    if (next() == '`') {
      skip_to(word, line_.find('`', at_ + 1), "`", "the output of the command between the backquotes is substituted");
    } else if (rest.starts_with('(')) {
      skip_to(word, end_of_nested('(', ')'), "$(", "the output of the command between the parentheses is substituted");
    } else if (rest.starts_with('{')) {
      skip_to(word, end_of_nested('{', '}'), "${", "the value of a variable is substituted");
    } else {
      if (!rest.empty() && begins_parameter(rest.front())) expand(word, start, "the value of a variable is substituted");
      ++at_;
    }
    word.add(line_.substr(start, at_ - start));
  }

  void skip_to(Word& word, std::size_t end, const std::string& opening, std::string effect) {
    expand(word, at_, end == line_.npos ? "the closing character is missing" : std::move(effect));
    if (end == line_.npos) refuse("the \"" + opening + "\" at byte " + std::to_string(at_ + 1) + " is not closed");
    at_ = end == line_.npos ? line_.size() : end + 1;
  }

  std::size_t end_of_nested(char opening, char closing) const {
    std::size_t depth = 0;
    for (std::size_t i = at_ + 1; i < line_.size(); ++i) {
      if (line_[i] == opening) ++depth;
      if (line_[i] == closing && --depth == 0) return i;
    }
    return line_.npos;
  }

  std::string_view line_;
  std::size_t at_ = 0;
  bool command_begun_ = false;  ///< since the last operator
  bool wants_more_ = false;     ///< the last operator must be followed by a command
  ShellReading reading_;
};

}  // namespace

bool ShellReading::starts_only(const ShellWords& words) const {
  return error.empty() && !has_expansion && commands.size() == 1 && commands.front() == words &&
         redirections == std::vector{std::string(error_redirection)};
}

std::string quoted_for_shell(std::string_view text) {
  std::string quoted = "'";
  for (const char byte : text) quoted += byte == '\'' ? "'\\''" : std::string(1, byte);
  return quoted + "'";
}

bool is_plain(std::string_view text) {
  // Digits alone can be the number of a file descriptor.
  return !text.empty() && !is_digit(text.front()) && has_only_plain_bytes(text);
}

ShellReading read_as_shell(std::string_view line) { return ShellReader(line).read(); }

std::optional<std::string> word_of(const std::string& text) {
  if (is_plain(text)) return text;
  // What follows it in a command may become part of it, or of a comment.
  const ShellReading reading = read_as_shell("x " + text + std::string(command_end));
  const bool is_word =
      reading.commands.size() == 1 && reading.commands.front().size() == 2 && reading.starts_only(reading.commands.front());
  return is_word ? std::optional(reading.commands.front().back()) : std::nullopt;
}

std::string as_word(const std::string& text) { return word_of(text).value_or(text); }

}  // namespace eclipse_shell
