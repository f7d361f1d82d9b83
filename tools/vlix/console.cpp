// SPDX-License-Identifier: Apache-2.0
#include "console.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>

#include "errors.h"

namespace {

constexpr std::size_t kBarWidth = 40;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSilenceOthers = false;  // sanitizers report on standard error
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kSilenceOthers = false;
#else
constexpr bool kSilenceOthers = true;
#endif
#else
constexpr bool kSilenceOthers = true;
#endif

}  // namespace

Console::Console() : descriptor_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)), terminal_(isatty(STDERR_FILENO) == 1) {
  const int nowhere = kSilenceOthers && descriptor_ >= 0 ? open("/dev/null", O_WRONLY | O_CLOEXEC) : -1;
  if (nowhere < 0) return;
  dup2(nowhere, STDERR_FILENO);
  close(nowhere);
}

Console::~Console() {
  clear_progress();
  if (descriptor_ < 0) return;
  dup2(descriptor_, STDERR_FILENO);
  close(descriptor_);
}

void Console::error(const std::string& text) {
  clear_progress();
  write("vlix: " + printable(text) + "\n");
}

void Console::progress(std::size_t done, std::size_t total) {
  if (!terminal_ || total < 2) return;
  const std::size_t permille = 1000 * done / total;
  if (permille == shown_permille_) return;
  shown_permille_ = permille;
  const std::size_t filled = kBarWidth * done / total;
  write(fmt::format("\r[{:#<{}}{:.<{}}] {}/{}", "", filled, "", kBarWidth - filled, done, total));
}

void Console::clear_progress() {
  if (shown_permille_ == kNoBar) return;
  shown_permille_ = kNoBar;
  write("\r\x1b[K");
}

void Console::write(const std::string& text) const {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t now =
        ::write(descriptor_ < 0 ? STDERR_FILENO : descriptor_, text.data() + written, text.size() - written);
    if (now < 0 && errno == EINTR) continue;
    if (now <= 0) return;
    written += static_cast<std::size_t>(now);
  }
}
