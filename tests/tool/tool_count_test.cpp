// SPDX-License-Identifier: Apache-2.0
// vlix count, background and variance.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

#include "picture.h"
#include "process.h"

namespace {

using testing::HasSubstr;

Picture noisy(Sample sample, int low, int limit) {
  return draw(53, 31, sample, [=](int x, int y) { return low + noise(x, y, 8, limit); });
}

int64_t count_if(const Picture& picture, const std::function<bool(double)>& counts) {
  return std::count_if(picture.values.begin(), picture.values.end(), counts);
}

TEST(Count, PixelsThatAreNotZero) {
  const Folder folder;
  const std::vector<Picture> pictures = {noisy(Sample::kU8, 0, 3), noisy(Sample::kS8, -1, 3), noisy(Sample::kU16, 0, 3),
                                         noisy(Sample::kS16, -1, 3), noisy(Sample::kF32, -1, 3)};
  for (const char* level : {"0", "1", "2"}) {
    std::vector<std::string> arguments = {"count", "--format", "json", "--level", level};
    for (std::size_t i = 0; i < pictures.size(); ++i) {
      arguments.push_back(folder.write(std::to_string(i) + ".tif", tiff(pictures[i])));
    }
    const auto rows = vlix(arguments).json();
    for (std::size_t i = 0; i < pictures.size(); ++i) {
      const int64_t expected = count_if(pictures[i], [](double v) { return v != 0; });
      EXPECT_EQ(rows[i]["count"], expected);
      EXPECT_NEAR(rows[i]["share"].get<double>(), static_cast<double>(expected) / (53 * 31), 1e-12);
    }
  }
}

// Bounds outside of the byte range must mean what they say at every level.
TEST(Count, RangesOfBytes) {
  const Folder folder;
  const Picture picture = noisy(Sample::kU8, 0, 256);
  const std::string path = folder.write("a.png", png(picture));
  const std::vector<std::pair<int, int>> ranges = {{-1, 255},  {0, 255},    {99, 180},  {-500, 300}, {255, 255},
                                                   {254, 255}, {255, 1000}, {300, 400}, {-9, -3},    {-2, 0},
                                                   {180, 99},  {256, 511},  {-256, -1}};
  for (const char* level : {"0", "1"}) {
    for (const auto& [above, upto] : ranges) {
      const Finished done = vlix({"count", "--format", "json", "--level", level, "--above", std::to_string(above),
                                  "--upto", std::to_string(upto), path});
      ASSERT_EQ(done.exit_code, 0) << done.err;
      const int low = above, high = upto;
      EXPECT_EQ(done.json()[0]["count"], count_if(picture, [=](double v) { return v > low && v <= high; }))
          << above << " " << upto;
    }
  }
}

TEST(Count, RangesOfOtherTypes) {
  const Folder folder;
  const std::vector<Picture> pictures = {noisy(Sample::kS8, -128, 256), noisy(Sample::kU16, 0, 600),
                                         noisy(Sample::kS16, -300, 600), noisy(Sample::kF32, -300, 600)};
  std::vector<std::string> arguments = {"count", "--format", "json", "--above", "-20", "--upto", "110"};
  for (std::size_t i = 0; i < pictures.size(); ++i)
    arguments.push_back(folder.write(std::to_string(i) + ".tif", tiff(pictures[i])));
  const auto rows = vlix(arguments).json();
  for (std::size_t i = 0; i < pictures.size(); ++i) {
    EXPECT_EQ(rows[i]["count"], count_if(pictures[i], [](double v) { return v > -20 && v <= 110; }));
  }
}

TEST(Count, ColoursChannelByChannel) {
  const Folder folder;
  const Picture picture = draw_colour(40, 30, Sample::kU8, 3, [](int x, int y, int c) { return noise(x, y, c, 256); });
  int64_t expected = 0;
  for (std::size_t i = 0; i < picture.values.size(); i += 3) {
    const double r = picture.values[i], g = picture.values[i + 1], b = picture.values[i + 2];
    expected += r > 20 && r <= 200 && g > 0 && g <= 255 && b > 99 && b <= 180 ? 1 : 0;
  }
  const Finished done = vlix({"count", "--format", "json", "--above", "20,0,99", "--upto", "200,255,180",
                              folder.write("a.png", png(picture))});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  EXPECT_EQ(done.json()[0]["count"], expected);
}

TEST(Count, SenselessBoundsAreRefused) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(noisy(Sample::kU8, 0, 9)));
  EXPECT_EQ(vlix({"count", "--above", "3", path}).exit_code, 2);
  EXPECT_EQ(vlix({"count", "--above", "x", "--upto", "3", path}).exit_code, 2);
  EXPECT_EQ(vlix({"count", "--above", "1.5", "--upto", "3", path}).exit_code, 1);
  EXPECT_EQ(vlix({"count", "--above", "1,2,3", "--upto", "3,4,5", path}).exit_code, 1);
}

TEST(Background, CornersDecide) {
  const Folder folder;
  const auto corners = [](double tl, double tr, double bl, double br) {
    return draw(9, 7, Sample::kU8, [=](int x, int y) {
      if (y == 0 && x == 0) return tl;
      if (y == 0 && x == 8) return tr;
      if (y == 6 && x == 0) return bl;
      return y == 6 && x == 8 ? br : 77.0;
    });
  };
  const auto level = [&](const Picture& picture) {
    return vlix({"background", "--format", "json", folder.write("a.png", png(picture))})
        .json()[0]["background"]
        .get<int>();
  };
  EXPECT_EQ(level(corners(10, 10, 10, 50)), 10);
  EXPECT_EQ(level(corners(10, 10, 50, 50)), 30);
  EXPECT_EQ(level(corners(10, 50, 50, 50)), 50);
}

TEST(Background, ColourAndFloat) {
  const Folder folder;
  const Picture rgb = draw_colour(5, 5, Sample::kU8, 3, [](int, int, int c) { return 10 + 20 * c; });
  const Picture f32 = draw(5, 5, Sample::kF32, [](int, int) { return -2.5; });
  const auto rows =
      vlix({"background", "--format", "json", folder.write("a.png", png(rgb)), folder.write("a.pfm", pfm(f32))}).json();
  ASSERT_EQ(rows.size(), 4U);
  EXPECT_EQ(rows[1]["channel"], "green");
  EXPECT_EQ(rows[1]["background"], 30);
  EXPECT_EQ(rows[3]["background"], -2.5);
}

// The window is clipped at the borders; an even one reaches one pixel further up and to the left.
TEST(Variance, MeanAndVarianceOfEveryWindow) {
  const Folder folder;
  const Picture picture = noisy(Sample::kU8, 0, 200);
  const std::string path = folder.write("a.png", png(picture)), mean = folder.file("mean.tif"),
                    variance = folder.file("var.tif");
  const Finished done =
      vlix({"variance", "--format", "json", "--kernel", "5x4", "--mean", mean, "--output", variance, path});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  EXPECT_EQ(done.json().size(), 2U);
  for (const auto& [x, y] : std::vector<std::pair<int, int>>{{0, 0}, {20, 15}, {52, 30}, {1, 29}, {51, 0}}) {
    double n = 0, sum = 0, squares = 0;
    for (int v = std::max(0, y - 2); v < std::min(31, y + 2); ++v) {
      for (int u = std::max(0, x - 2); u < std::min(53, x + 3); ++u) {
        n += 1;
        sum += picture.at(u, v);
        squares += picture.at(u, v) * picture.at(u, v);
      }
    }
    const std::string roi = std::to_string(x) + "," + std::to_string(y) + ",1,1";
    const auto rows = vlix({"stats", "--format", "json", "--roi", roi, mean, variance}).json();
    EXPECT_EQ(rows[0]["type"], "F32");
    EXPECT_NEAR(rows[0]["mean"].get<double>(), sum / n, 1e-3);
    EXPECT_NEAR(rows[1]["mean"].get<double>(), (squares - sum * sum / n) / (n - 1), 0.1);
  }
}

TEST(Variance, SenselessKernelsAreRefused) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(draw(4, 6, Sample::kU8, [](int x, int y) { return x * y; })));
  EXPECT_EQ(vlix({"variance", path}).exit_code, 2);
  for (const char* kernel : {"0x3", "3", "3x", "x3", "-1x3", "2.5x3", "3x3x3"}) {
    EXPECT_EQ(vlix({"variance", "--kernel", kernel, path}).exit_code, 2) << kernel;
  }
  EXPECT_EQ(vlix({"variance", "--kernel", "6x10", path}).exit_code, 0);
  EXPECT_THAT(vlix({"variance", "--kernel", "7x3", path}).err, HasSubstr("too large for 4 x 6 pixels (at most 6x10)"));
  EXPECT_THAT(vlix({"variance", "--kernel", "3x11", path}).err, HasSubstr("too large for 4 x 6 pixels (at most 6x10)"));
  EXPECT_EQ(vlix({"variance", "--kernel", "3x3", path, path}).exit_code, 2);
}

}  // namespace
