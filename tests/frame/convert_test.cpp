// SPDX-License-Identifier: Apache-2.0
#include "frame/convert.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace vlix {
namespace {

constexpr int32_t kIndefinite = std::numeric_limits<int32_t>::min();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(TruncateToInt32, GoesTowardZero) {
  EXPECT_EQ(truncate_to_int32(2.9), 2);
  EXPECT_EQ(truncate_to_int32(-2.9), -2);
  EXPECT_EQ(truncate_to_int32(2.9f), 2);
  EXPECT_EQ(truncate_to_int32(-2.9f), -2);
  EXPECT_EQ(truncate_to_int32(-0.0), 0);
}

TEST(TruncateToInt32, WholeRangeOfDoublesFits) {
  EXPECT_EQ(truncate_to_int32(2147483647.0), 2147483647);
  EXPECT_EQ(truncate_to_int32(2147483647.999), 2147483647);
  EXPECT_EQ(truncate_to_int32(-2147483648.0), kIndefinite);
  EXPECT_EQ(truncate_to_int32(-2147483648.999), kIndefinite);
  EXPECT_EQ(truncate_to_int32(-2147483647.5), -2147483647);
}

TEST(TruncateToInt32, WhatDoesNotFitIsTheIndefiniteValue) {
  for (double value : {2147483648.0, -2147483649.0, 1e300, -1e300, kInfinity, -kInfinity, std::nan("")}) {
    EXPECT_EQ(truncate_to_int32(value), kIndefinite) << value;
    EXPECT_EQ(truncate_to_int32(static_cast<float>(value)), kIndefinite) << value;
  }
  EXPECT_EQ(truncate_to_int32(std::nextafterf(2147483648.0f, 0.0f)), 2147483520);
}

}  // namespace
}  // namespace vlix
