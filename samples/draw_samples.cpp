// SPDX-License-Identifier: Apache-2.0
// draw_samples FOLDER writes the sample images and truth.json; draw_samples --check FOLDER draws them again and
// compares.

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>
#include <vips/vips8>

#include "image_io.h"
#include "scenes.h"

namespace {

using samples::Sample;
using Json = nlohmann::ordered_json;

bool is_short(const Json& json) {
  for (const Json& item : json) {
    if (item.is_object() || (item.is_array() && !is_short(item))) return false;
  }
  return json.is_array() || json.size() <= 2;
}

// A line per entry; what consists of numbers only stays on its line.
std::string print(const Json& json, const std::string& indent) {
  if (!json.is_structured()) return json.dump();
  const bool on_one_line = is_short(json);
  const std::string inner = indent + "  ";
  std::string text;
  for (const auto& [key, value] : json.items()) {
    if (!text.empty()) text += on_one_line ? ", " : ",";
    if (!on_one_line) text += "\n" + inner;
    if (json.is_object()) text += Json(key).dump() + ": ";
    text += print(value, inner);
  }
  if (!on_one_line) text += "\n" + indent;
  return (json.is_object() ? "{" : "[") + text + (json.is_object() ? "}" : "]");
}

std::string truth_of(const std::vector<Sample>& all) {
  Json images = Json::object();
  for (const Sample& sample : all) {
    Json entry = {{"size", {sample.width, sample.height}}};
    entry.update(sample.truth);
    images[sample.file] = entry;
  }
  return print({{"coordinates", "column, row; the centre of the upper left pixel is 0, 0"},
                {"lines", "-x sin(angle) + y cos(angle) = rho, angle in degrees"},
                {"light", "least and greatest factor of the levels"},
                {"images", images}},
               "") +
         "\n";
}

std::string content_of(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

void write_all(const std::filesystem::path& folder) {
  const std::vector<Sample> all = samples::all_samples();
  for (const Sample& sample : all) samples::write_image(sample, folder / sample.file);
  std::ofstream file(folder / "truth.json", std::ios::binary);
  file << truth_of(all);
  if (!file.flush()) throw std::runtime_error("cannot write truth.json");
}

// The number of files that differ.
int check_all(const std::filesystem::path& folder) {
  const std::vector<Sample> all = samples::all_samples();
  int different = 0;
  const auto tell = [&](const std::string& file, const std::string& what) {
    std::printf("%-12s %s\n", file.c_str(), what.empty() ? "as drawn" : what.c_str());
    different += what.empty() ? 0 : 1;
  };
  for (const Sample& sample : all) tell(sample.file, samples::difference(sample, folder / sample.file));
  tell("truth.json", content_of(folder / "truth.json") == truth_of(all) ? "" : "another text");
  return different;
}

}  // namespace

int main(int argc, char** argv) {
  const bool check = argc == 3 && std::string(argv[1]) == "--check";
  if (!check && argc != 2) {
    std::fprintf(stderr, "usage: draw_samples [--check] FOLDER\n");
    return 2;
  }
  if (VIPS_INIT(argv[0]) != 0) return 1;
  try {
    if (check) return check_all(argv[2]) == 0 ? 0 : 1;
    write_all(argv[1]);
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "draw_samples: %s\n", error.what());
    return 1;
  }
}
