#include "host_kit/perform.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "base/file.h"
#include "base/limits.h"
#include "base/text.h"
#include "host_kit/forked.h"
#include "host_kit/observed.h"

namespace host_kit {

namespace {

std::string_view group_of(const Check& check) { return check.name.substr(0, check.name.find('/')); }

const Check* find_check(std::string_view name) {
  for (const Check& check : all_checks()) {
    if (check.name == name) return &check;
  }
  return nullptr;
}

/// A directory that is removed with all that is in it.
class ScratchDirectory {
 public:
  ScratchDirectory() {
    path_ = (std::filesystem::temp_directory_path() / "eclipse-int-check-XXXXXX").string();
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("cannot make a directory: " + path_);
  }
  ~ScratchDirectory() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

/// What a check came to, as one text: it has to get out of a child.
std::string attempt(const Check& check, const Probe& probe) {
  const auto fields = [](const char* kind, const std::string& one, const std::string& two, const std::string& three) {
    return kind + one + '\0' + two + '\0' + three;
  };
  try {
    check.perform(probe);
    return "+";
  } catch (const Failure& failure) {
    return fields("-", failure.expected, failure.actual, failure.likely_cause);
  } catch (const Skipped& skipped) {
    return fields("?", skipped.reason, "", "");
  } catch (const std::exception& error) {
    return fields("-", "no operation throws", "an exception: " + std::string(error.what()), std::string(check.if_it_ends));
  } catch (...) {
    return fields("-", "no operation throws", "an exception that is not a std::exception", std::string(check.if_it_ends));
  }
}

Result result_of(const Check& check, const std::string& attempted) {
  Result result{&check, Outcome::holds, {}, "", 0, ""};
  if (attempted == "+") return result;
  const std::vector<std::string> fields = eclipse_base::split(std::string_view(attempted).substr(1), '\0');
  if (attempted[0] == '?') {
    result.outcome = Outcome::skipped;
    result.reason = fields[0];
  } else {
    result.outcome = Outcome::fails;
    result.failure = {fields[0], fields[1], fields[2]};
  }
  return result;
}

/// The last lines that a child printed before it ended, which often say why.
std::string last_words(const std::string& outputs) {
  const std::vector<std::string> lines = eclipse_base::lines_of(content_of(outputs));
  return lines.empty() ? "" : "; its last output: " + shown(lines.back());
}

[[noreturn]] void refuse_entry(const std::string& file, std::size_t line, const std::string& why) {
  throw std::invalid_argument(file + ":" + std::to_string(line) + ": " + why);
}

class Performance {
 public:
  Performance(session_t* session, const eclipse_int::HostCheckOptions& options,
              const std::function<void(const Check&)>& on_check)
      : session_(session), options_(options), on_check_(on_check) {}

  const Result& result(const Check& check) {
    const auto known = results_.find(&check);
    if (known != results_.end()) return known->second;
    const auto start = std::chrono::steady_clock::now();
    Result result = perform(check);
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return results_.emplace(&check, std::move(result)).first->second;
  }

 private:
  Result perform(const Check& check) {
    if (const Check* const failed = failed_before(check)) return not_run(check, *failed);
    // Every other check needs it.
    if (session_ == nullptr && check.name != "load/session-given") return skipped(check, "there is no session");
    on_check_(check);
    const ScratchDirectory scratch;
    const Probe probe{session_, options_.other_session, scratch.path(), options_.log};
    if (options_.in_process) return result_of(check, attempt(check, probe));
    // A check that writes a variable or a file leaves the host as it is: all this is the child's.
    const std::string outputs = scratch.path() + ".outputs";
    const ChildEnd end = run_in_child([&] { return attempt(check, probe); }, options_.seconds, outputs);
    const std::string words = last_words(outputs);
    std::filesystem::remove(outputs);
    if (end.message) return result_of(check, *end.message);
    const std::string expected = "the operation returns within " + std::to_string(options_.seconds) + " s";
    return {&check, Outcome::fails, {expected, end.how + words, std::string(check.if_it_ends)}, "", 0, ""};
  }

  /// The check that failed, without which this one would say nothing new; null if there is none.
  const Check* failed_before(const Check& check) {
    if (check.after == "*") {
      for (const auto& [other, result] : results_) {
        if (is_error(result)) return other;
      }
      return nullptr;
    }
    for (const std::string& name : eclipse_base::split(check.after, ' ')) {
      const Check* const first = find_check(name);
      if (first == nullptr) continue;
      const Result& before = result(*first);
      if (before.outcome == Outcome::fails) return first;
      if (before.not_run_after != nullptr) return before.not_run_after;
    }
    return nullptr;
  }

  static Result not_run(const Check& check, const Check& failed) {
    Result result = skipped(check, "not run, because " + std::string(failed.name) + " failed");
    result.not_run_after = &failed;
    return result;
  }

  static Result skipped(const Check& check, std::string reason) {
    return {&check, Outcome::skipped, {}, std::move(reason), 0, ""};
  }

  session_t* session_;
  const eclipse_int::HostCheckOptions& options_;
  const std::function<void(const Check&)>& on_check_;
  std::map<const Check*, Result> results_;
};

}  // namespace

bool is_error(const Result& result) {
  return result.outcome == Outcome::fails && result.check->level == Level::must && result.waiver.empty();
}

bool has_error(const std::vector<Result>& results) { return std::any_of(results.begin(), results.end(), is_error); }

std::vector<const Check*> selected_checks(const std::vector<std::string>& only) {
  std::vector<const Check*> selected;
  for (const Check& check : all_checks()) {
    const auto names_it = [&](const std::string& name) { return name == check.name || name == group_of(check); };
    if (only.empty() || std::any_of(only.begin(), only.end(), names_it)) selected.push_back(&check);
  }
  for (const std::string& name : only) {
    const auto is_named = [&](const Check* check) { return name == check->name || name == group_of(*check); };
    if (std::none_of(selected.begin(), selected.end(), is_named)) {
      throw std::invalid_argument("there is no check or group of checks called \"" + name + "\"; list them with --list");
    }
  }
  return selected;
}

std::vector<Result> perform_checks(session_t* session, const eclipse_int::HostCheckOptions& options,
                                   const std::vector<const Check*>& checks, const std::function<void(const Check&)>& on_check) {
  Performance performance(session, options, on_check);
  std::vector<Result> results;
  for (const Check* const check : checks) {
    if (check->perform != nullptr) results.push_back(performance.result(*check));
  }
  return results;
}

std::vector<Result> observed_results(const std::vector<const Check*>& checks, const std::vector<Result>& before,
                                     std::string_view without_calls) {
  const bool has_errors = has_error(before);
  std::vector<Result> results;
  for (const Observation& observation : observations()) {
    const auto check =
        std::find_if(checks.begin(), checks.end(), [&](const Check* one) { return one->name == observation.check; });
    if (check == checks.end()) continue;
    Result result{*check, Outcome::holds, {}, "", 0, ""};
    if (has_errors) {
      result.outcome = Outcome::skipped;
      result.reason = "not evaluated, because a must check failed";
    } else if (observation.calls == 0) {
      result.outcome = Outcome::skipped;
      result.reason = without_calls;
    } else if (observation.breach) {
      result.outcome = Outcome::fails;
      result.failure = *observation.breach;
    }
    results.push_back(std::move(result));
  }
  return results;
}

std::map<std::string, std::string> read_waivers(const std::string& file) {
  const eclipse_base::FileContent content = eclipse_base::read_file(file, eclipse_base::largest::configuration);
  if (!content.error.empty()) {
    throw std::invalid_argument(file + ": " + content.error + "; give a file whose lines are \"NAME REASON\"");
  }
  std::map<std::string, std::string> waivers;
  std::size_t number = 0;
  for (const std::string& line : eclipse_base::lines_of(content.bytes)) {
    ++number;
    const std::string_view entry = eclipse_base::trimmed(line);
    if (entry.empty() || entry[0] == '#') continue;
    const std::size_t space = entry.find_first_of(eclipse_base::white_space);
    const std::string name(entry.substr(0, space));
    if (find_check(name) == nullptr) refuse_entry(file, number, "there is no check called " + shown(name));
    if (space == entry.npos) refuse_entry(file, number, shown(name) + " needs a reason behind it");
    waivers[name] = eclipse_base::trimmed(entry.substr(space));
  }
  return waivers;
}

void waive(std::vector<Result>& results, const std::map<std::string, std::string>& waivers) {
  for (Result& result : results) {
    const auto found = waivers.find(std::string(result.check->name));
    if (found != waivers.end()) result.waiver = found->second;
  }
}

}  // namespace host_kit
