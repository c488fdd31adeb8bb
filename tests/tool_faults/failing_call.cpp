// failing_call REPORT CALL N HOW PROGRAM ARGUMENT...: runs the program, and lets the N-th of these system calls of it and its
// children fail; none if N is 0. A child is one of them until it executes another program. HOW is one of:
//
//   error        the call is not made, and returns an error (close: it is made, too, as in Linux)
//   interrupted  the same, as if a signal had come
//   short        one byte is read or written instead of many
//
// The exit status is the program's. REPORT gets a line for each call that can fail, "call NAME HOW...", or for the one that
// did, "failed NAME FILE"; then "open FILE" for each descriptor that the program got and still had at its end, and "child NAME"
// for each process that outlived it. These are killed. The program gets the value of PRELOADED as its LD_PRELOAD. For x86-64.
#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace fs = std::filesystem;

namespace {

enum class How { error, interrupted, shortened };

constexpr bool interrupted = true;
constexpr bool shortened = true;

/// A call that can fail, with the error that is likely in real life; 0 for none but EINTR.
struct FallibleCall {
  std::uint64_t number;
  const char* name;
  int error;
  bool is_interrupted = false;
  bool is_shortened = false;
};

// Not those that fail only for wrong arguments, and none that ends a process.
constexpr FallibleCall fallible_calls[] = {
    {SYS_access, "access", EIO},
    {SYS_brk, "brk", ENOMEM},
    {SYS_chdir, "chdir", EIO},
    {SYS_clock_nanosleep, "clock_nanosleep", 0, interrupted},
    {SYS_clone, "fork", EAGAIN},
    {SYS_clone3, "fork", EAGAIN},
    {SYS_close, "close", EIO},
    {SYS_copy_file_range, "copy_file_range", EIO},
    {SYS_dup2, "dup2", EMFILE},
    {SYS_execve, "execve", ENOMEM},
    {SYS_faccessat, "access", EIO},
    {SYS_faccessat2, "access", EIO},
    {SYS_fchmod, "fchmod", EIO},
    {SYS_fchmodat, "fchmod", EIO},
    {SYS_fchown, "fchown", EPERM},
    {SYS_flock, "flock", ENOLCK, interrupted},
    {SYS_fork, "fork", EAGAIN},
    {SYS_fstat, "stat", EIO},
    {SYS_fsync, "fsync", EIO},
    {SYS_ftruncate, "ftruncate", EIO},
    {SYS_getdents64, "readdir", EIO},
    {SYS_kill, "kill", EPERM},
    {SYS_lstat, "stat", EIO},
    {SYS_memfd_create, "memfd_create", EMFILE},
    {SYS_mkdir, "mkdir", ENOSPC},
    {SYS_mkdirat, "mkdir", ENOSPC},
    {SYS_mmap, "mmap", ENOMEM},
    {SYS_mprotect, "mprotect", ENOMEM},
    {SYS_newfstatat, "stat", EIO},
    {SYS_openat, "open", EMFILE},
    {SYS_pipe2, "pipe", EMFILE},
    {SYS_poll, "poll", ENOMEM, interrupted},
    {SYS_pread64, "pread", EIO, interrupted, shortened},
    {SYS_pwrite64, "pwrite", ENOSPC, interrupted, shortened},
    {SYS_read, "read", EIO, interrupted, shortened},
    {SYS_readlink, "readlink", EIO},
    {SYS_rename, "rename", EIO},
    {SYS_rmdir, "rmdir", EIO},
    {SYS_sendfile, "sendfile", EIO},
    {SYS_setsid, "setsid", EPERM},
    {SYS_stat, "stat", EIO},
    {SYS_statx, "stat", EIO},
    {SYS_symlink, "symlink", ENOSPC},
    {SYS_unlink, "unlink", EIO},
    {SYS_unlinkat, "unlink", EIO},
    {SYS_vfork, "fork", EAGAIN},
    {SYS_wait4, "wait", 0, interrupted},
    {SYS_waitid, "wait", 0, interrupted},
    {SYS_write, "write", ENOSPC, interrupted, shortened},
    {SYS_writev, "write", ENOSPC, interrupted},
};

[[noreturn]] void fail(const std::string& what) { throw std::system_error(errno, std::generic_category(), what); }

template <typename... Arguments>
long trace(__ptrace_request request, pid_t process, Arguments... arguments) {
  errno = 0;
  const long result = ptrace(request, process, arguments...);
  if (result == -1 && errno != 0 && errno != ESRCH) fail("ptrace");
  return result;
}

std::set<std::string> descriptors_of(pid_t process) {
  std::set<std::string> descriptors;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator("/proc/" + std::to_string(process) + "/fd", error)) {
    descriptors.insert(entry.path().filename().string() + " " + fs::read_symlink(entry.path(), error).string());
  }
  return descriptors;
}

std::string first_line_of(const fs::path& file) {
  std::ifstream stream(file);
  std::string line;
  std::getline(stream, line);
  return line;
}

class Run {
 public:
  Run(std::ofstream& report, std::string call, std::uint64_t nth, How how)
      : report_(report), call_(std::move(call)), nth_(nth), how_(how) {}

  /// The wait status of the program.
  int follow(pid_t program) {
    program_ = program;
    begin(program);
    int status = 0;
    for (pid_t process = 0; (process = waitpid(-1, &status, __WALL)) > 0;) {
      if (process == program_ && !WIFSTOPPED(status)) return status;
      if (WIFSTOPPED(status)) go_on(process, status);
    }
    fail("waitpid");
  }

  /// Kills who has outlived the program. A process that is being killed gets a little time for it.
  void end_children() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    std::set<pid_t> left = children();
    while (!left.empty() && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      left = children();
    }
    for (const pid_t child : left) {
      report_ << "child " << first_line_of("/proc/" + std::to_string(child) + "/comm") << "\n";
      kill(child, SIGKILL);
    }
  }

 private:
  struct Process {
    bool has_failed_call = false;  ///< which gets `result` at its end
    std::int64_t result = 0;
  };

  /// The first stop of the program is after its execve().
  void begin(pid_t program) {
    int status = 0;
    if (waitpid(program, &status, 0) != program || !WIFSTOPPED(status)) fail("the program was not started");
    constexpr unsigned options = PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                                 PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC | PTRACE_O_TRACEEXIT;
    trace(PTRACE_SETOPTIONS, program, nullptr, options);
    descriptors_ = descriptors_of(program);
    processes_[program];
    trace(PTRACE_SYSCALL, program, nullptr, nullptr);
  }

  void go_on(pid_t process, int status) {
    const int signal = WSTOPSIG(status);
    const int event = status >> 16;
    if (event == PTRACE_EVENT_EXEC) {
      processes_.erase(process);
      trace(PTRACE_DETACH, process, nullptr, nullptr);
      return;
    }
    const bool is_new = processes_.find(process) == processes_.end();
    if (signal == (SIGTRAP | 0x80)) step(process);
    if (event == PTRACE_EVENT_EXIT && process == program_) note_descriptors();
    const bool is_own = is_new || event != 0 || signal == (SIGTRAP | 0x80);
    processes_[process];
    // One may have stopped, or died, just now.
    trace(PTRACE_SYSCALL, process, nullptr, is_own ? 0 : signal);
  }

  void step(pid_t pid) {
    Process& process = processes_[pid];
    __ptrace_syscall_info info{};
    user_regs_struct registers{};
    if (trace(PTRACE_GET_SYSCALL_INFO, pid, sizeof(info), &info) <= 0) return;
    if (trace(PTRACE_GETREGS, pid, nullptr, &registers) != 0) return;
    if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
      enter(pid, process, registers);
    } else if (process.has_failed_call) {
      process.has_failed_call = false;
      registers.rax = static_cast<std::uint64_t>(process.result);
      trace(PTRACE_SETREGS, pid, nullptr, &registers);
    }
  }

  void enter(pid_t pid, Process& process, user_regs_struct& registers) {
    const auto call = std::find_if(std::begin(fallible_calls), std::end(fallible_calls),
                                   [&](const FallibleCall& each) { return each.number == registers.orig_rax; });
    if (call == std::end(fallible_calls)) return;
    if (nth_ == 0) {
      report_ << "call " << call->name << (call->error != 0 ? " error" : "") << (call->is_interrupted ? " interrupted" : "")
              << (call->is_shortened && registers.rdx > 1 ? " short" : "") << "\n";
    }
    if (call->name != call_ || ++calls_ != nth_) return;
    report_ << "failed " << call->name << " " << file_of(pid, registers) << std::endl;
    if (how_ == How::shortened) {
      if (registers.rdx > 1) registers.rdx = 1;
    } else {
      process.has_failed_call = true;
      process.result = how_ == How::interrupted ? -EINTR : call->number == SYS_brk ? 0 : -call->error;
      if (call->number != SYS_close) registers.orig_rax = ~std::uint64_t{0};
    }
    trace(PTRACE_SETREGS, pid, nullptr, &registers);
  }

  /// The file that a call is about, by its path in one of the first two arguments or by its descriptor; empty when it has none.
  static std::string file_of(pid_t pid, const user_regs_struct& registers) {
    for (const std::uint64_t address : {registers.rdi, registers.rsi}) {
      const std::string text = text_at(pid, address);
      if (text.find('/') != text.npos && is_plain(text)) return text;
    }
    std::error_code error;
    const auto descriptor = std::to_string(static_cast<int>(registers.rdi));
    return fs::read_symlink("/proc/" + std::to_string(pid) + "/fd/" + descriptor, error).string();
  }

  static bool is_plain(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char each) { return each >= ' ' && each <= '~'; });
  }

  static std::string text_at(pid_t pid, std::uint64_t address) {
    std::string text(4096, '\0');
    std::ifstream memory("/proc/" + std::to_string(pid) + "/mem", std::ios::binary);
    memory.seekg(static_cast<std::streamoff>(address));
    memory.read(text.data(), static_cast<std::streamsize>(text.size()));
    return text.substr(0, std::min(text.find('\0'), static_cast<std::size_t>(memory.gcount())));
  }

  void note_descriptors() {
    for (const std::string& each : descriptors_of(program_)) {
      if (descriptors_.find(each) == descriptors_.end()) report_ << "open " << each << "\n";
    }
  }

  /// Those that run. The orphans of the program are children of this process.
  static std::set<pid_t> children() {
    while (waitpid(-1, nullptr, WNOHANG | __WALL) > 0) {
    }
    std::istringstream list(first_line_of("/proc/thread-self/children"));
    return {std::istream_iterator<pid_t>(list), {}};
  }

  std::ofstream& report_;
  std::string call_;
  std::uint64_t nth_;
  How how_;
  std::uint64_t calls_ = 0;
  pid_t program_ = 0;
  std::map<pid_t, Process> processes_;
  std::set<std::string> descriptors_;  ///< that the program was started with
};

How how_of(const std::string& name) {
  if (name == "error") return How::error;
  if (name == "interrupted") return How::interrupted;
  if (name == "short") return How::shortened;
  throw std::runtime_error("unknown: " + name);
}

pid_t start(char** command) {
  const pid_t program = fork();
  if (program != 0) return program;
  if (const char* const library = std::getenv("PRELOADED")) setenv("LD_PRELOAD", library, 1);
  ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
  execv(command[0], command);
  _exit(127);
}

}  // namespace

int main(int argc, char** argv) try {
  if (argc < 6) throw std::runtime_error("usage: failing_call REPORT CALL N HOW PROGRAM ARGUMENT...");
  std::ofstream report(argv[1]);
  if (!report) throw std::runtime_error(std::string(argv[1]) + " cannot be written");
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  Run run(report, argv[2], std::strtoull(argv[3], nullptr, 10), how_of(argv[4]));
  const int status = run.follow(start(argv + 5));
  run.end_children();
  if (WIFSIGNALED(status)) report << "signal " << WTERMSIG(status) << "\n";
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
} catch (const std::exception& error) {
  std::cerr << "failing_call: " << error.what() << "\n";
  return 99;
}
