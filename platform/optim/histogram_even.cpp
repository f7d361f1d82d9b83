// SPDX-License-Identifier: Apache-2.0
// Histograms of evenly spaced levels.

#include <algorithm>
#include <type_traits>

#include "optim/even_levels.h"
#include "optim/heap_table.h"
#include "optim/rows.h"
#include "optim/value_counts.h"
#include "vlix/optim.h"

namespace vlix::optim {
namespace {

// One histogram that a caller asks for.
struct Request {
  EvenLevels even;
  int32_t* counts;
  int32_t* levels;

  Request(int32_t* counts_out, int32_t* levels_out, int32_t level_count, int32_t lower, int32_t upper)
      : even(level_count, lower, upper), counts(counts_out), levels(levels_out) {}
  bool is_valid() const { return counts != nullptr && levels != nullptr && even.are_valid(); }
  void start() const {
    even.fill(levels);
    std::fill(counts, counts + even.bins, 0);
  }
};

// The low 32 bits, which is all of it in regions of fewer than 2^31 pixels.
int32_t stored(uint32_t count) { return static_cast<int32_t>(count); }

// Counts of bins from counts of values, which lie in the table by their unsigned bits.
template <class Pixel>
void sum_values(const Request& request, const uint32_t* counts_of_values) {
  const EvenLevels& even = request.even;
  const ValueRange covered = covered_values<Pixel>(even);
  if (covered.is_empty()) return;
  const auto count_of = [&](int64_t v) {
    return counts_of_values + static_cast<std::make_unsigned_t<Pixel>>(static_cast<Pixel>(v));
  };
  if (even.range == even.bins) {
    const auto copy = [&](int64_t first, int64_t last) {
      if (first >= last) return;
      std::transform(count_of(first), count_of(first) + (last - first), request.counts + (first - even.lower), stored);
    };
    copy(covered.first, std::min<int64_t>(covered.last, 0));
    copy(std::max<int64_t>(covered.first, 0), covered.last);
    return;
  }
  const int64_t last_bin = even.bin_of(covered.last - 1);
  int64_t v = covered.first;
  for (int64_t bin = even.bin_of(v); bin <= last_bin; ++bin) {
    const int64_t end = std::min<int64_t>(request.levels[bin + 1], covered.last);
    uint32_t sum = 0;
    for (; v < end; ++v) sum += *count_of(v);
    request.counts[bin] = stored(sum);
  }
}

void count(Rows<const uint8_t> rows, const Request& request) {
  ByteCounts values;
  count_bytes(rows, values);
  sum_values<uint8_t>(request, values);
}

// Up to 256 bins of whole width inside the pixel type are counted like bytes.
template <class Pixel>
bool count_as_bytes(Rows<const uint16_t> rows, const Request& request, ValueRange covered) {
  const EvenLevels& even = request.even;
  const int64_t width = even.range / even.bins;
  const int64_t first_bin = even.bin_of(covered.first);
  const int64_t touched = even.bin_of(covered.last - 1) - first_bin + 1;
  const int64_t offset = covered.first - (even.lower + first_bin * width);
  const int64_t span = covered.last - covered.first - 1;
  if (!even.have_whole_width() || touched > static_cast<int64_t>(kByteValues) || offset + span > 0xFFFF) return false;
  const WordBins bins(static_cast<uint16_t>(covered.first), static_cast<uint16_t>(span), static_cast<uint16_t>(offset),
                      static_cast<uint32_t>(width));
  ByteCounts counts;
  count_word_bins(rows, bins, counts);
  std::transform(counts, counts + touched, request.counts + first_bin, stored);
  return true;
}

// Pixel by pixel, without any memory.
template <class Pixel>
void count_directly(Rows<const uint16_t> rows, const Request& request, ValueRange covered) {
  for (std::size_t y = 0; y < rows.height; ++y) {
    const uint16_t* row = rows.row(y);
    for (std::size_t x = 0; x < rows.width; ++x) {
      const int64_t v = static_cast<Pixel>(row[x]);
      if (v < covered.first || v >= covered.last) continue;
      int32_t& bin = request.counts[request.even.bin_of(v)];
      bin = stored(static_cast<uint32_t>(bin) + 1);
    }
  }
}

template <class Pixel>
void count_words_of(Rows<const uint16_t> rows, const Request& request) {
  const ValueRange covered = covered_values<Pixel>(request.even);
  if (covered.is_empty() || count_as_bytes<Pixel>(rows, request, covered)) return;
  // Clearing and folding 65536 counters takes as long as the divisions of some 4000 pixels.
  constexpr std::size_t kFewestForTable = 4096;
  const HeapTable table = rows.count() < kFewestForTable ? HeapTable() : zeroed_table(kWordValues);
  if (table == nullptr) return count_directly<Pixel>(rows, request, covered);
  count_words(rows, table.get());
  sum_values<Pixel>(request, table.get());
}

void count(Rows<const uint16_t> rows, const Request& request) { count_words_of<uint16_t>(rows, request); }

void count(Rows<const int16_t> rows, const Request& request) { count_words_of<int16_t>(unsigned_bits(rows), request); }

template <class Pixel>
int32_t histogram(const Pixel* src, int32_t step, VlixSize size, const Request& request) {
  if (!is_region(src, step, size) || !request.is_valid()) return kRefused;
  request.start();
  count(joined(Rows<const Pixel>(src, step, size)), request);
  return 0;
}

}  // namespace
}  // namespace vlix::optim

int32_t vlix_ippiHistogramEven_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, int32_t* counts, int32_t* levels,
                                      int32_t nLevels, int32_t lower, int32_t upper) {
  return vlix::optim::histogram(src, step, size, {counts, levels, nLevels, lower, upper});
}

int32_t vlix_ippiHistogramEven_16u_C1R(const uint16_t* src, int32_t step, VlixSize size, int32_t* counts,
                                       int32_t* levels, int32_t nLevels, int32_t lower, int32_t upper) {
  return vlix::optim::histogram(src, step, size, {counts, levels, nLevels, lower, upper});
}

int32_t vlix_ippiHistogramEven_16s_C1R(const int16_t* src, int32_t step, VlixSize size, int32_t* counts,
                                       int32_t* levels, int32_t nLevels, int32_t lower, int32_t upper) {
  return vlix::optim::histogram(src, step, size, {counts, levels, nLevels, lower, upper});
}

int32_t vlix_ippiHistogramEven_8u_AC4R(const uint8_t* src, int32_t step, VlixSize size, int32_t** counts,
                                       int32_t** levels, int32_t* nLevels, int32_t* lower, int32_t* upper) {
  using namespace vlix::optim;
  const auto* pixels = reinterpret_cast<const ColourPixel*>(src);
  if (!is_region(pixels, step, size)) return kRefused;
  if (counts == nullptr || levels == nullptr || nLevels == nullptr || lower == nullptr || upper == nullptr) {
    return kRefused;
  }
  const Request requests[3] = {{counts[0], levels[0], nLevels[0], lower[0], upper[0]},
                               {counts[1], levels[1], nLevels[1], lower[1], upper[1]},
                               {counts[2], levels[2], nLevels[2], lower[2], upper[2]}};
  if (!std::all_of(requests, requests + 3, [](const Request& request) { return request.is_valid(); })) return kRefused;
  ByteCounts values[3];
  count_channels(joined(Rows<const ColourPixel>(pixels, step, size)), values);
  for (int c = 0; c < 3; ++c) {
    requests[c].start();
    sum_values<uint8_t>(requests[c], values[c]);
  }
  return 0;
}
