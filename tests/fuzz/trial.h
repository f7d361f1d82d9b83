// SPDX-License-Identifier: Apache-2.0
// One call of an export: its outputs, the failures planned for it, and what every call has to keep to.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "bytes.h"
#include "support/recording_platform.h"
#include "vlix/meas.h"

namespace vlix::fuzz {

using test::RecordingPlatform;
using test::Report;

// Messages, as reports compare.
inline Report message(const std::string& format, const std::string& text) { return {100, format, text}; }
inline Report message(const std::string& text) { return {100, text, text}; }
inline Report wrong_type(const std::string& operation, uint32_t type) {
  return {1, operation, VlixObjGetName(static_cast<int32_t>(type))};
}

class Trial {
 public:
  // Now and then plans that a platform function or a heap allocation fails.
  Trial(Bytes& bytes, RecordingPlatform& platform);
  Trial(const Trial&) = delete;
  Trial& operator=(const Trial&) = delete;
  // Gives back what the call kept.
  ~Trial();

  RecordingPlatform& platform() { return platform_; }
  int32_t level() const { return *platform_.level; }

  // The buffers of these records are the caller's: no leaks.
  void owns(const VlixVector* record) { vectors_.push_back(record); }
  void owns(const VlixImage* record) { images_.push_back(record); }
  // Buffers that the call is to leave behind.
  void keeps(int buffers) { kept_ = buffers; }

  template <class Function, class... Arguments>
  VlixStatus call(Function function, Arguments... arguments) {
    status_ = platform_.call(function, arguments...);
    return status_;
  }
  VlixStatus status() const { return status_; }

  // A planned failure has come due.
  bool is_disturbed() const { return platform_.failures_taken() > 0 || heap_failed(); }
  bool heap_failed() const;

  // Checks result, reports and what is left behind. True when the outputs have to be right. A disturbed call may have
  // failed with a report or with the result of the call that failed, or another path delivers the same outputs.
  bool succeeds(const std::vector<Report>& expected);
  // The same for a call that has to fail without a report.
  void fails_silently();

 private:
  void check_leaks();
  void check_disturbed();

  RecordingPlatform& platform_;
  std::vector<const VlixVector*> vectors_;
  std::vector<const VlixImage*> images_;
  int failing_allocation_ = 0;
  int kept_ = 0;
  VlixStatus status_ = 0;
};

// An output vector: left out, empty, or with memory of its own.
class AnyVector {
 public:
  AnyVector(Bytes& bytes, Trial& trial, std::initializer_list<ObjType> types, int32_t rarity_of_null = 8);
  AnyVector(const AnyVector&) = delete;
  AnyVector& operator=(const AnyVector&) = delete;
  ~AnyVector() { VlixVectorRelease(&record, 0); }

  VlixVector* pointer() { return wanted ? &record : nullptr; }
  template <class Element>
  bool holds(ObjType type, const std::vector<Element>& expected) const;
  template <class Element>
  std::vector<Element> values() const {
    const auto* first = static_cast<const Element*>(record.data);
    return std::vector<Element>(first, first + record.count);
  }

  bool wanted;
  VlixVector record = {};
};

template <class Element>
bool AnyVector::holds(ObjType type, const std::vector<Element>& expected) const {
  if (record.type != static_cast<uint32_t>(type) || record.count != static_cast<int32_t>(expected.size())) return false;
  const auto* first = static_cast<const Element*>(record.data);
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if constexpr (requires { first->x; }) {
      if (!same(first[i].x, expected[i].x) || !same(first[i].y, expected[i].y)) return false;
    } else {
      if (!same(first[i], expected[i])) return false;
    }
  }
  return true;
}

// An output image: left out, empty, or with memory of its own; the platform may shape it wider than asked for. What
// lies around its region stays as it was.
class AnyImage {
 public:
  AnyImage(Bytes& bytes, Trial& trial, ObjType type, int32_t width, int32_t height, int32_t rarity_of_null = 8);
  AnyImage(const AnyImage&) = delete;
  AnyImage& operator=(const AnyImage&) = delete;
  ~AnyImage() { VlixImageRelease(&record, 0); }

  VlixImage* pointer() { return wanted ? &record : nullptr; }
  template <class Pixel>
  bool holds(ObjType type, int32_t width, int32_t height, const std::vector<Pixel>& expected) const;
  template <class Pixel>
  Pixel at(int32_t x, int32_t y) const {
    return static_cast<const Pixel*>(
        record.data)[static_cast<std::ptrdiff_t>(record.roiY + y) * record.width + record.roiX + x];
  }
  bool is_shaped(ObjType type, int32_t width, int32_t height) const {
    return record.type == static_cast<uint32_t>(type) && record.roiWidth == width && record.roiHeight == height;
  }
  // Every byte outside of the region, where the memory is still the one handed in.
  bool margins_are_untouched() const;

  bool wanted;
  VlixImage record = {};

 private:
  const void* before_ = nullptr;
};

template <class Pixel>
bool AnyImage::holds(ObjType type, int32_t width, int32_t height, const std::vector<Pixel>& expected) const {
  if (!is_shaped(type, width, height) || !margins_are_untouched()) return false;
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      if (!same(
              at<Pixel>(x, y),
              expected[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)])) {
        return false;
      }
    }
  }
  return true;
}

// Each family builds one call of one of its exports, makes it through the platform, and compares result, reports and
// outputs with what its twins expect.
void call_vector_family(Bytes& bytes, RecordingPlatform& platform);
void call_histogram_family(Bytes& bytes, RecordingPlatform& platform);
void call_bins_family(Bytes& bytes, RecordingPlatform& platform);
void call_stats_family(Bytes& bytes, RecordingPlatform& platform);
void call_match_family(Bytes& bytes, RecordingPlatform& platform);
void call_projection_family(Bytes& bytes, RecordingPlatform& platform);
void call_path_family(Bytes& bytes, RecordingPlatform& platform);
void call_fit_family(Bytes& bytes, RecordingPlatform& platform);

}  // namespace vlix::fuzz
