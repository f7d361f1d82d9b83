// SPDX-License-Identifier: Apache-2.0
// Regions: how they are made, combined and released.

#include <cstddef>
#include <cstdlib>
#include <new>
#include <variant>

#include "util/runs.h"
#include "util/shapes.h"
#include "vlix/object.h"
#include "vlix/util.h"

namespace {

using vlix::util::RunList;

template <class... Arguments>
int32_t report(const char* format, Arguments... arguments) {
  return VlixOpStatus(1, VlixStatusKind_Message, format, arguments...);
}

int32_t report_memory(const char* operation, int64_t bytes) {
  return VlixOpStatus(1, VlixStatusKind_OutOfMemory, operation, bytes);
}

// Fills a list and hands it over; the region keeps what it has when memory is short.
template <class Fill>
int32_t make(const char* operation, VlixRegion& region, Fill fill) {
  RunList runs;
  try {
    fill(runs);
  } catch (const std::bad_alloc&) {
    return report_memory(operation, runs.asked_bytes());
  }
  runs.move_to(region);
  return 0;
}

template <class Pixel>
void append_mask(const VlixImage& mask, RunList& runs) {
  const auto* row = static_cast<const Pixel*>(mask.data) + std::ptrdiff_t{mask.roiY} * mask.width + mask.roiX;
  for (int32_t y = 0; y < mask.roiHeight; ++y, row += mask.width) {
    for (int32_t x = 0; x < mask.roiWidth;) {
      while (x < mask.roiWidth && row[x] == Pixel{}) ++x;
      const int32_t begin = x;
      while (x < mask.roiWidth && row[x] != Pixel{}) ++x;
      if (begin < x) runs.append(y, begin, x);
    }
  }
}

using AppendMask = void (*)(const VlixImage&, RunList&);

AppendMask append_mask_of(uint32_t type) {
  switch (type) {
    case ObjType_U8: return append_mask<uint8_t>;
    case ObjType_S8: return append_mask<int8_t>;
    case ObjType_U16: return append_mask<uint16_t>;
    case ObjType_S16: return append_mask<int16_t>;
    case ObjType_F32: return append_mask<float>;
    default: return nullptr;
  }
}

// The ends of runs as one sequence of places that never falls, row after row: every other one begins a run.
class Ends {
 public:
  explicit Ends(const VlixRegion& region) : run_(region.runs), last_(region.runs + region.count) {}

  bool done() const { return run_ == last_; }
  bool inside() const { return inside_; }
  int32_t row() const { return run_->y; }
  int32_t column() const { return inside_ ? run_->end : run_->begin; }
  void pass() {
    if (inside_) ++run_;
    inside_ = !inside_;
  }
  bool is_before(const Ends& other) const {
    return row() < other.row() || (row() == other.row() && column() < other.column());
  }

 private:
  const VlixRun* run_;
  const VlixRun* last_;
  bool inside_ = false;
};

// Both regions end their runs within a row, so that what begins in a row ends in it.
template <class Belongs>
void append_combination(const VlixRegion& a, const VlixRegion& b, Belongs belongs, RunList& runs) {
  Ends a_ends(a);
  Ends b_ends(b);
  bool inside = false;
  int32_t begin = 0;
  while (!a_ends.done() || !b_ends.done()) {
    const bool a_is_next = b_ends.done() || (!a_ends.done() && !b_ends.is_before(a_ends));
    const bool b_is_next = a_ends.done() || (!b_ends.done() && !a_ends.is_before(b_ends));
    const Ends& next = a_is_next ? a_ends : b_ends;
    const int32_t y = next.row();
    const int32_t x = next.column();
    if (a_is_next) a_ends.pass();
    if (b_is_next) b_ends.pass();
    const bool was_inside = inside;
    inside = belongs(a_ends.inside(), b_ends.inside());
    if (!was_inside && inside) begin = x;
    if (was_inside && !inside) runs.append(y, begin, x);
  }
}

template <class Belongs>
int32_t combine(const char* operation, const VlixRegion* a, const VlixRegion* b, VlixRegion* region, Belongs belongs) {
  if (a == nullptr || b == nullptr || region == nullptr) return report("%s: no region record\n", operation);
  if (!vlix::util::is_well_formed(*a) || !vlix::util::is_well_formed(*b)) {
    return report("%s: the runs of a region are not in order\n", operation);
  }
  return make(operation, *region, [&](RunList& runs) { append_combination(*a, *b, belongs, runs); });
}

}  // namespace

int32_t VlixRegionFromMask(const VlixImage* mask, VlixRegion* region) {
  constexpr const char* kOperation = "regionFromMask";
  if (mask == nullptr || region == nullptr) return report("%s: no mask or no region record\n", kOperation);
  const AppendMask append = append_mask_of(mask->type);
  if (append == nullptr) {
    const char* const name = VlixObjGetName(static_cast<int32_t>(mask->type));
    return VlixOpStatus(1, VlixStatusKind_UnsupportedType, kOperation, name);
  }
  if (mask->data == nullptr) return report("%s: the mask has no pixels\n", kOperation);
  return make(kOperation, *region, [&](RunList& runs) { append(*mask, runs); });
}

int32_t VlixRegionFromShape(const VlixShape* shape, VlixRegion* region) {
  constexpr const char* kOperation = "regionFromShape";
  if (shape == nullptr || region == nullptr) return report("%s: no shape or no region record\n", kOperation);
  try {
    vlix::util::Area area = vlix::util::area_of(shape);
    const auto* refusal = std::get_if<vlix::util::Refusal>(&area);
    if (refusal != nullptr) return report("%s: the shape is refused, %s\n", kOperation, refusal->reason);
    return make(kOperation, *region, [&](RunList& runs) {
      each_run(area, [&](int32_t y, int32_t begin, int32_t end) { runs.append(y, begin, end); });
    });
  } catch (const std::bad_alloc&) {
    return report_memory(kOperation, vlix::util::table_bytes(*shape));
  }
}

int32_t VlixRegionUnion(const VlixRegion* a, const VlixRegion* b, VlixRegion* region) {
  return combine("regionUnion", a, b, region, [](bool in_a, bool in_b) { return in_a || in_b; });
}

int32_t VlixRegionIntersection(const VlixRegion* a, const VlixRegion* b, VlixRegion* region) {
  return combine("regionIntersection", a, b, region, [](bool in_a, bool in_b) { return in_a && in_b; });
}

int32_t VlixRegionDifference(const VlixRegion* a, const VlixRegion* b, VlixRegion* region) {
  return combine("regionDifference", a, b, region, [](bool in_a, bool in_b) { return in_a && !in_b; });
}

int64_t VlixRegionPixelCount(const VlixRegion* region) {
  int64_t pixels = 0;
  if (region == nullptr || region->runs == nullptr) return pixels;
  for (int64_t i = 0; i < region->count; ++i) {
    pixels += int64_t{region->runs[i].end} - region->runs[i].begin;
  }
  return pixels;
}

void VlixRegionRelease(VlixRegion* region) {
  if (region == nullptr) return;
  if (region->capacity > 0) std::free(region->runs);
  *region = {};
}
