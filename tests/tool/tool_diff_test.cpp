// SPDX-License-Identifier: Apache-2.0
// vlix diff against subtraction by hand.
#include <gmock/gmock.h>

#include <cmath>
#include <map>

#include "picture.h"
#include "process.h"

namespace {

using testing::HasSubstr;

struct Differences {
  double sum = 0, absolute = 0, square = 0, largest = 0;
  std::size_t count = 0;
};

Differences differences(const std::vector<double>& a, const std::vector<double>& b) {
  Differences d;
  d.count = a.size();
  for (std::size_t i = 0; i < a.size(); ++i) {
    const double difference = a[i] - b[i];
    d.sum += difference;
    d.absolute += std::fabs(difference);
    d.square += difference * difference;
    if (std::fabs(difference) > std::fabs(d.largest)) d.largest = difference;
  }
  return d;
}

// Whole numbers below 2^53 in every sum: nothing is rounded but the quotients and the root.
void expect_differences(const Finished& done, const Differences& d) {
  ASSERT_EQ(done.exit_code, 0) << done.err;
  std::map<std::string, nlohmann::ordered_json> rows;
  for (const auto& row : done.json()) rows[row["difference"]] = row;
  ASSERT_EQ(rows.size(), 5U);
  const auto count = static_cast<double>(d.count);
  EXPECT_EQ(rows["sum"]["value"], d.sum);
  EXPECT_EQ(rows["sum"]["per_element"], d.sum / count);
  EXPECT_EQ(rows["absolute sum"]["value"], d.absolute);
  EXPECT_EQ(rows["absolute sum"]["per_element"], d.absolute / count);
  EXPECT_EQ(rows["square sum"]["value"], d.square);
  EXPECT_EQ(rows["square sum"]["per_element"], d.square / count);
  EXPECT_EQ(rows["euclidean"]["value"], std::sqrt(d.square));
  EXPECT_EQ(rows["euclidean"]["per_element"], std::sqrt(d.square / count));
  EXPECT_EQ(rows["largest"]["value"], d.largest);
  EXPECT_TRUE(rows["largest"]["per_element"].is_null());
  EXPECT_EQ(rows["sum"]["elements"], d.count);
}

Picture noisy(Sample sample, int seed, int limit, int channels = 1) {
  return draw_colour(31, 17, sample, channels, [=](int x, int y, int c) { return noise(x, y, seed + c, limit); });
}

TEST(Diff, ImagesOfEqualSizeWhateverTheirTypes) {
  const Folder folder;
  const Picture u8 = noisy(Sample::kU8, 1, 256), u16 = noisy(Sample::kU16, 2, 65536),
                f32 = noisy(Sample::kF32, 3, 1000);
  const std::string a = folder.write("a.png", png(u8)), b = folder.write("b.png", png(u16)),
                    c = folder.write("c.pfm", pfm(f32));
  expect_differences(vlix({"diff", "--format", "json", a, b}), differences(u8.values, u16.values));
  expect_differences(vlix({"diff", "--format", "json", c, a}), differences(f32.values, u8.values));
  expect_differences(vlix({"diff", "--format", "json", a, a}), differences(u8.values, u8.values));
}

TEST(Diff, ColourImagesChannelByChannelWithoutAlpha) {
  const Folder folder;
  const Picture rgb = noisy(Sample::kU8, 1, 256, 3), wide = noisy(Sample::kU16, 5, 65536, 3),
                rgba = noisy(Sample::kU8, 1, 256, 4);
  const std::string a = folder.write("a.png", png(rgb)), b = folder.write("b.png", png(wide)),
                    c = folder.write("c.png", png(rgba));
  expect_differences(vlix({"diff", "--format", "json", a, b}), differences(rgb.values, wide.values));
  expect_differences(vlix({"diff", "--format", "json", a, c}), differences(rgb.values, rgb.values));
}

TEST(Diff, RegionOfBothImages) {
  const Folder folder;
  const Picture a = noisy(Sample::kU8, 1, 256), b = noisy(Sample::kU8, 2, 256);
  std::vector<double> inside_a, inside_b;
  for (int y = 4; y < 14; ++y) {
    for (int x = 3; x < 23; ++x) {
      inside_a.push_back(a.at(x, y));
      inside_b.push_back(b.at(x, y));
    }
  }
  expect_differences(vlix({"diff", "--format", "json", "--roi", "3,4,20,10", folder.write("a.png", png(a)),
                           folder.write("b.png", png(b))}),
                     differences(inside_a, inside_b));
}

TEST(Diff, FilesOfNumbers) {
  const Folder folder;
  const Differences expected = differences({1, -5, 7.5, 4294967295.0}, {2, 5, 7.5, 0});
  const std::string a = folder.write("a.txt", "1\n-5\n\n# a comment\n7.5\n4294967295\n");
  expect_differences(vlix({"diff", "--format", "json", a, folder.write("b.csv", "2,5\r\n7.5,0\r\n")}), expected);
  expect_differences(vlix({"diff", "--format", "json", a, folder.write("c.txt", " 2\t5 \n+7.5\t0e3")}), expected);
  expect_differences(vlix({"diff", "--format", "json", a, folder.write("d.csv", "left;right\n2;5\n7.5;0\n")}),
                     expected);
}

TEST(Diff, OneColumnByNameOrNumber) {
  const Folder folder;
  const std::string a = folder.write("a.csv", "file,value,count\n\"a,b.png\",0,3\n\"a,b.png\",1,9\n");
  const std::string b = folder.write("b.csv", "file,value,count\nc.png,0,5\nc.png,1,5\n");
  const Differences expected = differences({3, 9}, {5, 5});
  expect_differences(vlix({"diff", "--format", "json", "--column", "count", a, b}), expected);
  expect_differences(vlix({"diff", "--format", "json", "--column", "3", a, b}), expected);
}

TEST(Diff, OnlyTheOperationsAskedFor) {
  const Folder folder;
  const std::string a = folder.write("a.txt", "3\n-3\n"), b = folder.write("b.txt", "0\n0\n");
  const auto rows = vlix({"diff", "--format", "json", "--op", "max,sum", a, b}).json();
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0]["difference"], "largest");
  EXPECT_EQ(rows[0]["value"], 3.0);
  EXPECT_EQ(rows[1]["value"], 0.0);
}

void expect_complaint(const std::vector<std::string>& arguments, const std::string& text) {
  const Finished done = vlix(arguments);
  EXPECT_EQ(done.exit_code, 1);
  EXPECT_EQ(lines_of(done.err), 1U) << done.err;
  EXPECT_THAT(done.err, HasSubstr(text));
}

TEST(Diff, WhatCannotBeComparedIsNamed) {
  const Folder folder;
  const std::string grey = folder.write("a.png", png(noisy(Sample::kU8, 1, 256)));
  const std::string colour = folder.write("b.png", png(noisy(Sample::kU8, 1, 256, 3)));
  const std::string tall = folder.write("c.png", png(draw(17, 31, Sample::kU8, [](int x, int y) { return x + y; })));
  const std::string numbers = folder.write("d.txt", "1\n2\n");
  expect_complaint({"diff", grey, colour}, "31 x 17 grey pixels and 31 x 17 colour pixels");
  expect_complaint({"diff", grey, tall}, "31 x 17 grey pixels and 17 x 31 grey pixels");
  expect_complaint({"diff", grey, numbers}, "31 x 17 grey pixels and 2 values");
  expect_complaint({"diff", grey, folder.file("none.png")}, "none.png: does not exist");
  expect_complaint({"diff", numbers, folder.write("e.txt", "1\ntwo\n")}, "e.txt: line 2: \"two\" is not a number");
  expect_complaint({"diff", numbers, folder.write("f.txt", "1,2\n3\n")},
                   "f.txt: line 2 has 1 values, the lines before have 2");
  expect_complaint({"diff", numbers, folder.write("g.txt", "# nothing\n\n")}, "g.txt: holds no numbers");
  expect_complaint({"diff", "--column", "x", numbers, numbers}, "d.txt: has no column x");
}

}  // namespace
