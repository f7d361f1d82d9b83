// SPDX-License-Identifier: Apache-2.0
#include "input/number_file.h"

#include "errors.h"
#include "input/file.h"

NumberTable read_numbers(const std::string& path, uint64_t byte_limit) {
  const InputFile file(path, byte_limit);
  if (!looks_like_numbers(file.head(512))) throw FileError("is no text file of numbers");
  return NumberTable(file.contents());
}
