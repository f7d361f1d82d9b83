// SPDX-License-Identifier: Apache-2.0
// Runs the tool as a process.
#ifndef VLIX_TESTS_TOOL_PROCESS_H
#define VLIX_TESTS_TOOL_PROCESS_H

#include <csignal>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

struct Finished {
  int exit_code = -1;  // 128 + signal when one ended the process
  std::string out;
  std::string err;
  double processor_seconds = 0;
  long peak_kilobytes = 0;  // resident memory of the largest process

  nlohmann::ordered_json json() const { return nlohmann::ordered_json::parse(out); }
};

struct Launch {
  std::vector<std::string> arguments;
  std::string input;                     // standard input
  std::string folder;                    // working directory, if any
  std::vector<std::string> environment;  // added, NAME=VALUE
  bool terminal = false;                 // standard error is a terminal
  unsigned long address_space = 0;       // limit in bytes, if not 0
  unsigned long file_size = 0;           // limit in bytes of what is written, if not 0
  unsigned long open_files = 0;          // limit, if not 0
  bool unprivileged = false;             // as nobody, where the tests run as root
  int terminate_after_ms = -1;           // SIGTERM after this time, if not negative
  std::function<bool()> terminate_when;  // ends it with the signal once this is true
  int signal_number = SIGTERM;
  const char* standard_output = nullptr;  // file to open instead of a pipe
};

Finished run(const Launch& launch);

// vlix with these arguments.
Finished vlix(std::vector<std::string> arguments);

// The number of lines of a text; all of them must end in a line feed.
std::size_t lines_of(const std::string& text);

#endif
