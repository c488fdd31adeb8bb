// Takes the place of the functions of the C library in the preset coverage: those end a process without writing what it
// counted.
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>

extern "C" {

void __gcov_dump();

void _exit(int status) {
  __gcov_dump();
  syscall(SYS_exit_group, status);
  __builtin_unreachable();
}

void _Exit(int status) noexcept { _exit(status); }
}
