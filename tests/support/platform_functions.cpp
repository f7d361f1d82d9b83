// SPDX-License-Identifier: Apache-2.0
// The platform's C functions as the test program defines them: record, fail if asked to, else forward.

#include <dlfcn.h>

#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <type_traits>

#include "support/heap_watch.h"
#include "support/recording_platform.h"
#include "vlix/object.h"
#include "vlix/optim.h"
#include "vlix/util.h"
#include "vlix/xform.h"

namespace {

using vlix::test::HeapWatch;
using vlix::test::RecordingPlatform;
using vlix::test::Report;

template <class Function>
Function* real(const char* name) {
  void* symbol = dlsym(RTLD_NEXT, name);
  if (symbol == nullptr) {
    std::fprintf(stderr, "no platform function %s behind the test program\n", name);
    std::abort();
  }
  return reinterpret_cast<Function*>(symbol);
}

struct TypeCode {
  int32_t code;
};

template <class T>
void render(std::ostream& out, const RecordingPlatform& platform, const T& value) {
  if constexpr (std::is_same_v<T, VlixSize>) {
    out << value.width << "x" << value.height;
  } else if constexpr (std::is_same_v<T, TypeCode>) {
    out << VlixObjGetName(value.code);
  } else if constexpr (std::is_same_v<T, const char*>) {
    out << '"' << (value == nullptr ? "" : value) << '"';
  } else if constexpr (std::is_same_v<T, VlixPixelRoutine>) {
    out << "routine";
  } else if constexpr (std::is_pointer_v<T>) {
    out << platform.render(value);
  } else if constexpr (std::is_same_v<T, uint8_t>) {
    out << int{value};
  } else {
    out << value;
  }
}

template <class... Arguments>
std::string render_all(const RecordingPlatform& platform, const Arguments&... arguments) {
  std::ostringstream out;
  const char* separator = "";
  ((out << separator, render(out, platform, arguments), separator = ", "), ...);
  return out.str();
}

// Records and forwards one call. `failure` is what a planned failure returns unless the test gave a value.
template <class Result, class Forward, class... Arguments>
Result watch(const char* name, Result failure, Forward&& forward, const Arguments&... arguments) {
  RecordingPlatform* platform = RecordingPlatform::recording();
  const HeapWatch::Suspend suspend;
  if (platform == nullptr) return forward();
  platform->record_call(name, render_all(*platform, arguments...));
  if (const auto planned = platform->take_failure(name)) {
    if constexpr (std::is_same_v<Result, int32_t>) {
      return planned->value_or(failure);
    } else {
      return failure;
    }
  }
  return forward();
}

constexpr int32_t kFailed = -8;
constexpr int32_t kNotShaped = 7;

template <class Record>
void note_buffer(const char* maker, const Record* record) {
  if (RecordingPlatform* platform = RecordingPlatform::recording(); platform != nullptr && record != nullptr) {
    const HeapWatch::Suspend suspend;
    platform->note_buffer(record->data, maker);
  }
}

template <class Record>
void note_release(const Record* record) {
  if (RecordingPlatform* platform = RecordingPlatform::recording(); platform != nullptr && record != nullptr) {
    const HeapWatch::Suspend suspend;
    platform->note_release(record->data);
  }
}

std::string format_message(const char* text, va_list arguments) {
  char buffer[VLIX_REPORT_TEXT_SIZE];
  std::vsnprintf(buffer, sizeof(buffer), text, arguments);
  return buffer;
}

}  // namespace

#define FORWARD(name, ...)                               \
  [&] {                                                  \
    static auto* function = real<decltype(name)>(#name); \
    return function(__VA_ARGS__);                        \
  }

extern "C" {

int32_t VlixObjGetSize(int32_t type) { return FORWARD(VlixObjGetSize, type)(); }
int32_t VlixObjGetSizeBits(int32_t type) { return FORWARD(VlixObjGetSizeBits, type)(); }
const char* VlixObjGetName(int32_t type) { return FORWARD(VlixObjGetName, type)(); }

int32_t VlixObjCheckEqList(int32_t type, int32_t n, ...) {
  RecordingPlatform* platform = RecordingPlatform::recording();
  const HeapWatch::Suspend suspend;
  std::ostringstream codes;
  int32_t found = 0;
  va_list arguments;
  va_start(arguments, n);
  for (int32_t i = 0; i < n; ++i) {
    const int32_t code = va_arg(arguments, int32_t);
    codes << ", " << code;
    if (code == type) found = 1;
  }
  va_end(arguments);
  if (platform == nullptr) return found;
  platform->record_call("VlixObjCheckEqList", std::to_string(type) + ", " + std::to_string(n) + codes.str());
  if (const auto planned = platform->take_failure("VlixObjCheckEqList")) return planned->value_or(0);
  return found;
}

int32_t VlixOpStatus(int32_t level, int32_t kind, const char* text, ...) {
  RecordingPlatform* platform = RecordingPlatform::recording();
  const HeapWatch::Suspend suspend;
  va_list arguments;
  va_start(arguments, text);
  std::string argument;
  if (kind == VlixStatusKind_OutOfMemory) {
    argument = std::to_string(va_arg(arguments, int64_t));
  } else if (kind == VlixStatusKind_UnsupportedType) {
    argument = va_arg(arguments, const char*);
  } else if (platform != nullptr && platform->integer_ranges && std::string(text).find("%g..%g") != std::string::npos) {
    const int32_t lo = va_arg(arguments, int32_t);
    const int32_t hi = va_arg(arguments, int32_t);
    argument = std::to_string(lo) + ".." + std::to_string(hi);
  } else {
    argument = format_message(text, arguments);
  }
  va_end(arguments);
  if (platform != nullptr) {
    platform->record_report({kind, text, level == 1 ? argument : "level is not 1"});
    return platform->report_result;
  }
  static auto* function = real<decltype(VlixOpStatus)>("VlixOpStatus");
  switch (kind) {
    case VlixStatusKind_OutOfMemory: return function(level, kind, text, std::stoll(argument));
    case VlixStatusKind_UnsupportedType: return function(level, kind, text, argument.c_str());
    default: return function(level, kind, "%s", argument.c_str());
  }
}

int32_t VlixOptimGetLevel() {
  RecordingPlatform* platform = RecordingPlatform::recording();
  const HeapWatch::Suspend suspend;
  if (platform != nullptr) {
    platform->record_call("VlixOptimGetLevel", "");
    if (platform->level) return *platform->level;
  }
  return FORWARD(VlixOptimGetLevel)();
}

int32_t VlixImageAlloc(VlixImage* image, int32_t type, int32_t width, int32_t height) {
  const int32_t result = watch("VlixImageAlloc", kFailed, FORWARD(VlixImageAlloc, image, type, width, height), image,
                               TypeCode{type}, width, height);
  if (result >= 0) note_buffer("VlixImageAlloc", image);
  return result;
}

void VlixImageRelease(VlixImage* image, int32_t flag) {
  note_release(image);
  watch(
      "VlixImageRelease", 0, [&] { return FORWARD(VlixImageRelease, image, flag)(), 0; }, image, flag);
}

int32_t VlixImageTryUseReservedMem(VlixImage* image, int32_t type, int32_t width, int32_t height,
                                   const char* operation) {
  const RecordingPlatform* platform = RecordingPlatform::recording();
  const auto margins = platform == nullptr ? RecordingPlatform::Margins() : platform->output_margins;
  const auto forward = [&] {
    const int32_t shaped_width = margins.left + width + margins.right;
    const int32_t shaped_height = margins.top + height + margins.bottom;
    const int32_t failed = FORWARD(VlixImageTryUseReservedMem, image, type, shaped_width, shaped_height, operation)();
    if (failed == 0) VlixImageSetRoi(image, margins.left, margins.top, width, height);
    return failed;
  };
  const int32_t result =
      watch("VlixImageTryUseReservedMem", kNotShaped, forward, image, TypeCode{type}, width, height, operation);
  if (result == 0) note_buffer("VlixImageTryUseReservedMem", image);
  return result;
}

int32_t VlixVectorAlloc(VlixVector* vector, int32_t type, int32_t count) {
  const int32_t result =
      watch("VlixVectorAlloc", kFailed, FORWARD(VlixVectorAlloc, vector, type, count), vector, TypeCode{type}, count);
  if (result >= 0) note_buffer("VlixVectorAlloc", vector);
  return result;
}

void VlixVectorRelease(VlixVector* vector, int32_t flag) {
  note_release(vector);
  watch(
      "VlixVectorRelease", 0, [&] { return FORWARD(VlixVectorRelease, vector, flag)(), 0; }, vector, flag);
}

int32_t VlixVectorResize(VlixVector* vector, int32_t count) {
  return watch("VlixVectorResize", kFailed, FORWARD(VlixVectorResize, vector, count), vector, count);
}

int32_t VlixVectorCopy(const VlixVector* from, VlixVector* to) {
  const int32_t result = watch("VlixVectorCopy", 0, FORWARD(VlixVectorCopy, from, to), from, to);
  if (result != 0) note_buffer("VlixVectorCopy", to);
  return result;
}

int32_t VlixVectorTryUseReservedMem(VlixVector* vector, int32_t type, int32_t count, const char* operation) {
  const int32_t result = watch("VlixVectorTryUseReservedMem", kNotShaped,
                               FORWARD(VlixVectorTryUseReservedMem, vector, type, count, operation), vector,
                               TypeCode{type}, count, operation);
  if (result == 0) note_buffer("VlixVectorTryUseReservedMem", vector);
  return result;
}

#define HISTOGRAM_EVEN(suffix, Pixel)                                                                              \
  int32_t vlix_ippiHistogramEven_##suffix(const Pixel* src, int32_t step, VlixSize size, int32_t* counts,          \
                                          int32_t* levels, int32_t nLevels, int32_t lower, int32_t upper) {        \
    return watch("vlix_ippiHistogramEven_" #suffix, kFailed,                                                       \
                 FORWARD(vlix_ippiHistogramEven_##suffix, src, step, size, counts, levels, nLevels, lower, upper), \
                 src, step, size, counts, levels, nLevels, lower, upper);                                          \
  }
HISTOGRAM_EVEN(8u_C1R, uint8_t)
HISTOGRAM_EVEN(16u_C1R, uint16_t)
HISTOGRAM_EVEN(16s_C1R, int16_t)

int32_t vlix_ippiHistogramEven_8u_AC4R(const uint8_t* src, int32_t step, VlixSize size, int32_t** counts,
                                       int32_t** levels, int32_t* nLevels, int32_t* lower, int32_t* upper) {
  const std::string text = [&] {
    const HeapWatch::Suspend suspend;
    std::ostringstream channels;
    for (int c = 0; c < 3; ++c) channels << "[" << nLevels[c] << " " << lower[c] << " " << upper[c] << "]";
    return channels.str();
  }();
  return watch("vlix_ippiHistogramEven_8u_AC4R", kFailed,
               FORWARD(vlix_ippiHistogramEven_8u_AC4R, src, step, size, counts, levels, nLevels, lower, upper), src,
               step, size, text);
}

#define MEAN_STDDEV(suffix, Pixel)                                                                           \
  int32_t vlix_ippiMean_StdDev_##suffix(const Pixel* src, int32_t step, VlixSize size, double* mean,         \
                                        double* deviation) {                                                 \
    return watch("vlix_ippiMean_StdDev_" #suffix, kFailed,                                                   \
                 FORWARD(vlix_ippiMean_StdDev_##suffix, src, step, size, mean, deviation), src, step, size); \
  }
MEAN_STDDEV(8u_C1R, uint8_t)
MEAN_STDDEV(8s_C1R, int8_t)
MEAN_STDDEV(32f_C1R, float)

#define MIN_MAX(suffix, Pixel)                                                                                      \
  int32_t vlix_ippiMinMax_##suffix(const Pixel* src, int32_t step, VlixSize size, Pixel* min, Pixel* max) {         \
    return watch("vlix_ippiMinMax_" #suffix, kFailed, FORWARD(vlix_ippiMinMax_##suffix, src, step, size, min, max), \
                 src, step, size);                                                                                  \
  }
MIN_MAX(8u_C1R, uint8_t)
MIN_MAX(32f_C1R, float)

int32_t vlix_ippiCountInRange_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, int32_t* count, uint8_t lower,
                                     uint8_t upper) {
  return watch("vlix_ippiCountInRange_8u_C1R", kFailed,
               FORWARD(vlix_ippiCountInRange_8u_C1R, src, step, size, count, lower, upper), src, step, size, lower,
               upper);
}

#define CROSS_CORR(suffix, Pixel)                                                                                      \
  int32_t vlix_ippiCrossCorrValid_NormLevel_##suffix(const Pixel* src, int32_t step, VlixSize size, const Pixel* tpl,  \
                                                     int32_t tplStep, VlixSize tplSize, float* dst, int32_t dstStep) { \
    return watch(                                                                                                      \
        "vlix_ippiCrossCorrValid_NormLevel_" #suffix, kFailed,                                                         \
        FORWARD(vlix_ippiCrossCorrValid_NormLevel_##suffix, src, step, size, tpl, tplStep, tplSize, dst, dstStep),     \
        src, step, size, tpl, tplStep, tplSize, dst, dstStep);                                                         \
  }
CROSS_CORR(8u32f_C1R, uint8_t)
CROSS_CORR(8s32f_C1R, int8_t)
CROSS_CORR(16u32f_C1R, uint16_t)
CROSS_CORR(32f_C1R, float)

int32_t vlix_ippiAbsDiff_8u_C1R(const uint8_t* a, int32_t aStep, const uint8_t* b, int32_t bStep, uint8_t* dst,
                                int32_t dstStep, VlixSize size) {
  return watch("vlix_ippiAbsDiff_8u_C1R", kFailed,
               FORWARD(vlix_ippiAbsDiff_8u_C1R, a, aStep, b, bStep, dst, dstStep, size), a, aStep, b, bStep, dst,
               dstStep, size);
}

int32_t vlix_ippiSum_8u_C1R(const uint8_t* src, int32_t step, VlixSize size, double* sum) {
  return watch("vlix_ippiSum_8u_C1R", kFailed, FORWARD(vlix_ippiSum_8u_C1R, src, step, size, sum), src, step, size);
}

uint8_t* vlix_ippsMalloc_8u(int32_t bytes) {
  uint8_t* memory =
      watch("vlix_ippsMalloc_8u", static_cast<uint8_t*>(nullptr), FORWARD(vlix_ippsMalloc_8u, bytes), bytes);
  if (RecordingPlatform* platform = RecordingPlatform::recording()) {
    const HeapWatch::Suspend suspend;
    platform->note_buffer(memory, "vlix_ippsMalloc_8u");
  }
  return memory;
}

void vlix_ippsFree(void* memory) {
  if (RecordingPlatform* platform = RecordingPlatform::recording()) {
    const HeapWatch::Suspend suspend;
    platform->note_release(memory);
  }
  watch(
      "vlix_ippsFree", 0, [&] { return FORWARD(vlix_ippsFree, memory)(), 0; }, memory);
}

int32_t VlixUtilComputeHistogram(const VlixImage* image, VlixVector* hist, int32_t flag, int32_t nBins, float lo,
                                 float hi) {
  const int32_t result =
      watch("VlixUtilComputeHistogram", 0, FORWARD(VlixUtilComputeHistogram, image, hist, flag, nBins, lo, hi), image,
            hist, flag, nBins, lo, hi);
  if (result != 0) note_buffer("VlixUtilComputeHistogram", hist);
  return result;
}

int32_t VlixUtilCastImage(const VlixImage* from, VlixImage* to, int32_t kind, int32_t mode) {
  const int32_t result =
      watch("VlixUtilCastImage", kFailed, FORWARD(VlixUtilCastImage, from, to, kind, mode), from, to, kind, mode);
  if (result == 0) note_buffer("VlixUtilCastImage", to);
  return result;
}

int32_t VlixUtilScanRoi(void* context, void* region, VlixPixelRoutine routine) {
  const RecordingPlatform* platform = RecordingPlatform::recording();
  const auto forward = [&] {
    if (platform != nullptr && platform->scan_roi) return platform->scan_roi(context, region, routine);
    return FORWARD(VlixUtilScanRoi, context, region, routine)();
  };
  return watch("VlixUtilScanRoi", kFailed, forward, context, region, routine);
}

int32_t VlixUtilRasterizeRoi(void* context, void* shape, VlixPixelRoutine routine) {
  const RecordingPlatform* platform = RecordingPlatform::recording();
  const auto forward = [&] {
    if (platform != nullptr && platform->rasterize_roi) return platform->rasterize_roi(context, shape, routine);
    return FORWARD(VlixUtilRasterizeRoi, context, shape, routine)();
  };
  return watch("VlixUtilRasterizeRoi", kFailed, forward, context, shape, routine);
}

int32_t vlix_fft(const VlixImage* from, VlixImage* to, int32_t direction, int32_t reserved, int32_t realOutput) {
  const RecordingPlatform* platform = RecordingPlatform::recording();
  const auto forward = [&] {
    if (platform != nullptr && platform->fft) return platform->fft(from, to, direction, reserved, realOutput);
    return FORWARD(vlix_fft, from, to, direction, reserved, realOutput)();
  };
  const int32_t result = watch("vlix_fft", kFailed, forward, from, to, direction, reserved, realOutput);
  if (result == 0) note_buffer("vlix_fft", to);
  return result;
}
}
