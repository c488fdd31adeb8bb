// Descriptor files, each read once, however many ask for it.
#ifndef ECLIPSE_INT_DRY_RUN_DESCRIPTOR_FILES_H
#define ECLIPSE_INT_DRY_RUN_DESCRIPTOR_FILES_H

#include <functional>
#include <map>
#include <string>

namespace eclipse_dry_run {

struct DescriptorContent {
  std::string bytes;  ///< as the plug-in gets them: as many as the file's size, zero bytes for those that cannot be read
  std::string error;  ///< why the file could not be read completely, such as "Permission denied"; empty when it could
};

/// Reads a descriptor file. The plug-in ignores errors, so whoever reports what it reads must report the error, too.
DescriptorContent descriptor_content(const std::string& path);

/// What descriptor files contained when they were first asked for. All that is derived from them agrees, even if a file is
/// replaced meanwhile.
class DescriptorFiles {
 public:
  /// The result stays where it is.
  const DescriptorContent& at(const std::string& path);

 private:
  std::map<std::string, DescriptorContent, std::less<>> contents_;
};

}  // namespace eclipse_dry_run

#endif
