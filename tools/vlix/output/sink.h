// SPDX-License-Identifier: Apache-2.0
// Where results go.
#ifndef VLIX_TOOL_OUTPUT_SINK_H
#define VLIX_TOOL_OUTPUT_SINK_H

#include <string>
#include <string_view>

// Writes a whole file. A regular file (or one that does not exist yet) appears complete or not at all: it is written
// under a temporary name beside its place and renamed. Any other target is written directly. Throws FileError, whose
// text names the file.
void write_file(const std::string& path, std::string_view contents);

// From now on a signal that ends the process takes a temporary file with it.
void remove_unfinished_files_on_signals();

// Standard output, or a file that appears when everything has been written.
class Sink {
 public:
  explicit Sink(std::string path) : path_(std::move(path)) {}  // an empty path is standard output

  void write(std::string_view text);
  void close();

 private:
  std::string path_;
  std::string kept_;
};

#endif
