// SPDX-License-Identifier: Apache-2.0
// Element-wise difference of two numeric vectors, reduced to one number.

#include <cmath>

#include "frame/region.h"
#include "frame/report.h"
#include "frame/type_sets.h"
#include "frame/visit.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

template <class A, class B>
bool accumulate(const A* a, const B* b, int32_t count, int32_t op, double& acc) {
  for (int32_t i = 0; i < count; ++i) {
    const double d = static_cast<double>(a[i]) - static_cast<double>(b[i]);
    switch (op) {
      case VectorDiffOp_DiffSum: acc += d; break;
      case VectorDiffOp_DiffAbsSum: acc += std::fabs(d); break;
      case VectorDiffOp_DiffSquareSum:
      case VectorDiffOp_DiffEuclid: acc += d * d; break;
      case VectorDiffOp_DiffMaxAbs:
        if (std::fabs(d) > std::fabs(acc)) acc = d;
        break;
      default: return false;
    }
  }
  return true;
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_vectorDiff(const VlixVector* a, const VlixVector* b, double* result, int32_t op,
                                      int32_t normalise) {
  using namespace vlix;
  if (!accepts(kNumericVectors, a->type)) return report_type(op::vectorDiff, a->type);
  if (!accepts(kNumericVectors, b->type)) return report_type(op::vectorDiff, b->type);
  if (a->count != b->count) return report("vectorDiff: input vectors must be the same size\n");
  if (result == nullptr) return kSuccess;

  double acc = 0.0;
  bool known = true;
  with_element_type(a->type, [&]<class A>() {
    with_element_type(b->type, [&]<class B>() {
      known = accumulate(elements<const A>(*a), elements<const B>(*b), a->count, op, acc);
    });
  });
  if (!known) return report("vectorDiff: unknown operation code %d\n", op);

  if (normalise == 1 && op != VectorDiffOp_DiffMaxAbs) acc = acc / static_cast<double>(a->count);
  if (op == VectorDiffOp_DiffEuclid) acc = std::sqrt(acc);
  *result = acc;
  return kSuccess;
}
