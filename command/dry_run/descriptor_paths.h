// Where the descriptor files of a component are. The plug-in finds "etc/eclipse/" anywhere in a path, even where "etc" is only
// the end of a directory's name; whether it takes a path for that of a descriptor, PluginFunctions::descriptor() asks it.
#ifndef ECLIPSE_INT_DRY_RUN_DESCRIPTOR_PATHS_H
#define ECLIPSE_INT_DRY_RUN_DESCRIPTOR_PATHS_H

#include <cstddef>
#include <filesystem>
#include <string_view>

namespace eclipse_dry_run {

inline constexpr std::string_view descriptor_directory = "etc/eclipse/";

/// The offset of the first etc/eclipse/ in a path whose "etc" is the whole name of a directory; npos if there is none.
std::size_t descriptor_directory_in(std::string_view path);

/// Whether a file, or the etc/eclipse that it is in, is in a directory whose name is that of documentation or examples.
bool is_among_examples(std::string_view path);

/// Whether a path leads to a directory etc/eclipse itself.
bool is_descriptor_directory(const std::filesystem::path& path);

/// The nearest directory for a file that is to replace this one, and that the plug-in must not read before: that of the file,
/// or the one above its etc/eclipse, also where links lead there.
std::filesystem::path directory_for_replacement(const std::filesystem::path& descriptor);

}  // namespace eclipse_dry_run

#endif
