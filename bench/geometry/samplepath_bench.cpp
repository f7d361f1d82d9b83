// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "harness.h"
#include "images.h"
#include "peers.h"
#include "vlix/meas.h"
#include "vlix/object.h"
#if VLIX_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace vlix::bench {
namespace {

constexpr int32_t kSize = 2048;
constexpr int32_t kSamples = 1000000;

// A path through the image, its samples, and the maps that make the peer read the same positions.
struct Path {
  std::vector<PointF32> vertices;
  VlixVector record = {};
  VlixVector values = {};
  VlixVector positions = {};
  int32_t count = 0;
  float spacing = 0.0f;
#if VLIX_BENCH_OPENCV
  cv::Mat map_x, map_y, sampled;
#endif
  ~Path() {
    VlixVectorRelease(&values, 0);
    VlixVectorRelease(&positions, 0);
  }
};

std::shared_ptr<Path> make_path(const VlixImage& image, std::size_t vertices) {
  auto path = std::make_shared<Path>();
  std::mt19937 random(5);
  std::uniform_real_distribution<float> coordinate(0.0f, static_cast<float>(kSize - 1));
  if (vertices == 2) {
    path->vertices = {{0.25f, 0.5f}, {static_cast<float>(kSize) - 1.5f, static_cast<float>(kSize) - 1.25f}};
  } else {
    while (path->vertices.size() < vertices) path->vertices.push_back({coordinate(random), coordinate(random)});
  }
  float length = 0.0f;
  for (std::size_t i = 1; i < path->vertices.size(); ++i) {
    length += std::hypot(path->vertices[i].x - path->vertices[i - 1].x, path->vertices[i].y - path->vertices[i - 1].y);
  }
  path->spacing = length / static_cast<float>(kSamples);
  path->record = {ObjType_PointF32, path->vertices.data(), static_cast<int32_t>(path->vertices.size()), 0};
  // A vector that is long enough on entry: start indices of later segments are clamped by its count.
  VlixVectorAlloc(&path->values, ObjType_F32, kSamples + 1000);
  vlix_samplepath_lines(&image, &path->record, &path->values, &path->positions, &path->count, path->spacing, 1,
                        nullptr);
  return path;
}

template <class Pixel>
Work sampling(std::size_t vertices) {
  const auto image = scene<Pixel>(kSize, kSize);
  const std::shared_ptr<Path> path = make_path(image->record, vertices);
  Work work;
  work.ours = [=] {
    VlixVectorResize(&path->values, path->count);
    vlix_samplepath_lines(&image->record, &path->record, &path->values, nullptr, nullptr, path->spacing, 1, nullptr);
  };
#if VLIX_BENCH_OPENCV
  const int side = 1000;
  path->map_x.create(side, side, CV_32F);
  path->map_y.create(side, side, CV_32F);
  const auto* positions = static_cast<const PointF32*>(path->positions.data);
  for (int i = 0; i < side * side; ++i) {
    path->map_x.template ptr<float>()[i] = positions[i].x;
    path->map_y.template ptr<float>()[i] = positions[i].y;
  }
  work.peer = [=] {
    const cv::Mat source = mat_of(image->record, std::is_same_v<Pixel, uint8_t> ? CV_8U : CV_32F);
    cv::remap(source, path->sampled, path->map_x, path->map_y, cv::INTER_LINEAR);
  };
  // The peer rounds coordinates to 1/32 of a pixel and its 8-bit results to whole numbers.
  work.verify = [=]() -> std::string {
    const auto* ours = static_cast<const float*>(path->values.data);
    const double full = std::is_same_v<Pixel, uint8_t> ? 255.0 : 1.0;
    double worst = 0.0;
    for (int i = 0; i < side * side - 2; ++i) {
      if (positions[i].x == 0.0f && positions[i].y == 0.0f) continue;  // behind the last sample
      const double peer = std::is_same_v<Pixel, uint8_t> ? path->sampled.template ptr<uint8_t>()[i]
                                                         : path->sampled.template ptr<float>()[i];
      worst = std::max(worst, std::fabs(ours[i] - peer));
    }
    // Neighbours differ by less than a fifth of the range; two coordinates are off by at most 1/64 each.
    const double tolerance = full * 0.2 * 2.0 / 64.0 + (std::is_same_v<Pixel, uint8_t> ? 0.51 : 1e-6);
    return worst <= tolerance ? "" : "off by " + std::to_string(worst);
  };
#endif
  return work;
}

void cases_of_samplepath(Cases& cases) {
  const char* peer = "OpenCV remap, float maps";
  cases.push_back(
      {.operation = "samplepath_lines", .name = "U8 2048, 1e6 bilinear, one line", .peer = peer, .goal = 1, .make = [] {
         return sampling<uint8_t>(2);
       }});
  cases.push_back({.operation = "samplepath_lines",
                   .name = "F32 2048, 1e6 bilinear, one line",
                   .peer = peer,
                   .goal = 1,
                   .make = [] { return sampling<float>(2); }});
  cases.push_back({.operation = "samplepath_lines",
                   .name = "U8 2048, 1e6 bilinear, 2000 segments",
                   .peer = peer,
                   .goal = 1,
                   .make = [] { return sampling<uint8_t>(2001); }});
  cases.push_back({.operation = "samplepath_lines",
                   .name = "F32 2048, 1e6 bilinear, 2000 segments",
                   .peer = peer,
                   .goal = 1,
                   .make = [] { return sampling<float>(2001); }});
}

const bool registered = register_cases(cases_of_samplepath);

}  // namespace
}  // namespace vlix::bench
