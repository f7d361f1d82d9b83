// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "harness.h"
#include "images.h"
#include "peers.h"
#include "vlix/meas.h"

namespace vlix::bench {
namespace {

#if VLIX_BENCH_OPENCV
template <class Element>
constexpr int cv_type() {
  return std::is_same_v<Element, uint8_t> ? CV_8U : std::is_same_v<Element, float> ? CV_32F : CV_64F;
}
#endif

template <class Element>
Work absolute_sum(std::size_t count) {
  auto a = std::make_shared<Vector<Element>>(count);
  auto b = std::make_shared<Vector<Element>>(count);
  std::mt19937_64 random(7);
  for (std::size_t i = 0; i < count; ++i) {
    a->values[i] = static_cast<Element>(random() % 256);
    b->values[i] = static_cast<Element>(random() % 256);
  }
  auto result = std::make_shared<double>(0.0);
  auto peer = std::make_shared<double>(0.0);
  Work work;
  work.ours = [=] { vlix_vectorDiff(&a->record, &b->record, result.get(), VectorDiffOp_DiffAbsSum, 0); };
#if VLIX_BENCH_OPENCV
  work.peer = [=] {
    const cv::Mat ma(1, static_cast<int>(count), cv_type<Element>(), a->values.data());
    const cv::Mat mb(1, static_cast<int>(count), cv_type<Element>(), b->values.data());
    *peer = cv::norm(ma, mb, cv::NORM_L1);
  };
  // Integer values: both sums are exact.
  work.verify = [=] { return *result == *peer ? "" : "the sums differ"; };
#endif
  return work;
}

void cases_of_vector_diff(Cases& cases) {
  const std::size_t count = 1000000;
  cases.push_back(
      {.operation = "vectorDiff", .name = "U8 1e6, absolute sum", .peer = "OpenCV norm L1", .goal = 10, .make = [=] {
         return absolute_sum<uint8_t>(count);
       }});
  cases.push_back(
      {.operation = "vectorDiff", .name = "F32 1e6, absolute sum", .peer = "OpenCV norm L1", .goal = 0.5, .make = [=] {
         return absolute_sum<float>(count);
       }});
  cases.push_back(
      {.operation = "vectorDiff", .name = "F64 1e6, absolute sum", .peer = "OpenCV norm L1", .goal = 0.33, .make = [=] {
         return absolute_sum<double>(count);
       }});
}

const bool registered = register_cases(cases_of_vector_diff);

}  // namespace
}  // namespace vlix::bench
