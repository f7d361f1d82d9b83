// SPDX-License-Identifier: Apache-2.0
// A result that the fixed arithmetic touches is reported all the same, with a note on standard error that says so;
// other results come without one.
#include <gmock/gmock.h>

#include <cmath>

#include "picture.h"
#include "process.h"

namespace {

using testing::HasSubstr;

// The run succeeds with one line on standard error that names the file.
void expect_note(const std::vector<std::string>& arguments, const std::string& text) {
  const Finished done = vlix(arguments);
  EXPECT_EQ(done.exit_code, 0);
  EXPECT_EQ(lines_of(done.err), 1U) << done.err;
  EXPECT_THAT(done.err, testing::StartsWith("vlix: " + arguments.back() + ": note: "));
  EXPECT_THAT(done.err, HasSubstr(text));
  EXPECT_GE(lines_of(done.out), 1U);
}

void expect_silence(const std::vector<std::string>& arguments) {
  const Finished done = vlix(arguments);
  EXPECT_EQ(done.exit_code, 0);
  EXPECT_EQ(done.err, "");
}

std::string floats(const Folder& folder, const std::function<double(int, int)>& value) {
  return folder.write("a.pfm", pfm(draw(60, 40, Sample::kF32, value)));
}

TEST(Notes, DeviationOfFloatsBelowAThousandthOfTheMean) {
  const Folder folder;
  const auto around = [&](double mean) {
    return floats(folder, [=](int x, int y) { return mean + noise(x, y, 1, 5); });
  };
  for (const char* level : {"0", "1", "2"}) {
    expect_note({"stats", "--level", level, around(10000)}, "may have lost digits");
    expect_note({"stats", "--level", level, around(-10000)}, "may have lost digits");
    expect_silence({"stats", "--level", level, around(1000)});
  }
  expect_silence(
      {"stats", folder.write("a.png", png(draw(9, 9, Sample::kU16, [](int x, int) { return 60000 + x % 2; })))});
}

// In the plain loops a constant may come out with a deviation, even with one that is not a number.
TEST(Notes, DeviationOfAConstant) {
  const Folder folder;
  const std::string path = floats(folder, [](int, int) { return 0.1; });
  expect_silence({"stats", path});
  expect_note({"stats", "--level", "0", path}, "may have lost digits");
  expect_silence({"stats", "--level", "0", floats(folder, [](int, int) { return 0.5; })});
}

TEST(Notes, LowerEdgesOfIntegerBins) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(draw(60, 40, Sample::kU8, [](int x, int y) { return x + y; })));
  expect_note({"histogram", "--level", "0", "--lo", "0", "--hi", "245", "--bins", "6", path}, "one bin below");
  expect_silence({"histogram", "--level", "1", "--lo", "0", "--hi", "245", "--bins", "6", path});
  expect_silence({"histogram", "--level", "0", "--bins", "32", path});
}

TEST(Notes, WindowSumsAfterHugeOrMissingPixels) {
  const Folder folder;
  const auto with = [&](double odd) {
    return floats(folder, [=](int x, int y) { return x == 20 && y == 10 ? odd : 50 + noise(x, y, 1, 50); });
  };
  expect_note({"variance", "--kernel", "3x3", with(1e6)}, "far larger than most");
  expect_note({"variance", "--kernel", "3x3", with(-1e6)}, "far larger than most");
  expect_note({"variance", "--kernel", "3x3", with(NAN)}, "not finite");
  expect_note({"variance", "--kernel", "3x3", with(INFINITY)}, "not finite");
  expect_silence({"variance", "--kernel", "3x3", with(200)});
}

TEST(Notes, KernelOfOnePixel) {
  const Folder folder;
  const std::string path = floats(folder, [](int x, int y) { return x + y; });
  expect_note({"variance", "--kernel", "1x1", path}, "no variance");
}

TEST(Notes, FloatsAreTruncatedInProjectionsAndDifferences) {
  const Folder folder;
  const auto with = [&](double odd) {
    return floats(folder, [=](int x, int y) { return x == 20 && y == 10 ? odd : noise(x, y, 1, 50); });
  };
  for (const double odd : {0.5, double{NAN}, 3e9, -3e9}) {
    expect_note({"project", with(odd)}, "truncated to whole numbers of 32 bits");
    expect_note({"match", "--method", "sad", "--template-roi", "18,8,5,5", with(odd)},
                "truncated to whole numbers of 32 bits");
  }
  expect_silence({"project", with(7)});
  expect_silence({"match", "--method", "sad", "--template-roi", "18,8,5,5", with(7)});
  expect_silence({"match", "--method", "ncc", "--template-roi", "18,8,5,5", with(0.5)});
}

TEST(Notes, SumsOfDifferencesThatEndAtTheirLimit) {
  const Folder folder;
  const std::string black = folder.write("b.png", png(draw(20, 20, Sample::kU8, [](int, int) { return 0; })));
  const std::string white = folder.write("a.png", png(draw(40, 40, Sample::kU8, [](int, int) { return 255; })));
  expect_note({"match", "--method", "sad", "--template", black, white}, "all sums of differences reach 65535");
}

std::string two_levels(const Folder& folder, int low, int high) {
  return folder.write("a.png", png(draw(60, 40, Sample::kU8, [=](int x, int) { return x < 20 ? low : high; })));
}

TEST(Notes, EvenWidthsOfSmoothingAreRounded) {
  const Folder folder;
  const std::string path = two_levels(folder, 50, 80);
  expect_silence({"histogram", "--smooth", "9", path});
  expect_note({"histogram", "--smooth", "8", path}, "taken as 7 bins, an odd number, instead of 8");
  expect_note({"histogram", "--smooth", "8.5", path}, "taken as 9 bins, an odd number, instead of 8.5");
  expect_silence({"histogram", "--bins", "64", "--smooth", "12", path});
  const Picture colour = draw_colour(9, 9, Sample::kU8, 3, [](int x, int, int c) { return 50 + x + c; });
  expect_note({"histogram", "--color", "--smooth", "8", folder.write("c.png", png(colour))}, "taken as 7 bins");
}

// The count of two pixels in five lies at the very end: only its half of the window is there.
TEST(Notes, SmoothingAttenuatesTheEnds) {
  const Folder folder;
  expect_note({"histogram", "--smooth", "9", two_levels(folder, 3, 80)}, "the outermost bins come out lower");
  expect_note({"histogram", "--smooth", "9", two_levels(folder, 50, 252)}, "the outermost bins come out lower");
  expect_silence({"histogram", "--smooth", "9", two_levels(folder, 4, 251)});
}

TEST(Notes, PeaksExactlyTheLeastDistanceApart) {
  const Folder folder;
  const std::string path = two_levels(folder, 50, 80);
  const auto peaks = [&](const char* distance) {
    return vlix({"histogram", "--format", "json", "--peaks", distance, path}).json()[0]["peaks"].size();
  };
  EXPECT_EQ(peaks("29"), 2U);
  EXPECT_EQ(peaks("30"), 1U);
  expect_note({"histogram", "--peaks", "30", path}, "some peaks are exactly the least distance apart");
  expect_silence({"histogram", "--peaks", "29", path});
  expect_silence({"histogram", "--peaks", "31", path});
}

TEST(Notes, TopEdgeOfFloatRegions) {
  const Folder folder;
  const std::string path = floats(folder, [](int x, int) { return x / 2; });
  expect_note({"histogram", "--lo", "0", "--hi", "20", "--bins", "20", "--shape", "rect:0,10,60,3", path},
              "6 pixels inside the shapes equal --hi and are not counted");
  expect_silence({"histogram", "--lo", "0", "--hi", "20", "--bins", "20", "--shape", "rect:0,10,40,3", path});
  expect_silence({"histogram", "--bins", "20", "--shape", "rect:0,10,60,3", path});
}

TEST(Notes, SignOfRhoForTinyUprightLines) {
  const Folder folder;
  const std::string long_line = folder.write("long.csv", "5,1\n5,2\n5,3\n");
  const std::string tiny = folder.write("tiny.csv", "5,1\n5,1.001\n5,1.002\n");
  expect_silence({"fit", "line", long_line});
  expect_note({"fit", "line", tiny}, "rho has the opposite sign");
  const auto rows = vlix({"fit", "line", "--format", "json", long_line, tiny}).json();
  EXPECT_EQ(rows[0]["rho"].get<double>(), -rows[1]["rho"].get<double>());
}

}  // namespace
