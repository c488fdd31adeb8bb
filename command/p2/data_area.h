// Where the director of an Eclipse instance keeps the data of p2, and with it the profile.
#ifndef ECLIPSE_INT_P2_DATA_AREA_H
#define ECLIPSE_INT_P2_DATA_AREA_H

#include <filesystem>
#include <string>

namespace eclipse_p2 {

struct DataArea {
  std::filesystem::path directory;  ///< need not exist; empty when it is not known which one it is
  bool is_inside = false;           ///< p2/ in the instance, by its place beside the configuration: in a copy of both, the copy
  std::string reason;               ///< why the directory is not known, beginning with the name of a file; empty when it is
};

/// That of the instance in this directory, when its director is started by this user.
DataArea data_area_of(const std::filesystem::path& instance);

}  // namespace eclipse_p2

#endif
