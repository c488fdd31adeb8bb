#include "lint/fix.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <utility>

#include "base/file.h"
#include "base/limits.h"

using namespace eclipse_base;
using eclipse_dry_run::DescriptorFiles;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

/// More than any file needs: each pass leaves only what met another correction, or what was hidden behind one.
constexpr int most_passes = 100;

bool is_wanted(const Finding& finding, bool with_unsafe) {
  return finding.correction && !finding.reason && (with_unsafe || finding.correction->is_safe);
}

/// The places of a text that are to be edited.
class EditedPlaces {
 public:
  /// Adds all edits, unless one of them overlaps or touches a place that is already there.
  bool add(const std::vector<Edit>& edits) {
    if (std::any_of(edits.begin(), edits.end(), [this](const Edit& edit) { return meets_another(edit); })) return false;
    for (const Edit& edit : edits) ends_.emplace(edit.offset, edit.offset + edit.length);
    return true;
  }

 private:
  bool meets_another(const Edit& edit) const {
    const auto after = ends_.upper_bound(edit.offset + edit.length);
    return after != ends_.begin() && std::prev(after)->second >= edit.offset;
  }

  std::map<std::size_t, std::size_t> ends_;  ///< by offset
};

/// The files that have been corrected so far, by their canonical paths.
class Corrections {
 public:
  Corrections(bool with_unsafe, const DescriptorFiles& unsaved) : with_unsafe_(with_unsafe), unsaved_(unsaved) {}

  /// Applies what does not meet another correction. A file is only read here when it is new: its offsets are those of another
  /// reading, so that its corrections wait for the next pass. False when there is nothing to do.
  bool apply(const Findings& findings) {
    std::map<fs::path, EditedPlaces> places;
    std::map<fs::path, std::vector<Edit>> edits;
    bool is_new = false;
    for (const Finding& finding : findings) {
      if (!is_wanted(finding, with_unsafe_)) continue;
      const std::string& name = finding.location.file;
      const fs::path path = unsaved_.has_unsaved(name) ? fs::path(name) : canonical_path(name);
      if (!files_.contains(path)) {
        add(path, name);
        new_files_.insert(path);
        is_new = true;
      } else if (!new_files_.contains(path) && places[path].add(finding.correction->edits)) {
        auto& more = edits[path];
        more.insert(more.end(), finding.correction->edits.begin(), finding.correction->edits.end());
        ++files_.at(path).corrections;
      }
    }
    for (auto& [path, all] : edits) apply(files_.at(path), std::move(all));
    new_files_.clear();
    return is_new || !edits.empty();
  }

  void give_to(DescriptorFiles& descriptors) const {
    for (const auto& [path, file] : files_) descriptors.set_unsaved(path, file.after);
  }

  std::vector<FixedFile> changed() && {
    std::vector<FixedFile> files;
    for (auto& [path, file] : files_) {
      if (file.after != file.before) files.push_back(std::move(file));
    }
    return files;
  }

 private:
  void add(const fs::path& path, const std::string& name) {
    std::string content = unsaved_.has_unsaved(path)
                              ? DescriptorFiles(unsaved_).at(path).bytes
                              : content_of(path, largest::descriptor, "give a descriptor file that can be read");
    files_.emplace(path, FixedFile{name, content, content});
  }

  static void apply(FixedFile& file, std::vector<Edit> edits) {
    std::ranges::sort(edits, {}, &Edit::offset);
    file.after = edited(file.after, edits);
  }

  bool with_unsafe_;
  const DescriptorFiles& unsaved_;
  std::map<fs::path, FixedFile> files_;
  std::set<fs::path> new_files_;  ///< in this pass
};

}  // namespace

std::string edited(std::string_view text, const std::vector<Edit>& edits) {
  std::string result;
  std::size_t done = 0;
  for (const Edit& edit : edits) {
    result.append(text.substr(done, edit.offset - done)).append(edit.replacement);
    done = edit.offset + edit.length;
  }
  return result.append(text.substr(done));
}

FixResult fix(const LintFiles& lint, bool with_unsafe, const DescriptorFiles& unsaved) {
  Corrections corrections(with_unsafe, unsaved);
  Findings findings;
  for (int pass = 0;; ++pass) {
    DescriptorFiles files = unsaved;
    corrections.give_to(files);
    findings = lint(files);
    if (pass == most_passes || !corrections.apply(findings)) break;
  }
  return {std::move(corrections).changed(), std::move(findings)};
}

}  // namespace eclipse_lint
