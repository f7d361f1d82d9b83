// SPDX-License-Identifier: Apache-2.0
#include "trial.h"

#include <algorithm>

#include "vlix/object.h"

namespace vlix::fuzz {
namespace {

constexpr const char* kFallible[] = {"VlixObjCheckEqList",
                                     "VlixImageAlloc",
                                     "VlixImageTryUseReservedMem",
                                     "VlixVectorAlloc",
                                     "VlixVectorResize",
                                     "VlixVectorCopy",
                                     "VlixVectorTryUseReservedMem",
                                     "vlix_ippiHistogramEven_8u_C1R",
                                     "vlix_ippiHistogramEven_16u_C1R",
                                     "vlix_ippiHistogramEven_16s_C1R",
                                     "vlix_ippiHistogramEven_8u_AC4R",
                                     "vlix_ippiMean_StdDev_8u_C1R",
                                     "vlix_ippiMean_StdDev_8s_C1R",
                                     "vlix_ippiMean_StdDev_32f_C1R",
                                     "vlix_ippiMinMax_8u_C1R",
                                     "vlix_ippiMinMax_32f_C1R",
                                     "vlix_ippiCountInRange_8u_C1R",
                                     "vlix_ippiCrossCorrValid_NormLevel_8u32f_C1R",
                                     "vlix_ippiCrossCorrValid_NormLevel_8s32f_C1R",
                                     "vlix_ippiCrossCorrValid_NormLevel_16u32f_C1R",
                                     "vlix_ippiCrossCorrValid_NormLevel_32f_C1R",
                                     "vlix_ippiAbsDiff_8u_C1R",
                                     "vlix_ippiSum_8u_C1R",
                                     "vlix_ippsMalloc_8u",
                                     "VlixUtilComputeHistogram",
                                     "VlixUtilCastImage",
                                     "VlixUtilScanRoi",
                                     "VlixUtilRasterizeRoi",
                                     "vlix_fft"};

// What the recording platform's shaping functions fail with.
constexpr VlixStatus kNotShaped = 7;
// What exports return without a report.
constexpr VlixStatus kFailedSilently = 1;

constexpr uint8_t kFiller = 0xA5;

template <class Record>
void forget(RecordingPlatform& platform, const std::vector<const Record*>& records) {
  for (const Record* record : records) platform.note_release(record->data);
}

}  // namespace

Trial::Trial(Bytes& bytes, RecordingPlatform& platform) : platform_(platform) {
  auto& margins = platform.output_margins;
  if (bytes.rarely(3)) margins = {bytes.integer(0, 3), bytes.integer(0, 3), bytes.integer(0, 3), bytes.integer(0, 3)};
  if (!bytes.rarely(6)) return;
  if (bytes.rarely(4)) {
    failing_allocation_ = bytes.integer(1, 4);
    if (RecordingPlatform::heap_is_watched()) platform.fail_heap(failing_allocation_);
    return;
  }
  const auto last = static_cast<int32_t>(std::size(kFallible)) - 1;
  platform.fail(kFallible[bytes.integer(0, last)], bytes.integer(1, 3));
}

Trial::~Trial() {
  for (const auto& [data, maker] : platform_.buffers()) {
    VlixVector record = {ObjType_U8, const_cast<void*>(data), 0, 0};
    VlixVectorRelease(&record, 0);
  }
}

bool Trial::heap_failed() const {
  return failing_allocation_ > 0 && RecordingPlatform::heap_is_watched() &&
         platform_.heap_requests().size() >= static_cast<std::size_t>(failing_allocation_);
}

void Trial::check_leaks() {
  forget(platform_, vectors_);
  forget(platform_, images_);
  if (RecordingPlatform::heap_is_watched()) FUZZ_CHECK(platform_.heap_live() == 0);
  const auto live = static_cast<int>(platform_.buffers().size());
  FUZZ_CHECK(is_disturbed() ? live <= kept_ : live == kept_);
}

void Trial::check_disturbed() {
  if (status_ == 0) return;
  const bool reported = status_ == platform_.report_result && !platform_.reports().empty();
  FUZZ_CHECK(reported || status_ == kNotShaped || status_ == kFailedSilently);
}

bool Trial::succeeds(const std::vector<Report>& expected) {
  check_leaks();
  if (is_disturbed()) {
    check_disturbed();
    return status_ == 0 && expected.empty();
  }
  FUZZ_CHECK(platform_.reports() == expected);
  FUZZ_CHECK(status_ == (expected.empty() ? 0 : platform_.report_result));
  return expected.empty();
}

void Trial::fails_silently() {
  check_leaks();
  FUZZ_CHECK(status_ != 0);
  if (!is_disturbed()) FUZZ_CHECK(platform_.reports().empty());
}

AnyVector::AnyVector(Bytes& bytes, Trial& trial, std::initializer_list<ObjType> types, int32_t rarity_of_null)
    : wanted(!bytes.rarely(rarity_of_null)) {
  trial.owns(&record);
  if (!bytes.rarely(3)) return;
  FUZZ_CHECK(VlixVectorAlloc(&record, bytes.pick(types), bytes.integer(0, 200)) == 0);
  std::memset(record.data, kFiller,
              static_cast<std::size_t>(record.count * VlixObjGetSize(static_cast<int32_t>(record.type))));
}

AnyImage::AnyImage(Bytes& bytes, Trial& trial, ObjType type, int32_t width, int32_t height, int32_t rarity_of_null)
    : wanted(!bytes.rarely(rarity_of_null)) {
  trial.owns(&record);
  const auto margins = trial.platform().output_margins;
  if (!bytes.rarely(3) || width < 1 || height < 1) return;
  FUZZ_CHECK(
      VlixImageAlloc(&record, type, margins.left + width + margins.right, margins.top + height + margins.bottom) == 0);
  std::memset(record.data, kFiller,
              static_cast<std::size_t>(record.width * record.height * VlixObjGetSize(static_cast<int32_t>(type))));
  before_ = record.data;
}

bool AnyImage::margins_are_untouched() const {
  if (before_ == nullptr || record.data != before_) return true;
  const int32_t size = VlixObjGetSize(static_cast<int32_t>(record.type));
  const auto* byte = static_cast<const uint8_t*>(record.data);
  for (int32_t y = 0; y < record.height; ++y) {
    const bool outside_row = y < record.roiY || y >= record.roiY + record.roiHeight;
    for (int32_t x = 0; x < record.width; ++x, byte += size) {
      if (!outside_row && x >= record.roiX && x < record.roiX + record.roiWidth) continue;
      if (!std::all_of(byte, byte + size, [](uint8_t b) { return b == kFiller; })) return false;
    }
  }
  return true;
}

}  // namespace vlix::fuzz
