// SPDX-License-Identifier: Apache-2.0
// Failures go out through the status channel of the object library; its value is what the export returns.
#pragma once

#include <cstdint>

#include "vlix/object.h"
#include "vlix/types.h"

namespace vlix {

inline constexpr VlixStatus kSuccess = 0;
// An output vector could not be obtained; the object library has reported it.
inline constexpr VlixStatus kVectorNotShaped = 1;

// Operation names of reports and of requests for output buffers.
namespace op {
inline constexpr const char* vectorDiff = "vectorDiff";
inline constexpr const char* histogram = "histogram";
inline constexpr const char* histogramInt = "histogramInt";
inline constexpr const char* histRoi = "histRoi";
inline constexpr const char* histPeaks = "histPeaks";
inline constexpr const char* smoothHist = "smoothHist";
inline constexpr const char* stats = "stats";
inline constexpr const char* countPix = "countPix";
inline constexpr const char* variance = "variance";
inline constexpr const char* background = "background";
inline constexpr const char* nxcorr = "nxcorr";
inline constexpr const char* sod = "sod";
inline constexpr const char* xCorr = "xCorr";
inline constexpr const char* crossCorr = "crossCorr";
inline constexpr const char* projection = "projection";
inline constexpr const char* projectionInt = "projectionInt";
inline constexpr const char* samplePath = "samplePath";
inline constexpr const char* linearRegression = "linearRegression";
inline constexpr const char* circularRegression = "circularRegression";
}  // namespace op

inline constexpr int32_t kErrorLevel = 1;

[[gnu::cold]] inline VlixStatus report_memory(const char* operation, int64_t bytes) {
  return VlixOpStatus(kErrorLevel, VlixStatusKind_OutOfMemory, operation, bytes);
}

[[gnu::cold]] inline VlixStatus report_type(const char* operation, uint32_t type) {
  return VlixOpStatus(kErrorLevel, VlixStatusKind_UnsupportedType, operation,
                      VlixObjGetName(static_cast<int32_t>(type)));
}

template <class... Arguments>
[[gnu::cold]] VlixStatus report(const char* format, Arguments... arguments) {
  return VlixOpStatus(kErrorLevel, VlixStatusKind_Message, format, arguments...);
}

}  // namespace vlix
