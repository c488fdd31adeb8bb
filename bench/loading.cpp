// Loading and unloading a library in a process that has loaded its dependencies already, so that only the library's own mapping
// and relocations count.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <string>

namespace {

void load_and_unload(benchmark::State& state, const char* library) {
  for (auto _ : state) {
    void* const loaded = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    if (loaded == nullptr) return state.SkipWithError(dlerror());
    dlclose(loaded);
  }
  if (dlopen(library, RTLD_NOW | RTLD_NOLOAD) != nullptr)
    state.SkipWithError("the library stays loaded, so nothing was measured");
}

void register_library(const char* who, const char* library) {
  benchmark::RegisterBenchmark((std::string("load the library/") + who + "/1").c_str(), [=](benchmark::State& state) {
    load_and_unload(state, library);
  })->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  register_library("ours", ECLIPSE_INT_LIBRARY);
  register_library("plain", ECLIPSE_INT_MODEL_LIBRARY);
  register_library("floor", ECLIPSE_INT_EMPTY_LIBRARY);
  benchmark::RunSpecifiedBenchmarks();
}
