// SPDX-License-Identifier: Apache-2.0
// vlix histogram against counting by hand.
#include <gmock/gmock.h>

#include <cmath>

#include "expected.h"
#include "picture.h"
#include "process.h"

namespace {

using testing::HasSubstr;

Picture noisy(Sample sample, int low, int limit) {
  return draw(61, 47, sample, [=](int x, int y) { return low + noise(x, y, 3, limit); });
}

// Bins of whole width over lo .. hi, both included.
std::vector<int64_t> counts_of(const Picture& picture, int lo, int hi, int bins) {
  std::vector<int64_t> counts(static_cast<std::size_t>(bins));
  const int width = (hi - lo + 1) / bins;
  for (const double value : picture.values) {
    if (value >= lo && value <= hi) ++counts[static_cast<std::size_t>((static_cast<int>(value) - lo) / width)];
  }
  return counts;
}

void expect_bins(const nlohmann::ordered_json& bins, int lo, int width, const std::vector<int64_t>& counts) {
  ASSERT_EQ(bins.size(), counts.size());
  for (std::size_t i = 0; i < counts.size(); ++i) {
    EXPECT_EQ(bins[i]["value"], lo + static_cast<int>(i) * width);
    EXPECT_EQ(bins[i]["count"], counts[i]) << "bin " << i;
  }
}

TEST(Histogram, DefaultsCoverThePixelType) {
  const Folder folder;
  const Picture u8 = noisy(Sample::kU8, 0, 256), s8 = noisy(Sample::kS8, -128, 256);
  const Picture u16 = noisy(Sample::kU16, 0, 65536), s16 = noisy(Sample::kS16, -32768, 65536);
  for (const char* level : {"0", "1", "2"}) {
    const Finished done =
        vlix({"histogram", "--format", "json", "--level", level, folder.write("u8.png", png(u8)),
              folder.write("s8.tif", tiff(s8)), folder.write("u16.png", png(u16)), folder.write("s16.tif", tiff(s16))});
    ASSERT_EQ(done.exit_code, 0) << done.err;
    const auto records = done.json();
    expect_bins(records[0]["bins"], 0, 1, counts_of(u8, 0, 255, 256));
    expect_bins(records[1]["bins"], -128, 1, counts_of(s8, -128, 127, 256));
    expect_bins(records[2]["bins"], 0, 256, counts_of(u16, 0, 65535, 256));
    expect_bins(records[3]["bins"], -32768, 256, counts_of(s16, -32768, 32767, 256));
  }
}

TEST(Histogram, RangeAndBinsAreWhatWasAskedFor) {
  const Folder folder;
  const Picture picture = noisy(Sample::kS16, -300, 600);
  const std::string path = folder.write("a.tif", tiff(picture));
  const Finished done = vlix({"histogram", "--format", "json", "--bins", "25", "--lo", "-40", "--hi", "59", path});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  expect_bins(done.json()[0]["bins"], -40, 4, counts_of(picture, -40, 59, 25));
}

TEST(Histogram, UsualNumberOfBinsDividesTheRange) {
  const Folder folder;
  const Picture picture = noisy(Sample::kU16, 0, 1000);
  const std::string path = folder.write("a.png", png(picture));
  const auto bins_for = [&](const char* hi) {
    return vlix({"histogram", "--format", "json", "--lo", "0", "--hi", hi, path}).json()[0]["bins"].size();
  };
  EXPECT_EQ(bins_for("99"), 100U);
  EXPECT_EQ(bins_for("999"), 250U);
}

TEST(Histogram, CumulativeEndsWithTheNumberOfPixelsInTheRange) {
  const Folder folder;
  const Picture picture = noisy(Sample::kU8, 0, 256);
  const std::string path = folder.write("a.png", png(picture));
  const auto bins = vlix({"histogram", "--format", "json", "--cumulative", path}).json()[0]["bins"];
  int64_t sum = 0;
  const std::vector<int64_t> counts = counts_of(picture, 0, 255, 256);
  for (std::size_t i = 0; i < counts.size(); ++i) EXPECT_EQ(bins[i]["count"], sum += counts[i]);
  EXPECT_EQ(sum, 61 * 47);
}

// Eighths are exact in binary, so no value lies next to an edge by rounding alone.
TEST(Histogram, FloatsSpanTheirOwnRange) {
  const Folder folder;
  const Picture picture = draw(61, 47, Sample::kF32, [](int x, int y) { return noise(x, y, 4, 513) / 8 - 20; });
  const ExpectedMoments range = moments_of(picture, whole(picture));
  ASSERT_EQ(range.min, -20);
  ASSERT_EQ(range.max, 44);
  std::vector<int64_t> counts(64);
  for (const double v : picture.values) ++counts[static_cast<std::size_t>(std::min(63.0, std::floor(v + 20)))];
  const Finished done = vlix({"histogram", "--format", "json", "--bins", "64", folder.write("a.pfm", pfm(picture))});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  expect_bins(done.json()[0]["bins"], -20, 1, counts);
}

TEST(Histogram, FloatBinsOfIntegerPixels) {
  const Folder folder;
  const Picture picture = noisy(Sample::kU8, 0, 100);
  const std::string path = folder.write("a.png", png(picture));
  const auto bins =
      vlix({"histogram", "--format", "json", "--float", "--bins", "8", "--lo", "-0.5", "--hi", "99.5", path})
          .json()[0]["bins"];
  std::vector<int64_t> counts(8);
  for (const double v : picture.values) ++counts[static_cast<std::size_t>((v + 0.5) / 12.5)];
  for (std::size_t i = 0; i < 8; ++i) EXPECT_EQ(bins[i]["count"], counts[i]) << "bin " << i;
}

TEST(Histogram, BarsFollowTheCounts) {
  const Folder folder;
  const Picture picture = draw(10, 10, Sample::kU8, [](int x, int) { return x < 5 ? 0 : (x < 9 ? 128 : 255); });
  const std::string path = folder.write("a.png", png(picture));
  const Finished done = vlix({"histogram", "--bins", "4", path});
  const std::string full(50 * 3, '\0');
  std::string bar;
  for (int i = 0; i < 50; ++i) bar += "█";
  EXPECT_THAT(done.out, HasSubstr("          0         50  " + bar + "\n"));
  EXPECT_THAT(done.out, HasSubstr("         64          0\n"));
  EXPECT_THAT(done.out, HasSubstr("        128         40  " + bar.substr(0, 40 * 3) + "\n"));
  EXPECT_THAT(done.out, HasSubstr("        192         10  " + bar.substr(0, 10 * 3) + "\n"));
}

void expect_complaint(const std::vector<std::string>& arguments, const std::string& text) {
  const Finished done = vlix(arguments);
  EXPECT_EQ(done.exit_code, 1);
  EXPECT_EQ(lines_of(done.err), 1U) << done.err;
  EXPECT_THAT(done.err, HasSubstr(text));
}

// The library's own text for a reversed range prints integers as floats; users are told in the tool's words.
TEST(Histogram, RangesAreCheckedInTheUsersTerms) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(noisy(Sample::kU8, 0, 256)));
  expect_complaint({"histogram", "--lo", "300", path}, "the range 300..255 is empty");
  expect_complaint({"histogram", "--lo", "0.5", path}, "--lo 0.5 must be a whole number");
  expect_complaint({"histogram", "--lo", "0", "--hi", "9", "--bins", "3", path},
                   "the 10 values 0..9 do not divide into 3 bins");
  expect_complaint({"histogram", "--hi", "3e9", path}, "--hi 3e+09 must be a whole number");
  const Picture holes = draw(8, 8, Sample::kF32, [](int, int) { return NAN; });
  expect_complaint({"histogram", folder.write("a.pfm", pfm(holes))}, "not finite; give --lo and --hi");
}

TEST(Histogram, OneHistogramPerChannel) {
  const Folder folder;
  const Picture picture = draw_colour(40, 30, Sample::kU8, 4, [](int x, int y, int c) { return noise(x, y, c, 256); });
  const std::string path = folder.write("a.png", png(picture));
  const Finished done =
      vlix({"histogram", "--color", "--format", "json", "--bins", "16", "--lo", "64", "--hi", "191", path});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  const auto record = done.json()[0];
  const char* names[] = {"red", "green", "blue"};
  for (int c = 0; c < 3; ++c) {
    const Picture channel = draw(40, 30, Sample::kU8, [&](int x, int y) { return picture.at(x, y, c); });
    expect_bins(record[names[c]], 64, 8, counts_of(channel, 64, 191, 16));
  }
  EXPECT_EQ(vlix({"histogram", path}).err, "vlix: " + path + ": is a colour image; use --color\n");
}

// Overlapping shapes count their common pixels once.
TEST(Histogram, RectanglesCoverTheirPixelsOnce) {
  const Folder folder;
  const Picture picture = noisy(Sample::kU8, 0, 256);
  const std::string path = folder.write("a.png", png(picture));
  const auto inside = [](int x, int y) {
    return (x >= 3 && x < 13 && y >= 4 && y < 24) || (x >= 10 && x < 30 && y >= 20 && y < 30);
  };
  std::vector<int64_t> counts(256);
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) counts[static_cast<std::size_t>(picture.at(x, y))] += inside(x, y) ? 1 : 0;
  }
  const std::vector<std::string> shapes = {"histogram", "--format",         "json", "--shape", "rect:3,4,10,20",
                                           "--shape",   "rect:10,20,20,10", path};
  expect_bins(vlix(shapes).json()[0]["bins"], 0, 1, counts);
  std::vector<std::string> region = shapes;
  region.insert(region.begin() + 1, {"--roi", "2,3,40,40"});
  expect_bins(vlix(region).json()[0]["bins"], 0, 1, counts);
}

int64_t counted(const Finished& done) {
  int64_t sum = 0;
  const auto bins = done.json()[0]["bins"];
  for (const auto& bin : bins) sum += bin["count"].get<int64_t>();
  return sum;
}

TEST(Histogram, OtherShapesCoverThePixelsWhoseCentresTheyContain) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(noisy(Sample::kU8, 0, 256)));
  const auto count_inside = [&](const std::string& shape) {
    return counted(vlix({"histogram", "--format", "json", "--shape", shape, path}));
  };
  const auto expected = [](const std::function<bool(double, double)>& inside) {
    int64_t count = 0;
    for (int y = 0; y < 47; ++y) {
      for (int x = 0; x < 61; ++x) count += inside(x, y) ? 1 : 0;
    }
    return count;
  };
  EXPECT_EQ(count_inside("ellipse:30.2,20.3,12.5,8.1"), expected([](double x, double y) {
              return std::pow((x - 30.2) / 12.5, 2) + std::pow((y - 20.3) / 8.1, 2) < 1;
            }));
  EXPECT_EQ(count_inside("ring:30.2,20.3,5.5,14.1"), expected([](double x, double y) {
              const double r = std::hypot(x - 30.2, y - 20.3);
              return r >= 5.5 && r < 14.1;
            }));
  EXPECT_EQ(count_inside("rrect:30.2,20.3,16.4,10.2,30"), expected([](double x, double y) {
              const double c = std::cos(std::acos(-1) / 6), s = 0.5, dx = x - 30.2, dy = y - 20.3;
              return std::fabs(c * dx + s * dy) < 8.2 && std::fabs(c * dy - s * dx) < 5.1;
            }));
  const std::string triangle = folder.write("t.csv", "x,y\n5.3,4.1\n50.7,9.2\n20.4,40.6\n");
  const auto left_of = [](double x, double y, double ax, double ay, double bx, double by) {
    return (bx - ax) * (y - ay) - (by - ay) * (x - ax) > 0;
  };
  EXPECT_EQ(count_inside("polygon:" + triangle), expected([&](double x, double y) {
              return left_of(x, y, 5.3, 4.1, 50.7, 9.2) && left_of(x, y, 50.7, 9.2, 20.4, 40.6) &&
                     left_of(x, y, 20.4, 40.6, 5.3, 4.1);
            }));
}

TEST(Histogram, MasksSelectPixelsAlsoInsideShapes) {
  const Folder folder;
  const Picture picture = noisy(Sample::kU16, 0, 1000);
  const Picture mask = draw(61, 47, Sample::kU8, [](int x, int y) { return (x + y) % 3 == 0 ? 255 : 0; });
  const std::string path = folder.write("a.png", png(picture)), mask_path = folder.write("m.png", png(mask));
  const auto expect = [&](std::vector<std::string> more, const std::function<bool(int, int)>& inside) {
    std::vector<int64_t> counts(100);
    for (int y = 0; y < 47; ++y) {
      for (int x = 0; x < 61; ++x)
        counts[static_cast<std::size_t>(picture.at(x, y) / 10)] += inside(x, y) && (x + y) % 3 == 0 ? 1 : 0;
    }
    more.insert(more.begin(), {"histogram", "--format", "json", "--lo", "0", "--hi", "999", "--bins", "100", "--mask",
                               mask_path, path});
    const Finished done = vlix(more);
    ASSERT_EQ(done.exit_code, 0) << done.err;
    expect_bins(done.json()[0]["bins"], 0, 10, counts);
  };
  expect({}, [](int, int) { return true; });
  expect({"--roi", "7,9,30,20"}, [](int x, int y) { return x >= 7 && x < 37 && y >= 9 && y < 29; });
  expect({"--shape", "rect:5,6,30,10"}, [](int x, int y) { return x >= 5 && x < 35 && y >= 6 && y < 16; });
  const std::string small = folder.write("s.png", png(draw(60, 47, Sample::kU8, [](int, int) { return 1; })));
  expect_complaint({"histogram", "--mask", small, path}, "the mask is of another size than the image");
}

TEST(Histogram, FloatRegionsCoverAWholeRange) {
  const Folder folder;
  const Picture picture = draw(61, 47, Sample::kF32, [](int x, int y) { return noise(x, y, 4, 512) / 64 + 1.25; });
  const std::string path = folder.write("a.pfm", pfm(picture));
  const Finished done = vlix({"histogram", "--format", "json", "--bins", "9", "--shape", "rect:0,0,61,47", path});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  std::vector<int64_t> counts(9);
  for (const double v : picture.values) ++counts[static_cast<std::size_t>(v - 1)];
  expect_bins(done.json()[0]["bins"], 1, 1, counts);
  expect_complaint({"histogram", "--lo", "0", "--hi", "0.5", "--shape", "rect:0,0,9,9", path},
                   "--hi must be a whole number above --lo");
}

// The grey levels of the plate and of what shows through its holes, as the samples' truth tells them; the uneven light
// spreads them by a few percent.
TEST(Histogram, PeaksOfThePlateAreItsGreyLevels) {
  const auto truth = nlohmann::ordered_json::parse(read_file(VLIX_SAMPLES "/truth.json"))["images"]["plate.png"];
  const Finished done =
      vlix({"histogram", "--format", "json", "--smooth", "9", "--peaks", "40", VLIX_SAMPLES "/plate.png"});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  const auto peaks = done.json()[0]["peaks"];
  ASSERT_EQ(peaks.size(), 2U);
  const double least = truth["light"][0], greatest = truth["light"][1];
  const double background = truth["levels"]["background"], part = truth["levels"]["part"];
  EXPECT_GE(peaks[0]["value"].get<double>(), least * background - 1);
  EXPECT_LE(peaks[0]["value"].get<double>(), greatest * background + 1);
  EXPECT_GE(peaks[1]["value"].get<double>(), least * part - 1);
  EXPECT_LE(peaks[1]["value"].get<double>(), greatest * part + 1);
}

TEST(Histogram, SmoothingIsACentredMean) {
  const Folder folder;
  const Picture picture = noisy(Sample::kU8, 100, 20);
  const std::string path = folder.write("a.png", png(picture));
  const std::vector<int64_t> counts = counts_of(picture, 0, 255, 256);
  const auto record = vlix({"histogram", "--format", "json", "--smooth", "5", path}).json()[0];
  for (std::size_t i = 2; i < 254; ++i) {
    const int64_t sum = counts[i - 2] + counts[i - 1] + counts[i] + counts[i + 1] + counts[i + 2];
    EXPECT_EQ(record["bins"][i]["count"], sum / 5) << i;
  }
  expect_complaint({"histogram", "--smooth", "300", path}, "wider than the histogram");
}

TEST(Histogram, MinimaLieBetweenTheMaxima) {
  const Folder folder;
  const Picture picture = draw(
      60, 40, Sample::kU8, [](int x, int y) { return (x < 30 ? 50 : 150) + noise(x, y, 1, 10) + noise(x, y, 2, 10); });
  const std::string path = folder.write("a.png", png(picture));
  const auto minima =
      vlix({"histogram", "--format", "json", "--smooth", "11", "--peaks", "30", "--minima", path}).json()[0]["minima"];
  ASSERT_EQ(minima.size(), 1U);
  EXPECT_NEAR(minima[0]["value"].get<double>(), 109, 25);
}

TEST(Histogram, PlotsAreDrawn) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(noisy(Sample::kU8, 0, 256)));
  ASSERT_EQ(vlix({"histogram", "--peaks", "20", "--plot", folder.file("a.svg"), path}).exit_code, 0);
  const std::string svg = read_file(folder.file("a.svg"));
  EXPECT_THAT(svg, testing::StartsWith("<svg "));
  EXPECT_THAT(svg, testing::EndsWith("</svg>\n"));
  EXPECT_THAT(svg, HasSubstr("<circle "));
}

}  // namespace
