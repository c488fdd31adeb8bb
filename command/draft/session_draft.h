// A session for components, where no session file describes one.
#ifndef ECLIPSE_INT_DRAFT_SESSION_DRAFT_H
#define ECLIPSE_INT_DRAFT_SESSION_DRAFT_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace eclipse_draft {

struct SessionDraft {
  std::vector<std::filesystem::path> components;  ///< their directories, absolute
  std::filesystem::path eclipse;                  ///< the executable, absolute
  bool is_removal = false;
  /// Of components that ship only a part of what is in their directories: the paths of these files, relative to them.
  std::map<std::filesystem::path, std::vector<std::string>> shipped = {};
};

/// The text of a session file in which the user names the instance, and all components are selected for installation or, for a
/// removal, for removal. A component is named after its directory; of two with the same name, the second one has a number.
/// Throws eclipse_base::FileError for a path that is not UTF-8, which JSON cannot hold.
std::string draft_session(const SessionDraft& draft);

}  // namespace eclipse_draft

#endif
