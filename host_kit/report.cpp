#include "host_kit/report.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <stdexcept>

#include "base/printable.h"
#include "base/text.h"

namespace host_kit {

namespace {

std::size_t count_of(const std::vector<Result>& results, const std::function<bool(const Result&)>& counts) {
  return static_cast<std::size_t>(std::count_if(results.begin(), results.end(), counts));
}

bool is_tolerated(const Result& result) { return result.outcome == Outcome::fails && !is_error(result); }

/// Why a failure is none: its level, or the reason of its waiver.
std::string tolerance(const Result& result) {
  return result.waiver.empty() ? std::string(level_name(result.check->level))
                               : "waived: " + eclipse_base::printable(result.waiver);
}

std::string seconds_of(double seconds) {
  char text[32];
  std::snprintf(text, sizeof text, "%.3f", seconds);
  return text;
}

struct Field {
  const char* name;
  std::string text;
};

/// What there is to say of a failure; fields without a text are left out.
std::vector<Field> fields_of(const Result& result) {
  const Check& check = *result.check;
  std::vector<Field> fields = {{"promise", std::string(check.promise)}, {"expected", result.failure.expected},
                               {"actual", result.failure.actual},       {"likely cause", result.failure.likely_cause},
                               {"harm", std::string(check.harm)},       {"fix", std::string(check.fix)}};
  std::erase_if(fields, [](const Field& field) { return field.text.empty(); });
  return fields;
}

/// Some readers of the protocol take only one word for a key.
std::string yaml_key(std::string name) {
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}

std::string yaml_quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char byte : eclipse_base::printable(text)) {
    if (byte == '"' || byte == '\\') quoted += '\\';
    quoted += byte;
  }
  return quoted + "\"";
}

std::string xml_escaped(std::string_view text) {
  std::string escaped;
  for (const char byte : eclipse_base::printable(text)) {
    switch (byte) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += byte;
    }
  }
  return escaped;
}

std::string now_in_utc() {
  const std::time_t now = std::time(nullptr);
  std::tm time;
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", gmtime_r(&now, &time));
  return text;
}

std::string summary(const std::vector<Result>& results) {
  using eclipse_base::counted;
  const std::size_t errors = count_of(results, is_error);
  const std::size_t tolerated = count_of(results, is_tolerated);
  const std::size_t skipped = count_of(results, [](const Result& result) { return result.outcome == Outcome::skipped; });
  std::string text =
      counted(results.size(), "check") + ": " + std::to_string(results.size() - errors - tolerated - skipped) + " passed";
  if (errors != 0) text += ", " + std::to_string(errors) + " failed";
  if (tolerated != 0) text += ", " + counted(tolerated, "note");
  if (skipped != 0) text += ", " + std::to_string(skipped) + " skipped";
  return text;
}

}  // namespace

std::string_view level_name(Level level) { return level == Level::must ? "must" : level == Level::should ? "should" : "may"; }

void write_text(std::ostream& out, const std::vector<Result>& results) {
  for (const Result& result : results) {
    if (result.outcome != Outcome::fails) continue;
    out << (is_error(result) ? "FAILS " : "note  ") << result.check->name << " (" << tolerance(result) << ")\n";
    for (const Field& field : fields_of(result))
      out << "  " << field.name << ": " << eclipse_base::printable(field.text) << "\n";
    out << "\n";
  }
  for (const Result& result : results) {
    if (result.outcome == Outcome::skipped)
      out << "skipped " << result.check->name << ": " << eclipse_base::printable(result.reason) << "\n";
  }
  out << summary(results) << "\n";
}

void write_tap(std::ostream& out, const std::vector<Result>& results) {
  out << "TAP version 13\n1.." << results.size() << "\n";
  std::size_t number = 0;
  for (const Result& result : results) {
    out << (result.outcome == Outcome::fails ? "not ok " : "ok ") << ++number << " - " << result.check->name;
    if (result.outcome == Outcome::skipped) out << " # SKIP " << eclipse_base::printable(result.reason);
    if (is_tolerated(result)) out << " # TODO " << tolerance(result);
    out << "\n  ---\n  level: " << level_name(result.check->level) << "\n  seconds: " << seconds_of(result.seconds) << "\n";
    if (result.outcome == Outcome::fails) {
      for (const Field& field : fields_of(result))
        out << "  " << yaml_key(field.name) << ": " << yaml_quoted(field.text) << "\n";
    }
    out << "  ...\n";
  }
}

void write_junit(std::ostream& out, const std::vector<Result>& results) {
  const std::size_t errors = count_of(results, is_error);
  const std::size_t skipped =
      count_of(results, [](const Result& result) { return result.outcome == Outcome::skipped || is_tolerated(result); });
  double seconds = 0;
  for (const Result& result : results) seconds += result.seconds;
  out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n<testsuite id=\"0\" package=\"eclipse_int\" name=\"host\" "
         "timestamp=\""
      << now_in_utc() << "\" hostname=\"localhost\" tests=\"" << results.size() << "\" failures=\"" << errors
      << "\" errors=\"0\" skipped=\"" << skipped << "\" time=\"" << seconds_of(seconds) << "\">\n<properties/>\n";
  for (const Result& result : results) {
    const std::string_view name = result.check->name;
    out << "<testcase classname=\"" << name.substr(0, name.find('/')) << "\" name=\"" << name << "\" time=\""
        << seconds_of(result.seconds) << "\">";
    std::string details;
    if (result.outcome == Outcome::fails) {
      for (const Field& field : fields_of(result)) details += std::string(field.name) + ": " + xml_escaped(field.text) + "\n";
    }
    if (is_error(result)) {
      out << "<failure message=\"" << xml_escaped("expected: " + result.failure.expected + "; actual: " + result.failure.actual)
          << "\" type=\"must\">" << details << "</failure>";
    } else if (is_tolerated(result)) {
      out << "<skipped message=\"" << xml_escaped(tolerance(result)) << "\">" << details << "</skipped>";
    } else if (result.outcome == Outcome::skipped) {
      out << "<skipped message=\"" << xml_escaped(result.reason) << "\"/>";
    }
    out << "</testcase>\n";
  }
  out << "<system-out/>\n<system-err/>\n</testsuite>\n</testsuites>\n";
}

WriteReport report_writer(std::string_view format) {
  if (format == "text") return write_text;
  if (format == "tap") return write_tap;
  if (format == "junit") return write_junit;
  throw std::invalid_argument("there is no format \"" + std::string(format) + "\"; use text, tap or junit");
}

void write_list(std::ostream& out, std::string_view format) {
  for (const Check& check : all_checks()) {
    out << check.name;
    if (format != "names")
      out << " (" << level_name(check.level) << ")\n    " << check.title << "\n    promise: " << check.promise;
    out << "\n";
  }
}

}  // namespace host_kit
