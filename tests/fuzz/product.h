// A product whose files an editor has open, and what finds mistakes in them.
#ifndef ECLIPSE_INT_FUZZ_PRODUCT_H
#define ECLIPSE_INT_FUZZ_PRODUCT_H

#include "dry_run/plugin_functions.h"
#include "fake_host/temporary_directory.h"
#include "language_server/check.h"
#include "standalone_host/plugin.h"

namespace fuzz {

/// The plug-in is found by the working directory at the start.
inline const eclipse_language_server::Linter& linter() {
  static const eclipse_host::Plugin plugin = eclipse_host::Plugin::beside_this_program();
  static const eclipse_dry_run::PluginFunctions library(plugin);
  static const eclipse_language_server::Linter linter{library, {}};
  return linter;
}

inline void write_product_once() {
  static const bool written = [] {
    fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\n");
    fake::write_file("tools/etc/eclipse/more.txt", "site\ttwo\n");
    fake::write_file("tools/site/content.xml", "<repository><units><unit id='one' version='1.0.0'/></units></repository>");
    return true;
  }();
  static_cast<void>(written);
}

}  // namespace fuzz

#endif
