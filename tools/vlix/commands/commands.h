// SPDX-License-Identifier: Apache-2.0
// The sub-commands. Each function adds one of them, whose parsing sets the action that is to be run.
#ifndef VLIX_TOOL_COMMANDS_COMMANDS_H
#define VLIX_TOOL_COMMANDS_COMMANDS_H

#include <CLI/CLI.hpp>
#include <memory>

#include "session.h"

void add_info(CLI::App& tool, Action& action);
void add_stats(CLI::App& tool, Action& action);
void add_count(CLI::App& tool, Action& action);
void add_background(CLI::App& tool, Action& action);
void add_variance(CLI::App& tool, Action& action);
void add_histogram(CLI::App& tool, Action& action);
void add_diff(CLI::App& tool, Action& action);
void add_match(CLI::App& tool, Action& action);
void add_project(CLI::App& tool, Action& action);
void add_profile(CLI::App& tool, Action& action);
void add_fit(CLI::App& tool, Action& action);
void add_gauge(CLI::App& tool, Action& action);

inline void add_commands(CLI::App& tool, Action& action) {
  for (const auto add : {add_info, add_stats, add_count, add_background, add_variance, add_histogram, add_diff,
                         add_match, add_project, add_profile, add_fit, add_gauge}) {
    add(tool, action);
  }
}

// Makes a command run with its options once they are parsed.
template <class Options>
void runs(CLI::App& command, Action& action, const std::shared_ptr<Options>& options,
          int (*run)(Session&, const Options&)) {
  command.callback(
      [&action, options, run] { action = [options, run](Session& session) { return run(session, *options); }; });
}

#endif
