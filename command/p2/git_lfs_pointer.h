// What Git LFS leaves in place of a file that was not downloaded.
#ifndef ECLIPSE_INT_P2_GIT_LFS_POINTER_H
#define ECLIPSE_INT_P2_GIT_LFS_POINTER_H

#include <string_view>

namespace eclipse_p2::git_lfs {

inline constexpr std::string_view beginning_of_pointer = "version https://git-lfs.github.com/spec/";

inline bool is_pointer(std::string_view beginning) { return beginning.starts_with(beginning_of_pointer); }

/// The error of a pointer, to be read after the name of the file, and its fix.
inline constexpr const char* pointer_error = "is a Git LFS pointer, not the file that it stands for";
inline constexpr const char* pointer_fix = "run git lfs pull in the clone that it comes from";

}  // namespace eclipse_p2::git_lfs

#endif
