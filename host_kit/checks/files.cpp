// Files: what exists, and what is in it.
#include <malloc.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "host_kit/checks/groups.h"

namespace host_kit {

namespace {

constexpr std::string_view is_file_promise = "True if the path names an existing regular file.";
constexpr std::string_view exists_promise = "True if the path exists.";
constexpr std::string_view whole_promise =
    "The whole file as a zero-terminated text in a buffer from malloc(), or null if the file cannot be read.";
constexpr std::string_view owner_promise = "The plug-in owns the buffer and releases it with free().";
constexpr std::string_view use_stat = "Use stat() and S_ISREG.";
constexpr std::string_view not_malloc =
    "the buffer is not what malloc() returned: a text's own memory, a static buffer, or a place in the middle";

std::string file_in(const Probe& probe, std::string_view content = "text") {
  write_file(probe.scratch + "/file", content);
  return probe.scratch + "/file";
}

void expect_is_file(const std::string& path, bool expected, const char* likely_cause = "") {
  expect(is_file(path) == expected, "is_file() of " + shown(path) + " gives " + shown(expected), shown(!expected),
         likely_cause);
}

void expect_exists(const std::string& path, bool expected, const char* likely_cause = "") {
  expect(file_exists(path, false) == expected, "file_exists() of " + shown(path) + " gives " + shown(expected),
         shown(!expected), likely_cause);
}

constexpr Check file_is_a_file{
    .name = "is_file/file",
    .level = Level::must,
    .title = "is_file() is true for a regular file.",
    .promise = is_file_promise,
    .harm = "The user's Eclipse is never accepted.",
    .fix = use_stat,
    .perform =
        [](const Probe& probe) {
          expect_is_file(file_in(probe, ""), true, "only a file with content counts");
          expect_is_file(file_in(probe), true);
        },
};

constexpr Check directory_is_not_a_file{
    .name = "is_file/directory",
    .level = Level::must,
    .title = "is_file() is false for a directory.",
    .promise = is_file_promise,
    .harm = "A directory named like ECLIPSE_BIN is mistaken for the executable.",
    .fix = use_stat,
    .perform =
        [](const Probe& probe) {
          expect_is_file(probe.scratch, false, "fopen() or access(), which succeed for a directory");
          expect_is_file("/", false, "fopen() or access(), which succeed for a directory");
        },
};

constexpr Check missing_is_not_a_file{
    .name = "is_file/missing",
    .level = Level::must,
    .title = "is_file() is false for what does not exist.",
    .promise = is_file_promise,
    .harm = "A path that the user mistyped is accepted.",
    .fix = use_stat,
    .perform =
        [](const Probe& probe) {
          expect_is_file(probe.scratch + "/missing", false);
          expect_is_file("", false);
        },
};

constexpr Check device_is_not_a_file{
    .name = "is_file/device",
    .level = Level::must,
    .title = "is_file() is false for a device and a pipe.",
    .promise = is_file_promise,
    .harm = "A pipe is mistaken for the executable, or the installer waits for a writer.",
    .fix = use_stat,
    .perform =
        [](const Probe& probe) {
          const std::string pipe = probe.scratch + "/pipe";
          if (mkfifo(pipe.c_str(), 0600) != 0) throw Skipped{"a FIFO cannot be made in " + probe.scratch};
          expect_is_file("/dev/null", false, "whatever is not a directory counts");
          expect_is_file(pipe, false, "whatever is not a directory counts");
        },
    .after = "is_file/directory",
    .if_it_ends = "a FIFO is opened, which waits until somebody writes to it",
};

constexpr Check link_to_a_file_is_one{
    .name = "is_file/link",
    .level = Level::must,
    .title = "is_file() is true for a symbolic link to a file.",
    .promise = is_file_promise,
    .harm = "An Eclipse that is installed as a link is not accepted.",
    .fix = use_stat,
    .perform =
        [](const Probe& probe) {
          file_in(probe);
          std::filesystem::create_symlink("file", probe.scratch + "/link");
          expect_is_file(probe.scratch + "/link", true, "lstat() instead of stat()");
        },
    .after = "is_file/file",
};

constexpr Check dangling_link_is_not_a_file{
    .name = "is_file/dangling-link",
    .level = Level::must,
    .title = "is_file() is false for a dangling symlink.",
    .promise = is_file_promise,
    .harm = "A link to an Eclipse that was removed is accepted.",
    .fix = use_stat,
    .perform =
        [](const Probe& probe) {
          std::filesystem::create_symlink("nowhere", probe.scratch + "/dangling");
          expect_is_file(probe.scratch + "/dangling", false, "lstat() instead of stat()");
        },
    .after = "is_file/missing",
};

constexpr Check file_and_directory_exist{
    .name = "file_exists/file",
    .level = Level::must,
    .title = "file_exists() is true for a file.",
    .promise = exists_promise,
    .harm = "Descriptor files and executables are not found: nothing is integrated.",
    .fix = "Return whether stat() succeeds.",
    .perform =
        [](const Probe& probe) {
          expect_exists(file_in(probe), true);
          expect_exists(file_in(probe, ""), true);
        },
};

constexpr Check directory_exists{
    .name = "file_exists/directory",
    .level = Level::should,
    .title = "file_exists() is true for a directory.",
    .promise = exists_promise,
    .harm = "A descriptor that is a directory by mistake is reported as missing.",
    .fix = "Return whether stat() succeeds, whatever it finds.",
    .perform = [](const Probe& probe) { expect_exists(probe.scratch, true, "only regular files count"); },
    .after = "file_exists/file",
};

constexpr Check missing_does_not_exist{
    .name = "file_exists/missing",
    .level = Level::must,
    .title = "file_exists() is false for what does not exist.",
    .promise = exists_promise,
    .harm = "The plug-in runs a director that does not exist.",
    .fix = "Return whether stat() succeeds.",
    .perform =
        [](const Probe& probe) {
          expect_exists(probe.scratch + "/missing", false, "the result of access() is not compared with 0");
          expect_exists("", false);
          expect_exists(file_in(probe) + "/below", false);
        },
};

constexpr Check dangling_link_does_not_exist{
    .name = "file_exists/dangling-link",
    .level = Level::should,
    .title = "file_exists() is false for a dangling symlink.",
    .promise = exists_promise,
    .harm = "The plug-in runs a director that was removed.",
    .fix = "Use stat() instead of lstat().",
    .perform =
        [](const Probe& probe) {
          std::filesystem::create_symlink("nowhere", probe.scratch + "/dangling");
          expect_exists(probe.scratch + "/dangling", false, "lstat() instead of stat()");
        },
    .after = "file_exists/missing",
};

/// The file that the host reads, for as long as this lives.
class HostBuffer {
 public:
  HostBuffer(const std::string& path, long long* size) : text_(get_file(path, 0, size)) {}
  ~HostBuffer() { std::free(text_); }
  HostBuffer(const HostBuffer&) = delete;
  HostBuffer& operator=(const HostBuffer&) = delete;
  char* text() const { return text_; }

 private:
  char* text_;
};

char* expect_buffer(const HostBuffer& buffer, const std::string& path) {
  expect(buffer.text() != nullptr, "get_file() of " + shown(path) + " gives a buffer", "null");
  return buffer.text();
}

constexpr Check content_is_exact{
    .name = "get_file/content",
    .level = Level::must,
    .title = "get_file() returns all bytes of a file, unchanged.",
    .promise = whole_promise,
    .harm = "The version of the user's Eclipse is not found, or a wrong one is.",
    .fix = "Read the whole file in binary mode, and change nothing.",
    .perform =
        [](const Probe& probe) {
          std::string every_byte;
          for (int byte = 255; byte > 0; --byte) every_byte += static_cast<char>(byte);
          for (const std::string& content : {std::string("one line\n"), std::string("no line feed"), std::string("\r\n\r\n"),
                                             every_byte, std::string(3'000'000, 'x')}) {
            const std::string path = file_in(probe, content);
            const HostBuffer buffer(path, nullptr);
            expect_text("the buffer of get_file()", content, expect_buffer(buffer, path),
                        {{content + "\n", "a line feed is added"}});
          }
        },
    .after = "get_file/terminated",
    .if_it_ends = not_malloc,
};

constexpr Check empty_file_is_an_empty_text{
    .name = "get_file/empty-file",
    .level = Level::should,
    .title = "get_file() of an empty file is an empty text, not null.",
    .promise = whole_promise,
    .harm = "The log says that an empty config.ini cannot be opened.",
    .fix = "Return a buffer with a zero byte for an empty file.",
    .perform =
        [](const Probe& probe) {
          const std::string path = file_in(probe, "");
          const HostBuffer buffer(path, nullptr);
          expect(buffer.text() != nullptr, "get_file() of an empty file gives a buffer", "null",
                 "a length of 0 is taken for an error");
          expect_text("the buffer of get_file() for an empty file", "", buffer.text());
        },
    .after = "get_file/terminated",
    .if_it_ends = not_malloc,
};

/// Leaves memory of that size to the allocator that is full of other bytes than zero.
void leave_dirty_memory(std::size_t size) {
  void* pieces[8];
  for (void*& piece : pieces) {
    piece = std::malloc(size);
    if (piece != nullptr) std::memset(piece, 'Z', malloc_usable_size(piece));
  }
  for (void* const piece : pieces) std::free(piece);
}

constexpr Check text_is_terminated{
    .name = "get_file/terminated",
    .level = Level::must,
    .title = "The buffer of get_file() ends in a zero byte.",
    .promise = whole_promise,
    .harm = "The plug-in reads past the end of the buffer: other bytes get into the version, or it crashes.",
    .fix = "Allocate one byte more than the file has, and store a zero byte at the end.",
    .perform =
        [](const Probe& probe) {
          // Sizes that fill what the allocator hands out, so that a missing zero is not there by chance, and a page.
          for (const std::size_t size : {1U, 8U, 23U, 24U, 40U, 56U, 120U, 248U, 1016U, 1024U, 4096U}) {
            const std::string content(size, 'x');
            const std::string path = file_in(probe, content);
            leave_dirty_memory(size);
            leave_dirty_memory(size + 1);
            const HostBuffer buffer(path, nullptr);
            expect(expect_buffer(buffer, path)[size] == '\0',
                   "a zero byte after the " + std::to_string(size) + " bytes of the file",
                   "the byte " + std::to_string(static_cast<unsigned char>(buffer.text()[size])), "the text is not terminated");
          }
        },
    .after = "get_file/from-malloc",
    .if_it_ends = not_malloc,
};

constexpr Check size_is_stored{
    .name = "get_file/size",
    .level = Level::should,
    .title = "get_file() stores the size of the file.",
    .promise = "If `size` is not null, the host stores the file's length in bytes there.",
    .harm = "None today: the plug-in passes null.",
    .fix = "Store the number of bytes that were read.",
    .perform =
        [](const Probe& probe) {
          const std::string_view content("ze\0ro", 5);
          const std::string path = file_in(probe, content);
          long long size = -1;
          const HostBuffer buffer(path, &size);
          expect_equal("the size that get_file() stores", 5LL, size,
                       {{-1, "nothing is stored"}, {2, "strlen() of the content"}, {6, "the terminating zero is counted"}});
          expect_text("the buffer of get_file()", content, {expect_buffer(buffer, path), 5});
        },
    .after = "get_file/terminated get_file/own-buffer",
};

constexpr Check missing_is_null{
    .name = "get_file/missing",
    .level = Level::must,
    .title = "get_file() of a missing file is null.",
    .promise = whole_promise,
    .harm = "A missing config.ini gives an empty version instead of none.",
    .fix = "Return null if the file cannot be opened.",
    .perform =
        [](const Probe& probe) {
          const HostBuffer buffer(probe.scratch + "/missing", nullptr);
          expect(buffer.text() == nullptr, "get_file() of a missing file gives null", "a buffer",
                 "an empty text is returned instead");
        },
    .after = "get_file/from-malloc",
};

constexpr Check directory_is_null{
    .name = "get_file/directory",
    .level = Level::must,
    .title = "get_file() of a directory is null.",
    .promise = whole_promise,
    .harm = "A directory reads as an empty text.",
    .fix = "Test ferror() after reading, or fstat() before.",
    .perform =
        [](const Probe& probe) {
          const HostBuffer buffer(probe.scratch, nullptr);
          expect(buffer.text() == nullptr, "get_file() of a directory gives null", "a buffer",
                 "fopen() opens a directory; only reading it fails, and the host does not check that");
        },
    .after = "get_file/missing",
    .if_it_ends = "the size of a directory is taken from ftell(), which returns the largest possible number",
};

constexpr Check buffers_are_apart{
    .name = "get_file/own-buffer",
    .level = Level::must,
    .title = "Each call of get_file() returns a buffer of its own.",
    .promise = owner_promise,
    .harm = "The plug-in frees a buffer that the host still uses.",
    .fix = "Allocate a buffer for each call.",
    .perform =
        [](const Probe& probe) {
          const std::string path = file_in(probe, "first");
          const HostBuffer first(path, nullptr);
          const HostBuffer second(path, nullptr);
          expect(expect_buffer(first, path) != expect_buffer(second, path), "each call of get_file() gives a buffer of its own",
                 "one buffer twice", "a static buffer, or a cache of files");
        },
    .after = "get_file/from-malloc",
    .if_it_ends = not_malloc,
};

constexpr Check buffer_is_from_malloc{
    .name = "get_file/from-malloc",
    .level = Level::must,
    .title = "The buffer of get_file() can be freed with free().",
    .promise = owner_promise,
    .harm = "The allocator ends the installer, or its memory is corrupted.",
    .fix =
        "Copy the content into a buffer from malloc(). A buffer from new[] often passes this check: also run it in a "
        "host that is built with -fsanitize=address.",
    .perform =
        [](const Probe& probe) {
          const std::string path = file_in(probe, std::string(1000, 'x'));
          // Whether the pointer is one of malloc(), the allocator notices when it is freed, and ends the process.
          std::free(get_file(path, 0, nullptr));
          std::free(get_file(path, 0, nullptr));
        },
    .after = "get_file/null-size",
    .if_it_ends = not_malloc,
};

constexpr Check get_file_null_size{
    .name = "get_file/null-size",
    .level = Level::must,
    .title = "get_file() accepts a null pointer for the size.",
    .promise = "It passes 0 as the second argument and null as `size`, and reads the text up to the first zero byte.",
    .harm = "The check of the user's Eclipse crashes the installer.",
    .fix = "Store the size only if the pointer is not null.",
    .perform =
        [](const Probe& probe) {
          const std::string path = file_in(probe);
          get_file(path, 0, nullptr);  // not freed: that is another check
        },
    .if_it_ends = "the size is stored through a null pointer",
};

}  // namespace

std::vector<Check> file_checks() {
  return {file_is_a_file,           directory_is_not_a_file,
          missing_is_not_a_file,    device_is_not_a_file,
          link_to_a_file_is_one,    dangling_link_is_not_a_file,
          file_and_directory_exist, directory_exists,
          missing_does_not_exist,   dangling_link_does_not_exist,
          content_is_exact,         empty_file_is_an_empty_text,
          text_is_terminated,       size_is_stored,
          get_file_null_size,       missing_is_null,
          directory_is_null,        buffers_are_apart,
          buffer_is_from_malloc};
}

}  // namespace host_kit
