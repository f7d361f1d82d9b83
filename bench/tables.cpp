// SPDX-License-Identifier: Apache-2.0
#include "tables.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "images.h"
#include "vlix/meas.h"
#include "vlix/object.h"

namespace vlix::bench {
namespace {

using Clock = std::chrono::steady_clock;

struct Outputs {
  VlixImage images[2] = {};
  VlixVector vectors[3] = {};
  int64_t bytes() const {
    int64_t sum = 0;
    for (const VlixImage& image : images) {
      if (image.data == nullptr) continue;
      sum += int64_t{image.width} * image.height * VlixObjGetSize(static_cast<int32_t>(image.type));
    }
    for (const VlixVector& vector : vectors) {
      if (vector.data == nullptr) continue;
      sum += int64_t{vector.count} * VlixObjGetSize(static_cast<int32_t>(vector.type));
    }
    return sum;
  }
  ~Outputs() {
    for (VlixImage& image : images) VlixImageRelease(&image, 0);
    for (VlixVector& vector : vectors) VlixVectorRelease(&vector, 0);
  }
};

// One operation on a square image, ready to run again and again into the same outputs.
struct Operation {
  std::string name;
  std::function<void()> run;
  std::shared_ptr<const Outputs> outputs;
};

// The part of an image that serves as template.
VlixImage part_of(const VlixImage& image, int32_t size) {
  VlixImage part = image;
  part.roiWidth = part.roiHeight = std::min(size, image.width);
  return part;
}

template <class Pixel>
void add_image_operations(std::vector<Operation>& list, int32_t size, const std::string& type) {
  const auto image = scene<Pixel>(size, size);
  const auto out = std::make_shared<Outputs>();
  const auto add = [&](const char* name, std::function<void()> run) {
    list.push_back({name + (" " + type), run, out});
  };
  const int32_t top = std::is_same_v<Pixel, uint16_t> ? 65535 : 255;

  add("stats", [=] {
    VlixImageHandle handle = {VlixHandle_Image, {}, image->record};
    float r[4];
    vlix_stats(reinterpret_cast<const VlixObj*>(&handle), r, r + 1, r + 2, r + 3, nullptr, nullptr, nullptr, nullptr,
               nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  });
  if constexpr (std::is_integral_v<Pixel>) {
    add("histogramInt", [=] { vlix_histogramInt(&image->record, &out->vectors[0], 0, 256, 0, top); });
    add("projectionInt", [=] { vlix_projectionInt(&image->record, &out->vectors[0], &out->vectors[1], 0); });
  }
  add("histogram", [=] { vlix_histogram(&image->record, &out->vectors[0], 0, 256, 0.0f, static_cast<float>(top)); });
  add("countPix", [=] {
    uint32_t count;
    vlix_countPix(&image->record, &count);
  });
  add("countThreshPix", [=] {
    uint32_t count;
    vlix_countThreshPix(&image->record, &count, 20, 100);
  });
  add("projection", [=] { vlix_projection(&image->record, &out->vectors[0], &out->vectors[1], 0); });
  add("background", [=] {
    Pixel value;
    vlix_background(&image->record, &value);
  });
  add("samplepath_line", [=] {
    const PointF32 end = {static_cast<float>(size - 1), static_cast<float>(size - 1)};
    vlix_samplepath_line(&image->record, {0, 0}, end, &out->vectors[2], nullptr, nullptr, 1.0f, 1, nullptr);
  });
  if (size >= 3) {
    add("variance 3 x 3", [=] { vlix_variance(&image->record, &out->images[0], &out->images[1], 1, 3, 3); });
  }
  add("nxcorr 8 x 8", [=] {
    const VlixImage part = part_of(image->record, 8);
    vlix_nxcorr(&image->record, &part, &out->images[0]);
  });
  add("xCorr 8 x 8", [=] {
    const VlixImage part = part_of(image->record, 8);
    vlix_xCorr(&image->record, &part, &out->images[0]);
  });
}

// At level 0 the module's own kernel runs; at level 1 it calls two primitives per placement.
void add_sod(std::vector<Operation>& list, int32_t size) {
  const auto image = scene<uint8_t>(size, size);
  const auto out = std::make_shared<Outputs>();
  list.push_back({"sod 8 x 8 U8, level 0",
                  [=] {
                    const VlixImage part = part_of(image->record, 8);
                    VlixOptimSetLevel(0);
                    vlix_sod(&image->record, &part, &out->images[0]);
                    VlixOptimSetLevel(1);
                  },
                  out});
}

void add_vector_operations(std::vector<Operation>& list, std::size_t count) {
  const auto out = std::make_shared<Outputs>();
  const auto points = std::make_shared<Vector<PointF32>>(std::max<std::size_t>(count, 3));
  for (std::size_t i = 0; i < points->values.size(); ++i) {
    const float t = static_cast<float>(i);
    points->values[i] = {t, 100.0f + 20.0f * std::sin(0.05f * t) + 0.001f * t};
  }
  list.push_back({"vectorDiff F32",
                  [=] {
                    VlixVector flat = points->record;
                    flat.type = ObjType_F32;
                    double result;
                    vlix_vectorDiff(&flat, &flat, &result, VectorDiffOp_DiffAbsSum, 0);
                  },
                  out});
  list.push_back({"histPeaks",
                  [=] {
                    VlixVectorRelease(&out->vectors[0], 0);
                    vlix_histPeaks(&points->record, &out->vectors[0], 1, 5.0f);
                  },
                  out});
  list.push_back({"smoothHist", [=] { vlix_smoothHist(&points->record, &out->vectors[1], 3.0f); }, out});
  list.push_back({"linearRegressionFloat",
                  [=] {
                    float angle, rho;
                    vlix_linearRegressionFloat(&points->record, 0, &angle, &rho, nullptr, nullptr, nullptr);
                  },
                  out});
  list.push_back({"circularRegressionFloat",
                  [=] {
                    float diameter;
                    PointF32 centre;
                    vlix_circularRegressionFloat(&points->record, 0, &diameter, &centre, nullptr, nullptr, nullptr);
                  },
                  out});
}

// Groups share their input.
using Group = void (*)(std::vector<Operation>& list, int32_t size);
constexpr Group kGroups[] = {
    [](std::vector<Operation>& list, int32_t size) { add_image_operations<uint8_t>(list, size, "U8"); },
    [](std::vector<Operation>& list, int32_t size) { add_image_operations<uint16_t>(list, size, "U16"); },
    [](std::vector<Operation>& list, int32_t size) { add_image_operations<float>(list, size, "F32"); }, add_sod};

std::vector<Operation> operations(int32_t size) {
  std::vector<Operation> list;
  for (const Group group : kGroups) group(list, size);
  return list;
}

// Seconds per call: the minimum over several batches of at least this long, fewer of calls that take half a second.
double time_call(const std::function<void()>& run, double batch_seconds) {
  run();
  int64_t calls = 1;
  double best = 1e30;
  for (int batch = 0; batch < (best > 0.5 && best < 1e30 ? 3 : 7); ++batch) {
    const auto start = Clock::now();
    for (int64_t i = 0; i < calls; ++i) run();
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    if (seconds < batch_seconds && calls < (int64_t{1} << 24)) {
      calls = std::max(calls * 2, static_cast<int64_t>(static_cast<double>(calls) * batch_seconds / (seconds + 1e-9)));
      --batch;
      continue;
    }
    best = std::min(best, seconds / static_cast<double>(calls));
  }
  return best;
}

// Peak resident memory since the last reset, in KiB; 0 where the kernel does not tell.
int64_t peak_memory() {
  std::FILE* status = std::fopen("/proc/self/status", "r");
  if (status == nullptr) return 0;
  char line[256];
  long peak = 0;
  while (std::fgets(line, sizeof(line), status) != nullptr) {
    if (std::sscanf(line, "VmHWM: %ld", &peak) == 1) break;
  }
  std::fclose(status);
  return peak;
}

void reset_peak_memory() {
  if (std::FILE* file = std::fopen("/proc/self/clear_refs", "w")) {
    std::fputs("5", file);
    std::fclose(file);
  }
}

// What the first call of a process needs beyond its inputs and outputs. To be called before this process has called
// anything: its children then find no buffers that other calls have left.
std::string memory_of_call(const Operation& operation) {
  const char* const unknown = "-";
  int ends[2];
  if (pipe(ends) != 0) return unknown;
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    reset_peak_memory();
    const int64_t before = peak_memory();
    operation.run();
    const double grown = static_cast<double>(peak_memory() - before) / 1024.0;
    const double needed = std::max(0.0, grown - static_cast<double>(operation.outputs->bytes()) / 1048576.0);
    _exit(write(ends[1], &needed, sizeof(needed)) == sizeof(needed) ? 0 : 1);
  }
  close(ends[1]);
  double needed = 0.0;
  const bool is_told = read(ends[0], &needed, sizeof(needed)) == sizeof(needed);
  close(ends[0]);
  if (child > 0) waitpid(child, nullptr, 0);
  if (!is_told) return unknown;
  char text[32];
  std::snprintf(text, sizeof(text), "%.1f MiB", needed);
  return text;
}

}  // namespace

void print_call_overheads() {
  std::printf("| call | smallest input | 16 x 16 |\n|---|---|---|\n");
  std::vector<Operation> small = operations(1);
  std::vector<Operation> usual = operations(16);
  add_vector_operations(small, 3);
  add_vector_operations(usual, 16);
  for (const Operation& operation : usual) {
    const auto found =
        std::find_if(small.begin(), small.end(), [&](const Operation& o) { return o.name == operation.name; });
    const double time = time_call(operation.run, 0.002) * 1e9;
    if (found == small.end()) {
      std::printf("| %s | - | %.0f ns |\n", operation.name.c_str(), time);
    } else {
      std::printf("| %s | %.0f ns | %.0f ns |\n", operation.name.c_str(), time_call(found->run, 0.002) * 1e9, time);
    }
  }
}

void print_growth(bool quick) {
  std::vector<int32_t> sizes = {512, 1024, 2048};
  if (!quick) sizes.insert(sizes.end(), {4096, 8192});
  std::map<std::string, std::string> memory;
  for (const Group group : kGroups) {
    std::vector<Operation> list;
    group(list, sizes.back());
    for (const Operation& operation : list) memory[operation.name] = memory_of_call(operation);
  }

  std::vector<std::string> order;
  std::map<std::string, std::map<int32_t, double>> times;
  for (const Group group : kGroups) {
    for (const int32_t size : sizes) {
      std::vector<Operation> list;
      group(list, size);
      for (const Operation& operation : list) {
        if (times.count(operation.name) == 0) order.push_back(operation.name);
        times[operation.name][size] = time_call(operation.run, 0.02) / (static_cast<double>(size) * size);
      }
    }
  }

  std::printf(
      "| operation | size | time per pixel | peak memory of a call beyond its inputs and outputs "
      "|\n|---|---|---|---|\n");
  for (const std::string& name : order) {
    for (const auto& [size, seconds] : times[name]) {
      std::printf("| %s | %d | %.3f ns | %s |\n", name.c_str(), size, seconds * 1e9,
                  size == sizes.back() ? memory[name].c_str() : "-");
    }
  }
}

}  // namespace vlix::bench
