// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "harness.h"
#include "images.h"
#include "outputs.h"
#include "vlix/meas.h"

namespace vlix::bench {
namespace {

constexpr std::size_t kCount = 65536;

// A straightforward loop: strict maxima, plateaus at their middle, no minimum distance.
std::vector<PointF32> plain_maxima(const std::vector<PointF32>& hist) {
  std::vector<PointF32> peaks;
  for (std::size_t i = 1; i + 1 < hist.size(); ++i) {
    if (!(hist[i].y > hist[i - 1].y)) continue;
    std::size_t end = i;
    while (end + 1 < hist.size() && hist[end + 1].y == hist[i].y) ++end;
    if (end + 1 < hist.size() && hist[end + 1].y < hist[i].y) {
      peaks.push_back({(hist[i].x + hist[end].x) * 0.5f, hist[i].y});
    }
  }
  return peaks;
}

// Every peak is a maximum of the plain loop, and none follows another one too closely.
std::string check_distances(const VlixVector& found, const std::vector<PointF32>& maxima, float distance) {
  const auto* peaks = values_of<PointF32>(found);
  std::size_t next = 0;
  for (int32_t i = 0; i < found.count; ++i) {
    while (next < maxima.size() && maxima[next].x != peaks[i].x) ++next;
    if (next == maxima.size() || maxima[next].y != peaks[i].y) return "a peak is not a maximum";
    if (i > 0 && peaks[i].x - peaks[i - 1].x < distance) return "peaks are too close";
  }
  return found.count > 0 ? "" : "no peaks";
}

Work peaks(bool noisy, float distance) {
  auto hist = std::make_shared<Vector<PointF32>>(kCount);
  std::mt19937_64 random(3);
  for (std::size_t i = 0; i < kCount; ++i) {
    const auto x = static_cast<float>(i);
    const auto noise = static_cast<float>(random() % 100000);
    hist->values[i] = {x, noisy ? noise : std::floor(2000.0f + 1000.0f * std::sin(x * 0.01f) + noise * 3e-4f)};
  }
  auto out = output_vectors();
  auto expected = std::make_shared<std::vector<PointF32>>();
  Work work;
  work.ours = [=] {
    VlixVectorRelease(out.get(), 0);
    vlix_histPeaks(&hist->record, out.get(), 1, distance);
  };
  if (distance < 0.0f) {
    work.peer = [=] { *expected = plain_maxima(hist->values); };
    work.verify = [=]() -> std::string {
      const auto same = [](const PointF32& a, const PointF32& b) { return a.x == b.x && a.y == b.y; };
      const auto* found = values_of<PointF32>(out[0]);
      return std::equal(found, found + out[0].count, expected->begin(), expected->end(), same) ? "" : "peaks differ";
    };
  } else {
    work.verify = [=] { return check_distances(out[0], plain_maxima(hist->values), distance); };
  }
  return work;
}

void cases_of_peaks(Cases& cases) {
  for (const bool noisy : {true, false}) {
    for (const float distance : {-1.0f, 20.0f}) {
      const std::string name =
          std::string("F32 65536 points, ") + (noisy ? "noise" : "smooth") + (distance < 0.0f ? "" : ", distance 20");
      cases.push_back(
          {.operation = "histPeaks", .name = name, .peer = distance < 0.0f ? "plain loop" : "", .make = [=] {
             return peaks(noisy, distance);
           }});
    }
  }
}

const bool registered = register_cases(cases_of_peaks);

}  // namespace
}  // namespace vlix::bench
