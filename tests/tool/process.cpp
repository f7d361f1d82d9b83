// SPDX-License-Identifier: Apache-2.0
#include "process.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pty.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>

namespace {

struct Pipe {
  int read_end = -1, write_end = -1;
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("pipe");
    read_end = ends[0];
    write_end = ends[1];
  }
};

// A terminal delivers "\r\n" for each line feed unless told otherwise; the bytes are kept as they come.
Pipe pseudo_terminal() {
  Pipe unused;
  close(unused.read_end);
  close(unused.write_end);
  if (openpty(&unused.read_end, &unused.write_end, nullptr, nullptr, nullptr) != 0) throw std::runtime_error("openpty");
  fcntl(unused.read_end, F_SETFD, FD_CLOEXEC);
  fcntl(unused.write_end, F_SETFD, FD_CLOEXEC);
  return unused;
}

void set_limit(__rlimit_resource_t resource, unsigned long value) {
  const rlimit limit = {value, value};
  if (value != 0) setrlimit(resource, &limit);
}

[[noreturn]] void become(const Launch& launch, int in, int out, int err) {
  dup2(in, STDIN_FILENO);
  if (launch.standard_output != nullptr) out = open(launch.standard_output, O_WRONLY);
  dup2(out, STDOUT_FILENO);
  dup2(err, STDERR_FILENO);
  if (!launch.folder.empty() && chdir(launch.folder.c_str()) != 0) _exit(126);
  set_limit(RLIMIT_AS, launch.address_space);
  set_limit(RLIMIT_FSIZE, launch.file_size);
  set_limit(RLIMIT_NOFILE, launch.open_files);
  constexpr uid_t kNobody = 65534;
  if (launch.unprivileged && geteuid() == 0 && (setgroups(0, nullptr) != 0 || setuid(kNobody) != 0)) _exit(125);
  std::vector<char*> arguments = {const_cast<char*>(VLIX_TOOL)};
  for (const std::string& argument : launch.arguments) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  for (const std::string& variable : launch.environment) putenv(const_cast<char*>(variable.c_str()));
  execv(VLIX_TOOL, arguments.data());
  _exit(127);
}

// Reads what is there; false at the end.
bool drain(int descriptor, std::string& text) {
  char buffer[65536];
  const ssize_t got = read(descriptor, buffer, sizeof(buffer));
  if (got <= 0) return false;
  text.append(buffer, static_cast<std::size_t>(got));
  return true;
}

// Feeds and empties the process until it has closed both outputs.
void converse(const Launch& launch, pid_t child, int in, int out, int err, Finished& finished) {
  int patience = launch.terminate_when ? 0 : launch.terminate_after_ms;
  std::size_t fed = 0;
  if (launch.input.empty()) close(in);
  pollfd waiting[3] = {{out, POLLIN, 0}, {err, POLLIN, 0}, {launch.input.empty() ? -1 : in, POLLOUT, 0}};
  while (waiting[0].fd >= 0 || waiting[1].fd >= 0) {
    if (poll(waiting, 3, patience) == 0) {
      if (launch.terminate_when && !launch.terminate_when()) continue;
      kill(child, launch.signal_number);
      patience = -1;
      continue;
    }
    if (waiting[0].revents != 0 && !drain(out, finished.out)) waiting[0].fd = -1;
    if (waiting[1].revents != 0 && !drain(err, finished.err)) waiting[1].fd = -1;
    if (waiting[2].revents == 0) continue;
    const std::size_t now = std::min<std::size_t>(4096, launch.input.size() - fed);
    const ssize_t written = write(in, launch.input.data() + fed, now);
    fed += written > 0 ? static_cast<std::size_t>(written) : launch.input.size() - fed;
    if (fed == launch.input.size()) {
      close(in);
      waiting[2].fd = -1;
    }
  }
  if (waiting[2].fd >= 0) close(in);
}

}  // namespace

Finished run(const Launch& launch) {
  std::signal(SIGPIPE, SIG_IGN);
  const Pipe in, out;
  const Pipe err = launch.terminal ? pseudo_terminal() : Pipe();
  const pid_t child = fork();
  if (child == 0) {
    std::signal(SIGPIPE, SIG_DFL);
    become(launch, in.read_end, out.write_end, err.write_end);
  }
  close(in.read_end);
  close(out.write_end);
  close(err.write_end);
  Finished finished;
  converse(launch, child, in.write_end, out.read_end, err.read_end, finished);
  int status = 0;
  rusage usage = {};
  wait4(child, &status, 0, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
  };
  finished.processor_seconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
  finished.peak_kilobytes = usage.ru_maxrss;
  finished.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  close(out.read_end);
  close(err.read_end);
  return finished;
}

Finished vlix(std::vector<std::string> arguments) {
  Launch launch;
  launch.arguments = std::move(arguments);
  return run(launch);
}

std::size_t lines_of(const std::string& text) {
  if (!text.empty() && text.back() != '\n') throw std::runtime_error("the last line does not end: " + text);
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}
