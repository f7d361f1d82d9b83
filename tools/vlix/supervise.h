// SPDX-License-Identifier: Apache-2.0
#ifndef VLIX_TOOL_SUPERVISE_H
#define VLIX_TOOL_SUPERVISE_H

#include <functional>

// Runs the work in a process of its own and returns its exit code. Libraries that run out of memory, or that a hostile
// file makes fail, may end the process in any way they like; the user is told in one line then.
int supervised(const std::function<int()>& work);

#endif
