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
//
// A filter stops the program at the calls of this name only: a stop at each call would take most of the time. Since the filter
// is inherited and needs a tracer, other programs that it starts are traced, too.
#include <dirent.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
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
#include <cstddef>
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
      follow_further(process, status);
      if (process == program_ && !WIFSTOPPED(status)) return status;
    }
    fail("waitpid");
  }

  /// Kills who has outlived the program. A process that is being killed gets a little time for it.
  void end_children() {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    std::set<pid_t> left = children();
    while (!left.empty() && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      left = children();
    }
    for (const pid_t child : left) {
      report_ << "child " << first_line_of("/proc/" + std::to_string(child) + "/comm") << "\n";
      kill(child, SIGKILL);
    }
  }

 private:
  struct Process {
    bool is_announced = false;      ///< by its parent
    bool is_stopped = false;        ///< for the first time
    bool is_other_program = false;  ///< whose calls do not fail
    bool has_failed_close = false;  ///< which is made, and gets `result` at its end
    std::int64_t result = 0;
  };

  void begin(pid_t program) {
    int status = 0;
    if (waitpid(program, &status, 0) != program || !WIFSTOPPED(status)) fail("the program was not started");
    constexpr unsigned options = PTRACE_O_EXITKILL | PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK |
                                 PTRACE_O_TRACECLONE | PTRACE_O_TRACEEXEC | PTRACE_O_TRACEEXIT | PTRACE_O_TRACESECCOMP;
    trace(PTRACE_SETOPTIONS, program, nullptr, options);
    processes_[program] = {.is_announced = true, .is_stopped = true, .is_other_program = true};
    trace(PTRACE_CONT, program, nullptr, nullptr);
  }

  void follow_further(pid_t pid, int status) {
    if (WIFSTOPPED(status)) {
      go_on(pid, status);
    } else {
      processes_.erase(pid);
    }
  }

  void go_on(pid_t pid, int status) {
    Process& process = processes_[pid];
    if (!process.is_stopped) {
      process.is_stopped = true;
      start_when_announced(pid, process);
      return;
    }
    const int signal = WSTOPSIG(status);
    const int event = status >> 16;
    if (event == PTRACE_EVENT_FORK || event == PTRACE_EVENT_VFORK || event == PTRACE_EVENT_CLONE) announce_child(pid, process);
    if (event == PTRACE_EVENT_EXEC) note_program(pid, process);
    if (event == PTRACE_EVENT_EXIT && pid == program_) note_descriptors();
    if (event == PTRACE_EVENT_SECCOMP && !process.is_other_program) enter(pid, process);
    const bool is_end_of_call = signal == (SIGTRAP | 0x80);
    if (is_end_of_call) end_close(pid, process);
    // A process may have died just now.
    trace(process.has_failed_close ? PTRACE_SYSCALL : PTRACE_CONT, pid, nullptr, event != 0 || is_end_of_call ? 0 : signal);
  }

  void note_program(pid_t pid, Process& process) {
    const bool is_start = pid == program_ && !std::exchange(is_started_, true);
    process.is_other_program = !is_start;
    if (is_start) descriptors_ = descriptors_of(pid);
  }

  /// It is known what a child runs when its parent has been seen to make it, which may be after the first stop of the child.
  void announce_child(pid_t parent, const Process& process) {
    unsigned long child = 0;
    if (trace(PTRACE_GETEVENTMSG, parent, nullptr, &child) != 0) return;
    Process& born = processes_[static_cast<pid_t>(child)];
    born.is_announced = true;
    born.is_other_program = process.is_other_program;
    start_when_announced(static_cast<pid_t>(child), born);
  }

  static void start_when_announced(pid_t pid, const Process& process) {
    if (process.is_announced && process.is_stopped) trace(PTRACE_CONT, pid, nullptr, nullptr);
  }

  static void end_close(pid_t pid, Process& process) {
    if (!std::exchange(process.has_failed_close, false)) return;
    user_regs_struct registers{};
    if (trace(PTRACE_GETREGS, pid, nullptr, &registers) != 0) return;
    registers.rax = static_cast<std::uint64_t>(process.result);
    trace(PTRACE_SETREGS, pid, nullptr, &registers);
  }

  void enter(pid_t pid, Process& process) {
    user_regs_struct registers{};
    if (trace(PTRACE_GETREGS, pid, nullptr, &registers) != 0) return;
    const auto call = std::find_if(std::begin(fallible_calls), std::end(fallible_calls),
                                   [&](const FallibleCall& each) { return each.number == registers.orig_rax; });
    if (call == std::end(fallible_calls)) return;
    if (nth_ == 0) {
      report_ << "call " << call->name << (call->error != 0 ? " error" : "") << (call->is_interrupted ? " interrupted" : "")
              << (call->is_shortened && registers.rdx > 1 ? " short" : "") << "\n";
    }
    if (call->name != call_ || ++calls_ != nth_) return;
    report_ << "failed " << call->name << " " << file_of(pid, registers) << std::endl;
    fail_call(pid, process, *call, registers);
  }

  void fail_call(pid_t pid, Process& process, const FallibleCall& call, user_regs_struct registers) const {
    if (how_ == How::shortened) {
      if (registers.rdx > 1) registers.rdx = 1;
    } else {
      process.result = how_ == How::interrupted ? -EINTR : call.number == SYS_brk ? 0 : -call.error;
      process.has_failed_close = call.number == SYS_close;
      if (!process.has_failed_close) {
        registers.orig_rax = ~std::uint64_t{0};
        registers.rax = static_cast<std::uint64_t>(process.result);
      }
    }
    trace(PTRACE_SETREGS, pid, nullptr, &registers);
  }

  /// The file that a call is about, by its path or by its descriptor; empty when it has none.
  static std::string file_of(pid_t pid, const user_regs_struct& registers) {
    for (const std::uint64_t address : {registers.rdi, is_relative_to_directory(registers.orig_rax) ? registers.rsi : 0}) {
      const std::string text = text_at(pid, address);
      if (text.find('/') != text.npos && is_plain(text)) return text;
    }
    std::error_code error;
    const auto descriptor = std::to_string(static_cast<int>(registers.rdi));
    return fs::read_symlink("/proc/" + std::to_string(pid) + "/fd/" + descriptor, error).string();
  }

  /// Whether the second argument is a path.
  static bool is_relative_to_directory(std::uint64_t call) {
    constexpr std::uint64_t calls[] = {SYS_openat,     SYS_newfstatat, SYS_statx,   SYS_faccessat,
                                       SYS_faccessat2, SYS_fchmodat,   SYS_mkdirat, SYS_unlinkat};
    return std::find(std::begin(calls), std::end(calls), call) != std::end(calls);
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
  std::set<pid_t> children() {
    int status = 0;
    for (pid_t process = 0; (process = waitpid(-1, &status, WNOHANG | __WALL)) > 0;) {
      follow_further(process, status);
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
  bool is_started_ = false;
  std::map<pid_t, Process> processes_;
  std::set<std::string> descriptors_;  ///< that the program was started with
};

How how_of(const std::string& name) {
  if (name == "error") return How::error;
  if (name == "interrupted") return How::interrupted;
  if (name == "short") return How::shortened;
  throw std::runtime_error("unknown: " + name);
}

/// Lets this process stop at the calls with this name, or at all that can fail if it is of none.
void stop_at(const std::string& name) {
  const bool at_all = std::none_of(std::begin(fallible_calls), std::end(fallible_calls),
                                   [&](const FallibleCall& each) { return each.name == name; });
  std::vector<sock_filter> filter{BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const FallibleCall& each : fallible_calls) {
    if (!at_all && each.name != name) continue;
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(each.number), 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
  }
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) fail("seccomp");
}

pid_t start(const std::string& call, char** command) {
  const pid_t program = fork();
  if (program != 0) return program;
  if (const char* const library = std::getenv("PRELOADED")) setenv("LD_PRELOAD", library, 1);
  ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
  raise(SIGSTOP);  // until the tracer has its options
  stop_at(call);
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
  const int status = run.follow(start(argv[2], argv + 5));
  run.end_children();
  if (WIFSIGNALED(status)) report << "signal " << WTERMSIG(status) << "\n";
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
} catch (const std::exception& error) {
  std::cerr << "failing_call: " << error.what() << "\n";
  return 99;
}
