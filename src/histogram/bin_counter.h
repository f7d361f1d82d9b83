// SPDX-License-Identifier: Apache-2.0
// Counting of small numbers. Several tables are counted side by side, so that equal neighbours do not wait for one
// another's increment.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vlix {

// How often each byte occurs; correct up to 2^32 - 1 bytes.
class ByteCounter {
 public:
  void count(const uint8_t* bytes, int32_t n) {
    int32_t i = 0;
    for (; i + 8 <= n; i += 8) {
      uint64_t word;
      std::memcpy(&word, bytes + i, sizeof(word));
      for (int byte = 0; byte < 8; ++byte) ++tables_[byte % kTables][word >> (8 * byte) & 0xFF];
    }
    for (; i < n; ++i) ++tables_[0][bytes[i]];
  }

  // Calls add(byte, how often) for each byte that occurred.
  template <class Add>
  void for_each(Add&& add) const {
    for (int byte = 0; byte < 256; ++byte) {
      const uint32_t sum = tables_[0][byte] + tables_[1][byte] + tables_[2][byte] + tables_[3][byte];
      if (sum != 0) add(static_cast<uint8_t>(byte), sum);
    }
  }

 private:
  static constexpr int kTables = 4;
  uint32_t tables_[kTables][256] = {};
};

// How often each of the slots 0 .. slots - 1 occurs; correct up to 2^32 - 1 of them.
class SlotCounter {
 public:
  static constexpr int32_t kMostSlots = 1024;

  explicit SlotCounter(int32_t slots) {
    for (auto& table : tables_) std::memset(table, 0, static_cast<std::size_t>(slots) * sizeof(uint32_t));
  }

  void count(const uint32_t* slots, int32_t n) {
    int32_t i = 0;
    for (; i + kTables <= n; i += kTables) {
      for (int k = 0; k < kTables; ++k) ++tables_[k][slots[i + k]];
    }
    for (; i < n; ++i) ++tables_[0][slots[i]];
  }

  // Calls add(slot, how often) for each slot below `end` that occurred.
  template <class Add>
  void for_each(int32_t end, Add&& add) const {
    for (int32_t slot = 0; slot < end; ++slot) {
      const uint32_t sum = tables_[0][slot] + tables_[1][slot] + tables_[2][slot] + tables_[3][slot];
      if (sum != 0) add(slot, sum);
    }
  }

 private:
  static constexpr int kTables = 4;
  uint32_t tables_[kTables][kMostSlots];
};

}  // namespace vlix
