// SPDX-License-Identifier: Apache-2.0
#include "optim/value_counts.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "optim/value_counts.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "optim/heap_table.h"
#include "optim/part-inl.h"

HWY_BEFORE_NAMESPACE();
namespace vlix::optim::HWY_NAMESPACE {

static_assert(std::endian::native == std::endian::little);

// The processor finishes about one increment in a cycle, and fewer where an increment waits for the one before it on
// the same counter.

// The counting loops are so slow beside the memory that the processor's own prefetch stops at the end of each page;
// with this distance the cost of a pixel stays the same from 512 x 512 to 5000 x 5000 (without it: 1.3 times).
constexpr std::size_t kPrefetchBytes = 2048;

// Neighbours go to different tables, so that equal ones do not wait for each other.
class SubTables {
 public:
  void add(const uint8_t* bytes, std::size_t count) {
    std::size_t i = 0;
    for (; i + 8 <= count; i += 8) {
      uint64_t eight;
      std::memcpy(&eight, bytes + i, sizeof(eight));
      for (int k = 0; k < 8; ++k) ++tables_[k % kTables][(eight >> (8 * k)) & 0xFF];
    }
    for (; i < count; ++i) ++tables_[0][bytes[i]];
  }
  void store(uint32_t* counts) const {
    for (std::size_t v = 0; v < kByteValues; ++v) {
      counts[v] = (tables_[0][v] + tables_[1][v]) + (tables_[2][v] + tables_[3][v]);
    }
  }

 private:
  static constexpr int kTables = 4;
  ByteCounts tables_[kTables] = {};
};

// Adds the counts of pairs (second << 8 | first) to those of their members.
void add_members(const uint32_t* pairs, uint32_t* first, uint32_t* second) {
  ByteCounts columns = {};
  for (std::size_t high = 0; high < kByteValues; ++high) {
    const uint32_t* row = pairs + high * kByteValues;
    uint32_t sum = 0;
    for (std::size_t low = 0; low < kByteValues; ++low) {
      sum += row[low];
      columns[low] += row[low];
    }
    second[high] += sum;
  }
  for (std::size_t low = 0; low < kByteValues; ++low) first[low] += columns[low];
}

HWY_INLINE uint16_t pair_at(const void* bytes) {
  uint16_t pair;
  std::memcpy(&pair, bytes, sizeof(pair));
  return pair;
}

// One increment counts two neighbours. Eight-bit counters of pairs, all in the first-level cache, lost (0.5x): each
// increment must look for a carry.
class PairTable {
 public:
  explicit PairTable(uint32_t* pairs) : pairs_(pairs) {}
  void add(const uint8_t* bytes, std::size_t count) {
    std::size_t i = 0;
    for (; i + 32 <= count; i += 32) {
      hwy::Prefetch(bytes + i + kPrefetchBytes);
      for (std::size_t k = 0; k < 32; k += 2) ++pairs_[pair_at(bytes + i + k)];
    }
    for (; i + 2 <= count; i += 2) ++pairs_[pair_at(bytes + i)];
    if (i < count) ++single_[bytes[i]];
  }
  void store(uint32_t* counts) {
    std::copy(single_, single_ + kByteValues, counts);
    add_members(pairs_, counts, counts);
  }

 private:
  uint32_t* pairs_;
  ByteCounts single_ = {};
};

template <class Counter>
void count_rows(Counter counter, Rows<const uint8_t> rows, uint32_t* counts) {
  for (std::size_t y = 0; y < rows.height; ++y) counter.add(rows.row(y), rows.width);
  counter.store(counts);
}

// The bins of some values, in any order. Values outside get bins too, which must be taken off again: each lane counts
// them in a bin of its own, since increments of one common bin would wait for each other (0.3x).
constexpr std::size_t kMappedPixels = 2048;
constexpr std::size_t kMappedLanes = hn::MaxLanes(hn::ScalableTag<uint16_t>());
struct MappedBins {
  HWY_ALIGN uint8_t bins[kMappedPixels];
  HWY_ALIGN uint16_t outside[kMappedLanes];  // values that got the lane's number
  std::size_t count;                         // of bins, at least the number of values
};

#if HWY_TARGET == HWY_SCALAR

void map(const uint16_t* values, std::size_t count, const WordBins& bins, MappedBins& mapped) {
  uint16_t outside = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const auto from_first = static_cast<uint16_t>(values[i] - bins.first);
    const bool inside = from_first <= bins.span;
    const uint32_t dividend = inside ? uint32_t{from_first} + bins.offset : 0;
    const uint32_t high = (dividend * bins.multiplier) >> 16;
    mapped.bins[i] = static_cast<uint8_t>((high + ((dividend - high) >> bins.shift_before)) >> bins.shift_after);
    outside = static_cast<uint16_t>(outside + !inside);
  }
  mapped.count = count;
  mapped.outside[0] = outside;
}

#else

// Two vectors of 16-bit values become one of bytes.
class Mapper {
 public:
  using D = hn::ScalableTag<uint16_t>;
  using V = hn::Vec<D>;

  explicit Mapper(const WordBins& bins)
      : bins_(bins),
        first_(hn::Set(D(), bins.first)),
        span_(hn::Set(D(), bins.span)),
        offset_(hn::Set(D(), bins.offset)),
        multiplier_(hn::Set(D(), bins.multiplier)),
        lane_(hn::Iota(D(), 0)),
        outside_(hn::Zero(D())) {}

  HWY_INLINE V bin_pairs(V a, V b) { return hn::Or(bins_of(a), hn::ShiftLeft<8>(bins_of(b))); }
  V outside() const { return outside_; }

 private:
  HWY_INLINE V bins_of(V values) {
    const V one = hn::Set(D(), 1);
    const V from_first = hn::Sub(values, first_);
    const V is_outside = hn::Min(hn::SaturatedSub(from_first, span_), one);
    outside_ = hn::Add(outside_, is_outside);
    const V inside = hn::Sub(is_outside, one);  // all ones, 0 outside
    const V dividend = hn::And(hn::Add(from_first, offset_), inside);
    const V high = hn::MulHigh(dividend, multiplier_);
    const V rest = hn::ShiftRightSame(hn::Sub(dividend, high), bins_.shift_before);
    return hn::Or(hn::ShiftRightSame(hn::Add(high, rest), bins_.shift_after), hn::AndNot(inside, lane_));
  }

  WordBins bins_;
  V first_, span_, offset_, multiplier_, lane_;
  V outside_;  // at most kMappedPixels in a lane
};

void map(const uint16_t* values, std::size_t count, const WordBins& bins, MappedBins& mapped) {
  const Mapper::D d;
  const hn::Repartition<uint8_t, Mapper::D> d8;
  const std::size_t lanes = hn::Lanes(d);
  static_assert(kMappedPixels % (2 * hn::MaxLanes(Mapper::D())) == 0);
  Mapper mapper(bins);
  std::size_t i = 0;
  const auto store = [&](Mapper::V a, Mapper::V b) HWY_ATTR {
    hn::Store(hn::BitCast(d8, mapper.bin_pairs(a, b)), d8, mapped.bins + i);
    i += 2 * lanes;
  };
  while (i + 2 * lanes <= count) {
    hwy::Prefetch(values + i + kMappedPixels);
    hwy::Prefetch(values + i + kMappedPixels + lanes);
    store(hn::LoadU(d, values + i), hn::LoadU(d, values + i + lanes));
  }
  const std::size_t rest = count - i;
  // Lanes behind the end hold the first value inside, whose bin is 0.
  if (rest > 0) {
    const auto a = load_part(d, values + i, std::min(rest, lanes), bins.first);
    store(a, rest > lanes ? load_part(d, values + i + lanes, rest - lanes, bins.first) : hn::Set(d, bins.first));
  }
  mapped.count = i;
  hn::Store(mapper.outside(), d, mapped.outside);
}

#endif

template <class Counter>
void count_mapped(Counter counter, Rows<const uint16_t> rows, const WordBins& bins, uint32_t* counts) {
  MappedBins mapped;
  uint32_t surplus[kMappedLanes] = {};
  for (std::size_t y = 0; y < rows.height; ++y) {
    const uint16_t* row = rows.row(y);
    for (std::size_t x = 0; x < rows.width; x += kMappedPixels) {
      const std::size_t count = std::min(rows.width - x, kMappedPixels);
      map(row + x, count, bins, mapped);
      counter.add(mapped.bins, mapped.count);
      for (std::size_t lane = 0; lane < kMappedLanes; ++lane) surplus[lane] += mapped.outside[lane];
      surplus[0] += static_cast<uint32_t>(mapped.count - count);
    }
  }
  counter.store(counts);
  for (std::size_t lane = 0; lane < kMappedLanes; ++lane) counts[lane] -= surplus[lane];
}

// Channels 0 and 1 of a pixel are one pair. Pairs of neighbours within each of the three channels lost (0.6x): their
// tables leave the second-level cache.
void count_colour_pairs(Rows<const ColourPixel> rows, uint32_t* pairs, ByteCounts* counts) {
  ByteCounts third[2] = {};
  for (std::size_t y = 0; y < rows.height; ++y) {
    const ColourPixel* row = rows.row(y);
    std::size_t x = 0;
    for (; x + 4 <= rows.width; x += 4) {
      hwy::Prefetch(row + x + kPrefetchBytes / sizeof(ColourPixel));
      for (std::size_t k = 0; k < 4; ++k) {
        ++pairs[pair_at(row + x + k)];
        ++third[k % 2][row[x + k].channel[2]];
      }
    }
    for (; x < rows.width; ++x) {
      ++pairs[pair_at(row + x)];
      ++third[0][row[x].channel[2]];
    }
  }
  std::fill(counts[0], counts[2], 0u);
  add_members(pairs, counts[0], counts[1]);
  for (std::size_t v = 0; v < kByteValues; ++v) counts[2][v] = third[0][v] + third[1][v];
}

void count_colour_tables(Rows<const ColourPixel> rows, ByteCounts* counts) {
  ByteCounts tables[2][3] = {};
  for (std::size_t y = 0; y < rows.height; ++y) {
    const ColourPixel* row = rows.row(y);
    std::size_t x = 0;
    for (; x + 2 <= rows.width; x += 2) {
      uint64_t two;
      std::memcpy(&two, row + x, sizeof(two));
      for (std::size_t c = 0; c < 3; ++c) {
        ++tables[0][c][(two >> (8 * c)) & 0xFF];
        ++tables[1][c][(two >> (32 + 8 * c)) & 0xFF];
      }
    }
    if (x < rows.width) {
      for (std::size_t c = 0; c < 3; ++c) ++tables[0][c][row[x].channel[c]];
    }
  }
  for (std::size_t c = 0; c < 3; ++c) {
    for (std::size_t v = 0; v < kByteValues; ++v) counts[c][v] = tables[0][c][v] + tables[1][c][v];
  }
}

// `pairs` is a table of zeros, or null.
void bytes(Rows<const uint8_t> rows, uint32_t* pairs, uint32_t* counts) {
  if (pairs != nullptr) return count_rows(PairTable(pairs), rows, counts);
  count_rows(SubTables(), rows, counts);
}

void word_bins(Rows<const uint16_t> rows, const WordBins& bins, uint32_t* pairs, uint32_t* counts) {
  if (pairs != nullptr) return count_mapped(PairTable(pairs), rows, bins, counts);
  count_mapped(SubTables(), rows, bins, counts);
}

void channels(Rows<const ColourPixel> rows, uint32_t* pairs, ByteCounts* counts) {
  if (pairs != nullptr) return count_colour_pairs(rows, pairs, counts);
  count_colour_tables(rows, counts);
}

}  // namespace vlix::optim::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace vlix::optim {
namespace {

HWY_EXPORT(bytes);
HWY_EXPORT(word_bins);
HWY_EXPORT(channels);

// Clearing and folding the table of pairs takes what it saves on some 30000 (colour) or 40000 pixels.
HeapTable pair_table_for(std::size_t pixels) {
  constexpr std::size_t kFewest = 40000;
  return pixels < kFewest ? HeapTable() : zeroed_table(kByteValues * kByteValues);
}

}  // namespace

WordBins::WordBins(uint16_t first_value, uint16_t span_of_values, uint16_t offset_in_bin, uint32_t width)
    : first(first_value), span(span_of_values), offset(offset_in_bin) {
  // Wider bins than 2^16 give 0 for every dividend as this one does.
  const uint32_t divisor = std::min<uint32_t>(width, kWordValues);
  const auto bits = static_cast<int>(std::bit_width(divisor - 1));
  multiplier = static_cast<uint16_t>(kWordValues * ((uint64_t{1} << bits) - divisor) / divisor + 1);
  shift_before = std::min(bits, 1);
  shift_after = std::max(bits - 1, 0);
}

void count_bytes(Rows<const uint8_t> rows, ByteCounts& counts) {
  const HeapTable pairs = pair_table_for(rows.count());
  HWY_DYNAMIC_DISPATCH(bytes)(rows, pairs.get(), counts);
}

void count_word_bins(Rows<const uint16_t> rows, const WordBins& bins, ByteCounts& counts) {
  const HeapTable pairs = pair_table_for(rows.count());
  HWY_DYNAMIC_DISPATCH(word_bins)(rows, bins, pairs.get(), counts);
}

void count_channels(Rows<const ColourPixel> rows, ByteCounts (&counts)[3]) {
  const HeapTable pairs = pair_table_for(rows.count());
  HWY_DYNAMIC_DISPATCH(channels)(rows, pairs.get(), counts);
}

void count_words(Rows<const uint16_t> rows, uint32_t* counts) {
  std::fill(counts, counts + kWordValues, 0u);
  for (std::size_t y = 0; y < rows.height; ++y) {
    const uint16_t* row = rows.row(y);
    for (std::size_t x = 0; x < rows.width; ++x) ++counts[row[x]];
  }
}

}  // namespace vlix::optim
#endif
