// SPDX-License-Identifier: Apache-2.0
#include "errors.h"

#include <fmt/format.h>

#include "vlix/object.h"

void require_success(VlixStatus status) {
  if (status == 0) return;
  VlixOpReport report;
  VlixOpLastReport(&report);
  VlixOpClear();
  throw FileError(report.text[0] == '\0' ? "the measurement failed" : report.text);
}

std::string printable(const std::string& text) {
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7f) {
      out += fmt::format("\\x{:02x}", byte);
    } else {
      out += c;
    }
  }
  return out;
}
