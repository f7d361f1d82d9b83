// SPDX-License-Identifier: Apache-2.0
// The failures that a user can cause, and what the program returns for them.
#ifndef VLIX_TOOL_ERRORS_H
#define VLIX_TOOL_ERRORS_H

#include <stdexcept>
#include <string>

#include "vlix/types.h"

enum ExitCode {
  kExitSuccess = 0,
  kExitFailed = 1,  // a file could not be read, measured or written; the other files are reported all the same
  kExitUsage = 2    // the command line makes no sense, whatever the files hold
};

// Concerns one file; the text does not name it.
struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Throws the library's last report as a FileError unless status is 0.
void require_success(VlixStatus status);

// One line of printable text: control characters become \xNN.
std::string printable(const std::string& text);

#endif
