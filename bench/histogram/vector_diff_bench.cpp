// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <string>
#include <type_traits>

#include "harness.h"
#include "images.h"
#include "peers.h"
#include "vlix/meas.h"

namespace vlix::bench {
namespace {

constexpr std::size_t kCount = 1000000;

struct Fold {
  VectorDiffOp op;
  const char* name;
  const char* peer;
  int norm;  // of OpenCV
};
// The values of OpenCV's NORM_L1, NORM_L2 and NORM_INF.
constexpr Fold kAbsSum = {VectorDiffOp_DiffAbsSum, "absolute sum", "OpenCV norm L1", 2};
constexpr Fold kEuclid = {VectorDiffOp_DiffEuclid, "Euclidean", "OpenCV norm L2", 4};
constexpr Fold kMaxAbs = {VectorDiffOp_DiffMaxAbs, "largest", "OpenCV norm INF", 1};

#if VLIX_BENCH_OPENCV
template <class Element>
constexpr int cv_type() {
  return std::is_same_v<Element, uint8_t>    ? CV_8U
         : std::is_same_v<Element, uint16_t> ? CV_16U
         : std::is_same_v<Element, float>    ? CV_32F
                                             : CV_64F;
}
#endif

template <class Element>
Work fold(const Fold& fold) {
  auto a = std::make_shared<Vector<Element>>(kCount);
  auto b = std::make_shared<Vector<Element>>(kCount);
  std::mt19937_64 random(7);
  for (std::size_t i = 0; i < kCount; ++i) {
    a->values[i] = static_cast<Element>(random() % 256);
    b->values[i] = static_cast<Element>(random() % 256);
  }
  auto result = std::make_shared<double>(0.0);
  auto peer = std::make_shared<double>(0.0);
  Work work;
  work.ours = [=] { vlix_vectorDiff(&a->record, &b->record, result.get(), fold.op, 0); };
#if VLIX_BENCH_OPENCV
  work.peer = [=] {
    const cv::Mat ma(1, static_cast<int>(kCount), cv_type<Element>(), a->values.data());
    const cv::Mat mb(1, static_cast<int>(kCount), cv_type<Element>(), b->values.data());
    *peer = cv::norm(ma, mb, fold.norm);
  };
  // Integer values: every sum is exact.
  work.verify = [=] { return std::fabs(*result) == *peer ? "" : "the results differ"; };
#endif
  return work;
}

template <class Element>
void add(Cases& cases, const char* type, const Fold& of, double goal) {
  cases.push_back({.operation = "vectorDiff",
                   .name = std::string(type) + " 1e6, " + of.name,
                   .peer = of.peer,
                   .goal = goal,
                   .make = [=] { return fold<Element>(of); }});
}

void cases_of_vector_diff(Cases& cases) {
  for (const Fold& of : {kAbsSum, kEuclid, kMaxAbs}) {
    const bool sum = of.op != VectorDiffOp_DiffMaxAbs;
    add<uint8_t>(cases, "U8", of, 10);
    add<uint16_t>(cases, "U16", of, 0);
    // The order of additions is fixed for floats.
    add<float>(cases, "F32", of, sum ? 0.5 : 2);
    add<double>(cases, "F64", of, sum ? 0.33 : 2);
  }
}

const bool registered = register_cases(cases_of_vector_diff);

}  // namespace
}  // namespace vlix::bench
