// SPDX-License-Identifier: Apache-2.0
// What arrives of the files: every format and pixel type, regions, standard input.
#include <gmock/gmock.h>
#include <unistd.h>

#include "expected.h"
#include "picture.h"
#include "process.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

// Widths and heights that no block size divides.
constexpr int kWidth = 67;
constexpr int kHeight = 45;

Picture noisy(Sample sample, int low, int limit, int channels = 1) {
  return draw_colour(kWidth, kHeight, sample, channels,
                     [=](int x, int y, int c) { return low + noise(x, y, c, limit); });
}

Picture floats() {
  return draw(kWidth, kHeight, Sample::kF32,
              [](int x, int y) { return 0.25F * static_cast<float>(noise(x, y, 9, 4000)) - 100; });
}

// The results are floats: half a unit in the last place of the largest value, and as much again for the one-pass
// deviation of these small regions.
void expect_moments(const nlohmann::ordered_json& row, const ExpectedMoments& expected) {
  EXPECT_NEAR(row["mean"].get<double>(), expected.mean, 1e-6 * (std::fabs(expected.mean) + 1)) << row;
  EXPECT_NEAR(row["deviation"].get<double>(), expected.deviation, 1e-5 * (expected.deviation + 1)) << row;
  EXPECT_EQ(row["min"].get<double>(), expected.min) << row;
  EXPECT_EQ(row["max"].get<double>(), expected.max) << row;
}

struct Case {
  std::string name;
  Picture picture;
  std::string bytes;
  std::string type;
};

std::vector<Case> grey_cases() {
  const Picture u8 = noisy(Sample::kU8, 0, 256), s8 = noisy(Sample::kS8, -128, 256);
  const Picture u16 = noisy(Sample::kU16, 0, 65536), s16 = noisy(Sample::kS16, -32768, 65536);
  const std::string tiles = ".tif[tile,tile_width=16,tile_height=16,compression=deflate]";
  return {{"u8.pgm", u8, pnm(u8), "U8"},
          {"u8.png", u8, png(u8), "U8"},
          {"u8.tif", u8, tiff(u8), "U8"},
          {"tiles.tif", u8, encoded(u8, tiles), "U8"},
          {"interlaced.png", u8, encoded(u8, ".png[interlace]"), "U8"},
          {"s8.tif", s8, tiff(s8), "S8"},
          {"u16.pgm", u16, pnm(u16), "U16"},
          {"u16.png", u16, png(u16), "U16"},
          {"u16.tif", u16, tiff(u16), "U16"},
          {"s16.tif", s16, tiff(s16), "S16"},
          {"f.tif", floats(), tiff(floats()), "F32"},
          {"f.pfm", floats(), pfm(floats()), "F32"}};
}

std::vector<Case> colour_cases() {
  const Picture rgb = noisy(Sample::kU8, 0, 256, 3), rgba = noisy(Sample::kU8, 0, 256, 4);
  const Picture rgb16 = noisy(Sample::kU16, 0, 65536, 3), rgba16 = noisy(Sample::kU16, 0, 65536, 4);
  return {{"rgb.ppm", rgb, pnm(rgb), "Rgba8"},           {"rgb.png", rgb, png(rgb), "Rgba8"},
          {"rgb.tif", rgb, tiff(rgb), "Rgba8"},          {"rgba.png", rgba, png(rgba), "Rgba8"},
          {"rgb16.ppm", rgb16, pnm(rgb16), "Colour39"},  {"rgb16.png", rgb16, png(rgb16), "Colour39"},
          {"rgb16.tif", rgb16, tiff(rgb16), "Colour39"}, {"rgba16.png", rgba16, png(rgba16), "Colour39"}};
}

void expect_row(const nlohmann::ordered_json& row, const Case& expected, const Box& box, int channel) {
  EXPECT_EQ(row["type"], expected.type);
  EXPECT_EQ(row["width"], box.width);
  EXPECT_EQ(row["height"], box.height);
  expect_moments(row, moments_of(expected.picture, box, channel));
}

// Whole images, the first and the last pixel alone, and a region in the middle.
void expect_samples(const std::vector<Case>& cases, std::size_t channels) {
  const Folder folder;
  for (const Box& box :
       {Box{0, 0, kWidth, kHeight}, Box{0, 0, 1, 1}, Box{kWidth - 1, kHeight - 1, 1, 1}, Box{13, 29, 31, 11}}) {
    const std::string roi = std::to_string(box.x) + "," + std::to_string(box.y) + "," + std::to_string(box.width) +
                            "," + std::to_string(box.height);
    std::vector<std::string> arguments = {"stats", "--format", "json", "--roi", roi};
    for (const Case& c : cases) arguments.push_back(folder.write(c.name, c.bytes));
    const Finished done = vlix(arguments);
    ASSERT_EQ(done.exit_code, 0) << done.err;
    EXPECT_EQ(done.err, "");
    const auto rows = done.json();
    ASSERT_EQ(rows.size(), channels * cases.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
      expect_row(rows[i], cases[i / channels], box, static_cast<int>(i % channels));
    }
  }
}

TEST(Reading, EveryGreyFormatGivesItsSamples) { expect_samples(grey_cases(), 1); }

TEST(Reading, EveryColourFormatGivesItsSamples) { expect_samples(colour_cases(), 3); }

TEST(Reading, LossyFormatsStayClose) {
  const Picture picture = draw(kWidth, kHeight, Sample::kU8, [](int x, int y) { return 40 + 2 * x + y; });
  const ExpectedMoments expected = moments_of(picture, whole(picture));
  const Folder folder;
  const std::string jpeg = folder.write("a.jpg", encoded(picture, ".jpg[Q=95]"));
  const std::string webp = folder.write("a.webp", encoded(picture, ".webp[lossless]"));
  const Finished done = vlix({"stats", "--format", "json", jpeg, webp});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  const auto rows = done.json();
  ASSERT_EQ(rows.size(), 4U);  // WebP has no grey pictures
  for (const auto& row : rows) {
    EXPECT_NEAR(row["mean"].get<double>(), expected.mean, 0.5);
    EXPECT_NEAR(row["deviation"].get<double>(), expected.deviation, 0.5);
  }
}

TEST(Reading, InfoShowsFormatTypeAndWholeSize) {
  const Folder folder;
  const Picture grey = noisy(Sample::kU16, 0, 65536);
  const std::string path = folder.write("misleading-name.jpg", png(grey));
  const Finished done = vlix({"info", "--format", "json", "--roi", "1,2,3,4", path});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  const auto row = done.json()[0];
  EXPECT_EQ(row["file"], path);
  EXPECT_EQ(row["format"], "png");
  EXPECT_EQ(row["type"], "U16");
  EXPECT_EQ(row["width"], kWidth);
  EXPECT_EQ(row["height"], kHeight);
}

TEST(Reading, StandardInputIsAFileLikeAnyOther) {
  const Picture picture = noisy(Sample::kU8, 0, 256);
  for (const std::string& bytes : {pnm(picture), png(picture), tiff(picture), encoded(picture, ".png[interlace]")}) {
    Launch launch;
    launch.arguments = {"stats", "--format", "json", "--roi", "5,6,7,8", "-"};
    launch.input = bytes;
    const Finished done = run(launch);
    ASSERT_EQ(done.exit_code, 0) << done.err;
    EXPECT_EQ(done.json()[0]["file"], "-");
    expect_moments(done.json()[0], moments_of(picture, {5, 6, 7, 8}));
  }
}

TEST(Reading, NamesAreNotTakenForLoaderOptions) {
  const Folder folder;
  const Picture picture = noisy(Sample::kU8, 0, 256);
  const std::string odd = folder.write("scan[page=3].png", png(picture));
  const std::string blank = folder.write("two words, and a comma.png", png(picture));
  const Finished done = vlix({"stats", "--format", "csv", odd, blank});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  EXPECT_THAT(done.out, HasSubstr(odd + ",U8,"));
  EXPECT_THAT(done.out, HasSubstr("\"" + blank + "\",U8,"));
}

// Only the rows down to the end of the region are needed, so damage below it does no harm.
TEST(Reading, OnlyTheRegionIsDecoded) {
  const Folder folder;
  const Picture picture = draw(500, 500, Sample::kU8, [](int x, int y) { return noise(x, y, 0, 256); });
  const std::string bytes = png(picture);
  const std::string cut = folder.write("cut.png", bytes.substr(0, bytes.size() / 2));
  const Finished top = vlix({"stats", "--format", "json", "--roi", "0,0,20,10", cut});
  ASSERT_EQ(top.exit_code, 0) << top.err;
  expect_moments(top.json()[0], moments_of(picture, {0, 0, 20, 10}));
  EXPECT_EQ(vlix({"stats", cut}).exit_code, 1);
}

// 30000 x 30000 pixels, of which 16 x 16 are asked for; the tiles of the rest are never touched.
TEST(Reading, RegionOfAnImageLargerThanTheLimit) {
  const Folder folder;
  const std::string path = folder.write("large.pgm", "P5\n30000 30000\n255\n");
  truncate(path.c_str(), 30000L * 30000 + 19);
  const Finished region = vlix({"stats", "--limit", "64", "--roi", "29000,29000,16,16", path});
  EXPECT_EQ(region.exit_code, 0) << region.err;
  const Finished whole_image = vlix({"stats", "--limit", "64", path});
  EXPECT_EQ(whole_image.exit_code, 1);
  EXPECT_THAT(whole_image.err, HasSubstr("more than the limit of 64 MiB"));
}

}  // namespace
