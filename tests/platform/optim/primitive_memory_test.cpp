// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "vlix/optim.h"

namespace vlix::test {
namespace {

TEST(IppsMalloc8u, BlocksAreAlignedDistinctAndWritableToTheEnd) {
  std::vector<uint8_t*> blocks;
  for (const int32_t bytes : {1, 63, 64, 65, 1000, 1000000}) {
    uint8_t* block = vlix_ippsMalloc_8u(bytes);
    ASSERT_NE(block, nullptr) << bytes;
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 64, 0u) << bytes;
    std::memset(block, static_cast<int>(blocks.size()), static_cast<std::size_t>(bytes));
    blocks.push_back(block);
  }
  for (std::size_t i = 0; i < blocks.size(); ++i) {
    EXPECT_EQ(blocks[i][0], i);
    vlix_ippsFree(blocks[i]);
  }
}

TEST(IppsMalloc8u, NoBytesAreNoBlock) {
  EXPECT_EQ(vlix_ippsMalloc_8u(0), nullptr);
  EXPECT_EQ(vlix_ippsMalloc_8u(-1), nullptr);
  EXPECT_EQ(vlix_ippsMalloc_8u(std::numeric_limits<int32_t>::min()), nullptr);
}

TEST(IppsMalloc8u, LargestRequestDoesNotWrap) {
  uint8_t* block = vlix_ippsMalloc_8u(std::numeric_limits<int32_t>::max());
  if (block == nullptr) GTEST_SKIP() << "no 2 GiB here";
  block[std::numeric_limits<int32_t>::max() - 1] = 1;
  vlix_ippsFree(block);
}

TEST(IppsFree, NullIsIgnored) { vlix_ippsFree(nullptr); }

}  // namespace
}  // namespace vlix::test
