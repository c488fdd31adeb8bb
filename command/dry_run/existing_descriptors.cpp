#include "dry_run/existing_descriptors.h"

#include "dry_run/descriptor_files.h"

using eclipse_host::Session;

namespace eclipse_dry_run {

std::vector<DescriptorFile> existing_descriptors(const eclipse_host::Plugin& plugin, const Session& session) {
  const PluginFunctions library(plugin);
  std::vector<DescriptorFile> descriptors;
  for (const auto& component : session.components) {
    if (!component || !component->package) continue;
    for (const std::string& listed : component->package->files) {
      const auto descriptor = library.descriptor(*component, listed);
      if (descriptor && descriptor->exists) descriptors.push_back(*descriptor);
    }
  }
  return descriptors;
}

void check_descriptor_sizes(const eclipse_host::Plugin& plugin, const Session& session) {
  for (const DescriptorFile& descriptor : existing_descriptors(plugin, session)) {
    check_descriptor_size(descriptor.path);
  }
}

std::vector<UnreadableDescriptor> unreadable_descriptors(const eclipse_host::Plugin& plugin, const Session& session) {
  std::vector<UnreadableDescriptor> unreadable;
  for (const DescriptorFile& descriptor : existing_descriptors(plugin, session)) {
    const std::string error = descriptor_content(descriptor.path).error;
    if (!error.empty()) unreadable.push_back({descriptor.path, error});
  }
  return unreadable;
}

}  // namespace eclipse_dry_run
