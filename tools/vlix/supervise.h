// SPDX-License-Identifier: Apache-2.0
#ifndef VLIX_TOOL_SUPERVISE_H
#define VLIX_TOOL_SUPERVISE_H

#include <array>
#include <csignal>
#include <functional>

// Signals that somebody sends to end the program, rather than faults.
inline constexpr std::array<int, 4> kRequests = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// Runs the work in a process of its own and returns its exit code. Libraries that run out of memory, or that a hostile
// file makes fail, may end the process in any way they like; the user is told in one line then. Requests to end are
// passed on to the work, and this process ends when the work has.
int supervised(const std::function<int()>& work);

#endif
