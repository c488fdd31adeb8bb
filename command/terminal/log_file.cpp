#include "terminal/log_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "base/file_error.h"
#include "base/printable.h"
#include "base/text.h"
#include "terminal/interruptible_write.h"
#include "terminal/standard_streams.h"

namespace eclipse_terminal {

namespace {

/// Waits for no reader of a FIFO. Writing waits as usual.
int open_to_write(const std::string& file) {
  const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, 0666);
  if (descriptor >= 0) fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
  return descriptor;
}

std::string reason() { return errno == ENXIO ? "it is a FIFO that no process reads" : std::strerror(errno); }

}  // namespace

LogFile::LogFile(const std::string& file) : file_(file) {
  const auto stream = stream_of(file);
  descriptor_ = stream ? fcntl(*stream, F_DUPFD_CLOEXEC, 0) : open_to_write(file);
  if (descriptor_ >= 0) return;
  throw eclipse_base::FileError(file, "cannot open the log: " + reason() + "; give the path of a file that can be written");
}

LogFile::~LogFile() { close(descriptor_); }

eclipse_host::RunObserver LogFile::observer() {
  eclipse_host::RunObserver observer;
  observer.on_log = [this](const std::string& line) { write_line(line); };
  observer.command_progress.on_left_out = [this](std::string_view text) {
    for (const std::string& line : eclipse_base::lines_of(text)) write_line("eclipse-int: left out below: " + line);
  };
  return observer;
}

void LogFile::write_line(const std::string& line) {
  const std::string text = eclipse_base::printable(line, {.longest = eclipse_base::no_limit}) + "\n";
  if (error_ == 0) error_ = write_while(descriptor_, text, waits_for_reader);
}

void LogFile::check() const {
  if (error_ == 0) return;
  const std::string reason = error_ == ECANCELED ? "nobody reads it" : std::strerror(error_);
  throw eclipse_base::FileError(file_, "the log is incomplete: " + reason + "; give the log another file");
}

}  // namespace eclipse_terminal
