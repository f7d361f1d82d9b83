// SPDX-License-Identifier: Apache-2.0
// vlix stats and histogram of a photograph, beside what libvips computes and beside two passes in long double.
#include <gmock/gmock.h>

#include "expected.h"
#include "picture.h"
#include "process.h"

namespace {

const std::string kPhotograph = VLIX_SAMPLES "/stairs.png";

// The sums of 8-bit pixels are exact; what is left is the rounding of the result to a float, half a unit in its last
// place: 2^-24 of a value.
void expect_near(const nlohmann::ordered_json& value, double expected) {
  EXPECT_NEAR(value.get<double>(), expected, std::ldexp(expected, -23));
}

template <class Moments>
void expect_moments(const nlohmann::ordered_json& row, const Moments& expected) {
  expect_near(row["mean"], expected.mean);
  expect_near(row["deviation"], expected.deviation);
  EXPECT_EQ(row["min"], expected.min);
  EXPECT_EQ(row["max"], expected.max);
}

TEST(Photograph, StatisticsAgreeWithTwoOtherComputations) {
  const Picture picture = decoded(kPhotograph);
  ASSERT_EQ(picture.channels, 1);
  for (const char* level : {"0", "1", "2"}) {
    const Finished done = vlix({"stats", "--format", "json", "--level", level, kPhotograph});
    ASSERT_EQ(done.exit_code, 0) << done.err;
    const auto row = done.json()[0];
    EXPECT_EQ(row["width"], picture.width);
    EXPECT_EQ(row["height"], picture.height);
    expect_moments(row, moments_of(picture, whole(picture)));
    expect_moments(row, measured(kPhotograph));
  }
}

TEST(Photograph, StatisticsOfARegion) {
  const Finished done = vlix({"stats", "--format", "json", "--roi", "101,57,93,120", kPhotograph});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  expect_moments(done.json()[0], moments_of(decoded(kPhotograph), {101, 57, 93, 120}));
}

TEST(Photograph, HistogramAgreesWithLibvips) {
  const std::vector<double> expected = measured(kPhotograph).histogram;
  const auto bins = vlix({"histogram", "--format", "json", kPhotograph}).json()[0]["bins"];
  ASSERT_EQ(bins.size(), 256U);
  for (std::size_t i = 0; i < 256; ++i) EXPECT_EQ(bins[i]["count"], i < expected.size() ? expected[i] : 0) << i;
}

// As a camera would store it.
TEST(Photograph, JpegAgreesWithWhatLibvipsDecodes) {
  const Folder folder;
  Picture picture = decoded(kPhotograph);
  picture.sample = Sample::kU8;
  const std::string path = folder.write("stairs.jpg", encoded(picture, ".jpg[Q=80]"));
  const Finished done = vlix({"stats", "--format", "json", path});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  expect_moments(done.json()[0], measured(path));
}

}  // namespace
