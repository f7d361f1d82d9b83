// SPDX-License-Identifier: Apache-2.0
#ifndef VLIX_TOOL_OUTPUT_CELL_TEXT_H
#define VLIX_TOOL_OUTPUT_CELL_TEXT_H

#include <string>

#include "output/record.h"

// Rounded for reading: 7 digits for floats, 10 for doubles.
std::string table_text(const Cell& cell);

// The shortest text that reads back as the same number; texts are quoted where CSV needs it.
std::string csv_text(const Cell& cell);

// As a double for drawing and for JSON: a float becomes the double that has the float's shortest decimal form.
double number_of(const Cell& cell);

bool is_number(const Cell& cell);

#endif
