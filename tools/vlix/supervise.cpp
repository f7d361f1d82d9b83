// SPDX-License-Identifier: Apache-2.0
#include "supervise.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "console.h"
#include "errors.h"

namespace {

// The worker does not outlive its supervisor.
[[noreturn]] void become_worker(pid_t supervisor, const std::function<int()>& work) {
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != supervisor) _exit(kExitFailed);
  std::exit(work());
}

// Signals that somebody sent to end the program, rather than faults.
bool is_request(int signal) {
  return signal == SIGINT || signal == SIGTERM || signal == SIGHUP || signal == SIGQUIT || signal == SIGPIPE;
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
  const pid_t worker = fork();
  if (worker == 0) become_worker(supervisor, work);
  if (worker < 0) return work();
  int status = 0;
  while (waitpid(worker, &status, 0) < 0) {
    if (errno != EINTR) return kExitFailed;
  }
  return exit_code_of(status);
}
