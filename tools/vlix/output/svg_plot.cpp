// SPDX-License-Identifier: Apache-2.0
#include "output/svg_plot.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

constexpr double kWidth = 800, kHeight = 400;
constexpr double kLeft = 80, kRight = 20, kTop = 40, kBottom = 50;
constexpr std::array<const char*, 6> kColours = {"#1f5fa8", "#c0392b", "#27803b", "#8e44ad", "#b9770e", "#117a8b"};

struct Range {
  double low = INFINITY, high = -INFINITY;

  void add(double value) {
    if (!std::isfinite(value)) return;
    low = std::min(low, value);
    high = std::max(high, value);
  }

  // At least a little wide, so that there is something to divide by.
  void widen() {
    if (low > high) low = 0, high = 1;
    if (low == high) low -= 0.5, high += 0.5;
  }
};

// 1, 2 or 5 times a power of ten, so that about five steps cover the range.
double step_of(const Range& range) {
  const double rough = (range.high - range.low) / 5;
  const double power = std::pow(10, std::floor(std::log10(rough)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (rough <= factor * power) return factor * power;
  }
  return 10 * power;
}

std::string escaped(const std::string& text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      default: out += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
    }
  }
  return out;
}

class Canvas {
 public:
  Canvas(const Range& x, const Range& y) : x_(x), y_(y) {}

  double column(double x) const { return kLeft + (x - x_.low) / (x_.high - x_.low) * (kWidth - kLeft - kRight); }
  double row(double y) const {
    return kHeight - kBottom - (y - y_.low) / (y_.high - y_.low) * (kHeight - kTop - kBottom);
  }

  std::string axes() const {
    std::string svg;
    const double x_step = step_of(x_), y_step = step_of(y_);
    for (double x = std::ceil(x_.low / x_step) * x_step; x <= x_.high * (1 + 1e-12); x += x_step) {
      svg += fmt::format("<path class=\"grid\" d=\"M{0:.1f} {1:.1f}V{2:.1f}\"/>\n", column(x), kTop, kHeight - kBottom);
      svg += fmt::format("<text x=\"{:.1f}\" y=\"{:.1f}\" text-anchor=\"middle\">{}</text>\n", column(x),
                         kHeight - kBottom + 18, label(x, x_step));
    }
    for (double y = std::ceil(y_.low / y_step) * y_step; y <= y_.high * (1 + 1e-12); y += y_step) {
      svg += fmt::format("<path class=\"grid\" d=\"M{:.1f} {:.1f}H{:.1f}\"/>\n", kLeft, row(y), kWidth - kRight);
      svg += fmt::format("<text x=\"{:.1f}\" y=\"{:.1f}\" text-anchor=\"end\">{}</text>\n", kLeft - 6, row(y) + 4,
                         label(y, y_step));
    }
    return svg;
  }

 private:
  // Sums of steps that come out next to zero are zero.
  static std::string label(double value, double step) {
    return fmt::format("{:.6g}", std::fabs(value) < step / 1000 ? 0 : value);
  }

  Range x_, y_;
};

std::string line_of(const Canvas& canvas, const Curve& curve, const std::string& colour) {
  std::string path;
  bool pen_down = false;
  for (std::size_t i = 0; i < curve.x.size(); ++i) {
    const bool drawn = std::isfinite(curve.x[i]) && std::isfinite(curve.y[i]);
    if (drawn)
      path += fmt::format("{}{:.2f} {:.2f}", pen_down ? "L" : "M", canvas.column(curve.x[i]), canvas.row(curve.y[i]));
    pen_down = drawn;
  }
  return fmt::format("<path class=\"curve\" stroke=\"{}\" d=\"{}\"/>\n", colour, path);
}

// The last bar is as wide as the one before it.
std::string bars_of(const Canvas& canvas, const Curve& curve, const std::string& colour) {
  std::string path;
  for (std::size_t i = 0; i < curve.x.size(); ++i) {
    const std::size_t from = i + 1 < curve.x.size() || i == 0 ? i : i - 1;
    const double width = from + 1 < curve.x.size() ? curve.x[from + 1] - curve.x[from] : 1;
    path += fmt::format("M{:.2f} {:.2f}V{:.2f}H{:.2f}V{:.2f}Z", canvas.column(curve.x[i]), canvas.row(0),
                        canvas.row(curve.y[i]), canvas.column(curve.x[i] + width), canvas.row(0));
  }
  return fmt::format("<path fill=\"{}\" fill-opacity=\"0.6\" d=\"{}\"/>\n", colour, path);
}

std::string legend_of(const std::vector<Curve>& curves, const std::vector<std::string>& colours) {
  std::string svg;
  if (curves.size() < 2) return svg;
  for (std::size_t i = 0; i < curves.size(); ++i) {
    svg +=
        fmt::format("<text x=\"{:.1f}\" y=\"{:.1f}\" text-anchor=\"end\" fill=\"{}\">{}</text>\n", kWidth - kRight - 8,
                    kTop + 16 + 16 * static_cast<double>(i), colours[i], escaped(curves[i].name));
  }
  return svg;
}

std::string frame_of(const Plot& plot) {
  const double middle = (kLeft + kWidth - kRight) / 2;
  std::string svg = fmt::format("<path class=\"frame\" d=\"M{} {}H{}V{}H{}Z\"/>\n", kLeft, kTop, kWidth - kRight,
                                kHeight - kBottom, kLeft);
  svg += fmt::format("<text x=\"{}\" y=\"24\" text-anchor=\"middle\" font-size=\"15\">{}</text>\n", middle,
                     escaped(plot.title));
  svg += fmt::format("<text x=\"{}\" y=\"{}\" text-anchor=\"middle\">{}</text>\n", middle, kHeight - 10,
                     escaped(plot.x_label));
  svg += fmt::format("<text transform=\"translate(16 {}) rotate(-90)\" text-anchor=\"middle\">{}</text>\n",
                     (kTop + kHeight - kBottom) / 2, escaped(plot.y_label));
  return svg;
}

constexpr const char* kHead =
    "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 {0} {1}\" width=\"{0}\" height=\"{1}\" "
    "font-family=\"sans-serif\" font-size=\"12\">\n"
    "<style>.grid{{stroke:#ddd}} .frame{{stroke:#444;fill:none}} .curve{{fill:none;stroke-width:1.5}}</style>\n"
    "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";

}  // namespace

std::string svg_of(const Plot& plot) {
  Range x, y;
  for (const Curve& curve : plot.curves) {
    for (const double value : curve.x) x.add(value);
    for (const double value : curve.y) y.add(value);
    if (plot.bars && curve.x.size() > 1) x.add(2 * curve.x.back() - curve.x[curve.x.size() - 2]);
  }
  if (plot.bars) y.add(0);
  x.widen();
  y.widen();
  const Canvas canvas(x, y);
  std::vector<std::string> colours;
  std::string svg = fmt::format(kHead, kWidth, kHeight) + canvas.axes();
  for (const Curve& curve : plot.curves) {
    colours.push_back(curve.colour.empty() ? kColours[colours.size() % kColours.size()] : curve.colour);
    svg += (plot.bars ? bars_of : line_of)(canvas, curve, colours.back());
  }
  for (const auto& [mark_x, mark_y] : plot.marks) {
    svg += fmt::format(
        "<circle cx=\"{:.2f}\" cy=\"{:.2f}\" r=\"4\" fill=\"none\" stroke=\"#c0392b\" stroke-width=\"2\"/>\n",
        canvas.column(mark_x), canvas.row(mark_y));
  }
  return svg + frame_of(plot) + legend_of(plot.curves, colours) + "</svg>\n";
}
