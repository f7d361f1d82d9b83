// SPDX-License-Identifier: Apache-2.0
// Histogram of an integer image over evenly spaced integer bins.

#include <algorithm>
#include <type_traits>

#include "frame/convert.h"
#include "frame/multiversion.h"
#include "frame/output.h"
#include "frame/region.h"
#include "frame/report.h"
#include "frame/type_sets.h"
#include "frame/visit.h"
#include "frame/wrap.h"
#include "histogram/bin_counter.h"
#include "histogram/even_histogram.h"
#include "histogram/histogram_texts.h"
#include "histogram/int_bins.h"
#include "vlix/meas.h"

namespace vlix {
namespace {

// From pixel values to bins. Slot `bins` stands for values that are not counted.
struct SlotRule {
  int32_t bins;
  int32_t lo;
  int32_t hi;
  float factor;  // bins per unit of value

  SlotRule(const IntBins& b)
      : bins(b.count), lo(b.lo), hi(b.hi), factor(static_cast<float>(1.0 / static_cast<double>(b.width()))) {}

  // An index that rounding carries to `bins` belongs to the last bin. Ranges that wrap give indices outside.
  uint32_t slot(int32_t v) const {
    if (v < lo || v > hi) return static_cast<uint32_t>(bins);
    const int32_t index = truncate_to_int32(static_cast<float>(wrap_subtract(v, lo)) * factor);
    if (index < 0 || index > bins) return static_cast<uint32_t>(bins);
    return static_cast<uint32_t>(std::min(index, bins - 1));
  }

  // No wrap, and the product of at most (bins - 1 / width) * (1 + 3 * 2^-24) stays below bins + 1.
  bool is_plain() const { return int64_t{hi} - lo < INT32_MAX && bins < 1 << 22; }
};

constexpr int32_t kBlock = 512;

template <class Pixel>
VLIX_MULTIVERSION void plain_slots(const Pixel* pixels, int32_t count, const SlotRule& rule, uint32_t* slots) {
  const int32_t lo = rule.lo;
  const int32_t hi = rule.hi;
  const int32_t bins = rule.bins;
  const float factor = rule.factor;
  for (int32_t i = 0; i < count; ++i) {
    const int32_t v = pixels[i];
    // Masks in place of conditions, which would keep the loop from being vectorised.
    const int32_t inside = -static_cast<int32_t>((v >= lo) & (v <= hi));
    const auto index = static_cast<int32_t>(static_cast<float>(wrap_subtract(v, lo) & inside) * factor);
    slots[i] = static_cast<uint32_t>((std::min(index, bins - 1) & inside) | (bins & ~inside));
  }
}

template <class Pixel>
void any_slots(const Pixel* pixels, int32_t count, const SlotRule& rule, uint32_t* slots) {
  for (int32_t i = 0; i < count; ++i) slots[i] = rule.slot(pixels[i]);
}

// Calls visit(slots, count) for all pixels, some at a time.
template <class Pixel, class Visit>
void for_slots(const Region<const Pixel>& region, const SlotRule& rule, Visit&& visit) {
  uint32_t slots[kBlock];
  const bool plain = rule.is_plain();
  for (int32_t y = 0; y < region.height; ++y) {
    for (int32_t x = 0, count = 0; x < region.width; x += count) {
      count = std::min(kBlock, region.width - x);
      const Pixel* pixels = region.row(y) + x;
      plain ? plain_slots(pixels, count, rule, slots) : any_slots(pixels, count, rule, slots);
      visit(slots, count);
    }
  }
}

void add_to(PointI32& point, uint32_t count) { point.y = wrap_add(point.y, static_cast<int32_t>(count)); }

// Every byte is counted first; the rule is applied to the 256 values.
template <class Pixel>
void count_bytes(const Region<const Pixel>& region, const SlotRule& rule, PointI32* points) {
  ByteCounter counter;
  for (int32_t y = 0; y < region.height; ++y) {
    counter.count(reinterpret_cast<const uint8_t*>(region.row(y)), region.width);
  }
  counter.for_each([&](uint8_t byte, uint32_t count) {
    const uint32_t slot = rule.slot(static_cast<Pixel>(byte));
    if (slot < static_cast<uint32_t>(rule.bins)) add_to(points[slot], count);
  });
}

template <class Pixel>
void count_words(const Region<const Pixel>& region, const SlotRule& rule, PointI32* points) {
  if (rule.bins < SlotCounter::kMostSlots) {
    SlotCounter counter(rule.bins + 1);
    for_slots(region, rule, [&](const uint32_t* slots, int32_t count) { counter.count(slots, count); });
    counter.for_each(rule.bins, [&](int32_t slot, uint32_t count) { add_to(points[slot], count); });
    return;
  }
  for_slots(region, rule, [&](const uint32_t* slots, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
      if (slots[i] < static_cast<uint32_t>(rule.bins)) add_to(points[slots[i]], 1);
    }
  });
}

void count_plain(const VlixImage& image, const IntBins& bins, PointI32* points) {
  const SlotRule rule(bins);
  with_pixel_type(image.type, [&]<class Pixel>() {
    if constexpr (std::is_integral_v<Pixel>) {
      const auto region = region_of<const Pixel>(image);
      if constexpr (sizeof(Pixel) == 1) {
        count_bytes(region, rule, points);
      } else {
        count_words(region, rule, points);
      }
    }
  });
}

bool is_integer_image(uint32_t type) {
  return type == ObjType_S8 || type == ObjType_S16 || type == ObjType_U8 || type == ObjType_U16;
}

}  // namespace
}  // namespace vlix

extern "C" VlixStatus vlix_histogramInt(const VlixImage* image, VlixVector* hist, int32_t cumulative, int32_t nBins,
                                        int32_t lo, int32_t hi) {
  using namespace vlix;
  const IntBins bins{nBins, lo, hi};
  if (is_four_byte_colour(image->type)) return report(histogram_text::kColour);
  if (!is_integer_image(image->type)) return report_type(op::histogram, image->type);
  if (hi < lo) return report(histogram_text::kRange, lo, hi);
  if (nBins < 1) return report(histogram_text::kBins);
  if (!bins.divide_range()) return report(histogram_text::kDivisor, bins.range());
  if (hist == nullptr) return kSuccess;
  if (!shape(hist, ObjType_PointI32, nBins, op::histogramInt)) return kVectorNotShaped;

  auto* points = elements<PointI32>(*hist);
  const int32_t width = bins.width();
  for (int32_t i = 0; i < nBins; ++i) points[i] = {wrap_add(lo, wrap_multiply(i, width)), 0};
  const EvenChannel channel{points, nBins, lo, hi};
  const bool use_primitive = VlixOptimGetLevel() != 0 && image->type != ObjType_S8;
  // A primitive that fails has been reported; the result is computed all the same. Kept on purpose.
  if (!use_primitive || count_even(*image, &channel, 1) != kSuccess) count_plain(*image, bins, points);
  if (cumulative != 0) accumulate(points, nBins);
  return kSuccess;
}
