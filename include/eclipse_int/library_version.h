// The version of a plug-in that is loaded. For ELF systems.
#ifndef ECLIPSE_INT_LIBRARY_VERSION_H
#define ECLIPSE_INT_LIBRARY_VERSION_H

#include <elf.h>
#include <link.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace eclipse_int {

namespace library_version_detail {

struct Search {
  std::uintptr_t address;
  std::string version;
};

/// The text of the note of the owner "eclipse_int" in a segment of notes, empty if it has none.
inline std::string version_in(const char* notes, std::size_t size, std::size_t alignment) {
  const auto padded = [alignment](std::size_t length) { return (length + alignment - 1) / alignment * alignment; };
  static const char owner[] = "eclipse_int";
  ElfW(Nhdr) head;
  for (std::size_t at = 0; at + sizeof head <= size;) {
    std::memcpy(&head, notes + at, sizeof head);
    const std::size_t name = at + sizeof head;
    const std::size_t text = name + padded(head.n_namesz);
    if (text + head.n_descsz > size) break;
    if (head.n_namesz == sizeof owner && std::memcmp(notes + name, owner, sizeof owner) == 0 && head.n_descsz > 0)
      return std::string(notes + text, head.n_descsz - 1);
    at = text + padded(head.n_descsz);
  }
  return std::string();
}

inline int look_at(dl_phdr_info* object, std::size_t, void* data) {
  Search& search = *static_cast<Search*>(data);
  bool is_meant = false;
  for (int i = 0; i < object->dlpi_phnum; ++i) {
    const ElfW(Phdr)& segment = object->dlpi_phdr[i];
    const std::uintptr_t begin = object->dlpi_addr + segment.p_vaddr;
    is_meant = is_meant || (segment.p_type == PT_LOAD && search.address >= begin && search.address - begin < segment.p_memsz);
  }
  for (int i = 0; is_meant && search.version.empty() && i < object->dlpi_phnum; ++i) {
    const ElfW(Phdr)& segment = object->dlpi_phdr[i];
    if (segment.p_type != PT_NOTE) continue;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader gives addresses as numbers
    const char* const notes = reinterpret_cast<const char*>(object->dlpi_addr + segment.p_vaddr);
    search.version = version_in(notes, segment.p_memsz, segment.p_align == 8 ? 8 : 4);
  }
  return is_meant ? 1 : 0;
}

}  // namespace library_version_detail

/// The version of the plug-in that has this action (what dlsym() returned for it), such as "1.2.0"; empty if it does not say.
/// Compare it with ECLIPSE_INT_VERSION, the version of the headers.
inline std::string library_version(const void* action) {
  library_version_detail::Search search = {reinterpret_cast<std::uintptr_t>(action), std::string()};
  dl_iterate_phdr(library_version_detail::look_at, &search);
  return search.version;
}

}  // namespace eclipse_int

#endif
