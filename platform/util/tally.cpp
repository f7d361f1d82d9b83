// SPDX-License-Identifier: Apache-2.0
// Bytes are counted by value first, and the few values are put into bins; the bins of 16-bit values are looked up,
// those of floats are computed. Tables of 32-bit counts are emptied into 64-bit totals before they can overflow.

#include "util/tally.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>

#include "util/multiversion.h"

namespace vlix::util {
namespace {

using Totals = std::vector<uint64_t>;
using Table = std::vector<uint32_t>;

// Four tables of 32-bit counts still fit the first-level cache.
constexpr int32_t kFewBins = 2048;

template <class Pixel>
struct Rows {
  const Pixel* first;
  std::ptrdiff_t stride;
  int32_t width;
  int32_t height;

  explicit Rows(const VlixImage& image)
      : first(static_cast<const Pixel*>(image.data) + std::ptrdiff_t{image.roiY} * image.width + image.roiX),
        stride(image.width),
        width(std::max(image.roiWidth, 0)),
        height(std::max(image.roiHeight, 0)) {}

  int64_t pixels() const { return int64_t{width} * height; }

  // Calls row(pixels of a row) for all rows, and flush() after rows that together have less than 2^32 pixels.
  template <class Row, class Flush>
  void each(Row row, Flush flush) const {
    const int64_t rows_at_once = std::numeric_limits<uint32_t>::max() / std::max(int64_t{width}, int64_t{1});
    int64_t until_flush = rows_at_once;
    for (std::ptrdiff_t y = 0; y < height; ++y) {
      row(first + y * stride);
      if (--until_flush > 0) continue;
      flush();
      until_flush = rows_at_once;
    }
    flush();
  }
};

// `tables` holds one or more tables of the totals' size, one behind the other.
void move_to_totals(Table& tables, Totals& totals) {
  for (std::size_t first = 0; first < tables.size(); first += totals.size()) {
    for (std::size_t i = 0; i < totals.size(); ++i) totals[i] += tables[first + i];
  }
  std::fill(tables.begin(), tables.end(), 0);
}

// Four tables: neighbours that are equal do not wait for each other.
Totals count_bytes(const Rows<uint8_t>& rows) {
  Totals totals(256);
  Table tables(4 * 256);
  uint32_t* const t0 = tables.data();
  rows.each(
      [&](const uint8_t* row) {
        int32_t x = 0;
        for (; x + 4 <= rows.width; x += 4) {
          ++t0[row[x]];
          ++t0[256 + row[x + 1]];
          ++t0[512 + row[x + 2]];
          ++t0[768 + row[x + 3]];
        }
        for (; x < rows.width; ++x) ++t0[row[x]];
      },
      [&] { move_to_totals(tables, totals); });
  return totals;
}

// One count per pair of neighbours halves the increments, whose number is the limit.
Totals count_byte_pairs(const Rows<uint8_t>& rows) {
  Totals totals(256);
  Table singles(256);
  Table pairs(65536);
  uint32_t* const p = pairs.data();
  const auto count_row = [&](const uint8_t* row) {
    int32_t x = 0;
    for (; x + 8 <= rows.width; x += 8) {
      uint64_t eight;
      std::memcpy(&eight, row + x, sizeof(eight));
      ++p[eight & 0xffff];
      ++p[eight >> 16 & 0xffff];
      ++p[eight >> 32 & 0xffff];
      ++p[eight >> 48];
    }
    for (; x < rows.width; ++x) ++singles[row[x]];
  };
  const auto flush = [&] {
    move_to_totals(singles, totals);
    for (std::size_t high = 0; high < 256; ++high) {
      uint64_t sum = 0;
      for (std::size_t low = 0; low < 256; ++low) {
        const uint64_t count = p[256 * high + low];
        totals[low] += count;
        sum += count;
      }
      totals[high] += sum;
    }
    std::fill(pairs.begin(), pairs.end(), 0);
  };
  rows.each(count_row, flush);
  return totals;
}

// Pixels outside the range get the index bins.count.
template <class Pixel, Search kSearch>
VLIX_UTIL_MULTIVERSION void find_bins(const Pixel* pixels, int32_t count, const Bins& bins, int32_t* indices) {
  const Bins b = bins;
  const auto lo = static_cast<float>(b.lo);
  const auto hi = static_cast<float>(b.hi);
  for (int32_t x = 0; x < count; ++x) {
    const auto value = static_cast<float>(pixels[x]);
    const bool inside = (value >= lo) & (value <= hi);
    const int32_t index = b.index<kSearch>(inside ? value : lo);
    indices[x] = inside ? index : b.count;
  }
}

template <class Pixel>
using FindBins = void (*)(const Pixel*, int32_t, const Bins&, int32_t*);

template <class Pixel>
FindBins<Pixel> find_bins_of(const Bins& bins) {
  switch (bins.search()) {
    case Search::kFloatQuotient: return find_bins<Pixel, Search::kFloatQuotient>;
    case Search::kDoubleQuotient: return find_bins<Pixel, Search::kDoubleQuotient>;
    case Search::kBisection: return find_bins<Pixel, Search::kBisection>;
  }
  return nullptr;
}

// Every value of an integer type, by its bits.
template <class Pixel>
std::vector<int32_t> bin_of_each_value(const Bins& bins) {
  std::vector<Pixel> values(std::size_t{1} << (8 * sizeof(Pixel)));
  for (std::size_t bits = 0; bits < values.size(); ++bits) values[bits] = static_cast<Pixel>(bits);
  std::vector<int32_t> indices(values.size());
  find_bins_of<Pixel>(bins)(values.data(), static_cast<int32_t>(values.size()), bins, indices.data());
  return indices;
}

// Neighbours count in different tables and do not wait for each other when they are equal. One count more than there
// are bins takes what lies outside.
class FourTables {
 public:
  explicit FourTables(const Bins& bins)
      : size_(static_cast<std::size_t>(bins.count) + 1), totals_(size_), tables_(4 * size_) {}

  // Counts bin_of(0), ... bin_of(n - 1).
  template <class BinOf>
  VLIX_UTIL_INLINE void count(int32_t n, BinOf bin_of) {
    uint32_t* const t = tables_.data();
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) {
      ++t[bin_of(i)];
      ++t[size_ + bin_of(i + 1)];
      ++t[2 * size_ + bin_of(i + 2)];
      ++t[3 * size_ + bin_of(i + 3)];
    }
    for (; i < n; ++i) ++t[bin_of(i)];
  }
  void flush() { move_to_totals(tables_, totals_); }
  Totals take() {
    totals_.pop_back();
    return std::move(totals_);
  }

 private:
  std::size_t size_;
  Totals totals_;
  Table tables_;
};

// Calls use(indices, n) for the pixels of a row, a block at a time.
template <class Pixel, class Use>
void each_block(const Pixel* row, int32_t width, const Bins& bins, FindBins<Pixel> find, Use use) {
  constexpr int32_t kBlock = 1024;
  std::array<int32_t, kBlock> indices;
  for (int32_t x = 0; x < width; x += kBlock) {
    const int32_t n = std::min(kBlock, width - x);
    find(row + x, n, bins, indices.data());
    use(indices.data(), n);
  }
}

template <class Pixel>
Totals count_in_few_bins(const Rows<Pixel>& rows, const Bins& bins) {
  FourTables tables(bins);
  const auto find = find_bins_of<Pixel>(bins);
  const auto count = [&](const int32_t* indices, int32_t n) {
    tables.count(n, [=](int32_t i) { return static_cast<std::size_t>(indices[i]); });
  };
  rows.each([&](const Pixel* row) { each_block(row, rows.width, bins, find, count); }, [&] { tables.flush(); });
  return tables.take();
}

template <class Pixel>
Totals count_in_many_bins(const Rows<Pixel>& rows, const Bins& bins) {
  Totals totals(static_cast<std::size_t>(bins.count) + 1);
  const auto find = find_bins_of<Pixel>(bins);
  const auto count = [&](const int32_t* indices, int32_t n) {
    for (int32_t i = 0; i < n; ++i) ++totals[static_cast<std::size_t>(indices[i])];
  };
  rows.each([&](const Pixel* row) { each_block(row, rows.width, bins, find, count); }, [] {});
  totals.pop_back();
  return totals;
}

// Looks bins up. Indices of 16 bits keep the table in half of the second-level cache.
template <class Pixel>
Totals count_by_lookup(const Rows<Pixel>& rows, const Bins& bins) {
  static_assert(kFewBins < 65536);
  const std::vector<int32_t> bin_of_value = bin_of_each_value<Pixel>(bins);
  const std::vector<uint16_t> narrow(bin_of_value.begin(), bin_of_value.end());
  const uint16_t* const bin_of = narrow.data();
  FourTables tables(bins);
  rows.each(
      [&](const Pixel* row) {
        tables.count(rows.width, [=](int32_t x) { return bin_of[static_cast<uint16_t>(row[x])]; });
      },
      [&] { tables.flush(); });
  return tables.take();
}

// Counts per value, by its bits, become counts per bin.
template <class Pixel>
Totals bins_of_values(const Totals& values, const Bins& bins) {
  Totals totals(static_cast<std::size_t>(bins.count) + 1);
  const std::vector<int32_t> bin_of = bin_of_each_value<Pixel>(bins);
  for (std::size_t bits = 0; bits < values.size(); ++bits)
    totals[static_cast<std::size_t>(bin_of[bits])] += values[bits];
  totals.pop_back();
  return totals;
}

// Up to here one table of totals, into which pixels are put one by one, takes the least.
constexpr int64_t kFewPixels = 64;
// From here on clearing and folding the large tables costs less than they save.
constexpr int64_t kPairsPay = int64_t{1} << 17;
constexpr int64_t kLookupPays = int64_t{1} << 17;

template <class Pixel>
Totals tally_floats(const VlixImage& image, const Bins& bins) {
  const Rows<Pixel> rows(image);
  const bool four_tables = bins.count <= kFewBins && rows.pixels() > kFewPixels;
  return four_tables ? count_in_few_bins(rows, bins) : count_in_many_bins(rows, bins);
}

template <class Pixel>
Totals tally_bytes(const VlixImage& image, const Bins& bins) {
  const Rows<uint8_t> rows(image);
  if (rows.pixels() <= kFewPixels) return count_in_many_bins(Rows<Pixel>(image), bins);
  return bins_of_values<Pixel>(rows.pixels() < kPairsPay ? count_bytes(rows) : count_byte_pairs(rows), bins);
}

template <class Pixel>
Totals tally_words(const VlixImage& image, const Bins& bins) {
  const Rows<Pixel> rows(image);
  const bool lookup = bins.count <= kFewBins && rows.pixels() >= kLookupPays;
  return lookup ? count_by_lookup(rows, bins) : tally_floats<Pixel>(image, bins);
}

using Tally = Totals (*)(const VlixImage&, const Bins&);

Tally tally_of(uint32_t type) noexcept {
  switch (type) {
    case ObjType_U8: return tally_bytes<uint8_t>;
    case ObjType_S8: return tally_bytes<int8_t>;
    case ObjType_U16: return tally_words<uint16_t>;
    case ObjType_S16: return tally_words<int16_t>;
    case ObjType_F32: return tally_floats<float>;
    default: return nullptr;
  }
}

}  // namespace

bool is_countable(uint32_t type) noexcept { return tally_of(type) != nullptr; }

std::vector<uint64_t> tally(const VlixImage& image, const Bins& bins) { return tally_of(image.type)(image, bins); }

}  // namespace vlix::util
