// SPDX-License-Identifier: Apache-2.0
// vlix gauge circle against circles of known place and size.
#include <gmock/gmock.h>

#include <cmath>

#include "picture.h"
#include "process.h"

namespace {

using testing::HasSubstr;

struct Disc {
  double x, y, radius;
};

constexpr double kTolerance = 0.05;  // pixels, in centre and diameter

// A disc drawn at 8 x 8 points per pixel, blurred there by a Gaussian, averaged over each pixel: the true convolution
// of disc, lens and pixel, whose half height lies inside of the border where the border is curved.
Picture blurred_disc(int size, const Disc& disc, double blur, double inside, double outside, Sample sample,
                     const std::function<double(int, int)>& light) {
  constexpr int kFine = 8;
  const int fine = size * kFine, reach = static_cast<int>(std::ceil(4 * blur * kFine));
  std::vector<double> weights;
  double total = 0;
  for (int i = -reach; i <= reach; ++i) total += weights.emplace_back(std::exp(-0.5 * std::pow(i / (blur * kFine), 2)));
  const auto centre_of = [](int i) { return (i + 0.5) / kFine - 0.5; };

  // Rows of the disc are intervals, so the horizontal blur of a fine row is a difference of two running sums.
  std::vector<double> running = {0};
  for (const double w : weights) running.push_back(running.back() + w / total);
  const auto blurred_step = [&](double from) {  // weight of the points whose column is at least `from`
    const double index = std::clamp(reach - std::ceil(from) + 1, 0.0, static_cast<double>(weights.size()));
    return running[static_cast<std::size_t>(index)];
  };
  std::vector<double> rows(static_cast<std::size_t>(fine * size));
  for (int y = 0; y < fine; ++y) {
    const double half = disc.radius * disc.radius - std::pow(centre_of(y) - disc.y, 2);
    if (half <= 0) continue;
    const double left = (disc.x - std::sqrt(half) + 0.5) * kFine - 0.5,
                 right = (disc.x + std::sqrt(half) + 0.5) * kFine - 0.5;
    for (int x = 0; x < size; ++x) {
      double sum = 0;
      for (int i = x * kFine; i < (x + 1) * kFine; ++i) sum += blurred_step(left - i) - blurred_step(right - i);
      rows[static_cast<std::size_t>(y * size + x)] = sum / kFine;
    }
  }
  return draw(size, size, sample, [&](int x, int y) {
    double share = 0;
    for (int fy = y * kFine; fy < (y + 1) * kFine; ++fy) {
      for (int i = -reach; i <= reach; ++i) {
        const int from = std::clamp(fy + i, 0, fine - 1);
        share += rows[static_cast<std::size_t>(from * size + x)] * weights[static_cast<std::size_t>(i + reach)] /
                 total / kFine;
      }
    }
    const double value = (outside + (inside - outside) * share) * light(x, y);
    return sample == Sample::kF32 ? value : std::round(value);
  });
}

const auto kEven = [](int, int) { return 1.0; };

void expect_circle(const nlohmann::ordered_json& row, const Disc& disc) {
  EXPECT_NEAR(row["x"].get<double>(), disc.x, kTolerance) << row;
  EXPECT_NEAR(row["y"].get<double>(), disc.y, kTolerance) << row;
  EXPECT_NEAR(row["diameter"].get<double>(), 2 * disc.radius, kTolerance) << row;
}

// What the samples were drawn with is in truth.json, next to them.
nlohmann::ordered_json truth() {
  return nlohmann::ordered_json::parse(read_file(VLIX_SAMPLES "/truth.json"))["images"];
}

std::vector<Disc> discs_of(const nlohmann::ordered_json& list) {
  std::vector<Disc> discs;
  for (const auto& d : list) discs.push_back({d["centre"][0], d["centre"][1], d["diameter"].get<double>() / 2});
  return discs;
}

std::string csv_of(const std::vector<Disc>& discs, double off) {
  std::string text = "x,y,diameter\n";
  for (const Disc& d : discs) {
    text +=
        std::to_string(d.x + off) + "," + std::to_string(d.y - off) + "," + std::to_string(2 * d.radius + off) + "\n";
  }
  return text;
}

void expect_sample(const std::string& image, const std::vector<Disc>& discs) {
  const Folder folder;
  for (const double off : {0.0, 3.0}) {
    const std::string circles = folder.write("circles.csv", csv_of(discs, off));
    const Finished done = vlix({"gauge", "circle", "--format", "json", "--circles", circles, VLIX_SAMPLES "/" + image});
    ASSERT_EQ(done.exit_code, 0) << done.err;
    const auto rows = done.json();
    ASSERT_EQ(rows.size(), discs.size());
    for (std::size_t i = 0; i < discs.size(); ++i) {
      SCOPED_TRACE(image + " circle " + std::to_string(i));
      expect_circle(rows[i], discs[i]);
      EXPECT_NEAR(rows[i]["x_error"].get<double>() + off, rows[i]["x"].get<double>() - discs[i].x, 1e-4);
      EXPECT_NEAR(rows[i]["diameter_error"].get<double>() + off,
                  rows[i]["diameter"].get<double>() - 2 * discs[i].radius, 1e-4);
    }
  }
}

TEST(Gauge, EveryHoleOfThePlate) { expect_sample("plate.png", discs_of(truth()["plate.png"]["holes"])); }

TEST(Gauge, SixteenBitPins) { expect_sample("pins.tif", discs_of(truth()["pins.tif"]["discs"])); }

TEST(Gauge, PlateauOfFloatHeights) {
  expect_sample("heights.tif", discs_of(nlohmann::ordered_json::array({truth()["heights.tif"]["plateau"]})));
}

// Without the correction for the curvature of the blurred edge the smallest of these would be off by more than 0.1
// pixel.
TEST(Gauge, SmallDiscsAreNotShrunkByBlur) {
  const Folder folder;
  for (const double radius : {9.0, 12.4, 20.3}) {
    for (const double blur : {0.6, 1.0}) {
      SCOPED_TRACE(testing::Message() << "radius " << radius << ", blur " << blur);
      const Disc disc = {31.3, 32.8, radius};
      const std::string path =
          folder.write("disc.pfm", pfm(blurred_disc(64, disc, blur, 200, 20, Sample::kF32, kEven)));
      const Finished done =
          vlix({"gauge", "circle", "--format", "json", "--center", "31,33", "--radius", std::to_string(radius), path});
      ASSERT_EQ(done.exit_code, 0) << done.err;
      expect_circle(done.json()[0], disc);
    }
  }
}

TEST(Gauge, DarkHolesUnderUnevenLight) {
  const Folder folder;
  const Disc disc = {47.6, 49.1, 30.2};
  const auto light = [](int x, int y) { return 0.8 + 0.003 * x + 0.001 * y; };
  const std::string path = folder.write("hole.png", png(blurred_disc(96, disc, 0.8, 30, 180, Sample::kU8, light)));
  const Finished done = vlix({"gauge", "circle", "--format", "json", "--center", "49,47", "--radius", "28", path});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  expect_circle(done.json()[0], disc);
}

// A notch takes a twelfth of the border away; its points are the ones that the fit discards.
TEST(Gauge, NotchIsRejected) {
  const Folder folder;
  const Disc disc = {48, 48, 30};
  Picture picture = blurred_disc(96, disc, 0.7, 200, 20, Sample::kU8, kEven);
  for (int y = 41; y < 56; ++y) {
    for (int x = 75; x < 96; ++x) picture.values[static_cast<std::size_t>(y * 96 + x)] = 20;
  }
  const std::string path = folder.write("notch.png", png(picture));
  const Finished done =
      vlix({"gauge", "circle", "--format", "json", "--center", "48,48", "--radius", "30", "--discard", "15", path});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  expect_circle(done.json()[0], disc);
}

TEST(Gauge, RegionsDoNotMoveTheResult) {
  const Folder folder;
  const Disc disc = {40.25, 39.5, 18};
  const std::string path = folder.write("disc.png", png(blurred_disc(80, disc, 0.7, 200, 20, Sample::kU8, kEven)));
  const Finished done =
      vlix({"gauge", "circle", "--format", "json", "--roi", "9,10,64,61", "--center", "40,40", "--radius", "18", path});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  expect_circle(done.json()[0], disc);
}

TEST(Gauge, OverlayShowsTheCircleInColour) {
  const Folder folder;
  const Disc disc = {32, 32, 15};
  const std::string path = folder.write("disc.png", png(blurred_disc(64, disc, 0.7, 200, 20, Sample::kU8, kEven)));
  const std::string overlay = folder.file("found.png");
  ASSERT_EQ(vlix({"gauge", "circle", "--center", "32,32", "--radius", "15", "--overlay", overlay, path}).exit_code, 0);
  const auto info = vlix({"info", "--format", "json", overlay}).json()[0];
  EXPECT_EQ(info["type"], "Rgba8");
  EXPECT_EQ(info["width"], 64);
  const auto channel = [&](const char* roi, int c) {
    return vlix({"stats", "--format", "json", "--roi", roi, overlay})
        .json()[static_cast<std::size_t>(c)]["mean"]
        .get<double>();
  };
  EXPECT_GT(channel("43,21,1,1", 0), channel("43,21,1,1", 1) + 50) << "the border is drawn in red";
  EXPECT_EQ(channel("2,2,5,5", 0), 20);
  EXPECT_EQ(channel("2,2,5,5", 2), 20);
}

TEST(Gauge, NoCircleIsACleanFailure) {
  const Folder folder;
  const std::string path = folder.write("flat.png", png(draw(64, 64, Sample::kU8, [](int, int) { return 90; })));
  const Finished done = vlix({"gauge", "circle", "--center", "32,32", "--radius", "10", path});
  EXPECT_EQ(done.exit_code, 1);
  EXPECT_EQ(lines_of(done.err), 1U);
  EXPECT_THAT(done.err, HasSubstr("circle at 32,32: no edge"));
  EXPECT_EQ(vlix({"gauge", "circle", "--center", "500,500", "--radius", "10", path}).exit_code, 1);
  EXPECT_EQ(vlix({"gauge", "circle", "--center", "32,32", path}).exit_code, 2);
  EXPECT_EQ(vlix({"gauge", "circle", "--center", "32,32", "--radius", "-4", path}).exit_code, 2);
}

}  // namespace
