// SPDX-License-Identifier: Apache-2.0
#include "support/heap_watch.h"

#include <cerrno>
#include <cstdlib>
#include <unordered_set>
#include <utility>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VLIX_TEST_HEAP 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#define VLIX_TEST_HEAP 0
#endif
#endif
#ifndef VLIX_TEST_HEAP
#define VLIX_TEST_HEAP 1
#endif

namespace vlix::test {
namespace {

thread_local bool t_enabled = false;
thread_local int t_fail_countdown = 0;

struct State {
  std::vector<std::size_t> requests;
  std::unordered_set<void*> live;
};

// Not destroyed with the thread: frees may come later.
State& state() {
  thread_local State* s = new State();
  return *s;
}

}  // namespace

// A memory checker that a program runs under may put its own functions in front of the ones below.
bool HeapWatch::available() {
  static const bool sees_allocations = [] {
    if (VLIX_TEST_HEAP == 0) return false;
    const Suspend suspend;
    State kept = std::move(state());
    const int countdown = std::exchange(t_fail_countdown, 0);
    state() = {};
    enable();
    void* volatile block = std::malloc(40);
    disable();
    const bool seen = !requests().empty();
    std::free(block);
    state() = std::move(kept);
    t_fail_countdown = countdown;
    return seen;
  }();
  return sees_allocations;
}
void HeapWatch::enable() {
  state();
  t_enabled = true;
}
void HeapWatch::disable() { t_enabled = false; }
bool HeapWatch::enabled() { return t_enabled; }
void HeapWatch::reset() {
  const Suspend suspend;
  state() = {};
  t_fail_countdown = 0;
}
void HeapWatch::fail_nth(int nth) { t_fail_countdown = nth; }
const std::vector<std::size_t>& HeapWatch::requests() { return state().requests; }
int64_t HeapWatch::live() { return static_cast<int64_t>(state().live.size()); }

HeapWatch::Suspend::Suspend() : was_(t_enabled) { t_enabled = false; }
HeapWatch::Suspend::~Suspend() { t_enabled = was_; }

#if VLIX_TEST_HEAP
namespace {

// True when this allocation is the one that has to fail.
bool fails_now() { return t_enabled && t_fail_countdown > 0 && --t_fail_countdown == 0; }

void* note(void* block, std::size_t bytes) {
  if (t_enabled) {
    const HeapWatch::Suspend suspend;
    state().requests.push_back(bytes);
    if (block != nullptr) state().live.insert(block);
  }
  return block;
}

void* refuse(std::size_t bytes) {
  note(nullptr, bytes);
  errno = ENOMEM;
  return nullptr;
}

}  // namespace
#endif

}  // namespace vlix::test

#if VLIX_TEST_HEAP
extern "C" {

void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t bytes) {
  if (vlix::test::fails_now()) return vlix::test::refuse(bytes);
  return vlix::test::note(__libc_malloc(bytes), bytes);
}

void* calloc(std::size_t count, std::size_t size) {
  if (vlix::test::fails_now()) return vlix::test::refuse(count * size);
  return vlix::test::note(__libc_calloc(count, size), count * size);
}

void* realloc(void* block, std::size_t bytes) {
  if (vlix::test::fails_now()) return vlix::test::refuse(bytes);
  void* moved = __libc_realloc(block, bytes);
  if (vlix::test::t_enabled && moved != nullptr) {
    const vlix::test::HeapWatch::Suspend suspend;
    vlix::test::state().live.erase(block);
  }
  return vlix::test::note(moved, bytes);
}

void free(void* block) {
  if (vlix::test::t_enabled && block != nullptr) {
    const vlix::test::HeapWatch::Suspend suspend;
    vlix::test::state().live.erase(block);
  }
  __libc_free(block);
}
}
#endif
