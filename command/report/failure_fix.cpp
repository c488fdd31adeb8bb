// Seen with the director of Eclipse 4.26: what it prints after "Installation failed.".
#include "report/failure_fix.h"

#include <algorithm>
#include <string_view>

#include "base/text.h"

namespace eclipse_report {

namespace {

using Texts = std::vector<std::string>;

constexpr std::string_view missing_requirement = "Missing requirement: ";
constexpr std::string_view only_one = "Only one of the following can be installed at once";

const std::string* cause_with(const Texts& causes, std::string_view part) {
  const auto found =
      std::find_if(causes.begin(), causes.end(), [&](const std::string& cause) { return cause.find(part) != cause.npos; });
  return found == causes.end() ? nullptr : &*found;
}

/// The text between two others; empty when they are not there.
std::string between(const std::string& text, std::string_view begin, std::string_view end) {
  const std::size_t first = text.find(begin);
  const std::size_t last = first == text.npos ? text.npos : text.find(end, first + begin.size());
  return last == text.npos ? "" : text.substr(first + begin.size(), last - first - begin.size());
}

/// The id in "Software being installed: NAME (ID VERSION)".
std::string id_in(const Texts& causes, std::string_view beginning) {
  const std::string* const cause = cause_with(causes, beginning);
  const std::size_t open = cause == nullptr ? std::string::npos : cause->rfind('(');
  return open == std::string::npos ? "" : between(cause->substr(open), "(", " ");
}

std::string fix_of_conflict(const Texts& causes) {
  const std::string wanted = id_in(causes, "Software being installed: ");
  if (!wanted.empty() && wanted == id_in(causes, "Software currently installed: "))
    return "--update replaces the installed version, with --allow-downgrade also a newer one";
  return "install compatible versions, or remove the conflicting feature";
}

}  // namespace

std::string fix_of(const eclipse_p2::Failure& failure, bool is_removal) {
  const Texts& causes = failure.causes;
  const bool is_not_found = cause_with(causes, "has not been found.") != nullptr;
  if (is_removal) return is_not_found ? "remove only what is installed: the director removes all features or none" : "";
  if (cause_with(causes, "No repository found at ") != nullptr)
    return "correct column 1 of the descriptor file, or put the repository there";
  if (const std::string* const missing = cause_with(causes, missing_requirement)) {
    if (missing->find("'osgi.ee; ") != missing->npos)
      return "start Eclipse with a Java that has it, or ship a version for the Java in use";
    const std::string name = between(*missing, "; ", "' but it could not be found");
    return "list a repository that has " + (name.empty() ? std::string("it") : name) + " in a descriptor file";
  }
  if (cause_with(causes, only_one) != nullptr) return fix_of_conflict(causes);
  if (is_not_found) {
    return "correct column 2 of the descriptor file, or list a repository that has it (\"eclipse-int list\" shows what one "
           "has)";
  }
  return "";
}

std::vector<std::string> telling_causes(const eclipse_p2::Failure& failure) {
  Texts causes = failure.causes;
  for (std::string& cause : causes) cause = std::string(eclipse_base::trimmed(cause));
  if (cause_with(causes, missing_requirement) == nullptr && cause_with(causes, only_one) == nullptr) return causes;
  std::erase_if(causes, [](const std::string& cause) {
    return cause == "Cannot satisfy dependency:" || cause.starts_with("From: ") || cause.starts_with("To: ");
  });
  return causes;
}

}  // namespace eclipse_report
