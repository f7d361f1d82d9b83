// SPDX-License-Identifier: Apache-2.0
// Input files as bytes.
#ifndef VLIX_TOOL_INPUT_FILE_H
#define VLIX_TOOL_INPUT_FILE_H

#include <cstdint>
#include <string>

#include "images/image_files.h"

// A file, or standard input when the path is "-". Regular files stay where they are; streams are read to their end.
// Missing, unreadable and empty files and folders are refused with a FileError.
class InputFile {
 public:
  InputFile(const std::string& path, uint64_t byte_limit);
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile();

  const ImageSource& source() const { return source_; }

  // The whole contents.
  std::string contents() const;

  // Up to count bytes from the beginning.
  std::string head(std::size_t count) const;

 private:
  explicit InputFile(uint64_t byte_limit) : byte_limit_(byte_limit) {}

  ImageSource source_;
  uint64_t byte_limit_;
};

#endif
