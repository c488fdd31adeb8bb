#include "p2/director_answer.h"

#include <cstddef>

#include "base/printable.h"
#include "base/text.h"

using namespace eclipse_base;

namespace eclipse_p2 {

namespace {

std::string_view last_line(std::string_view output) {
  const std::string_view text = trimmed(output);
  return trimmed(text.substr(text.rfind('\n') + 1));
}

// What the last line of the answer begins and ends with.
constexpr std::string_view completed = "Operation completed in ";
constexpr std::string_view milliseconds = " ms.";

}  // namespace

std::string why_not_an_answer(std::string_view output) {
  const std::string_view last = last_line(output);
  if (last.starts_with(completed) && last.ends_with(milliseconds)) return "";
  const std::string printed =
      last.empty() ? "it printed nothing" : "its last line is \"" + printable(last, {.longest = 200}) + "\"";
  return "the answer of a director ends with \"" + std::string(completed) + "N" + std::string(milliseconds) + "\", but " +
         printed + "; is this the Eclipse executable?";
}

}  // namespace eclipse_p2
