#include "plan/alike_retries.h"

#include "shell/command_runner.h"
#include "shell/shell_reading.h"

using namespace eclipse_shell;

namespace eclipse_plan {

namespace {

constexpr std::string_view plain_name = "plain.name";

std::string replaced(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = 0; !from.empty() && (at = text.find(from, at)) != text.npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

/// All that a reading says, in one text.
std::string shape_of(const ShellReading& reading) {
  std::string shape = reading.fault + (reading.is_replaced ? "\nreplaced" : "\n");
  for (const ShellWords& words : reading.commands) {
    for (const std::string& word : words) shape += "\n" + word;
    shape += "\n;";
  }
  for (const std::string& redirection : reading.redirections) shape += "\n" + redirection;
  for (const ShellRemark& remark : reading.remarks) shape += "\n" + remark.effect;
  return shape;
}

/// What surrounds the feature in the last words of a retry.
class Tail {
 public:
  Tail() = default;

  /// `retry` ends with `feature` and these last words.
  Tail(const std::string& retry, const std::string& feature) {
    const std::size_t end = retry.size() - last_words.size();
    const std::size_t start = end - feature.size();
    const std::size_t space = retry.rfind(' ', start - 1);
    lead_ = retry.substr(space + 1, start - space - 1);
    plain_shape_ = shape_with(std::string(plain_name));
  }

  static bool fits(const std::string& retry, const std::string& feature) {
    return retry.size() > feature.size() + last_words.size() && retry.ends_with(feature + std::string(last_words));
  }

  bool reads_alike(const std::string& feature) const { return is_plain(feature) || shape_with(feature) == plain_shape_; }

 private:
  static constexpr std::string_view last_words = " 2>&1";

  std::string shape_with(const std::string& feature) const {
    return replaced(shape_of(read_as_shell("x " + lead_ + feature + std::string(last_words))), feature, plain_name);
  }

  std::string lead_;  ///< in one word with the feature
  std::string plain_shape_;
};

}  // namespace

TellingRetries telling_retries(const std::string& first, const std::vector<std::string>& features) {
  TellingRetries telling{{1}, 0};
  const bool fits = Tail::fits(first, features.front());
  const Tail tail = fits ? Tail(first, features.front()) : Tail();
  const auto is_too_long = [rest = first.size() - features.front().size()](const std::string& feature) {
    return rest + feature.size() > eclipse_shell::longest_command;
  };
  bool is_model_too_long = false;
  for (std::size_t number = 1; number <= features.size(); ++number) {
    const std::string& feature = features[number - 1];
    const bool is_plain = fits && tail.reads_alike(feature);
    if (is_plain && telling.model == 0) {
      telling.model = number;
      is_model_too_long = is_too_long(feature);
      telling.numbers.insert(number);
    } else if (!is_plain || is_too_long(feature) != is_model_too_long) {
      telling.numbers.insert(number);
    }
  }
  return telling;
}

}  // namespace eclipse_plan
