// SPDX-License-Identifier: Apache-2.0
#include "supervise.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "console.h"
#include "errors.h"

namespace {

volatile pid_t g_worker = 0;

void pass_on(int signal_number) { kill(g_worker, signal_number); }

// Requests wait while they are held.
class HeldRequests {
 public:
  HeldRequests() {
    sigset_t requests;
    sigemptyset(&requests);
    for (const int number : kRequests) sigaddset(&requests, number);
    sigprocmask(SIG_BLOCK, &requests, &before_);
  }
  void release() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_;
};

// The worker does not outlive its supervisor.
[[noreturn]] void become_worker(pid_t supervisor, HeldRequests& held, const std::function<int()>& work) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != supervisor) _exit(kExitFailed);
  held.release();
  std::exit(work());
}

void pass_requests_on_to(pid_t worker) {
  g_worker = worker;
  for (const int number : kRequests) {
    if (std::signal(number, pass_on) == SIG_IGN) std::signal(number, SIG_IGN);
  }
}

bool is_request(int number) {
  return number == SIGPIPE || std::find(kRequests.begin(), kRequests.end(), number) != kRequests.end();
}

int exit_code_of(int status) {
  if (WIFEXITED(status) && WEXITSTATUS(status) <= kExitUsage) return WEXITSTATUS(status);
  if (WIFSIGNALED(status) && is_request(WTERMSIG(status))) {
    std::signal(WTERMSIG(status), SIG_DFL);
    raise(WTERMSIG(status));
  }
  Console().error("stopped, for lack of memory or by a fault of a library");
  return kExitFailed;
}

}  // namespace

int supervised(const std::function<int()>& work) {
  const pid_t supervisor = getpid();
  HeldRequests held;
  const pid_t worker = fork();
  if (worker == 0) become_worker(supervisor, held, work);
  if (worker > 0) pass_requests_on_to(worker);
  held.release();
  if (worker < 0) return work();
  int status = 0;
  while (waitpid(worker, &status, 0) < 0) {
    if (errno != EINTR) return kExitFailed;
  }
  return exit_code_of(status);
}
