// SPDX-License-Identifier: Apache-2.0
// vlix match against scores computed by hand.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>

#include "picture.h"
#include "process.h"

namespace {

using testing::HasSubstr;

Picture noisy(int width, int height, Sample sample, int low, int limit) {
  return draw(width, height, sample, [=](int x, int y) { return low + noise(x, y, 11, limit); });
}

Picture cut(const Picture& from, int left, int top, int width, int height) {
  return draw(width, height, from.sample, [&](int x, int y) { return from.at(left + x, top + y); });
}

double coefficient(const Picture& target, const Picture& pattern, int left, int top) {
  long double n = 0, a = 0, b = 0, aa = 0, bb = 0, ab = 0;
  for (int y = 0; y < pattern.height; ++y) {
    for (int x = 0; x < pattern.width; ++x) {
      const long double u = static_cast<long double>(target.at(left + x, top + y));
      const long double v = static_cast<long double>(pattern.at(x, y));
      n += 1, a += u, b += v, aa += u * u, bb += v * v, ab += u * v;
    }
  }
  return static_cast<double>((n * ab - a * b) / std::sqrt((n * aa - a * a) * (n * bb - b * b)));
}

double differences(const Picture& target, const Picture& pattern, int left, int top) {
  double sum = 0;
  for (int y = 0; y < pattern.height; ++y) {
    for (int x = 0; x < pattern.width; ++x) sum += std::fabs(pattern.at(x, y) - target.at(left + x, top + y));
  }
  return std::min(sum, 65535.0);
}

struct Place {
  int x, y;
  double score;
};

// All placements from the best to the worst, those too close to a better one left out.
template <class Score>
std::vector<Place> best_of(const Picture& target, const Picture& pattern, std::size_t count, double distance,
                           Score score) {
  std::vector<Place> all, kept;
  for (int y = 0; y <= target.height - pattern.height; ++y) {
    for (int x = 0; x <= target.width - pattern.width; ++x) all.push_back({x, y, score(target, pattern, x, y)});
  }
  std::stable_sort(all.begin(), all.end(), [](const Place& a, const Place& b) { return a.score > b.score; });
  for (const Place& place : all) {
    const bool far = std::all_of(kept.begin(), kept.end(), [&](const Place& other) {
      return std::hypot(place.x - other.x, place.y - other.y) >= distance;
    });
    if (far && kept.size() < count) kept.push_back(place);
  }
  return kept;
}

void expect_best(const Finished& done, const Place& best, double tolerance) {
  ASSERT_EQ(done.exit_code, 0) << done.err;
  const auto row = done.json()[0];
  EXPECT_EQ(row["x"], best.x);
  EXPECT_EQ(row["y"], best.y);
  EXPECT_NEAR(row["score"].get<double>(), best.score, tolerance);
}

// The marks lie at the places that the samples' truth tells; the next best place is far worse.
TEST(Match, MarksOfTheSample) {
  const auto truth = nlohmann::ordered_json::parse(read_file(VLIX_SAMPLES "/truth.json"))["images"]["marks.png"];
  for (const char* method : {"ncc", "sad"}) {
    const Finished done = vlix({"match", "--format", "json", "--method", method, "--template", VLIX_SAMPLES "/mark.png",
                                "--top", "5", VLIX_SAMPLES "/marks.png"});
    ASSERT_EQ(done.exit_code, 0) << done.err;
    const auto rows = done.json();
    ASSERT_EQ(rows.size(), truth["places"].size());
    for (const auto& place : truth["places"]) {
      const bool found = std::any_of(rows.begin(), rows.end(), [&](const auto& row) {
        return row["x"] == place[0] && row["y"] == place[1] &&
               std::fabs(row["x_refined"].template get<double>() - place[0].template get<double>()) < 0.05 &&
               std::fabs(row["y_refined"].template get<double>() - place[1].template get<double>()) < 0.05;
      });
      EXPECT_TRUE(found) << method << " " << place;
    }
  }
}

// The picture turned by `degrees` around (centre_x, centre_y), each pixel the mean of nine bilinear samples, with
// noise.
Picture disturbed(const Picture& from, double degrees, double centre_x, double centre_y) {
  const double c = std::cos(degrees * 3.14159265358979 / 180);
  const double s = std::sin(degrees * 3.14159265358979 / 180);
  const auto sample = [&](double x, double y) {
    const double u = std::clamp(centre_x + c * (x - centre_x) - s * (y - centre_y), 0.0, from.width - 1.001);
    const double v = std::clamp(centre_y + s * (x - centre_x) + c * (y - centre_y), 0.0, from.height - 1.001);
    const int i = static_cast<int>(u);
    const int k = static_cast<int>(v);
    const double above = from.at(i, k) + (u - i) * (from.at(i + 1, k) - from.at(i, k));
    const double below = from.at(i, k + 1) + (u - i) * (from.at(i + 1, k + 1) - from.at(i, k + 1));
    return above + (v - k) * (below - above);
  };
  return draw(from.width, from.height, Sample::kU8, [&](int x, int y) {
    double sum = 0;
    for (int dy = -1; dy <= 1; ++dy) {
      for (int dx = -1; dx <= 1; ++dx) sum += sample(x + dx, y + dy);
    }
    return std::clamp(std::floor(sum / 9 + noise(x, y, 7, 17) - 8), 0.0, 255.0);
  });
}

// The turn is around the middle of a mark, which therefore stays at its place.
TEST(Match, MarkIsFoundInATurnedBlurredNoisyCopyOfTheSample) {
  const Picture marks = decoded(VLIX_SAMPLES "/marks.png");
  const Picture mark = decoded(VLIX_SAMPLES "/mark.png");
  const auto truth = nlohmann::ordered_json::parse(read_file(VLIX_SAMPLES "/truth.json"))["images"]["marks.png"];
  const Folder folder;
  for (const auto& place : truth["places"]) {
    const int x = place[0];
    const int y = place[1];
    const Picture copy = disturbed(marks, 4, x + (mark.width - 1) / 2.0, y + (mark.height - 1) / 2.0);
    const std::string file = folder.write("copy.png", png(copy));
    for (const char* level : {"0", "1", "2"}) {
      const Finished done = vlix(
          {"match", "--format", "json", "--level", level, "--template", VLIX_SAMPLES "/mark.png", "--top", "5", file});
      ASSERT_EQ(done.exit_code, 0) << done.err;
      const auto rows = done.json();
      const bool found =
          std::any_of(rows.begin(), rows.end(), [&](const auto& row) { return row["x"] == x && row["y"] == y; });
      EXPECT_TRUE(found) << place << " level " << level;
    }
  }
}

TEST(Match, EveryPairOfTypesFindsItsPlace) {
  const Folder folder;
  const Picture base = noisy(40, 30, Sample::kU8, 0, 100);
  std::vector<std::pair<Picture, std::string>> files;
  for (const Sample sample : {Sample::kU8, Sample::kS8, Sample::kU16, Sample::kS16, Sample::kF32}) {
    Picture picture = base;
    picture.sample = sample;
    files.emplace_back(picture, folder.write("target" + std::to_string(files.size()) + ".tif", tiff(picture)));
  }
  std::vector<std::string> targets;
  for (const auto& [picture, path] : files) targets.push_back(path);
  for (const auto& [picture, path] : files) {
    const std::string pattern = folder.write("pattern.tif", tiff(cut(picture, 23, 7, 9, 8)));
    for (const char* method : {"ncc", "sad"}) {
      std::vector<std::string> arguments = {"match", "--format", "json", "--method", method, "--template", pattern};
      arguments.insert(arguments.end(), targets.begin(), targets.end());
      const Finished done = vlix(arguments);
      ASSERT_EQ(done.exit_code, 0) << done.err;
      for (const auto& row : done.json()) {
        EXPECT_EQ(row["x"], 23);
        EXPECT_EQ(row["y"], 7);
        EXPECT_NEAR(row["score"].get<double>(), std::string(method) == "ncc" ? 1 : 0, 1e-5);
      }
    }
  }
}

TEST(Match, ScoresAreTheCoefficientsAndSums) {
  const Folder folder;
  const Picture target = noisy(33, 29, Sample::kU8, 0, 256), other = noisy(7, 6, Sample::kU8, 40, 90);
  const std::string a = folder.write("a.png", png(target)), b = folder.write("b.png", png(other));
  for (const char* level : {"0", "1", "2"}) {
    expect_best(vlix({"match", "--format", "json", "--level", level, "--template", b, a}),
                best_of(target, other, 1, 0, coefficient)[0], 1e-5);
    expect_best(
        vlix({"match", "--format", "json", "--level", level, "--method", "sad", "--template", b, a}),
        [&] {
          const Place least = best_of(target, other, 1, 0, [](const Picture& t, const Picture& p, int x, int y) {
            return -differences(t, p, x, y);
          })[0];
          return Place{least.x, least.y, -least.score};
        }(),
        0);
  }
}

TEST(Match, FourierScoreIsTheCorrelationDividedByTheTargetsPixels) {
  const Folder folder;
  const Picture target = noisy(25, 19, Sample::kU8, 0, 256), other = noisy(6, 5, Sample::kU8, 0, 256);
  const auto product = [](const Picture& t, const Picture& p, int left, int top) {
    double sum = 0;
    for (int y = 0; y < p.height; ++y) {
      for (int x = 0; x < p.width; ++x) sum += p.at(x, y) * t.at(left + x, top + y);
    }
    return sum / (t.width * t.height);
  };
  const Place best = best_of(target, other, 1, 0, product)[0];
  expect_best(vlix({"match", "--format", "json", "--method", "fft", "--template", folder.write("b.png", png(other)),
                    folder.write("a.png", png(target))}),
              best, 1e-4 * best.score);
}

TEST(Match, PlacementsKeepTheirDistance) {
  const Folder folder;
  const Picture target = draw(60, 40, Sample::kU8, [](int x, int y) {
    return std::round(100 + 60 * std::sin(x / 3.0) * std::cos(y / 4.0)) + noise(x, y, 1, 5);
  });
  const Picture pattern = cut(target, 20, 15, 8, 8);
  const std::string a = folder.write("a.png", png(target)), b = folder.write("b.png", png(pattern));
  const Finished done = vlix({"match", "--format", "json", "--template", b, "--top", "20", "--min-distance", "10", a});
  ASSERT_EQ(done.exit_code, 0) << done.err;
  const auto rows = done.json();
  ASSERT_GT(rows.size(), 3U);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const int x = rows[i]["x"], y = rows[i]["y"];
    EXPECT_EQ(rows[i]["rank"], i + 1);
    EXPECT_NEAR(rows[i]["score"].get<double>(), coefficient(target, pattern, x, y), 1e-5);
    for (std::size_t k = 0; k < i; ++k) {
      EXPECT_GE(std::hypot(x - rows[k]["x"].get<int>(), y - rows[k]["y"].get<int>()), 10);
      EXPECT_GE(rows[k]["score"].get<double>(), rows[i]["score"].get<double>());
    }
  }
}

// Comparing each with each would take minutes.
TEST(Match, VeryManyPlacements) {
  const Folder folder;
  const std::string path = folder.write("a.pgm", pnm(noisy(600, 600, Sample::kU8, 0, 256)));
  for (const char* distance : {"0", "1.5", "4"}) {
    const Finished done = vlix({"match", "--format", "csv", "--method", "sad", "--template-roi", "5,5,2,2", "--top",
                                "1000000", "--min-distance", distance, path});
    ASSERT_EQ(done.exit_code, 0) << done.err;
    EXPECT_GT(lines_of(done.out), 3000U);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_LT(done.processor_seconds, 5);
#endif
  }
}

TEST(Match, ThresholdEndsTheList) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(noisy(40, 30, Sample::kU8, 0, 256)));
  const auto ncc =
      vlix({"match", "--format", "json", "--template-roi", "3,4,9,9", "--top", "50", "--threshold", "0.9", path})
          .json();
  ASSERT_EQ(ncc.size(), 1U);
  EXPECT_EQ(ncc[0]["x"], 3);
  EXPECT_EQ(ncc[0]["y"], 4);
  const auto sad = vlix({"match", "--format", "json", "--method", "sad", "--template-roi", "3,4,9,9", "--top", "50",
                         "--threshold", "100", path})
                       .json();
  ASSERT_EQ(sad.size(), 1U);
  EXPECT_EQ(sad[0]["score"], 0);
}

TEST(Match, RegionsCountFromTheWholeImage) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(noisy(60, 50, Sample::kU8, 0, 256)));
  const auto row =
      vlix({"match", "--format", "json", "--roi", "20,10,35,35", "--template-roi", "31,17,9,9", path}).json()[0];
  EXPECT_EQ(row["x"], 31);
  EXPECT_EQ(row["y"], 17);
}

// A Gaussian spot between the pixels: the quadratic surface must meet its place to a tenth of a pixel.
TEST(Match, PeaksAreRefinedBelowAPixel) {
  const Folder folder;
  const auto spot = [](double cx, double cy) {
    return [=](int x, int y) {
      return std::round(20 + 200 * std::exp(-(std::pow(x - cx, 2) + std::pow(y - cy, 2)) / 18));
    };
  };
  const std::string pattern = folder.write("b.png", png(draw(25, 25, Sample::kU8, spot(12, 12))));
  for (const double shift : {-0.4, 0.0, 0.25}) {
    const std::string target = folder.write("a.png", png(draw(70, 60, Sample::kU8, spot(30 + shift, 28 - shift))));
    const auto row = vlix({"match", "--format", "json", "--template", pattern, target}).json()[0];
    EXPECT_NEAR(row["x_refined"].get<double>(), 18 + shift, 0.1);
    EXPECT_NEAR(row["y_refined"].get<double>(), 16 - shift, 0.1);
  }
}

TEST(Match, ScoreImagesHaveAPixelPerPlacement) {
  const Folder folder;
  const Picture target = noisy(30, 20, Sample::kU8, 0, 256);
  const std::string path = folder.write("a.png", png(target)), scores = folder.file("scores.tif");
  const Picture pattern = cut(target, 5, 6, 7, 7);
  ASSERT_EQ(vlix({"match", "--method", "sad", "--template-roi", "5,6,7,7", "--scores", scores, path}).exit_code, 0);
  const auto info = vlix({"info", "--format", "json", scores}).json()[0];
  EXPECT_EQ(info["type"], "U16");
  EXPECT_EQ(info["width"], 24);
  EXPECT_EQ(info["height"], 14);
  const auto pixel = vlix({"stats", "--format", "json", "--roi", "11,3,1,1", scores}).json()[0];
  EXPECT_EQ(pixel["mean"].get<double>(), differences(target, pattern, 11, 3));
  ASSERT_EQ(vlix({"match", "--template-roi", "5,6,7,7", "--scores", scores, path}).exit_code, 0);
  const auto ncc = vlix({"stats", "--format", "json", "--roi", "11,3,1,1", scores}).json()[0];
  EXPECT_EQ(ncc["type"], "F32");
  EXPECT_NEAR(ncc["mean"].get<double>(), coefficient(target, pattern, 11, 3), 1e-5);
}

TEST(Match, WhatMakesNoSenseIsRefused) {
  const Folder folder;
  const std::string small = folder.write("small.png", png(noisy(8, 8, Sample::kU8, 0, 256)));
  const std::string large = folder.write("large.png", png(noisy(9, 8, Sample::kU8, 0, 256)));
  EXPECT_EQ(vlix({"match", small}).exit_code, 2);
  EXPECT_EQ(vlix({"match", "--template", small, "--template-roi", "0,0,2,2", small}).exit_code, 2);
  EXPECT_EQ(vlix({"match", "--template", small, "--scores", "x.tif", small, small}).exit_code, 2);
  for (const char* method : {"ncc", "sad", "fft"}) {
    const Finished done = vlix({"match", "--method", method, "--template", large, small});
    EXPECT_EQ(done.exit_code, 1);
    EXPECT_EQ(done.err, "vlix: " + small + ": the template of 9 x 8 pixels is larger than the 8 x 8 target\n");
  }
  const Finished none = vlix({"match", "--template", folder.file("none.png"), small});
  EXPECT_EQ(none.exit_code, 1);
  EXPECT_THAT(none.err, HasSubstr("none.png: does not exist"));
}

}  // namespace
