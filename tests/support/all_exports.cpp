// SPDX-License-Identifier: Apache-2.0
#include "support/all_exports.h"

#include <cmath>
#include <cstring>
#include <memory>
#include <random>
#include <utility>

#include "support/test_image.h"
#include "vlix/meas.h"
#include "vlix/object.h"
#include "vlix/util.h"

namespace vlix::test {
namespace {

// The outputs of one call, and the way it is made.
class Run {
 public:
  explicit Run(RecordingPlatform* platform) : platform_(platform) {}
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  template <class Function, class... Arguments>
  void call(Function function, Arguments... arguments) {
    outcome_.status = platform_ == nullptr ? function(arguments...) : platform_->call(function, arguments...);
  }

  void take(const void* data, std::size_t bytes) {
    if (bytes > 0) outcome_.bytes.append(static_cast<const char*>(data), bytes);
  }
  template <class Number>
  void take_number(Number number) {
    take(&number, sizeof(number));
  }
  void take(VlixVector& vector) {
    take(vector.data, static_cast<std::size_t>(vector.count) *
                          static_cast<std::size_t>(VlixObjGetSize(static_cast<int32_t>(vector.type))));
    if (platform_ != nullptr) platform_->note_release(vector.data);
    VlixVectorRelease(&vector, 0);
  }
  void take(VlixImage& image) {
    if (image.data != nullptr) {
      take(image.data, static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height) *
                           static_cast<std::size_t>(VlixObjGetSize(static_cast<int32_t>(image.type))));
    }
    if (platform_ != nullptr) platform_->note_release(image.data);
    VlixImageRelease(&image, 0);
  }
  Outcome outcome() { return std::move(outcome_); }

 private:
  RecordingPlatform* platform_;
  Outcome outcome_;
};

constexpr int32_t kWidth = 61;
constexpr int32_t kHeight = 47;

// A textured image with a region inside it.
template <class Pixel>
const VlixImage& image_of() {
  static TestImage<Pixel>& image = *[] {
    auto* made = new TestImage<Pixel>(kWidth + 9, kHeight + 5);
    std::mt19937_64 random(11);
    for (int32_t y = 0; y < made->record.height; ++y) {
      for (int32_t x = 0; x < made->record.width; ++x) {
        const double wave = 60.0 + 30.0 * std::sin(0.3 * x) + 20.0 * std::cos(0.2 * y);
        made->at(x, y) = static_cast<Pixel>(wave + static_cast<double>(random() % 8));
      }
    }
    made->set_roi(4, 3, kWidth, kHeight);
    return made;
  }();
  return image.record;
}

// The same pixels, a region of 9 x 7.
template <class Pixel>
const VlixImage& template_of() {
  static const VlixImage part = [] {
    VlixImage record = image_of<Pixel>();
    record.roiX += 20;
    record.roiY += 15;
    record.roiWidth = 9;
    record.roiHeight = 7;
    return record;
  }();
  return part;
}

const VlixImage& colour_image() {
  static TestImage<Rgba>& image = *[] {
    auto* made = new TestImage<Rgba>(kWidth + 2, kHeight);
    std::mt19937_64 random(12);
    for (int32_t i = 0; i < made->record.width * made->record.height; ++i) {
      for (uint8_t& channel : made->data()[i].channel) channel = static_cast<uint8_t>(random());
    }
    made->set_roi(1, 2, kWidth, kHeight - 2);
    return made;
  }();
  return image.record;
}

template <class Point>
const VlixVector& points() {
  static TestVector<Point>& vector = *[] {
    std::vector<Point> values;
    for (int i = 0; i < 90; ++i) {
      const double angle = 0.07 * i;
      const double radius = 400.0 + (i % 11 == 0 ? 25.0 : 0.1 * (i % 5));
      values.push_back({static_cast<decltype(Point::x)>(500.0 + radius * std::cos(angle)),
                        static_cast<decltype(Point::y)>(480.0 + radius * std::sin(angle))});
    }
    return new TestVector<Point>(values);
  }();
  return vector.record;
}

template <class Point>
const VlixVector& histogram_points() {
  static TestVector<Point>& vector = *[] {
    std::mt19937_64 random(13);
    std::vector<Point> values;
    for (int i = 0; i < 300; ++i) {
      values.push_back({static_cast<decltype(Point::x)>(2 * i), static_cast<decltype(Point::y)>(random() % 1000)});
    }
    return new TestVector<Point>(values);
  }();
  return vector.record;
}

const VlixVector& path() {
  static TestVector<PointF32>& vector = *new TestVector<PointF32>({{5, 4}, {40.5f, 9.25f}, {40.5f, 30}, {8, 44}});
  return vector.record;
}

// Handles are copied into each run: exports take them as tagged objects.
VlixImageHandle handle_of(const VlixImage& image) { return {VlixHandle_Image, {}, image}; }
VlixVectorHandle handle_of(const VlixVector& vector) { return {VlixHandle_Vector, {}, vector}; }

template <class Handle>
Outcome run_stats(RecordingPlatform* platform, const Handle& handle, bool colour) {
  Run run(platform);
  float r[16] = {};
  const auto* object = reinterpret_cast<const VlixObj*>(&handle);
  if (colour) {
    run.call(vlix_stats, object, nullptr, nullptr, nullptr, nullptr, r + 4, r + 5, r + 6, r + 7, r + 8, r + 9, r + 10,
             r + 11, r + 12, r + 13, r + 14, r + 15);
  } else {
    run.call(vlix_stats, object, r, r + 1, r + 2, r + 3, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
             nullptr, nullptr, nullptr, nullptr, nullptr);
  }
  run.take(r, sizeof(r));
  return run.outcome();
}

Outcome run_shape(RecordingPlatform* platform, uint32_t kind, const void* geometry) {
  Run run(platform);
  VlixShape shape = {kind, {}, geometry};
  VlixShapeHandle handle = {VlixHandle_Shape53, {}, &shape};
  VlixVector hist = {};
  run.call(vlix_histRoi, &image_of<uint8_t>(), reinterpret_cast<const VlixObj*>(&handle), &hist, 1, 64, 0.0f, 255.0f);
  run.take(hist);
  return run.outcome();
}

class Table {
 public:
  // The export's name is the text up to the first blank.
  void add(const std::string& name, std::function<void(Run&)> body, bool levels_agree = true, int kept = 0) {
    cases_.push_back({name, "vlix_" + name.substr(0, name.find(' ')), levels_agree, kept,
                      [body = std::move(body)](RecordingPlatform* platform) {
                        Run run(platform);
                        body(run);
                        return run.outcome();
                      }});
  }
  void add_whole(const std::string& name, std::function<Outcome(RecordingPlatform*)> whole, bool levels_agree) {
    cases_.push_back({name, "vlix_" + name.substr(0, name.find(' ')), levels_agree, 0, std::move(whole)});
  }
  std::vector<ExportCase> take() { return std::move(cases_); }

 private:
  std::vector<ExportCase> cases_;
};

template <class Pixel>
void add_image_cases(Table& table, const std::string& type) {
  constexpr bool is_float = std::is_floating_point_v<Pixel>;
  const VlixImage* image = &image_of<Pixel>();
  const VlixImage* small = &template_of<Pixel>();
  table.add_whole(
      "stats " + type, [image](RecordingPlatform* p) { return run_stats(p, handle_of(*image), false); }, !is_float);
  table.add("histogram " + type, [image](Run& run) {
    VlixVector hist = {};
    run.call(vlix_histogram, image, &hist, 0, 32, 0.0f, 128.0f);
    run.take(hist);
  });
  if constexpr (!is_float) {
    table.add("histogramInt " + type, [image](Run& run) {
      VlixVector hist = {};
      run.call(vlix_histogramInt, image, &hist, 1, 32, 0, 127);
      run.take(hist);
    });
    table.add("projectionInt " + type, [image](Run& run) {
      VlixVector rows = {};
      VlixVector columns = {};
      run.call(vlix_projectionInt, image, &rows, &columns, 1);
      run.take(rows);
      run.take(columns);
    });
  }
  table.add("countPix " + type, [image](Run& run) {
    uint32_t count = 0;
    run.call(vlix_countPix, image, &count);
    run.take_number(count);
  });
  table.add("countThreshPix " + type, [image](Run& run) {
    uint32_t count = 0;
    run.call(vlix_countThreshPix, image, &count, 40, 90);
    run.take_number(count);
  });
  table.add("variance " + type, [image](Run& run) {
    VlixImage mean = {};
    VlixImage variance = {};
    run.call(vlix_variance, image, &mean, &variance, 1, 5, 4);
    run.take(mean);
    run.take(variance);
  });
  table.add("background " + type, [image](Run& run) {
    Pixel value = {};
    run.call(vlix_background, image, static_cast<void*>(&value));
    run.take_number(value);
  });
  table.add("background_assignF32 " + type, [image](Run& run) {
    Pixel value = {};
    run.call(vlix_background_assignF32, image, static_cast<void*>(&value), 77.75f);
    run.take_number(value);
  });
  table.add(
      "nxcorr " + type,
      [image, small](Run& run) {
        VlixImage score = {};
        run.call(vlix_nxcorr, image, small, &score);
        run.take(score);
      },
      false, std::is_same_v<Pixel, int16_t> ? 2 : 0);
  table.add("sod " + type, [image, small](Run& run) {
    VlixImage score = {};
    run.call(vlix_sod, image, small, &score);
    run.take(score);
  });
  table.add("xCorr " + type, [image, small](Run& run) {
    VlixImage score = {};
    run.call(vlix_xCorr, image, small, &score);
    run.take(score);
  });
  table.add(
      "projection " + type,
      [image](Run& run) {
        VlixVector rows = {};
        VlixVector columns = {};
        run.call(vlix_projection, image, &rows, &columns, 1);
        run.take(rows);
        run.take(columns);
      },
      true);
  table.add("samplepath_point " + type, [image](Run& run) {
    float value = 0;
    run.call(vlix_samplepath_point, image, PointF32{10.25f, 20.5f}, &value, 1);
    run.take_number(value);
  });
  table.add("samplepath_lines " + type, [image](Run& run) {
    VlixInvalidValue invalid = {};
    invalid.type = code_of<Pixel>();
    VlixVector values = {};
    VlixVector positions = {};
    int32_t count = 0;
    run.call(vlix_samplepath_lines, image, &path(), &values, &positions, &count, 0.75f, 1,
             reinterpret_cast<const VlixObj*>(&invalid));
    run.take(values);
    run.take(positions);
    run.take_number(count);
  });
  table.add("samplepath_line " + type, [image](Run& run) {
    VlixVector values = {};
    int32_t count = 0;
    run.call(vlix_samplepath_line, image, PointF32{6, 40}, PointF32{60, 5}, &values, nullptr, &count, 0.5f, 0, nullptr);
    run.take(values);
    run.take_number(count);
  });
}

void add_colour_cases(Table& table) {
  const VlixImage* image = &colour_image();
  table.add_whole(
      "stats Rgba8", [image](RecordingPlatform* p) { return run_stats(p, handle_of(*image), true); }, true);
  table.add(
      "histogramIntColor Rgba8",
      [image](Run& run) {
        VlixVector hists[3] = {};
        const int32_t bins[3] = {256, 128, 64};
        std::vector<int32_t> lo(256, 0);
        const int32_t hi[3] = {255, 255, 255};
        run.call(vlix_histogramIntColor, image, hists, 1, bins, lo.data(), hi);
        for (VlixVector& hist : hists) run.take(hist);
      },
      false);
  table.add("countPix Rgba8", [image](Run& run) {
    uint32_t count = 0;
    run.call(vlix_countPix, image, &count);
    run.take_number(count);
  });
  table.add("samplepath_line Rgba8", [image](Run& run) {
    VlixVector values = {};
    run.call(vlix_samplepath_line, image, PointF32{6, 40}, PointF32{60, 5}, &values, nullptr, nullptr, 0.5f, 1,
             nullptr);
    run.take(values);
  });
}

void add_histogram_vector_cases(Table& table) {
  table.add_whole(
      "stats vector of PointF32",
      [](RecordingPlatform* p) { return run_stats(p, handle_of(histogram_points<PointF32>()), false); }, true);
  table.add("vectorDiff F32 against U8", [](Run& run) {
    static TestVector<float> a({1.5f, 2.5f, -3.0f});
    static TestVector<uint8_t> b({1, 2, 200});
    double result = 0;
    run.call(vlix_vectorDiff, &a.record, &b.record, &result, 3, 1);
    run.take_number(result);
  });
  table.add("histPeaks", [](Run& run) {
    VlixVector peaks = {};
    run.call(vlix_histPeaks, &histogram_points<PointF32>(), &peaks, 1, 6.0f);
    run.take(peaks);
  });
  table.add("histPeaksInt", [](Run& run) {
    VlixVector peaks = {};
    run.call(vlix_histPeaksInt, &histogram_points<PointI32>(), &peaks, 0, 6.0f);
    run.take(peaks);
  });
  table.add("smoothHist", [](Run& run) {
    VlixVector smoothed = {};
    run.call(vlix_smoothHist, &histogram_points<PointF32>(), &smoothed, 11.0f);
    run.take(smoothed);
  });
  table.add("smoothHistInt", [](Run& run) {
    VlixVector smoothed = {};
    run.call(vlix_smoothHistInt, &histogram_points<PointI32>(), &smoothed, 11.0f);
    run.take(smoothed);
  });
  table.add("smoothHist_consume", [](Run& run) {
    VlixVector vector = {};
    VlixVectorCopy(&histogram_points<PointF32>(), &vector);
    run.call(vlix_smoothHist_consume, &vector, 11.0f);
    run.take(vector);
  });
  table.add("smoothHistInt_consume", [](Run& run) {
    VlixVector vector = {};
    VlixVectorCopy(&histogram_points<PointI32>(), &vector);
    run.call(vlix_smoothHistInt_consume, &vector, 11.0f);
    run.take(vector);
  });
  static const float corners[4] = {8, 6, 50, 40};
  table.add_whole(
      "histRoi rectangle", [](RecordingPlatform* p) { return run_shape(p, VlixShape_PixelRect, corners); }, true);
}

template <class Point>
void add_fit_cases(Table& table, const std::string& suffix) {
  using Fit = VlixStatus (*)(const VlixVector*, uint32_t, float*, float*, float*, VlixVector*, int32_t*);
  using Circle = VlixStatus (*)(const VlixVector*, uint32_t, float*, PointF32*, float*, VlixVector*, int32_t*);
  constexpr bool is_float = std::is_same_v<Point, PointF32>;
  const Fit line = is_float ? vlix_linearRegressionFloat : vlix_linearRegressionInt;
  const Circle circle = is_float ? vlix_circularRegressionFloat : vlix_circularRegressionInt;
  table.add("linearRegression" + suffix, [line](Run& run) {
    float numbers[3] = {};
    VlixVector kept = {};
    int32_t count = 0;
    run.call(line, &points<Point>(), 15u, numbers, numbers + 1, numbers + 2, &kept, &count);
    run.take(numbers, sizeof(numbers));
    run.take(kept);
    run.take_number(count);
  });
  table.add("circularRegression" + suffix, [circle](Run& run) {
    float numbers[2] = {};
    PointF32 centre = {};
    VlixVector kept = {};
    int32_t count = 0;
    run.call(circle, &points<Point>(), 10u, numbers, &centre, numbers + 1, &kept, &count);
    run.take(numbers, sizeof(numbers));
    run.take_number(centre);
    run.take(kept);
    run.take_number(count);
  });
}

std::vector<ExportCase> make_cases() {
  Table table;
  add_image_cases<uint8_t>(table, "U8");
  add_image_cases<int8_t>(table, "S8");
  add_image_cases<uint16_t>(table, "U16");
  add_image_cases<int16_t>(table, "S16");
  add_image_cases<float>(table, "F32");
  add_colour_cases(table);
  add_histogram_vector_cases(table);
  add_fit_cases<PointF32>(table, "Float");
  add_fit_cases<PointI32>(table, "Int");
  table.add("circularRegression", [](Run& run) {
    VlixVector vector = {};
    VlixVectorCopy(&points<PointF32>(), &vector);
    float numbers[2] = {};
    PointF32 centre = {};
    int32_t count = 0;
    run.call(vlix_circularRegression, &vector, 10u, numbers, &centre, numbers + 1, &count);
    run.take(numbers, sizeof(numbers));
    run.take_number(centre);
    run.take_number(count);
    run.take(vector);
  });
  return table.take();
}

}  // namespace

const std::vector<ExportCase>& all_exports() {
  static const std::vector<ExportCase> cases = make_cases();
  return cases;
}

}  // namespace vlix::test
