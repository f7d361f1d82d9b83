// SPDX-License-Identifier: Apache-2.0
#include "scenes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

#include "canvas.h"

namespace samples {
namespace {

using Json = nlohmann::ordered_json;

// Six decimals: the last digits of the machine's mathematical functions do not show.
double rounded(double value) { return std::round(value * 1e6) / 1e6; }

double pixels(int64_t length) { return static_cast<double>(length) / kPixel; }

Json json_of(Point p) { return {pixels(p.x), pixels(p.y)}; }

Json json_of(const Circle& circle) {
  return {{"centre", json_of(circle.centre)}, {"diameter", pixels(2 * circle.radius)}};
}

Json json_of(const std::vector<Circle>& circles) {
  Json list = Json::array();
  for (const Circle& circle : circles) list.push_back(json_of(circle));
  return list;
}

// -x sin(angle) + y cos(angle) = rho, with the angle in (-90, 90] degrees.
Json json_of_line(const char* name, Point a, Point b) {
  const double pi = std::acos(-1.0);
  double angle = std::atan2(b.y - a.y, b.x - a.x);
  if (angle <= -pi / 2) angle += pi;
  if (angle > pi / 2) angle -= pi;
  const double rho = -pixels(a.x) * std::sin(angle) + pixels(a.y) * std::cos(angle);
  return {{"name", name},
          {"angle", rounded(angle * 180 / pi)},
          {"rho", rounded(rho)},
          {"points", Json::array({json_of(a), json_of(b)})}};
}

// The least and the greatest light, as factors of the grey levels.
Json json_of(const Light& light, const Canvas& canvas) {
  int64_t low = light_at(light, canvas, 0, 0);
  int64_t high = low;
  for (int32_t y = 0; y < canvas.height; ++y) {
    for (int32_t x = 0; x < canvas.width; ++x) {
      low = std::min(low, light_at(light, canvas, x, y));
      high = std::max(high, light_at(light, canvas, x, y));
    }
  }
  return {rounded(static_cast<double>(low) / 65536), rounded(static_cast<double>(high) / 65536)};
}

constexpr Point at(double x, double y) { return {static_cast<int32_t>(x * kPixel), static_cast<int32_t>(y * kPixel)}; }

constexpr Circle circle(double x, double y, double diameter) {
  return {at(x, y), static_cast<int32_t>(diameter * kPixel / 2)};
}

bool is_in_any(const std::vector<Circle>& circles, Point p) {
  return std::any_of(circles.begin(), circles.end(), [p](const Circle& c) { return contains(c, p); });
}

Sample plate() {
  constexpr int64_t kBackground = 40;
  constexpr int64_t kPart = 190;
  constexpr int64_t kSigma = kLevel;
  constexpr Light kLight = {3, 2, 200};
  const std::vector<Point> corners = {at(81.25, 73.5), at(716.75, 56.25), at(729.5, 526.0), at(94.0, 543.25)};
  const std::vector<Circle> holes = {
      circle(158.3125, 141.6875, 54.25),  circle(312.71875, 128.15625, 64.5),  circle(486.4375, 131.5625, 56.75),
      circle(641.90625, 135.28125, 83.0), circle(402.53125, 298.46875, 130.5), circle(188.59375, 301.78125, 94.25),
      circle(621.15625, 318.6875, 57.5),  circle(166.84375, 462.34375, 70.25), circle(320.28125, 455.71875, 48.5),
      circle(473.6875, 468.59375, 76.75), circle(637.40625, 452.125, 61.0)};

  Canvas canvas(800, 600, kBackground);
  paint(
      canvas, [&](Point p) { return contains(corners, p) && !is_in_any(holes, p); }, kPart);
  blur(canvas);
  shine(canvas, kLight);
  add_noise(canvas, kSigma, 1);

  Json truth = {{"description", "drilled plate, brighter than the background, which shows through the holes"},
                {"levels", {{"background", kBackground}, {"part", kPart}}},
                {"light", json_of(kLight, canvas)},
                {"noiseSigma", 1}};
  truth["edges"] =
      Json::array({json_of_line("top", corners[0], corners[1]), json_of_line("right", corners[1], corners[2]),
                   json_of_line("bottom", corners[2], corners[3]), json_of_line("left", corners[3], corners[0])});
  truth["holes"] = json_of(holes);
  return {"plate.png", canvas.width, canvas.height, Pixels::kU8, levels(canvas, 255), 1, truth};
}

Sample pins() {
  constexpr int64_t kBackground = 4000;
  constexpr int64_t kPart = 48000;
  constexpr int64_t kSigma = kLevel * 96;
  const std::vector<Circle> heads = {circle(48.3125, 44.75, 40.5), circle(128.59375, 52.15625, 58.25),
                                     circle(207.8125, 45.46875, 44.0), circle(70.21875, 136.6875, 71.5),
                                     circle(183.34375, 133.90625, 84.75)};
  Canvas canvas(256, 192, kBackground);
  paint(
      canvas, [&](Point p) { return is_in_any(heads, p); }, kPart);
  blur(canvas);
  add_noise(canvas, kSigma, 2);
  const Json truth = {{"description", "round heads of pins, brighter than the background"},
                      {"levels", {{"background", kBackground}, {"part", kPart}}},
                      {"noiseSigma", 96},
                      {"discs", json_of(heads)}};
  return {"pins.tif", canvas.width, canvas.height, Pixels::kU16, levels(canvas, 65535), 1, truth};
}

// Heights in micrometres: a tilted plane with a round plateau. Drawn in 4096ths, which floats hold exactly.
Sample heights() {
  constexpr int64_t kUnit = 4096;
  constexpr int64_t kBase = -12;
  constexpr int64_t kStep = 25;
  constexpr int64_t kTiltX = 205;  // 4096ths per pixel
  constexpr int64_t kTiltY = -123;
  const Circle plateau = circle(77.40625, 61.71875, 54.5);
  Canvas canvas(160, 120, 0);
  paint(
      canvas, [&](Point p) { return contains(plateau, p); }, kStep * kUnit);
  add_noise(canvas, kLevel * 50, 3);
  for (int32_t y = 0; y < canvas.height; ++y) {
    for (int32_t x = 0; x < canvas.width; ++x) canvas.at(x, y) += (kBase * kUnit + kTiltX * x + kTiltY * y) * kLevel;
  }
  std::vector<int64_t> values(canvas.values.size());
  std::transform(canvas.values.begin(), canvas.values.end(), values.begin(), [](int64_t value) { return value >> 16; });
  const Json truth = {{"description", "heights in micrometres: a tilted plane with a round plateau"},
                      {"plane",
                       {{"atOrigin", kBase},
                        {"perColumn", static_cast<double>(kTiltX) / kUnit},
                        {"perRow", static_cast<double>(kTiltY) / kUnit}}},
                      {"step", kStep},
                      {"noiseSigma", rounded(50.0 / kUnit)},
                      {"plateau", json_of(plateau)}};
  return {"heights.tif", canvas.width, canvas.height, Pixels::kF32, values, kUnit, truth};
}

Sample tokens() {
  using Colour = std::array<int64_t, 3>;
  constexpr Colour kBackground = {96, 92, 84};
  struct Token {
    const char* name;
    Circle disc;
    Colour colour;
  };
  const std::vector<Token> discs = {{"red", circle(67.59375, 71.3125, 90.5), {208, 52, 44}},
                                    {"green", circle(170.28125, 128.65625, 81.25), {56, 176, 68}},
                                    {"blue", circle(257.71875, 66.40625, 72.0), {48, 72, 196}}};
  constexpr int32_t kWidth = 320;
  constexpr int32_t kHeight = 192;
  std::vector<int64_t> values(3 * kWidth * kHeight);
  Json list = Json::array();
  for (const Token& token : discs) {
    Json entry = {{"name", token.name}, {"levels", token.colour}};
    entry.update(json_of(token.disc));
    list.push_back(entry);
  }
  for (std::size_t channel = 0; channel < 3; ++channel) {
    Canvas canvas(kWidth, kHeight, kBackground[channel]);
    for (const Token& token : discs) {
      paint(
          canvas, [&](Point p) { return contains(token.disc, p); }, token.colour[channel]);
    }
    blur(canvas);
    add_noise(canvas, kLevel, 4 + channel);
    const std::vector<int64_t> plane = levels(canvas, 255);
    for (std::size_t i = 0; i < plane.size(); ++i) values[3 * i + channel] = plane[i];
  }
  const Json truth = {{"description", "coloured discs; levels are those of red, green, blue"},
                      {"levels", {{"background", kBackground}}},
                      {"noiseSigma", 1},
                      {"discs", list}};
  return {"tokens.png", kWidth, kHeight, Pixels::kRgb8, values, 1, truth};
}

// A ring with a cross inside, drawn around the middle of a square.
constexpr int32_t kMarkSize = 33;
void paint_mark(Canvas& canvas, int32_t left, int32_t top) {
  constexpr int64_t kInk = 215;
  const Point middle = {(left + kMarkSize / 2) * kPixel, (top + kMarkSize / 2) * kPixel};
  const auto inside = [&](Point p) {
    const int32_t dx = std::abs(p.x - middle.x);
    const int32_t dy = std::abs(p.y - middle.y);
    const bool ring = contains(Circle{middle, 14 * kPixel}, p) && !contains(Circle{middle, 11 * kPixel}, p);
    const bool bars = (dx < 2 * kPixel && dy < 8 * kPixel) || (dy < 2 * kPixel && dx < 8 * kPixel);
    return ring || bars;
  };
  paint(canvas, inside, kInk);
}

constexpr int64_t kBoard = 84;

Sample marks() {
  constexpr int64_t kSigma = kLevel * 3 / 2;
  constexpr Light kLight = {12, -8, 100};
  const std::vector<std::array<int32_t, 2>> places = {{17, 22}, {143, 11}, {80, 88}, {201, 97}, {26, 141}};
  const std::vector<Circle> others = {circle(100.5, 40.25, 27.5), circle(217.75, 38.5, 31.0),
                                      circle(160.25, 150.75, 40.5), circle(38.0, 100.25, 22.25)};
  Canvas canvas(256, 192, kBoard);
  paint(
      canvas, [&](Point p) { return is_in_any(others, p); }, 160);
  for (const auto& [left, top] : places) paint_mark(canvas, left, top);
  blur(canvas);
  shine(canvas, kLight);
  add_noise(canvas, kSigma, 7);
  const Json truth = {{"description", "marks to be found with mark.png; places are those of its upper left pixel"},
                      {"template", "mark.png"},
                      {"light", json_of(kLight, canvas)},
                      {"noiseSigma", 1.5},
                      {"places", places}};
  return {"marks.png", canvas.width, canvas.height, Pixels::kU8, levels(canvas, 255), 1, truth};
}

Sample mark() {
  Canvas canvas(kMarkSize, kMarkSize, kBoard);
  paint_mark(canvas, 0, 0);
  blur(canvas);
  const Json truth = {{"description", "the mark of marks.png without noise"}};
  return {"mark.png", canvas.width, canvas.height, Pixels::kU8, levels(canvas, 255), 1, truth};
}

}  // namespace

std::vector<Sample> all_samples() { return {plate(), pins(), heights(), tokens(), marks(), mark()}; }

}  // namespace samples
