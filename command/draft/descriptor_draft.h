// A descriptor file for a component, written from the repositories that the component ships.
#ifndef ECLIPSE_INT_DRAFT_DESCRIPTOR_DRAFT_H
#define ECLIPSE_INT_DRAFT_DESCRIPTOR_DRAFT_H

#include <filesystem>
#include <string>
#include <vector>

#include "p2/repository.h"

namespace eclipse_draft {

enum class OfferedFeatures {
  in_categories,  ///< of a repository with categories those in them, as the dialogs of Eclipse show them; else all
  all,
};

struct DescriptorDraft {
  std::string text;                ///< a header, and a line for each feature
  std::vector<std::string> notes;  ///< what was left out and why, each to be read after the directory of the component
};

/// The draft for the component in a directory. Each feature is listed once, with the repository that has its highest version;
/// of two that have the same version, a composite comes before its children. It needs no order: one command installs all
/// features, and the director itself finds what requires what. Throws eclipse_base::FileError when the directory cannot be
/// searched, is itself a repository or has no features below it, and for a path or an id that no descriptor can name.
DescriptorDraft draft_descriptor(eclipse_p2::Repositories& repositories, const std::filesystem::path& directory,
                                 OfferedFeatures offered);

}  // namespace eclipse_draft

#endif
