// SPDX-License-Identifier: Apache-2.0
#include "images/refusal.h"

#include <unistd.h>

#include <algorithm>
#include <string_view>

namespace {

using namespace std::string_view_literals;

constexpr std::size_t kHead = 16;

std::string head_of(const ImageSource& source) {
  if (source.descriptor < 0) return source.bytes.substr(0, kHead);
  std::string head(kHead, '\0');
  const ssize_t got = pread(source.descriptor, head.data(), kHead, 0);
  head.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  return head;
}

// Whether a file begins like one of the formats that are read, however it goes on.
bool begins_like_image(std::string_view head) {
  constexpr std::string_view kSignatures[] = {"\x89PNG"sv, "\xff\xd8\xff"sv, "II*\0"sv, "MM\0*"sv,
                                              "II+\0"sv,   "MM\0+"sv,        "GIF8"sv};
  const bool pnm = head.size() > 2 && head[0] == 'P' && ("123456Ff"sv.find(head[1]) != std::string_view::npos) &&
                   (" \t\r\n#"sv.find(head[2]) != std::string_view::npos);
  const bool webp =
      head.starts_with("RIFF"sv) && head.substr(std::min<std::size_t>(8, head.size())).starts_with("WEBP"sv);
  return pnm || webp || std::any_of(std::begin(kSignatures), std::end(kSignatures), [&](std::string_view signature) {
           return head.starts_with(signature);
         });
}

bool contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

// The first line without the name of the function that it begins with.
std::string first_line(std::string_view report) {
  std::string line(report.substr(0, report.find('\n')));
  const std::size_t colon = line.find(": ");
  if (colon != std::string::npos && line.find(' ') > colon) line.erase(0, colon + 2);
  return line;
}

}  // namespace

std::string refusal(const ImageSource& source, const std::string& report) {
  const std::string line = first_line(report);
  const bool unknown = contains(line, "not in a known format") || contains(line, "operation is blocked");
  if (unknown && !begins_like_image(head_of(source))) return "not an image in a supported format";
  if (unknown || line.empty()) return "damaged or truncated";
  if (contains(line, "Error creating thread") || contains(line, "out of memory")) return "not enough memory";
  if (contains(line, "memory area too small")) return "damaged or truncated: it ends before its last pixel";
  if (contains(line, "samples out of range")) {
    return "64-bit, complex or too many samples per pixel cannot be measured (8- and 16-bit grey, RGB and RGBA, and "
           "32-bit float grey can)";
  }
  return "damaged or truncated: " + line;
}
