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

#include "shell/exit_code.h"

namespace eclipse_shell {

namespace {

constexpr std::string_view spaces = " \t";
constexpr std::string_view operators = ";&|()\n";
/// Characters that end a word, or are special within one.
constexpr std::string_view special = " \t;&|()\n<>\\'\"$`*?[";

bool is_digit(char byte) { return std::isdigit(static_cast<unsigned char>(byte)) != 0; }

bool is_number(std::string_view text) { return !text.empty() && std::all_of(text.begin(), text.end(), is_digit); }

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
    reading.remarks.push_back({zero, "a shell command cannot contain a zero byte"});
    reading.error = "byte " + std::to_string(zero + 1) +
                    " is zero, and a shell command cannot contain a zero byte (exit status " +
                    std::to_string(exit_code::not_started) + ")";
    return reading;
  }

  char next() const { return line_[at_]; }
  bool is_at(std::string_view bytes) const { return at_ < line_.size() && bytes.find(next()) != bytes.npos; }
  void remark(std::size_t offset, std::string effect) { reading_.remarks.push_back({offset, std::move(effect)}); }
  void refuse(std::string error) { reading_.error = std::move(error); }

  void expanded(std::size_t offset, std::string effect) {
    reading_.has_expansion = true;
    remark(offset, std::move(effect));
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
      return refuse("unexpected \"" + text + "\"");
    } else if (!command_begun_) {
      return refuse("a command is missing before \"" + text + "\"");
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
      if (reading_.commands.back().empty() && is_assignment(line_.substr(at_))) {
        expanded(at_, "the word assigns a variable, and the command begins after it");
      }
      reading_.commands.back().push_back(read_word());
    }
  }

  void read_redirection(std::size_t arrow) {
    const std::size_t start = at_;
    at_ = arrow + 1;
    if (is_at("<>&|")) ++at_;
    const bool duplicates = line_[at_ - 1] == '&';
    while (is_at(spaces)) ++at_;
    if (at_ == line_.size() || is_at(operators) || is_at("<>")) return refuse("the target of a redirection is missing");
    const std::string target = read_word();
    const std::string text(line_.substr(start, at_ - start));
    reading_.redirections.push_back(text);
    if (duplicates && !is_number(target) && target != "-") {
      refuse("\"" + text + "\" redirects to the file descriptor \"" + target + "\", which is not a number");
    } else if (text != error_redirection) {
      remark(start, duplicates ? effect_of_duplicate(line_.substr(start, arrow - start), line_[arrow], target == "-")
                               : "the input or output is redirected to a file");
    }
  }

  std::string read_word() {
    std::string word;
    const std::size_t start = at_;
    while (reading_.error.empty() && at_ < line_.size() && !is_at(spaces) && !is_at(operators) && !is_at("<>")) {
      if (next() == '~' && at_ == start) expanded(at_, "tilde expansion replaces \"~\" with a home directory");
      if (is_at("*?[")) expanded(at_, std::string("pathname expansion may replace the word with \"") + next() + "\"");
      read_piece(word);
    }
    return word;
  }

  void read_piece(std::string& word) {
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

  void read_plain(std::string& word) {
    const std::size_t end = std::min(line_.find_first_of(special, at_ + 1), line_.size());
    word += line_.substr(at_, end - at_);
    at_ = end;
  }

  void read_escaped(std::string& word) {
    remark(at_, "the backslash is removed");
    if (++at_ == line_.size()) {
      word += '\\';
    } else if (next() == '\n') {
      ++at_;
    } else {
      word += line_[at_++];
    }
  }

  void read_single_quoted(std::string& word) {
    const std::size_t end = line_.find('\'', at_ + 1);
    if (end == line_.npos) return refuse_open_quote(at_);
    remark(at_, "the quotes are removed");
    word += line_.substr(at_ + 1, end - at_ - 1);
    at_ = end + 1;
  }

  void read_double_quoted(std::string& word) {
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
        word += line_[at_++];
      }
    }
    remark(start, reading_.error.empty() ? "the quotes are removed" : "the closing quote is missing");
    ++at_;
  }

  void refuse_open_quote(std::size_t offset) {
    remark(offset, "the closing quote is missing");
    refuse("the quote at byte " + std::to_string(offset + 1) + " is not closed");
  }

  void read_expanded(std::string& word) {
    const std::size_t start = at_;
    const std::string_view rest = line_.substr(at_ + 1);
    if (next() == '`') {
      skip_to(line_.find('`', at_ + 1), "`", "the output of the command between the backquotes is substituted");
    } else if (rest.starts_with('(')) {
      skip_to(end_of_nested('(', ')'), "$(", "the output of the command between the parentheses is substituted");
    } else if (rest.starts_with('{')) {
      skip_to(end_of_nested('{', '}'), "${", "the value of a variable is substituted");
    } else {
      if (!rest.empty() && begins_parameter(rest.front())) expanded(start, "the value of a variable is substituted");
      ++at_;
    }
    word += line_.substr(start, at_ - start);
  }

  void skip_to(std::size_t end, const std::string& opening, std::string effect) {
    expanded(at_, end == line_.npos ? "the closing character is missing" : std::move(effect));
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
  return !text.empty() && !is_digit(text.front()) && std::all_of(text.begin(), text.end(), [](unsigned char byte) {
    return std::isalnum(byte) != 0 || std::string_view("./_:").find(static_cast<char>(byte)) != std::string_view::npos;
  });
}

ShellReading read_as_shell(std::string_view line) { return ShellReader(line).read(); }

std::string as_word(const std::string& text) {
  if (is_plain(text)) return text;
  const ShellReading reading = read_as_shell("x " + text);
  const bool is_word = reading.error.empty() && !reading.has_expansion && reading.redirections.empty() &&
                       reading.commands.size() == 1 && reading.commands.front().size() == 2;
  return is_word ? reading.commands.front().back() : text;
}

}  // namespace eclipse_shell
