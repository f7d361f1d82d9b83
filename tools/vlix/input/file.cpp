// SPDX-License-Identifier: Apache-2.0
#include "input/file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "errors.h"

namespace {

constexpr std::size_t kChunk = std::size_t{1} << 16;

FileError error_of(int number) {
  switch (number) {
    case ENOENT: return FileError("does not exist");
    case EACCES: return FileError("may not be read");
    case EISDIR: return FileError("is a folder");
    default: return FileError(fmt::format("cannot be read: {}", std::strerror(number)));
  }
}

int open_for_reading(const std::string& path) {
  if (path == "-") return fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
  return open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
}

// Reads up to count bytes; fewer at the end of the file.
std::size_t read_some(int descriptor, char* data, std::size_t count) {
  for (;;) {
    const ssize_t got = read(descriptor, data, count);
    if (got >= 0) return static_cast<std::size_t>(got);
    if (errno != EINTR) throw error_of(errno);
  }
}

std::string read_to_end(int descriptor, uint64_t byte_limit) {
  std::string bytes;
  for (std::size_t got = 1; got > 0;) {
    const std::size_t before = bytes.size();
    bytes.resize(before + kChunk);
    got = read_some(descriptor, bytes.data() + before, kChunk);
    bytes.resize(before + got);
    if (bytes.size() <= byte_limit) continue;
    throw FileError(fmt::format("is larger than the limit of {} MiB (--limit)", byte_limit >> 20));
  }
  return bytes;
}

}  // namespace

// Delegating makes the destructor run when this body throws.
InputFile::InputFile(const std::string& path, uint64_t byte_limit) : InputFile(byte_limit) {
  source_.descriptor = open_for_reading(path);
  if (source_.descriptor < 0) throw error_of(errno);
  struct stat info = {};
  if (fstat(source_.descriptor, &info) != 0) throw error_of(errno);
  if (S_ISDIR(info.st_mode)) throw error_of(EISDIR);
  if (S_ISREG(info.st_mode) && path != "-") {
    if (info.st_size == 0) throw FileError("is empty");
    return;
  }
  source_.bytes = read_to_end(source_.descriptor, byte_limit);
  close(std::exchange(source_.descriptor, -1));
  if (source_.bytes.empty()) throw FileError("is empty");
}

InputFile::~InputFile() {
  if (source_.descriptor >= 0) close(source_.descriptor);
}

std::string InputFile::head(std::size_t count) const {
  if (source_.descriptor < 0) return source_.bytes.substr(0, count);
  std::string bytes(count, '\0');
  const ssize_t got = pread(source_.descriptor, bytes.data(), count, 0);
  if (got < 0) throw error_of(errno);
  bytes.resize(static_cast<std::size_t>(got));
  return bytes;
}

std::string InputFile::contents() const {
  if (source_.descriptor < 0) return source_.bytes;
  lseek(source_.descriptor, 0, SEEK_SET);
  return read_to_end(source_.descriptor, byte_limit_);
}
