// Preloaded: the N-th allocation of the program and its children fails, or each from the N-th on; those before main() do not
// count. A child is one of them until it executes another program. FAILING_ALLOCATION is "N once" or "N on"; with "0 REPORT"
// none fails, and the file REPORT gets their number.
#include <dlfcn.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

// What the C library's functions are called besides.
extern "C" {
void* __libc_malloc(std::size_t size);                     // NOLINT(bugprone-reserved-identifier)
void* __libc_calloc(std::size_t count, std::size_t size);  // NOLINT(bugprone-reserved-identifier)
void* __libc_realloc(void* memory, std::size_t size);      // NOLINT(bugprone-reserved-identifier)
}

namespace {

using Counter = std::atomic<unsigned long>;

// Shared by a program and its children. Before it is there, nothing is counted.
Counter* made = nullptr;
unsigned long nth = 0;
bool fails_on = false;
const char* report = nullptr;
pid_t program = 0;

bool fails() {
  if (made == nullptr) return false;
  const unsigned long number = ++*made;
  const bool failed = nth != 0 && (fails_on ? number >= nth : number == nth);
  if (failed) errno = ENOMEM;
  return failed;
}

void begin() {
  const char* const order = std::getenv("FAILING_ALLOCATION");
  if (order == nullptr) return;
  char* rest = nullptr;
  nth = std::strtoul(order, &rest, 10);
  fails_on = std::strcmp(rest, " on") == 0;
  if (nth == 0) report = rest + 1;
  program = getpid();
  unsetenv("LD_PRELOAD");
  void* const memory = mmap(nullptr, sizeof(Counter), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory != MAP_FAILED) made = new (memory) Counter(0);
}

__attribute__((destructor)) void end() {
  if (report == nullptr || getpid() != program) return;
  const unsigned long count = *made;
  std::FILE* const file = std::fopen(report, "w");
  if (file == nullptr) return;
  std::fprintf(file, "%lu\n", count);
  std::fclose(file);
}

}  // namespace

using Main = int (*)(int, char**, char**);
static Main real_main = nullptr;

static int counted_main(int argc, char** argv, char** environment) {
  begin();
  return real_main(argc, argv, environment);
}

// What calls main().
extern "C" int __libc_start_main(Main main, int argc, char** argv, void (*init)(), void (*fini)(), void (*end)(), void* stack) {
  using Start = int (*)(Main, int, char**, void (*)(), void (*)(), void (*)(), void*);
  real_main = main;
  return reinterpret_cast<Start>(dlsym(RTLD_NEXT, "__libc_start_main"))(counted_main, argc, argv, init, fini, end, stack);
}

extern "C" void* malloc(std::size_t size) { return fails() ? nullptr : __libc_malloc(size); }
extern "C" void* calloc(std::size_t count, std::size_t size) { return fails() ? nullptr : __libc_calloc(count, size); }
extern "C" void* realloc(void* memory, std::size_t size) { return fails() ? nullptr : __libc_realloc(memory, size); }
