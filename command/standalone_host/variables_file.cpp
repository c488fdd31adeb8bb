#include "standalone_host/variables_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string_view>
#include <system_error>

#include "base/json_document.h"
#include "base/printable.h"
#include "base/text.h"

using namespace eclipse_base;

namespace eclipse_host {

namespace {

constexpr std::array<std::string_view, 3> of_one_run = {"KORU_MODE", "QN_SCRIPTS_FAILED", "QN_SCRIPTS_COMPLETE_DESC"};

/// A new file in the directory of another one, which it replaces when it is complete. Until then it is deleted with this
/// object.
class Replacement {
 public:
  explicit Replacement(const std::filesystem::path& file) : named_(file), target_(target_of(file)) {
    const std::string name = "." + target_.filename().string() + "." + std::to_string(getpid()) + ".new";
    temporary_ = target_.parent_path() / name;
    unlink(temporary_.c_str());
    descriptor_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor_ < 0) fail();
  }
  ~Replacement() {
    if (descriptor_ < 0) return;
    close(descriptor_);
    unlink(temporary_.c_str());
  }
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  /// Only replacing the target shows that it can be replaced; these reasons against it are known before.
  void check_target() const {
    struct statx target {};
    if (statx(AT_FDCWD, target_.c_str(), 0, STATX_BASIC_STATS, &target) != 0) return;
    const std::uint64_t attributes = target.stx_attributes & target.stx_attributes_mask;
    if ((attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0) fail("it is immutable or append-only");
    if ((attributes & STATX_ATTR_MOUNT_ROOT) != 0) fail("it is a mount point");
    if (faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) fail(std::strerror(errno));
  }

  void replace_target_with(std::string_view text) {
    copy_permissions_of_target();
    while (!text.empty()) {
      const ssize_t count = write(descriptor_, text.data(), text.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) fail();
      text.remove_prefix(static_cast<std::size_t>(count));
    }
    if (fsync(descriptor_) != 0 || rename(temporary_.c_str(), target_.c_str()) != 0) fail();
    close(descriptor_);
    descriptor_ = -1;
  }

 private:
  /// The file itself, with all links followed. A device such as /dev/null, or a pipe, must not be replaced by a file.
  static std::filesystem::path target_of(const std::filesystem::path& file) {
    std::error_code error;
    const auto status = std::filesystem::status(file, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
      throw FileError(file, "is not a regular file; give the path of a file to write");
    }
    if (!std::filesystem::exists(status) && std::filesystem::is_symlink(file, error)) {
      throw FileError(file, "is a dangling symlink; give the path of a file to write");
    }
    auto target = std::filesystem::weakly_canonical(std::filesystem::absolute(file, error), error);
    if (error) throw FileError(file, "cannot be written: " + error.message() + "; give the path of a file to write");
    return target;
  }

  /// Before anything is written: nobody may read it who may not read the target.
  void copy_permissions_of_target() const {
    struct stat existing {};
    if (stat(target_.c_str(), &existing) != 0) return;
    if (fchmod(descriptor_, existing.st_mode & 07777U) != 0) fail();
    // A user who cannot change the owner may still be able to set the group. Neither is required.
    [[maybe_unused]] const bool is_given = fchown(descriptor_, existing.st_uid, existing.st_gid) == 0 ||
                                           fchown(descriptor_, static_cast<uid_t>(-1), existing.st_gid) == 0;
  }

  [[noreturn]] void fail() const { fail(std::strerror(errno)); }

  [[noreturn]] void fail(const std::string& reason) const {
    throw FileError(named_, "cannot be written: " + reason + "; give the path of a writable file in a writable directory");
  }

  std::filesystem::path named_;
  std::filesystem::path target_;
  std::filesystem::path temporary_;
  int descriptor_ = -1;
};

bool is_kept(const std::string& name) { return std::find(of_one_run.begin(), of_one_run.end(), name) == of_one_run.end(); }

/// JSON cannot carry any other.
bool is_writable(const Variables::value_type& variable) { return is_utf8(variable.first) && is_utf8(variable.second); }

/// The names of the variables that should be kept but cannot be, in quotes; empty when there are none.
std::string unwritable(const Variables& variables) {
  std::vector<std::string> names;
  for (const auto& variable : variables) {
    if (is_kept(variable.first) && !is_writable(variable)) names.push_back(in_quotes(variable.first));
  }
  return joined(names);
}

}  // namespace

Variables read_variables_file(const std::filesystem::path& file) {
  const JsonDocument document(file);
  Variables variables;
  for (const JsonElement& variable : document.root().members()) {
    if (variable.key().empty()) variable.fail_at_key("the name is empty; name the variable");
    variables[variable.key()] = variable.text();
  }
  return variables;
}

void check_variables_file(const std::filesystem::path& file, const Variables& variables) {
  const std::string names = unwritable(variables);
  if (!names.empty()) throw FileError(file, "cannot keep variables that are not UTF-8: " + names + "; give other values");
  Replacement(file).check_target();
}

void write_variables_file(const std::filesystem::path& file, const Variables& variables) {
  nlohmann::json kept = nlohmann::json::object();
  for (const auto& variable : variables) {
    if (is_kept(variable.first) && is_writable(variable)) kept[variable.first] = variable.second;
  }
  Replacement(file).replace_target_with(kept.dump(2) + "\n");
  const std::string names = unwritable(variables);
  if (names.empty()) return;
  throw FileError(file, "is written without variables that are not UTF-8: " + names + "; give other values");
}

}  // namespace eclipse_host
