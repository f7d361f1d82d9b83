// SPDX-License-Identifier: Apache-2.0
// The transforms in recent use.
#pragma once

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

namespace vlix::fourier {

template <class Value>
class RecentLengths {
 public:
  // What `make` gives for this length, now or earlier. Making happens outside of the lock: threads that need different
  // lengths do not wait for each other. May throw what `make` throws.
  template <class Make>
  std::shared_ptr<const Value> get(int32_t length, const Make& make) {
    if (auto found = find(length)) return found;
    std::shared_ptr<const Value> made = make(length);
    if (made == nullptr) return nullptr;
    if (auto found = find(length)) return found;
    const std::lock_guard lock(mutex_);
    entries_.emplace_front(length, made);
    if (entries_.size() > kMost) entries_.pop_back();
    return made;
  }

 private:
  static constexpr std::size_t kMost = 32;

  std::shared_ptr<const Value> find(int32_t length) {
    const std::lock_guard lock(mutex_);
    for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
      if (entry->first != length) continue;
      entries_.splice(entries_.begin(), entries_, entry);
      return entry->second;
    }
    return nullptr;
  }

  std::mutex mutex_;
  std::list<std::pair<int32_t, std::shared_ptr<const Value>>> entries_;
};

}  // namespace vlix::fourier
