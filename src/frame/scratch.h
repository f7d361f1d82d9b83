// SPDX-License-Identifier: Apache-2.0
// Temporaries that are given back on every path. A release that must not happen is written out: leak().
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "vlix/object.h"

namespace vlix {

// An array of plain numbers from the C heap.
template <class T>
class HeapArray {
 public:
  HeapArray() = default;
  static HeapArray uninitialised(std::size_t count) { return HeapArray(std::malloc(count * sizeof(T))); }
  static HeapArray zeroed(std::size_t count) { return HeapArray(std::calloc(count, sizeof(T))); }

  HeapArray(HeapArray&& other) noexcept : data_(std::exchange(other.data_, nullptr)) {}
  HeapArray& operator=(HeapArray&& other) noexcept {
    std::swap(data_, other.data_);
    return *this;
  }
  ~HeapArray() { std::free(data_); }

  explicit operator bool() const { return data_ != nullptr; }
  T* get() const { return data_; }
  T& operator[](std::size_t i) const { return data_[i]; }

 private:
  explicit HeapArray(void* data) : data_(static_cast<T*>(data)) {}
  T* data_ = nullptr;
};

// A temporary image. Empty until a platform function has filled the record.
class ScratchImage {
 public:
  ScratchImage() = default;
  ScratchImage(const ScratchImage&) = delete;
  ScratchImage& operator=(const ScratchImage&) = delete;
  ~ScratchImage() { release(); }

  VlixImage* record() { return &record_; }
  const VlixImage& operator*() const { return record_; }
  const VlixImage* operator->() const { return &record_; }

  // The record now holds a buffer of ours.
  void own() { owned_ = true; }
  void release() {
    if (std::exchange(owned_, false)) VlixImageRelease(&record_, kTemporary);
  }
  // Never released; the caller says why.
  void leak() { owned_ = false; }

 private:
  static constexpr int32_t kTemporary = 1;
  VlixImage record_ = {};
  bool owned_ = false;
};

// A temporary vector; the flag is handed to its release.
class ScratchVector {
 public:
  explicit ScratchVector(int32_t release_flag) : release_flag_(release_flag) {}
  ScratchVector(const ScratchVector&) = delete;
  ScratchVector& operator=(const ScratchVector&) = delete;
  ~ScratchVector() { release(); }

  VlixVector* record() { return &record_; }
  const VlixVector& operator*() const { return record_; }
  const VlixVector* operator->() const { return &record_; }

  void own() { owned_ = true; }
  void release() {
    if (std::exchange(owned_, false)) VlixVectorRelease(&record_, release_flag_);
  }
  void leak() { owned_ = false; }

 private:
  VlixVector record_ = {};
  int32_t release_flag_;
  bool owned_ = false;
};

}  // namespace vlix
