// SPDX-License-Identifier: Apache-2.0
// Integer pixels: a patch's own sums follow from the patch above it, and the products may be added up in floats.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "frame/multiversion.h"
#include "match/nxcorr_scores.h"

namespace vlix {
namespace {

// Placements side by side: four to eight of the widest vectors, enough to keep two adders busy.
template <class Number>
constexpr int32_t kLanes = 256 / static_cast<int32_t>(sizeof(Number));

// Up to here every integer is a float, and a double.
constexpr double kExactFloats = 16777216.0;
constexpr double kExactDoubles = 9007199254740992.0;

constexpr int32_t kNoIntegers = -1;

// The largest magnitude of a region's pixels, kNoIntegers when one of them is no integer of at most 16 bits.
VLIX_MULTIVERSION int32_t largest_integer(Region<const float> region) {
  // Floats without their sign are ordered as their bits are; what is beyond 16 bits ends between two integers.
  constexpr uint32_t kNoSign = 0x7FFFFFFF;
  constexpr auto kBeyond = std::bit_cast<uint32_t>(65535.5f);
  int32_t largest = 0;
  int32_t strange = 0;
  for (int32_t y = 0; y < region.height; ++y) {
    const float* row = region.row(y);
    for (int32_t x = 0; x < region.width; ++x) {
      const auto magnitude = std::bit_cast<float>(std::min(std::bit_cast<uint32_t>(row[x]) & kNoSign, kBeyond));
      const auto integer = static_cast<int32_t>(magnitude);
      strange |= static_cast<int32_t>(static_cast<float>(integer) != magnitude);
      largest = std::max(largest, integer);
    }
  }
  return strange != 0 ? kNoIntegers : largest;
}

// Sums over patches of a template's size, for neighbouring placements.
template <int32_t kCount>
struct PatchSums {
  double sum[kCount] = {};
  double squares[kCount] = {};
};

template <bool kAdd, int32_t kCount>
VLIX_INLINE void change_by_row(const float* row, int32_t width, PatchSums<kCount>& patch) {
  for (int32_t u = 0; u < width; ++u) {
    for (int32_t lane = 0; lane < kCount; ++lane) {
      const double pixel = kAdd ? row[u + lane] : -row[u + lane];
      const double square = double{row[u + lane]} * pixel;
      patch.sum[lane] += pixel;
      patch.squares[lane] += square;
    }
  }
}

// Terms of a sum of products that are added up in Number before they go to a sum in double.
struct Tile {
  int32_t columns;
  int32_t rows;
};

template <class Number>
VLIX_INLINE void add_products(const Region<const float>& target, const Region<const float>& templ, Tile tile, int32_t x,
                              int32_t y, double* products) {
  for (int32_t v0 = 0; v0 < templ.height; v0 += tile.rows) {
    const int32_t rows = std::min(tile.rows, templ.height - v0);
    for (int32_t u0 = 0; u0 < templ.width; u0 += tile.columns) {
      const int32_t columns = std::min(tile.columns, templ.width - u0);
      Number partial[kLanes<Number>] = {};
      for (int32_t v = v0; v < v0 + rows; ++v) {
        const float* patch = target.row(std::ptrdiff_t{y} + v) + x + u0;
        const float* row = templ.row(v) + u0;
        for (int32_t u = 0; u < columns; ++u) {
          const Number weight = row[u];
          for (int32_t lane = 0; lane < kLanes<Number>; ++lane) partial[lane] += Number{patch[u + lane]} * weight;
        }
      }
      for (int32_t lane = 0; lane < kLanes<Number>; ++lane) products[lane] += partial[lane];
    }
  }
}

// A strip of columns of scores, top to bottom.
template <class Number>
VLIX_INLINE void score_strip(const Region<const float>& target, const Region<const float>& templ, Tile tile,
                             const Coefficient& coefficient, int32_t x, const Region<float>& scores) {
  PatchSums<kLanes<Number>> patch;
  for (int32_t v = 0; v < templ.height; ++v) change_by_row<true>(target.row(v) + x, templ.width, patch);
  for (int32_t y = 0; y < scores.height; ++y) {
    if (y > 0) {
      change_by_row<false>(target.row(std::ptrdiff_t{y} - 1) + x, templ.width, patch);
      change_by_row<true>(target.row(std::ptrdiff_t{y} - 1 + templ.height) + x, templ.width, patch);
    }
    double products[kLanes<Number>] = {};
    add_products<Number>(target, templ, tile, x, y, products);
    float* row = scores.row(y) + x;
    for (int32_t lane = 0; lane < kLanes<Number>; ++lane) {
      row[lane] = coefficient.score(patch.sum[lane], patch.squares[lane], products[lane]);
    }
  }
}

// The last strip overlaps the one before it.
template <class Number>
VLIX_MULTIVERSION void score_strips(Region<const float> target, Region<const float> templ, Tile tile,
                                    Coefficient coefficient, Region<float> scores) {
  int32_t x = 0;
  for (; x <= scores.width - kLanes<Number>; x += kLanes<Number>) {
    score_strip<Number>(target, templ, tile, coefficient, x, scores);
  }
  if (x < scores.width) score_strip<Number>(target, templ, tile, coefficient, scores.width - kLanes<Number>, scores);
}

}  // namespace

bool correlate_integers(Region<const float> target, Region<const float> templ, Coefficient coefficient,
                        Region<float> scores) {
  if (scores.width < kLanes<float> || templ.width < 1 || templ.height < 1) return false;
  const double pixel = largest_integer(target);
  const double weight = largest_integer(templ);
  if (pixel < 0.0 || weight < 0.0) return false;
  const double largest = std::max(pixel, weight);
  // Every sum of every order stays below: products of two factors over all of the template.
  if (largest * largest * static_cast<double>(templ.pixels()) > kExactDoubles) return false;

  const double terms = std::floor(kExactFloats / std::max(1.0, pixel * weight));
  constexpr double kWorthIt = 16.0;
  if (terms < kWorthIt) {
    score_strips<double>(target, templ, {templ.width, templ.height}, coefficient, scores);
    return true;
  }
  const auto most = static_cast<int32_t>(terms);
  const int32_t columns = std::min(templ.width, most);
  score_strips<float>(target, templ, {columns, std::min(templ.height, most / columns)}, coefficient, scores);
  return true;
}

}  // namespace vlix
