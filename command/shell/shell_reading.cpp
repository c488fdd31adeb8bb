// The part of the shell's grammar that decides into which words a line falls:
//
//   line        = command *( operator command )
//   command     = *( blank / assignment / redirection ) *( blank / word / redirection / comment )
//   assignment  = name "=" word
//   operator    = ";" / "&" / "|" / "(" / ")" / LF     and the doubled ones
//   redirection = *DIGIT ( "<" / ">" ) [ "<" / ">" / "&" / "|" ] *blank word
//   word        = 1*( plain / "\" any / "'" *any "'" / DQUOTE *( any / "\" any / replaced ) DQUOTE / replaced )
//   replaced    = "$" name / "${" *any "}" / "$(" *any ")" / "`" *any "`" / "*" / "?" / "["
//   comment     = "#" *any                             only where a word could begin
#include "shell/shell_reading.h"

#include <algorithm>
#include <cctype>

namespace eclipse_shell {

namespace {

constexpr std::string_view blanks = " \t";
constexpr std::string_view operators = ";&|()\n";
/// What may stand for more than itself in the midst of a word, or ends it.
constexpr std::string_view special = " \t;&|()\n<>\\'\"$`*?[";

bool is_digit(char byte) { return std::isdigit(static_cast<unsigned char>(byte)) != 0; }

bool is_number(std::string_view text) { return !text.empty() && std::all_of(text.begin(), text.end(), is_digit); }

/// Whether a "$" before this byte stands for something else.
bool is_named(char byte) {
  return std::isalnum(static_cast<unsigned char>(byte)) != 0 ||
         std::string_view("_{(@*#?-$!").find(byte) != std::string_view::npos;
}

/// Whether a variable's name and a "=" stand at the beginning.
bool is_assignment(std::string_view text) {
  const auto end =
      std::find_if(text.begin(), text.end(), [](unsigned char byte) { return std::isalnum(byte) == 0 && byte != '_'; });
  return end != text.begin() && end != text.end() && *end == '=' && !is_digit(text.front());
}

/// Of "<&" or ">&" behind the number of an open file, which may be left out.
std::string effect_of_duplicate(std::string_view number, char arrow, bool closes) {
  std::string file = "the open file " + std::string(number);
  if (number == "0" || (number.empty() && arrow == '<')) file = "the input";
  if (number == "1" || (number.empty() && arrow == '>')) file = "the output";
  if (number == "2") file = "the error output";
  if (closes) return file + " is closed";
  return file + (arrow == '<' ? " comes from another open file" : " goes to another open file");
}

class ShellReader {
 public:
  explicit ShellReader(std::string_view line) : line_(line) {}

  ShellReading read() {
    if (const std::size_t zero = line_.find('\0'); zero != line_.npos) return unreadable(zero);
    while (reading_.fault.empty() && at_ < line_.size()) read_part();
    if (reading_.fault.empty() && wants_more_ && !command_begun_) refuse("no command stands at the end");
    std::erase_if(reading_.commands, [](const ShellWords& words) { return words.empty(); });
    // Quotes are remarked on when they are closed, behind what stands in them.
    std::stable_sort(reading_.remarks.begin(), reading_.remarks.end(),
                     [](const ShellRemark& one, const ShellRemark& other) { return one.offset < other.offset; });
    return std::move(reading_);
  }

 private:
  /// No shell gets to see any of it, and so there are no words.
  static ShellReading unreadable(std::size_t zero) {
    ShellReading reading;
    reading.commands.clear();
    reading.remarks.push_back({zero, "no shell can be given a zero byte"});
    reading.fault = "byte " + std::to_string(zero + 1) +
                    " is zero, and a command with a zero byte cannot be given to a shell (exit code 126)";
    return reading;
  }

  char next() const { return line_[at_]; }
  bool is_at(std::string_view bytes) const { return at_ < line_.size() && bytes.find(next()) != bytes.npos; }
  void remark(std::size_t offset, std::string effect) { reading_.remarks.push_back({offset, std::move(effect)}); }
  void refuse(std::string fault) { reading_.fault = std::move(fault); }

  void replaced(std::size_t offset, std::string effect) {
    reading_.is_replaced = true;
    remark(offset, std::move(effect));
  }

  void read_part() {
    if (is_at(blanks)) {
      reading_.gaps.push_back(at_);
      at_ = std::min(line_.find_first_not_of(blanks, at_), line_.size());
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
      return refuse("\"" + text + "\" is not expected there");
    } else if (!command_begun_) {
      return refuse("no command stands before \"" + text + "\"");
    } else {
      wants_more_ = text != ";" && text != "&";
    }
    remark(start, "the command ends there, and what follows is run as another one");
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
        replaced(at_, "the word sets a variable, and the command begins behind it");
      }
      reading_.commands.back().push_back(read_word());
    }
  }

  void read_redirection(std::size_t arrow) {
    const std::size_t start = at_;
    at_ = arrow + 1;
    if (is_at("<>&|")) ++at_;
    const bool duplicates = line_[at_ - 1] == '&';
    while (is_at(blanks)) ++at_;
    if (at_ == line_.size() || is_at(operators) || is_at("<>")) return refuse("a redirection has nothing to go to");
    const std::string target = read_word();
    const std::string text(line_.substr(start, at_ - start));
    reading_.redirections.push_back(text);
    if (duplicates && !is_number(target) && target != "-") {
      refuse("\"" + text + "\" is to send to the open file \"" + target + "\", which is no number");
    } else if (text != "2>&1") {
      remark(start, duplicates ? effect_of_duplicate(line_.substr(start, arrow - start), line_[arrow], target == "-")
                               : "a file is opened for the input or the output");
    }
  }

  std::string read_word() {
    std::string word;
    const std::size_t start = at_;
    while (reading_.fault.empty() && at_ < line_.size() && !is_at(blanks) && !is_at(operators) && !is_at("<>")) {
      if (next() == '~' && at_ == start) replaced(at_, "a directory of a user takes the place of \"~\"");
      if (is_at("*?[")) replaced(at_, std::string("names of files may take the place of the word with \"") + next() + "\"");
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
        return read_replaced(word);
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
    remark(at_, "the backslash is taken away");
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
    remark(at_, "the quotes are taken away");
    word += line_.substr(at_ + 1, end - at_ - 1);
    at_ = end + 1;
  }

  void read_double_quoted(std::string& word) {
    const std::size_t start = at_++;
    while (reading_.fault.empty()) {
      if (at_ == line_.size()) return refuse_open_quote(start);
      if (next() == '"') break;
      if (next() == '\\' && at_ + 1 < line_.size() &&
          std::string_view("$`\"\\\n").find(line_[at_ + 1]) != std::string_view::npos) {
        read_escaped(word);
      } else if (is_at("$`")) {
        read_replaced(word);
      } else {
        word += line_[at_++];
      }
    }
    remark(start, reading_.fault.empty() ? "the quotes are taken away" : "the quote is never closed");
    ++at_;
  }

  void refuse_open_quote(std::size_t offset) {
    remark(offset, "the quote is never closed");
    refuse("the quote at byte " + std::to_string(offset + 1) + " is never closed");
  }

  void read_replaced(std::string& word) {
    const std::size_t start = at_;
    const std::string_view rest = line_.substr(at_ + 1);
    if (next() == '`') {
      skip_to(line_.find('`', at_ + 1), "`", "what stands between the backquotes is run as a command");
    } else if (rest.starts_with('(')) {
      skip_to(end_of_nested('(', ')'), "$(", "what stands between the parentheses is run as a command");
    } else if (rest.starts_with('{')) {
      skip_to(end_of_nested('{', '}'), "${", "the value of a variable takes its place");
    } else {
      if (!rest.empty() && is_named(rest.front())) replaced(start, "the value of a variable takes its place");
      ++at_;
    }
    word += line_.substr(start, at_ - start);
  }

  void skip_to(std::size_t end, const std::string& opening, std::string effect) {
    replaced(at_, end == line_.npos ? "it is never closed" : std::move(effect));
    if (end == line_.npos) refuse("the \"" + opening + "\" at byte " + std::to_string(at_ + 1) + " is never closed");
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
  bool wants_more_ = false;     ///< the last operator was one that a command has to follow
  ShellReading reading_;
};

}  // namespace

bool ShellReading::is_just(const ShellWords& words) const {
  return fault.empty() && !is_replaced && commands.size() == 1 && commands.front() == words &&
         redirections == std::vector<std::string>{"2>&1"};
}

bool is_plain(std::string_view text) {
  // Digits alone may be taken for the number of an open file.
  return !text.empty() && !is_digit(text.front()) && std::all_of(text.begin(), text.end(), [](unsigned char byte) {
    return std::isalnum(byte) != 0 || std::string_view("./_:").find(static_cast<char>(byte)) != std::string_view::npos;
  });
}

ShellReading read_as_shell(std::string_view line) { return ShellReader(line).read(); }

}  // namespace eclipse_shell
