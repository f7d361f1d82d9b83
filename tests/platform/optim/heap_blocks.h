// SPDX-License-Identifier: Apache-2.0
// The primitives' use of the C heap.
#pragma once

#include <gtest/gtest.h>

#include "support/heap_watch.h"

namespace vlix::test {

// The number of heap blocks that a call asks for while the nth one fails; none is left behind.
template <class Call>
std::size_t blocks_asked(int failing, Call call) {
  HeapWatch::reset();
  HeapWatch::fail_nth(failing);
  HeapWatch::enable();
  const int32_t status = call();
  HeapWatch::disable();
  EXPECT_EQ(status, 0);
  EXPECT_EQ(HeapWatch::live(), 0);
  for (const std::size_t bytes : HeapWatch::requests()) EXPECT_LE(bytes, std::size_t{512} * 1024);
  return HeapWatch::requests().size();
}

}  // namespace vlix::test
