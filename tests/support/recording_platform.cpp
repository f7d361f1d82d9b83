// SPDX-License-Identifier: Apache-2.0
#include "support/recording_platform.h"

#include <algorithm>
#include <atomic>
#include <ostream>

#include "support/heap_watch.h"

namespace vlix::test {
namespace {

std::atomic<RecordingPlatform*> g_instance = nullptr;
thread_local RecordingPlatform* t_recording = nullptr;

}  // namespace

std::ostream& operator<<(std::ostream& out, const Report& report) {
  return out << "{kind " << report.kind << ", \"" << report.text << "\", \"" << report.argument << "\"}";
}

RecordingPlatform::RecordingPlatform() {
  if (g_instance.exchange(this) != nullptr) std::abort();
  HeapWatch::reset();
}

RecordingPlatform::~RecordingPlatform() { g_instance = nullptr; }

RecordingPlatform::Scope::Scope(RecordingPlatform& platform) {
  t_recording = &platform;
  HeapWatch::enable();
}

RecordingPlatform::Scope::~Scope() {
  HeapWatch::disable();
  t_recording = nullptr;
}

RecordingPlatform* RecordingPlatform::recording() { return HeapWatch::enabled() ? t_recording : nullptr; }

void RecordingPlatform::name(const void* p, std::size_t bytes, std::string text) {
  names_.push_back({static_cast<const char*>(p), bytes, std::move(text)});
}

std::string RecordingPlatform::render(const void* p) const {
  if (p == nullptr) return "null";
  const char* address = static_cast<const char*>(p);
  // The latest name wins, so that a reused address is not mistaken for what stood there before.
  for (auto name = names_.rbegin(); name != names_.rend(); ++name) {
    if (address < name->begin || address >= name->begin + std::max<std::size_t>(name->bytes, 1)) continue;
    const auto offset = address - name->begin;
    return offset == 0 ? name->text : name->text + "+" + std::to_string(offset);
  }
  return "?";
}

void RecordingPlatform::fail(const std::string& function, int nth, std::optional<int32_t> result) {
  failures_[function].push_back({nth, result});
}

void RecordingPlatform::fail_heap(int nth) { HeapWatch::fail_nth(nth); }

bool RecordingPlatform::heap_is_watched() { return HeapWatch::available(); }

const std::vector<std::size_t>& RecordingPlatform::heap_requests() const { return HeapWatch::requests(); }

int64_t RecordingPlatform::heap_live() const { return HeapWatch::live(); }

void RecordingPlatform::record_call(const std::string& function, const std::string& arguments) {
  calls_.push_back(function + "(" + arguments + ")");
}

std::vector<std::string> RecordingPlatform::calls_of(const std::string& function) const {
  std::vector<std::string> found;
  std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(found),
               [&](const std::string& call) { return call.rfind(function + "(", 0) == 0; });
  return found;
}

std::optional<std::optional<int32_t>> RecordingPlatform::take_failure(const std::string& function) {
  auto planned = failures_.find(function);
  if (planned == failures_.end()) return {};
  std::optional<std::optional<int32_t>> due;
  auto& list = planned->second;
  for (Failure& failure : list) {
    if (--failure.countdown == 0) due = failure.result;
  }
  if (due) ++failures_taken_;
  std::erase_if(list, [](const Failure& failure) { return failure.countdown <= 0; });
  return due;
}

void RecordingPlatform::note_buffer(const void* data, const std::string& maker) {
  if (data != nullptr) buffers_[data] = maker;
}

void RecordingPlatform::note_release(const void* data) { buffers_.erase(data); }

std::vector<std::string> RecordingPlatform::live_buffers() const {
  std::vector<std::string> makers;
  for (const auto& [data, maker] : buffers_) makers.push_back(maker);
  std::sort(makers.begin(), makers.end());
  return makers;
}

void RecordingPlatform::clear() {
  calls_.clear();
  reports_.clear();
  calls_before_reports_.clear();
  failures_.clear();
  failures_taken_ = 0;
  buffers_.clear();
  HeapWatch::reset();
}

}  // namespace vlix::test
