// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/mman.h>

#include "support/test_image.h"
#include "vlix/util.h"

namespace vlix::test {
namespace {

// 65536 x 65537 pixels are more than 2^32. Untouched pages all read as the one page of zeros.
template <class Pixel>
void expect_exact_count() {
#if defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the thread sanitizer keeps four bytes and more for every byte that is read";
#endif
  constexpr int32_t kWidth = 65536;
  constexpr int32_t kHeight = 65537;
  const std::size_t bytes = std::size_t{kWidth} * kHeight * sizeof(Pixel);
  void* const zeros = mmap(nullptr, bytes, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (zeros == MAP_FAILED) GTEST_SKIP() << "no address space for " << bytes << " bytes";
  madvise(zeros, bytes, MADV_HUGEPAGE);  // fewer page faults, where there are large pages
  const VlixImage image = {code_of<Pixel>(), zeros, kWidth, kHeight, 0, 0, kWidth, kHeight};
  OutputVector hist;
  EXPECT_NE(VlixUtilComputeHistogram(&image, &hist.record, 0, 4, 0, 100), 0);
  EXPECT_EQ(hist.values<PointF32>().at(0).y, 65537.0f * 65536.0f);
  munmap(zeros, bytes);
}

TEST(UtilHistogram, MoreThan2To32BytesDoNotWrap) { expect_exact_count<uint8_t>(); }
TEST(UtilHistogram, MoreThan2To32WordsDoNotWrap) { expect_exact_count<uint16_t>(); }

}  // namespace
}  // namespace vlix::test
