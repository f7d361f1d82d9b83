// SPDX-License-Identifier: Apache-2.0
// vlix project, profile and fit.
#include <gmock/gmock.h>

#include <cmath>

#include "picture.h"
#include "process.h"

namespace {

using testing::HasSubstr;

Picture noisy(Sample sample, int low, int limit, int width = 41, int height = 29) {
  return draw(width, height, sample, [=](int x, int y) { return low + noise(x, y, 2, limit); });
}

void expect_sums(const nlohmann::ordered_json& record, const Picture& picture, int left, int top, int width,
                 int height) {
  ASSERT_EQ(record["rows"].size(), static_cast<std::size_t>(height));
  ASSERT_EQ(record["columns"].size(), static_cast<std::size_t>(width));
  std::vector<double> rows(static_cast<std::size_t>(height)), columns(static_cast<std::size_t>(width));
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      rows[static_cast<std::size_t>(y)] += std::trunc(picture.at(left + x, top + y));
      columns[static_cast<std::size_t>(x)] += std::trunc(picture.at(left + x, top + y));
    }
  }
  for (int y = 0; y < height; ++y) {
    EXPECT_EQ(record["rows"][static_cast<std::size_t>(y)]["index"], top + y);
    EXPECT_EQ(record["rows"][static_cast<std::size_t>(y)]["sum"].get<double>(), rows[static_cast<std::size_t>(y)]);
  }
  for (int x = 0; x < width; ++x) {
    EXPECT_EQ(record["columns"][static_cast<std::size_t>(x)]["index"], left + x);
    EXPECT_EQ(record["columns"][static_cast<std::size_t>(x)]["sum"].get<double>(),
              columns[static_cast<std::size_t>(x)]);
  }
}

TEST(Project, RowAndColumnSumsOfEveryType) {
  const Folder folder;
  const std::vector<Picture> pictures = {noisy(Sample::kU8, 0, 256), noisy(Sample::kS8, -128, 256),
                                         noisy(Sample::kU16, 0, 65536), noisy(Sample::kS16, -32768, 65536)};
  std::vector<std::string> files;
  for (const Picture& picture : pictures)
    files.push_back(folder.write(std::to_string(files.size()) + ".tif", tiff(picture)));
  for (const char* level : {"0", "1"}) {
    std::vector<std::string> arguments = {"project", "--format", "json", "--level", level};
    arguments.insert(arguments.end(), files.begin(), files.end());
    const Finished done = vlix(arguments);
    ASSERT_EQ(done.exit_code, 0) << done.err;
    for (std::size_t i = 0; i < pictures.size(); ++i) expect_sums(done.json()[i], pictures[i], 0, 0, 41, 29);
    arguments.insert(arguments.begin() + 1, {"--roi", "7,5,20,11"});
    const Finished region = vlix(arguments);
    for (std::size_t i = 0; i < pictures.size(); ++i) expect_sums(region.json()[i], pictures[i], 7, 5, 20, 11);
  }
}

TEST(Project, FloatPixelsAreTruncatedAndThatIsSaid) {
  const Folder folder;
  const Picture picture = draw(9, 7, Sample::kF32, [](int x, int y) { return 0.75 * x - y; });
  const Finished done = vlix({"project", "--format", "json", folder.write("a.pfm", pfm(picture))});
  ASSERT_EQ(done.exit_code, 0);
  EXPECT_THAT(done.err, HasSubstr("truncated to whole numbers"));
  EXPECT_EQ(lines_of(done.err), 1U);
  expect_sums(done.json()[0], picture, 0, 0, 9, 7);
}

// 40000 columns of 65535 leave 31 bits.
TEST(Project, SumsBeyondThirtyOneBitsDoNotWrap) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(draw(40000, 2, Sample::kU16, [](int, int) { return 65535; })));
  const auto record = vlix({"project", "--rows", "--format", "json", path}).json()[0];
  EXPECT_NEAR(record["rows"][0]["sum"].get<double>(), 40000.0 * 65535, 40000.0 * 65535 * 1e-4);
  EXPECT_FALSE(record.contains("columns"));
}

TEST(Project, PlotIsWellFormed) {
  const Folder folder;
  const std::string path = folder.write("a<&>.png", png(noisy(Sample::kU8, 0, 256)));
  ASSERT_EQ(vlix({"project", "--plot", folder.file("a.svg"), path}).exit_code, 0);
  const std::string svg = read_file(folder.file("a.svg"));
  EXPECT_THAT(svg, testing::StartsWith("<svg "));
  EXPECT_THAT(svg, HasSubstr("a&lt;&amp;&gt;.png"));
  EXPECT_THAT(svg, testing::EndsWith("</svg>\n"));
}

// value = 3 x + 5 y + 7 is what bilinear sampling gives back everywhere.
double plane(double x, double y) { return 3 * x + 5 * y + 7; }

TEST(Profile, SegmentsOverAPlane) {
  const Folder folder;
  const std::string path =
      folder.write("a.pfm", pfm(draw(40, 30, Sample::kF32, [](int x, int y) { return plane(x, y); })));
  struct Segment {
    double x0, y0, x1, y1, spacing;
    std::size_t samples;
  };
  // Lengths are whole multiples of the spacing, but for the last: 10 / 4 leaves half a step, so the end is sampled too.
  for (const Segment& s :
       {Segment{2, 3, 12, 3, 1, 11}, Segment{12, 3, 2, 3, 0.5, 21}, Segment{5, 28, 5, 4, 2, 13},
        Segment{3.5, 4.25, 33.5, 4.25, 1, 31}, Segment{1, 1, 31, 23.5, 2.5, 16}, Segment{0, 0, 10, 0, 4, 4}}) {
    const std::string from = std::to_string(s.x0) + "," + std::to_string(s.y0),
                      to = std::to_string(s.x1) + "," + std::to_string(s.y1);
    const Finished done =
        vlix({"profile", "--format", "json", "--from", from, "--to", to, "--spacing", std::to_string(s.spacing), path});
    ASSERT_EQ(done.exit_code, 0) << done.err;
    const auto samples = done.json()[0]["samples"];
    ASSERT_EQ(samples.size(), s.samples);
    const double length = std::hypot(s.x1 - s.x0, s.y1 - s.y0);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      const double along = std::min(static_cast<double>(i) * s.spacing, length);
      const double x = s.x0 + (s.x1 - s.x0) * along / length, y = s.y0 + (s.y1 - s.y0) * along / length;
      EXPECT_NEAR(samples[i]["distance"].get<double>(), along, 1e-4);
      EXPECT_NEAR(samples[i]["x"].get<double>(), x, 1e-4);
      EXPECT_NEAR(samples[i]["y"].get<double>(), y, 1e-4);
      EXPECT_NEAR(samples[i]["value"].get<double>(), plane(x, y), 2e-3);
    }
  }
}

// Later segments must come out whole too.
TEST(Profile, PathsWithCorners) {
  const Folder folder;
  const std::string image =
      folder.write("a.pfm", pfm(draw(40, 30, Sample::kF32, [](int x, int y) { return plane(x, y); })));
  const std::string path = folder.write("path.csv", "x,y\n2,2\n22,2\n22,22\n32,22\n");
  const Finished done = vlix({"profile", "--format", "json", "--path", path, image});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  const auto samples = done.json()[0]["samples"];
  ASSERT_EQ(samples.size(), 51U);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double t = static_cast<double>(i);
    const double x = t <= 20 ? 2 + t : (t <= 40 ? 22 : t - 18), y = t <= 20 ? 2 : (t <= 40 ? t - 18 : 22);
    EXPECT_NEAR(samples[i]["x"].get<double>(), x, 1e-4) << i;
    EXPECT_NEAR(samples[i]["y"].get<double>(), y, 1e-4) << i;
    EXPECT_NEAR(samples[i]["value"].get<double>(), plane(x, y), 1e-3) << i;
  }
}

// Positions are floats that count from another corner then: a few units in their last place, times the steepest slope.
TEST(Profile, RegionsChangeNothingButWhatIsRead) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(noisy(Sample::kU8, 0, 256)));
  const std::vector<std::string> line = {"profile", "--format", "json", "--from", "10,8", "--to", "25.5,14.5", path};
  std::vector<std::string> inside = line;
  inside.insert(inside.begin() + 1, {"--roi", "9,7,20,10"});
  const auto all = vlix(line).json()[0]["samples"], part = vlix(inside).json()[0]["samples"];
  ASSERT_EQ(all.size(), part.size());
  for (std::size_t i = 0; i < all.size(); ++i) {
    EXPECT_NEAR(all[i]["x"].get<double>(), part[i]["x"].get<double>(), 1e-5);
    EXPECT_NEAR(all[i]["y"].get<double>(), part[i]["y"].get<double>(), 1e-5);
    EXPECT_NEAR(all[i]["value"].get<double>(), part[i]["value"].get<double>(), 2 * 1e-5 * 255);
  }
}

// Summing up the steps ends next to the corner at 0, 0 or beyond it; the places that have no sample then hold zeros.
TEST(Profile, SamplesNextToTheFirstPixelAreTaken) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(draw(300, 90, Sample::kU8, [](int, int) { return 64; })));
  const std::string corner = folder.write("corner.csv", "x,y\n30,0\n0,0\n0,0.3\n");
  const std::vector<std::pair<const char*, const char*>> paths = {
      {"234,0", "0.1"},
      {"204,0", "0.3"},
      {"241.76842242935294,82.40184306096396", "0.13859055166891993"},
      {"0,77", "1"}};
  for (const auto& [from, spacing] : paths) {
    const auto samples =
        vlix({"profile", "--format", "json", "--from", from, "--to", "0,0", "--spacing", spacing, path})
            .json()[0]["samples"];
    for (const auto& sample : samples) EXPECT_EQ(sample["value"], 64) << from << " " << sample;
    EXPECT_NEAR(samples.back()["x"].get<double>(), 0, std::stod(spacing)) << from;
  }
  const auto samples = vlix({"profile", "--format", "json", "--path", corner, path}).json()[0]["samples"];
  ASSERT_EQ(samples.size(), 31U);
  for (const auto& sample : samples) EXPECT_EQ(sample["value"], 64) << sample;
}

TEST(Profile, ColourChannelsComeInTheirOrder) {
  const Folder folder;
  const Picture picture = draw_colour(20, 10, Sample::kU8, 3, [](int x, int y, int c) { return 5 * x + y + 80 * c; });
  const Finished done = vlix({"profile", "--format", "json", "--mode", "nearest", "--from", "2,4", "--to", "9,4",
                              folder.write("a.png", png(picture))});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  const auto samples = done.json()[0]["samples"];
  ASSERT_EQ(samples.size(), 8U);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const int x = 2 + static_cast<int>(i);
    EXPECT_EQ(samples[i]["red"].get<double>(), picture.at(x, 4, 0));
    EXPECT_EQ(samples[i]["green"].get<double>(), picture.at(x, 4, 1));
    EXPECT_EQ(samples[i]["blue"].get<double>(), picture.at(x, 4, 2));
  }
}

TEST(Profile, InvalidPixelsAreSteppedAround) {
  const Folder folder;
  Picture picture = draw(9, 3, Sample::kU8, [](int x, int) { return 10 * x; });
  picture.values[9 + 4] = 255;  // (4, 1)
  const std::string path = folder.write("a.png", png(picture));
  const auto at = [&](const char* y, std::vector<std::string> more) {
    std::vector<std::string> arguments = {
        "profile", "--format", "json", "--from", std::string("3.25,") + y, "--to", std::string("5.25,") + y, path};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return vlix(arguments).json()[0]["samples"][0]["value"].get<double>();
  };
  EXPECT_EQ(at("1", {}), 0.75 * 30 + 0.25 * 255);
  EXPECT_EQ(at("1", {"--invalid", "255"}), 30);
}

TEST(Profile, SenselessPathsAreRefused) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(noisy(Sample::kU8, 0, 256)));
  EXPECT_EQ(vlix({"profile", path}).exit_code, 2);
  EXPECT_EQ(vlix({"profile", "--from", "1,2", path}).exit_code, 2);
  EXPECT_EQ(vlix({"profile", "--from", "1", "--to", "2,3", path}).exit_code, 2);
  EXPECT_EQ(vlix({"profile", "--from", "1,1", "--to", "5,5", "--spacing", "0", path}).exit_code, 2);
  const auto complaint = [&](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "profile");
    arguments.push_back(path);
    const Finished done = vlix(arguments);
    EXPECT_EQ(done.exit_code, 1);
    EXPECT_EQ(lines_of(done.err), 1U) << done.err;
    return done.err;
  };
  EXPECT_THAT(complaint({"--from", "1,1", "--to", "41,5"}),
              HasSubstr("the point 41,5 lies outside the 41 x 29 pixels"));
  EXPECT_THAT(complaint({"--from", "3,3", "--to", "3,3"}), HasSubstr("the path has no length"));
  EXPECT_THAT(complaint({"--path", path}), HasSubstr("is no text file of numbers"));
  EXPECT_THAT(complaint({"--from", "1,1", "--to", "9,9", "--invalid", "256"}), HasSubstr("no value of its pixels"));
  EXPECT_THAT(complaint({"--from", "1,1", "--to", "9,9", "--spacing", "1e-9"}), HasSubstr("larger --spacing"));
  EXPECT_THAT(complaint({"--path", folder.write("p.csv", "1,1\n")}), HasSubstr("p.csv: a path needs two points"));
  EXPECT_THAT(complaint({"--path", folder.file("none.csv")}), HasSubstr("none.csv: does not exist"));
}

TEST(Fit, LineThroughKnownPoints) {
  const Folder folder;
  const std::string on_line = folder.write("a.csv", "x,y\n0,0\n1,1\n2,2\n");
  const std::string level = folder.write("b.csv", "0 5\n10 5\n");
  const auto rows = vlix({"fit", "line", "--format", "json", on_line, level}).json();
  EXPECT_NEAR(rows[0]["angle"].get<double>(), 45, 1e-5);
  EXPECT_NEAR(rows[0]["rho"].get<double>(), 0, 1e-6);
  EXPECT_EQ(rows[1]["angle"], 0.0);
  EXPECT_EQ(rows[1]["rho"], 5.0);
}

TEST(Fit, OutliersAreDiscardedAndTheRestIsKept) {
  const Folder folder;
  std::string text = "x,y\n";
  for (int i = 0; i < 18; ++i) text += std::to_string(i) + "," + std::to_string(2 * i + 3) + "\n";
  const std::string path = folder.write("a.csv", text + "3,60\n14,-20\n");
  const auto row =
      vlix({"fit", "line", "--format", "json", "--discard", "10", "--kept", folder.file("kept.csv"), path}).json()[0];
  EXPECT_EQ(row["points"], 20);
  EXPECT_EQ(row["kept"], 18);
  EXPECT_NEAR(row["angle"].get<double>(), std::atan(2.0) * 180 / std::acos(-1.0), 1e-4);
  EXPECT_NEAR(row["rho"].get<double>(), 3 / std::sqrt(5.0), 1e-5);
  EXPECT_EQ(read_file(folder.file("kept.csv")), text);
}

TEST(Fit, CircleThroughKnownPoints) {
  const Folder folder;
  std::string text;
  for (int i = 0; i < 40; ++i)
    text += std::to_string(100 + 30 * std::cos(i * 0.15)) + ";" + std::to_string(50 + 30 * std::sin(i * 0.15)) + "\n";
  const auto row =
      vlix({"fit", "circle", "--format", "json", "--discard", "5", folder.write("a.csv", text + "100;50\n101;52\n")})
          .json()[0];
  EXPECT_EQ(row["kept"], 40);
  EXPECT_NEAR(row["x"].get<double>(), 100, 1e-3);
  EXPECT_NEAR(row["y"].get<double>(), 50, 1e-3);
  EXPECT_NEAR(row["diameter"].get<double>(), 60, 1e-3);
}

TEST(Fit, PointsThatFitNothing) {
  const Folder folder;
  const std::string one = folder.write("one.csv", "1,2\n"), line = folder.write("line.csv", "0,0\n1,1\n2,2\n");
  const std::string three = folder.write("three.csv", "1,2,3\n4,5,6\n");
  EXPECT_EQ(vlix({"fit", "line", one}).err, "vlix: " + one + ": holds 1 points, 2 are needed\n");
  EXPECT_THAT(vlix({"fit", "circle", line}).err, HasSubstr("no circle goes through these points"));
  EXPECT_THAT(vlix({"fit", "line", three}).err, HasSubstr("has 3 columns"));
  EXPECT_THAT(vlix({"fit", "line", folder.write("inf.csv", "1,inf\n2,3\n")}).err, HasSubstr("not finite"));
  EXPECT_EQ(vlix({"fit", line}).exit_code, 2);
  EXPECT_EQ(vlix({"fit", "line", "--discard", "101", line}).exit_code, 2);
}

}  // namespace
