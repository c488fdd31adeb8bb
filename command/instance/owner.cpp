#include "instance/owner.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace eclipse_instance {

void give_to_owner_of(const fs::path& directory, int descriptor) {
  struct stat owner {};
  if (geteuid() != 0 || stat(directory.c_str(), &owner) != 0) return;
  static_cast<void>(!fchown(descriptor, owner.st_uid, owner.st_gid));
}

void share_with_users_of(const fs::path& directory, int descriptor) {
  struct stat around {};
  struct stat file {};
  if (stat(directory.c_str(), &around) != 0 || fstat(descriptor, &file) != 0 || file.st_uid != geteuid()) return;
  const mode_t wanted = file.st_mode | (around.st_mode & 0666U);
  if (wanted != file.st_mode) static_cast<void>(!fchmod(descriptor, wanted & 0777U));
}

void make_directory_for_owner(const fs::path& directory) {
  fs::create_directory(directory);
  const fs::path parent = directory.parent_path();
  // Not by its path, which the owner could make a link to another file meanwhile.
  const int descriptor = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (descriptor < 0) return;
  give_to_owner_of(parent, descriptor);
  close(descriptor);
}

}  // namespace eclipse_instance
