// SPDX-License-Identifier: Apache-2.0
// Memory that ends (and, a page earlier, begins) at a protected page: reading or writing past its end faults.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

namespace vlix::test {

class GuardedMemory {
 public:
  explicit GuardedMemory(std::size_t bytes) : bytes_(bytes) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t body = (bytes + page - 1) / page * page;
    mapped_ = body + 2 * page;
    base_ = static_cast<char*>(mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    if (base_ == MAP_FAILED) throw std::bad_alloc();
    if (body > 0 && mprotect(base_ + page, body, PROT_READ | PROT_WRITE) != 0) throw std::bad_alloc();
    data_ = base_ + page + (body - bytes);
  }
  GuardedMemory(GuardedMemory&& other) noexcept
      : bytes_(other.bytes_), mapped_(other.mapped_), base_(std::exchange(other.base_, nullptr)), data_(other.data_) {}
  ~GuardedMemory() {
    if (base_ != nullptr) munmap(base_, mapped_);
  }
  GuardedMemory(const GuardedMemory&) = delete;
  GuardedMemory& operator=(const GuardedMemory&) = delete;

  // Unaligned to more than the byte count allows: the end is what matters.
  void* data() const { return data_; }
  std::size_t bytes() const { return bytes_; }

 private:
  std::size_t bytes_;
  std::size_t mapped_;
  char* base_;
  char* data_;
};

}  // namespace vlix::test
