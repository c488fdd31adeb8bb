// The input is a session file of the stand-alone host. It is read, or refused in one line that begins with its name; and the
// same when it is read again.
#include "standalone_host/session_file.h"

#include "base/text.h"
#include "differential/readable.h"
#include "fake_host/temporary_directory.h"
#include "fuzz/target.h"

using differential::readable;
using eclipse_host::CatalogueComponent;
using eclipse_host::Session;

namespace {

const std::string file = "s.json";

std::string description(const CatalogueComponent& component) {
  std::string text = readable(component.code) + readable(component.installBase) + readable(component.installDir) +
                     readable(component.selected_for_install) + readable(component.selected_for_removal) +
                     readable(component.installed);
  if (const auto& package = component.package) {
    text += readable(package->prefix) + readable(package->root) + readable(package->files);
  }
  return text + "\n";
}

std::string description(const Session& session) {
  std::string text = readable(session.graphical) + "\n";
  for (const auto& [name, value] : session.variables) text += readable(name) + readable(value) + "\n";
  for (const auto& component : session.components) text += description(*component);
  for (const auto& [name, component] : *session.capabilities) text += readable(name) + readable(component->code) + "\n";
  return text;
}

/// What is read, or why nothing is.
std::string read_or_refused() {
  Session session;
  try {
    eclipse_host::read_session_file(file, session);
  } catch (const eclipse_base::FileError& error) {
    const std::string message = error.what();
    for (const std::string& line : eclipse_base::split(message, '\n')) {
      const bool is_printable = line.find('\r') == line.npos;
      if (!line.starts_with(file + ":") || !is_printable) fuzz::report("the message of an error is: " + readable(message));
    }
    return message;
  }
  return description(session);
}

/// To scan whatever directory an input happens to name can take for ever.
bool scans_elsewhere(const std::string& text) {
  return text.find("scan") != text.npos && (text.find_first_of("/\\") != text.npos || text.find("..") != text.npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::enter_own_directory();
  const std::string text = fuzz::text_of(data, size);
  if (scans_elsewhere(text)) return 0;
  fake::write_file(file, text);
  const std::string first = read_or_refused();
  const std::string again = read_or_refused();
  if (first != again) fuzz::report("read as\n" + first + "\nand again as\n" + again);
  return 0;
}
