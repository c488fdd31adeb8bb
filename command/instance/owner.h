// Whose the files are that this program makes in an Eclipse instance.
#ifndef ECLIPSE_INT_INSTANCE_OWNER_H
#define ECLIPSE_INT_INSTANCE_OWNER_H

#include <filesystem>

namespace eclipse_instance {

/// What the administrator makes in a directory belongs to the owner of the directory, who must be able to change it later. Does
/// nothing for another user.
void give_to_owner_of(const std::filesystem::path& directory, int descriptor);

/// Lets all who may read or write the directory do so with a file in it that this user owns, whatever the umask.
void share_with_users_of(const std::filesystem::path& directory, int descriptor);

/// Makes a directory unless it is there, and gives it to the owner of the one around it. Throws filesystem_error.
void make_directory_for_owner(const std::filesystem::path& directory);

}  // namespace eclipse_instance

#endif
