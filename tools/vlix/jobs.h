// SPDX-License-Identifier: Apache-2.0
// Files in parallel, results in order.
#ifndef VLIX_TOOL_JOBS_H
#define VLIX_TOOL_JOBS_H

#include <cstddef>
#include <functional>

// What a job leaves to be done on the caller's thread.
using Completion = std::function<void()>;

struct Jobs {
  std::size_t count = 0;
  std::function<Completion(std::size_t)> work;  // called once per job, on any thread; must not throw
  std::function<void()> thread_ends;            // called on each worker thread before it ends
};

// Runs all jobs on up to `threads` threads and their completions one after another in the order of the jobs. No job is
// started more than a few places ahead of the completions, so that waiting results stay few. An exception from a
// completion ends the run and leaves this function once the running jobs have ended.
void run_in_order(const Jobs& jobs, std::size_t threads);

#endif
