// SPDX-License-Identifier: Apache-2.0
#include "histogram/roi_counting.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <initializer_list>

#include "frame/convert.h"
#include "frame/multiversion.h"
#include "frame/region.h"
#include "frame/visit.h"
#include "histogram/bin_counter.h"

namespace vlix {
namespace {

// Bin of a sample; `bins` when it is not counted. Comparisons with a sample that is not a number are false.
uint32_t slot_of(const RoiContext& context, float v) {
  if (!(v >= context.lowest && context.highest >= v)) return static_cast<uint32_t>(context.bins);
  const int32_t index = truncate_to_int32(static_cast<double>(v - context.lowest) * context.factor);
  return static_cast<uint32_t>(index >= 0 && index < context.bins ? index : context.bins);
}

template <class Pixel>
void count_pixel(void* user, int32_t x, int32_t y) {
  const RoiContext& context = *static_cast<const RoiContext*>(user);
  const VlixImage& image = *context.image;
  if (x < 0 || y < 0 || x >= image.roiWidth || y >= image.roiHeight) return;
  const auto sample = region_of<const Pixel>(image).row(y)[x];
  const uint32_t slot = slot_of(context, static_cast<float>(sample));
  if (slot < static_cast<uint32_t>(context.bins)) context.points[slot].y += 1.0f;
}

// ---- Many pixels at once ----

// Counting in floats one by one stops here, where adding 1 no longer changes the count.
constexpr uint32_t kFullCount = 1 << 24;

// Counts are whole numbers from 0 to 2^24.
void add_to(PointF32& point, uint32_t count) {
  const uint64_t sum = static_cast<uint64_t>(point.y) + count;
  point.y = static_cast<float>(std::min<uint64_t>(sum, kFullCount));
}

// Rows that are counted before tables of 32-bit counts are emptied.
int32_t band_height(int32_t width) { return std::max(1, (1 << 30) / width); }

// Calls visit(part of the rows) from top to bottom.
template <class Pixel, class Visit>
void for_bands(const Region<const Pixel>& region, Visit&& visit) {
  const int32_t height = band_height(region.width);
  for (int64_t y = 0; y < region.height; y += height) {
    const auto rows = static_cast<int32_t>(std::min<int64_t>(height, region.height - y));
    visit(Region<const Pixel>{region.row(y), region.stride, region.width, rows});
  }
}

template <class Pixel>
void count_bytes(const Region<const Pixel>& region, const RoiContext& context) {
  ByteCounter counter;
  for (int32_t y = 0; y < region.height; ++y) {
    counter.count(reinterpret_cast<const uint8_t*>(region.row(y)), region.width);
  }
  counter.for_each([&](uint8_t byte, uint32_t count) {
    const uint32_t slot = slot_of(context, static_cast<float>(static_cast<Pixel>(byte)));
    if (slot < static_cast<uint32_t>(context.bins)) add_to(context.points[slot], count);
  });
}

constexpr int32_t kBlock = 512;

// Every index of a counted sample fits 32 bits: the product goes from 0 at the lowest sample to this at the highest.
bool indices_fit(const RoiContext& context) {
  const double top = static_cast<double>(context.highest - context.lowest) * context.factor;
  return top >= 0.0 && top < 2147483648.0;
}

// The same slots when indices fit; a sample that is not counted is replaced by the lowest one, so that its conversion
// is defined.
template <class Pixel>
VLIX_MULTIVERSION void slots_of(const Pixel* pixels, int32_t count, const RoiContext& context, uint32_t* slots) {
  const float lowest = context.lowest;
  const float highest = context.highest;
  const double factor = context.factor;
  const int32_t bins = context.bins;
  for (int32_t i = 0; i < count; ++i) {
    const auto v = static_cast<float>(pixels[i]);
    const int32_t inside = -static_cast<int32_t>((v >= lowest) & (highest >= v));
    const auto distance = std::bit_cast<float>(std::bit_cast<int32_t>(v - lowest) & inside);
    const auto index = static_cast<int32_t>(static_cast<double>(distance) * factor);
    slots[i] = static_cast<uint32_t>((std::min(index, bins) & inside) | (bins & ~inside));
  }
}

// Calls visit(slots, count) for all pixels, some at a time.
template <class Pixel, class Visit>
void for_slots(const Region<const Pixel>& region, const RoiContext& context, Visit&& visit) {
  uint32_t slots[kBlock];
  const bool fit = indices_fit(context);
  for (int32_t y = 0; y < region.height; ++y) {
    for (int32_t x = 0, count = 0; x < region.width; x += count) {
      count = std::min(kBlock, region.width - x);
      const Pixel* pixels = region.row(y) + x;
      if (fit) {
        slots_of(pixels, count, context, slots);
      } else {
        for (int32_t i = 0; i < count; ++i) slots[i] = slot_of(context, static_cast<float>(pixels[i]));
      }
      visit(slots, count);
    }
  }
}

template <class Pixel>
void count_slots(const Region<const Pixel>& region, const RoiContext& context) {
  if (context.bins < SlotCounter::kMostSlots) {
    SlotCounter counter(context.bins + 1);
    for_slots(region, context, [&](const uint32_t* slots, int32_t count) { counter.count(slots, count); });
    counter.for_each(context.bins, [&](int32_t slot, uint32_t count) { add_to(context.points[slot], count); });
    return;
  }
  for_slots(region, context, [&](const uint32_t* slots, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
      if (slots[i] < static_cast<uint32_t>(context.bins)) context.points[slots[i]].y += 1.0f;
    }
  });
}

// ---- Rectangles ----

int32_t round_corner(float coordinate) { return truncate_to_int32(std::floor(static_cast<double>(coordinate) + 0.5)); }

// Both ends included.
struct Span {
  int32_t first;
  int32_t last;
  bool is_empty() const { return first > last; }
  int32_t length() const { return last - first + 1; }
};

// Between two corner coordinates, within 0 .. size - 1.
Span clipped_span(float a, float b, int32_t size) {
  const auto [low, high] = std::minmax({round_corner(a), round_corner(b)});
  return {std::max(low, 0), std::min(high, size - 1)};
}

}  // namespace

RoiContext make_roi_context(const VlixImage& image, PointF32* points, int32_t bins, double factor, float lo, float hi) {
  const bool whole = image.type != ObjType_F32;
  const float lowest = whole ? static_cast<float>(truncate_to_int32(lo)) : lo;
  const float highest = whole ? static_cast<float>(truncate_to_int32(hi)) : hi;
  return {factor, lo, hi, points, &image, bins, lowest, highest};
}

VlixPixelRoutine pixel_routine(const VlixImage& image) {
  VlixPixelRoutine routine = nullptr;
  with_pixel_type(image.type, [&]<class Pixel>() { routine = count_pixel<Pixel>; });
  return routine;
}

void count_rectangle(RoiContext& context, const float* corners) {
  const VlixImage& image = *context.image;
  const Span columns = clipped_span(corners[0], corners[2], image.width);
  const Span rows = clipped_span(corners[1], corners[3], image.height);
  if (columns.is_empty() || rows.is_empty() || context.bins < 1) return;
  with_pixel_type(image.type, [&]<class Pixel>() {
    const Region<const Pixel> rectangle{pixel_address<const Pixel>(image, columns.first, rows.first), image.width,
                                        columns.length(), rows.length()};
    for_bands(rectangle, [&](const Region<const Pixel>& band) {
      if constexpr (sizeof(Pixel) == 1) {
        count_bytes(band, context);
      } else {
        count_slots(band, context);
      }
    });
  });
}

}  // namespace vlix
