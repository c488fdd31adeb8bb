#include "plan/distinct_retries.h"

#include "base/text.h"
#include "shell/command_runner.h"
#include "shell/shell_reading.h"

using namespace eclipse_base;
using namespace eclipse_shell;

namespace eclipse_plan {

namespace {

constexpr std::string_view plain_name = "plain.name";

/// Everything in a reading, in one text.
std::string shape_of(const ShellReading& reading) {
  std::string shape = reading.error + (reading.has_expansion ? "\nreplaced" : "\n");
  for (const ShellWords& words : reading.commands) {
    for (const std::string& word : words) shape += "\n" + word;
    shape += "\n;";
  }
  for (const std::string& redirection : reading.redirections) shape += "\n" + redirection;
  for (const ShellRemark& remark : reading.remarks) shape += "\n" + remark.effect;
  return shape;
}

/// The end of a retry, with the feature and what is in one word with it.
class Tail {
 public:
  Tail() = default;

  /// `retry` ends with `feature` and the redirection.
  Tail(const std::string& retry, const std::string& feature) {
    const std::size_t end = retry.size() - command_end.size();
    const std::size_t start = end - feature.size();
    const std::size_t space = retry.rfind(' ', start - 1);
    lead_ = retry.substr(space + 1, start - space - 1);
    plain_shape_ = shape_with(std::string(plain_name));
  }

  static bool fits(const std::string& retry, const std::string& feature) {
    return retry.size() > feature.size() + command_end.size() && retry.ends_with(feature + std::string(command_end));
  }

  bool reads_like_plain_name(const std::string& feature) const {
    return is_plain(feature) || shape_with(feature) == plain_shape_;
  }

 private:
  std::string shape_with(const std::string& feature) const {
    return replaced(shape_of(read_as_shell("x " + lead_ + feature + std::string(command_end))), feature, plain_name);
  }

  std::string lead_;  ///< in one word with the feature
  std::string plain_shape_;
};

}  // namespace

DistinctRetries distinct_retries(const std::string& first, const std::vector<std::string>& features) {
  DistinctRetries distinct{{1}, 0};
  const bool fits = Tail::fits(first, features.front());
  const Tail tail = fits ? Tail(first, features.front()) : Tail();
  const auto is_too_long = [rest = first.size() - features.front().size()](const std::string& feature) {
    return rest + feature.size() > eclipse_shell::longest_command;
  };
  bool is_representative_too_long = false;
  for (std::size_t number = 1; number <= features.size(); ++number) {
    const std::string& feature = features[number - 1];
    const bool is_plain = fits && tail.reads_like_plain_name(feature);
    if (is_plain && distinct.representative == 0) {
      distinct.representative = number;
      is_representative_too_long = is_too_long(feature);
      distinct.numbers.insert(number);
    } else if (!is_plain || is_too_long(feature) != is_representative_too_long) {
      distinct.numbers.insert(number);
    }
  }
  return distinct;
}

}  // namespace eclipse_plan
