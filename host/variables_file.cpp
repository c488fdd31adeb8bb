#include "host/variables_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string_view>
#include <system_error>

#include "host/json_document.h"

namespace eclipse_host {

namespace {

constexpr std::array<std::string_view, 3> of_one_run = {"KORU_MODE", "QN_SCRIPTS_FAILED", "QN_SCRIPTS_COMPLETE_DESC"};

/// A new file beside another one, whose place it takes when it is complete. Until then it goes away with this object.
class Replacement {
 public:
  explicit Replacement(const std::filesystem::path& file) : named_(file), target_(target_of(file)) {
    const std::string name = "." + target_.filename().string() + "." + std::to_string(getpid()) + ".new";
    temporary_ = target_.parent_path() / name;
    unlink(temporary_.c_str());
    descriptor_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor_ < 0) fault();
  }
  ~Replacement() {
    if (descriptor_ < 0) return;
    close(descriptor_);
    unlink(temporary_.c_str());
  }
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  void take_place_with(std::string_view text) {
    while (!text.empty()) {
      const ssize_t count = write(descriptor_, text.data(), text.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) fault();
      text.remove_prefix(static_cast<std::size_t>(count));
    }
    struct stat existing {};
    if (stat(target_.c_str(), &existing) == 0 && fchmod(descriptor_, existing.st_mode & 07777U) != 0) fault();
    if (fsync(descriptor_) != 0 || rename(temporary_.c_str(), target_.c_str()) != 0) fault();
    close(descriptor_);
    descriptor_ = -1;
  }

 private:
  /// The file itself, also behind links. A device or a pipe must not be replaced by a file, as /dev/null would be.
  static std::filesystem::path target_of(const std::filesystem::path& file) {
    std::error_code error;
    const auto status = std::filesystem::status(file, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
      throw FileFault(file.string() + ": is no regular file; give the path of a file to write");
    }
    auto target = std::filesystem::weakly_canonical(std::filesystem::absolute(file, error), error);
    if (error)
      throw FileFault(file.string() + ": cannot be written: " + error.message() + "; give the path of a file to write");
    return target;
  }

  [[noreturn]] void fault() const {
    throw FileFault(named_.string() + ": cannot be written: " + std::strerror(errno) +
                    "; give the path of a file in a folder that is writable");
  }

  std::filesystem::path named_;
  std::filesystem::path target_;
  std::filesystem::path temporary_;
  int descriptor_ = -1;
};

}  // namespace

Variables read_variables_file(const std::filesystem::path& file) {
  const JsonDocument document(file);
  Variables variables;
  for (const JsonElement& variable : document.root().members()) {
    if (variable.key().empty()) variable.fault_at_key("the name is empty; name the variable");
    variables[variable.key()] = variable.text();
  }
  return variables;
}

void check_variables_file(const std::filesystem::path& file) { const Replacement replacement(file); }

void write_variables_file(const std::filesystem::path& file, const Variables& variables) {
  nlohmann::json kept = nlohmann::json::object();
  for (const auto& [name, value] : variables) {
    if (std::find(of_one_run.begin(), of_one_run.end(), name) != of_one_run.end()) continue;
    if (!is_utf8(name) || !is_utf8(value)) {
      throw FileFault(file.string() + ": cannot keep the variable " + in_quotes(name) +
                      ": it is not UTF-8; give it another value");
    }
    kept[name] = value;
  }
  Replacement(file).take_place_with(kept.dump(2) + "\n");
}

}  // namespace eclipse_host
