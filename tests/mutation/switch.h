// Which mutant is switched on, and which functions were reached: for sources that switches.py has put mutants into.
#ifndef ECLIPSE_INT_TESTS_MUTATION_SWITCH_H
#define ECLIPSE_INT_TESTS_MUTATION_SWITCH_H

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

namespace mutation {

enum { most_functions = 1 << 16 };

/// Of each binary its own. It is read before main(), and by initializers of constants that run before that.
class Switch {
 public:
  Switch() {
    const char* number = ::getenv("ECLIPSE_INT_MUTANT");
    chosen_ = number != nullptr ? ::atoi(number) : 0;
    const char* file = ::getenv("ECLIPSE_INT_REACHED");
    if (file == nullptr) return;
    const int descriptor = ::open(file, O_RDWR | O_CLOEXEC);
    if (descriptor < 0) return;
    void* bytes = ::mmap(nullptr, most_functions, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    if (bytes != MAP_FAILED) reached_ = static_cast<char*>(bytes);
    ::close(descriptor);
  }
  int chosen() const { return chosen_; }
  void reached(int function) const {
    if (reached_ != nullptr) reached_[function] = 1;
  }

 private:
  int chosen_ = 0;
  char* reached_ = nullptr;
};

static inline const Switch& the_switch() {
  static const Switch only;
  return only;
}
static inline int chosen() { return the_switch().chosen(); }
static inline void reached(int function) { the_switch().reached(function); }

__attribute__((constructor)) static void read_switch() { the_switch(); }

}  // namespace mutation

#endif
