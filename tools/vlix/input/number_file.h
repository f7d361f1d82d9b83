// SPDX-License-Identifier: Apache-2.0
#ifndef VLIX_TOOL_INPUT_NUMBER_FILE_H
#define VLIX_TOOL_INPUT_NUMBER_FILE_H

#include <cstdint>
#include <string>

#include "input/numbers.h"

// The table in a text file. Throws FileError.
NumberTable read_numbers(const std::string& path, uint64_t byte_limit);

#endif
