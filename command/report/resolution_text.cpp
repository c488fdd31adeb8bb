#include "report/resolution_text.h"

#include "base/printable.h"
#include "base/text.h"
#include "report/command_failures.h"
#include "report/outcome.h"

using namespace eclipse_base;
using namespace eclipse_resolve;

namespace eclipse_report {

namespace {

using Texts = std::vector<std::string>;

std::string verb(const Resolution& resolution) { return resolution.is_removal ? "remove" : "install"; }

std::string reason_text(const Verdict& verdict, const std::string& indent) {
  return indent + "Why: " + text_of(*verdict.failure, indent + "  ") + "\n";
}

/// Each reason once, below the first feature that it hits.
std::string each_alone(const Resolution& resolution) {
  std::string text = "  Each feature alone:\n";
  std::vector<const Verdict*> failed;
  for (const Verdict& verdict : resolution.each) {
    text +=
        std::string("    ") + (verdict.resolves() ? "resolves: " : "fails:    ") + printable(verdict.features.front()) + "\n";
    if (verdict.resolves()) continue;
    const Verdict* same = nullptr;
    for (const Verdict* const other : failed) {
      if (same == nullptr && is_same_reason(*other->failure, *verdict.failure)) same = other;
    }
    text += same == nullptr ? reason_text(verdict, "      ")
                            : "      Why: same reason as " + printable(same->features.front()) + "\n";
    if (same == nullptr) failed.push_back(&verdict);
  }
  return text;
}

/// What the run would come to.
std::string expectation(const Resolution& resolution) {
  const auto expected = resolution.expected();
  if (!expected) {
    const Verdict& together = resolution.those ? *resolution.those : *resolution.all;
    return "  The features that resolve alone do not resolve together, so which of them the run would " + verb(resolution) +
           " depends on\n  what the ones before them change:\n" + reason_text(together, "    ");
  }
  if (resolution.is_removal) return "  The run would remove nothing: the shell rejects the commands for single features.\n";
  if (expected->empty()) return "  The run would install nothing.\n";
  return "  The run would try the features one by one and install " + std::to_string(expected->size()) + " of " +
         std::to_string(resolution.all->features.size()) + ".\n";
}

std::string notes_on(const Resolution& resolution) {
  std::string text;
  for (const std::string& limit : limits_of(resolution)) text += "  Not checked: " + limit + "\n";
  if (!resolution.is_on_copy) {
    text +=
        "  The director worked on the instance itself, because its profile is not in the usual place: it may have written a "
        "log and\n  caches into the configuration directory, and changed nothing else.\n";
  }
  return text;
}

}  // namespace

std::string all_of(const Texts& features) {
  return features.size() == 1 ? printable(features.front()) : "all " + counted(features.size(), "feature");
}

std::string resolution_text(const Resolution& resolution) {
  if (!resolution.was_asked()) return "  The director was not asked: " + printable(resolution.not_asked) + "\n";
  if (resolution.update_fails()) {
    return "  The director would not perform the update, so the run would end without a change.\n" +
           reason_text(*resolution.update, "    ") + notes_on(resolution);
  }
  const std::string update = resolution.update ? "  The director would perform the update.\n" : "";
  const Verdict& all = *resolution.all;
  if (all.resolves()) {
    return update + "  The director would " + verb(resolution) + " " + all_of(all.features) +
           (all.features.size() == 1 ? "" : " at once") + ".\n" + notes_on(resolution);
  }
  std::string text = update + "  The director would not " + verb(resolution) + " " + all_of(all.features) +
                     (all.features.size() == 1 ? "" : " at once") + ".\n";
  if (resolution.each.empty()) return text + reason_text(all, "    ") + notes_on(resolution);
  return text + each_alone(resolution) + expectation(resolution) + notes_on(resolution);
}

Texts limits_of(const Resolution& resolution) {
  Texts limits;
  if (!resolution.is_removal) {
    limits.emplace_back("whether the files of the features can be fetched and are intact; the director only reads metadata");
  }
  limits.emplace_back("whether the instance is writable and has enough space");
  if (!resolution.each.empty() && !resolution.is_removal) {
    limits.emplace_back("whether one feature affects the next when the run installs them one by one");
  }
  return limits;
}

}  // namespace eclipse_report
