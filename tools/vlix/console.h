// SPDX-License-Identifier: Apache-2.0
// Standard error: one line per message, a progress bar on terminals, and silence for everybody else.
#ifndef VLIX_TOOL_CONSOLE_H
#define VLIX_TOOL_CONSOLE_H

#include <cstddef>
#include <string>

class Console {
 public:
  // Takes standard error over: what third-party code prints there from now on is discarded.
  Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;
  ~Console();

  // "vlix: <text>" and a line feed, in one write.
  void error(const std::string& text);

  // Draws the bar on a terminal when there is more than one file; does nothing otherwise.
  void progress(std::size_t done, std::size_t total);
  void clear_progress();

 private:
  void write(const std::string& text) const;

  int descriptor_;
  bool terminal_;
  std::size_t shown_permille_ = kNoBar;
  static constexpr std::size_t kNoBar = ~std::size_t{0};
};

#endif
