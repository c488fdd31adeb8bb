#include "exports/exports.h"

#include <dlfcn.h>

#include <stdexcept>

#include "exports/under_test.h"

namespace exports {

namespace {

const Table& load(const char* module) {
  void* const loaded = dlopen(module, RTLD_NOW | RTLD_LOCAL);
  void* const table = loaded == nullptr ? nullptr : dlsym(loaded, "exports_table");
  if (table == nullptr) throw std::runtime_error(dlerror());
  return *static_cast<const Table*>(table);
}

const Table& load_under_test(const char* module) {
  const Table& table = load(module);
  require_under_test(reinterpret_cast<const void*>(table.perform_integration));
  return table;
}

}  // namespace

const Table& plug_in() {
  static const Table& table = load_under_test(ECLIPSE_INT_TABLE);
  return table;
}

const Table& model() {
  static const Table& table = load(ECLIPSE_INT_MODEL_TABLE);
  return table;
}

}  // namespace exports
