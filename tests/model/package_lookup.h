// Which components are looked at, and what stands behind them.
#ifndef ECLIPSE_INT_TESTS_MODEL_PACKAGE_LOOKUP_H
#define ECLIPSE_INT_TESTS_MODEL_PACKAGE_LOOKUP_H

#include <map>
#include <string>

#include "eclipse_int/host.h"

inline bool is_usable(Component* component) { return component != nullptr && !component->code.empty(); }

/// Null without a provider, too.
inline Package* find_package(Provider* provider, const std::string& code) {
  if (provider == nullptr) {
    return nullptr;
  }
  return provider->findPackage("", code, "");
}

/// Null when the session has none.
inline std::map<std::string, Component*>* capability_map(session_t* session) {
  char name[] = "KORU_YUM_CAPABILITY_PROVIDERS";
  return static_cast<std::map<std::string, Component*>*>(session_get_cdata(session, name));
}

#endif
