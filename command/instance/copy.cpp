// What is copied, seen with the director of Eclipse 4.26, which resolves on it as it does on the instance itself:
//
//   configuration/config.ini                                    names the profile, and where p2 keeps its data
//   configuration/org.eclipse.equinox.simpleconfigurator/       which bundles there are
//   p2/org.eclipse.equinox.p2.engine/.settings/                 the repositories that p2 knows
//   p2/org.eclipse.equinox.p2.engine/profileRegistry/ID.profile/{TIME.profile.gz,.data/}
//   p2/org.eclipse.equinox.p2.repository/                       what it has cached of repositories, with its times
//
// The caches of the framework are left out: they are large, and the first start makes them anew.
#include "instance/copy.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>
#include <system_error>

#include "base/file.h"
#include "p2/configuration_files.h"
#include "p2/data_area.h"
#include "p2/instance_error.h"
#include "p2/instance_paths.h"
#include "p2/profile.h"

namespace fs = std::filesystem;
using namespace eclipse_base;
using namespace eclipse_p2;

namespace eclipse_instance {

namespace {

void write(const fs::path& file, const std::string& bytes, std::ios::openmode mode = std::ios::trunc) {
  fs::create_directories(file.parent_path());
  errno = 0;
  std::ofstream stream(file, mode | std::ios::binary);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (stream.flush()) return;
  throw FileError(file, std::string("cannot be written: ") + std::strerror(errno) + "; " + other_temporary_directory);
}

/// Copies of regular files, no larger together than a copy of an instance may be.
class LimitedCopies {
 public:
  LimitedCopies(const fs::path& from, const fs::path& to, const std::function<void()>& on_file)
      : from_(from), to_(to), on_file_(on_file) {}

  void add_file(const fs::path& name) {
    on_file_();
    std::error_code unknown;
    if (!fs::is_regular_file(from_ / name, unknown)) return;
    const FileContent content = read_file(from_ / name, left_);
    if (content.exceeds_limit) {
      throw FileError(from_ / name, "makes the copy larger than " + std::to_string(largest::copy / largest::mebibyte) +
                                        " MiB; remove files that do not belong there");
    }
    if (!content.error.empty()) throw FileError(from_ / name, content.error + "; make it readable for this user");
    left_ -= content.bytes.size();
    write(to_ / name, content.bytes);
    // The director compares the times of what it has cached; of a file without its time it reads the archive itself.
    const auto time = fs::last_write_time(from_ / name, unknown);
    if (!unknown) fs::last_write_time(to_ / name, time, unknown);
  }

  /// A link to a directory could lead in a circle, so only the directory itself may be one. What this user may not read, the
  /// director would not read either.
  void add_directory(const fs::path& name) {
    std::error_code unknown;
    if (!fs::is_directory(from_ / name, unknown)) return;
    for (const auto& entry : fs::recursive_directory_iterator(from_ / name, fs::directory_options::skip_permission_denied)) {
      add_file(entry.path().lexically_relative(from_));
    }
  }

 private:
  const fs::path& from_;
  const fs::path& to_;
  const std::function<void()>& on_file_;
  std::size_t left_ = largest::copy;
};

/// With the configuration of the instance as a parent of the copied one, p2 would take the instance for a shared one, and
/// resolve on a profile of its own, in which only the roots are known.
void separate_from_instance(const fs::path& configuration) {
  write(configuration, "\nosgi.configuration.cascaded=false\n", std::ios::app);
}

void copy_instance(const fs::path& from, const fs::path& to, const fs::path& state, const std::function<void()>& on_file) {
  LimitedCopies copies(from, to, on_file);
  copies.add_file(configuration_file);
  separate_from_instance(to / configuration_file);
  copies.add_directory(bundle_list_directory);
  copies.add_directory(fs::path(data_directory) / engine_settings);
  copies.add_directory(fs::path(data_directory) / repository_settings);
  copies.add_file(state.lexically_relative(from));
  copies.add_directory(state.parent_path().lexically_relative(from) / ".data");
}

InstanceError copy_error(const fs::path& instance, const std::string& reason) {
  return InstanceError("\"" + instance.string() + "\" cannot be copied to ask its director: " + reason);
}

}  // namespace

bool InstanceCopy::is_possible_for(const fs::path& instance) {
  const fs::path state = profile_file(instance);
  const bool is_inside = !state.empty() && state == state.lexically_normal();
  const bool is_configured = read_file(instance / configuration_file, largest::configuration).error.empty();
  return is_inside && is_configured && data_area_of(instance).is_inside;
}

std::unique_ptr<InstanceCopy> InstanceCopy::of(const fs::path& instance, const std::function<void()>& on_file) try {
  if (!is_possible_for(instance)) return nullptr;
  std::unique_ptr<InstanceCopy> copy(new InstanceCopy);
  copy_instance(instance, copy->directory(), profile_file(instance), on_file);
  return copy;
} catch (const FileError& error) {
  throw copy_error(instance, error.what());
} catch (const fs::filesystem_error& error) {
  throw copy_error(instance, printable(error.what()) + "; " + other_temporary_directory);
}

fs::path InstanceCopy::configuration() const { return directory() / configuration_directory; }

}  // namespace eclipse_instance
