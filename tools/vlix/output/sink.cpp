// SPDX-License-Identifier: Apache-2.0
#include "output/sink.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <random>
#include <utility>

#include "errors.h"
#include "supervise.h"

namespace {

[[noreturn]] void fail(const std::string& path, int error) {
  throw FileError(fmt::format("{}: cannot be written: {}", path, std::strerror(error)));
}

// 0, or the error number.
int write_all(int descriptor, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t written = ::write(descriptor, contents.data(), contents.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return errno;
    contents.remove_prefix(static_cast<std::size_t>(written));
  }
  return 0;
}

void write_directly(const std::string& path, std::string_view contents) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
  if (descriptor < 0) fail(path, errno);
  int error = write_all(descriptor, contents);
  if (close(descriptor) != 0 && error == 0) error = errno;
  if (error != 0) fail(path, error);
}

// The temporary file that exists now, or is about to, for the handler of signals. There is one at a time: commands that
// write more than their results take one image.
char g_unfinished[PATH_MAX];
volatile std::sig_atomic_t g_is_unfinished = 0;

void remove_unfinished(int signal_number) {
  if (g_is_unfinished != 0) unlink(g_unfinished);
  raise(signal_number);  // which has its usual effect again
}

std::string temporary_name(const std::string& final_path) {
  std::random_device random;
  return fmt::format("{}.{:08x}", final_path, random());
}

// A new file that vanishes unless it is kept.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& final_path) : final_path_(final_path), path_(temporary_name(final_path)) {
    if (path_.size() >= sizeof(g_unfinished)) fail(final_path_, ENAMETOOLONG);
    path_.copy(g_unfinished, path_.size());
    g_unfinished[path_.size()] = '\0';
    g_is_unfinished = 1;
    descriptor_ = open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor_ >= 0) return;
    g_is_unfinished = 0;
    fail(final_path_, errno);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (descriptor_ >= 0) ::close(descriptor_);
    if (!kept_) unlink(path_.c_str());
    g_is_unfinished = 0;
  }

  void write(std::string_view contents, mode_t mode) {
    int error = write_all(descriptor_, contents);
    if (error == 0 && fchmod(descriptor_, mode) != 0) error = errno;
    if (::close(std::exchange(descriptor_, -1)) != 0 && error == 0) error = errno;
    if (error != 0) fail(final_path_, error);
  }

  void keep() {
    if (rename(path_.c_str(), final_path_.c_str()) != 0) fail(final_path_, errno);
    kept_ = true;
  }

 private:
  std::string final_path_;
  std::string path_;
  int descriptor_ = -1;
  bool kept_ = false;
};

mode_t mode_of_new_files() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

// A symbolic link stays one: the file that it points to is replaced.
std::string resolved(const std::string& path) {
  char* real = realpath(path.c_str(), nullptr);
  if (real == nullptr) return path;
  std::string out = real;
  std::free(real);
  return out;
}

}  // namespace

void remove_unfinished_files_on_signals() {
  for (const int number : kRequests) {
    struct sigaction action = {};
    if (sigaction(number, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action.sa_handler = remove_unfinished;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(number, &action, nullptr);
  }
  std::signal(SIGXFSZ, SIG_IGN);  // the error number tells as much
}

void write_file(const std::string& path, std::string_view contents) {
  struct stat existing = {};
  const bool exists = stat(path.c_str(), &existing) == 0;
  if (exists && S_ISDIR(existing.st_mode)) fail(path, EISDIR);
  if (exists && !S_ISREG(existing.st_mode)) return write_directly(path, contents);
  TemporaryFile file(exists ? resolved(path) : path);
  file.write(contents, exists ? existing.st_mode & 07777 : mode_of_new_files());
  file.keep();
}

void Sink::write(std::string_view text) {
  if (!path_.empty()) {
    kept_ += text;
    return;
  }
  const int error = write_all(STDOUT_FILENO, text);
  if (error != 0) fail("standard output", error);
}

void Sink::close() {
  if (!path_.empty()) write_file(path_, kept_);
}
