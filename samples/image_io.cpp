// SPDX-License-Identifier: Apache-2.0
#include "image_io.h"

#include <cstddef>
#include <cstring>
#include <vips/vips8>

namespace samples {
namespace {

struct Format {
  VipsBandFormat band;
  int bands;
  VipsInterpretation interpretation;
};

Format format_of(Pixels pixels) {
  switch (pixels) {
    case Pixels::kU8: return {VIPS_FORMAT_UCHAR, 1, VIPS_INTERPRETATION_B_W};
    case Pixels::kU16: return {VIPS_FORMAT_USHORT, 1, VIPS_INTERPRETATION_GREY16};
    case Pixels::kF32: return {VIPS_FORMAT_FLOAT, 1, VIPS_INTERPRETATION_B_W};
    case Pixels::kRgb8: return {VIPS_FORMAT_UCHAR, 3, VIPS_INTERPRETATION_sRGB};
  }
  return {};
}

template <class Value, class Convert>
std::vector<std::byte> bytes_of(const std::vector<int64_t>& values, Convert convert) {
  std::vector<std::byte> bytes(values.size() * sizeof(Value));
  for (std::size_t i = 0; i < values.size(); ++i) {
    const Value value = convert(values[i]);
    std::memcpy(bytes.data() + i * sizeof(Value), &value, sizeof(Value));
  }
  return bytes;
}

std::vector<std::byte> bytes_of(const Sample& sample) {
  switch (sample.pixels) {
    case Pixels::kU8:
    case Pixels::kRgb8: return bytes_of<uint8_t>(sample.values, [](int64_t v) { return static_cast<uint8_t>(v); });
    case Pixels::kU16: return bytes_of<uint16_t>(sample.values, [](int64_t v) { return static_cast<uint16_t>(v); });
    case Pixels::kF32:
      return bytes_of<float>(sample.values, [&](int64_t v) {
        return static_cast<float>(static_cast<double>(v) / static_cast<double>(sample.unit));
      });
  }
  return {};
}

bool ends_with(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

void write_image(const Sample& sample, const std::string& path) {
  const Format format = format_of(sample.pixels);
  const std::vector<std::byte> bytes = bytes_of(sample);
  const vips::VImage raw = vips::VImage::new_from_memory(const_cast<std::byte*>(bytes.data()), bytes.size(),
                                                         sample.width, sample.height, format.bands, format.band);
  const vips::VImage image = raw.copy(vips::VImage::option()->set("interpretation", format.interpretation));
  if (ends_with(path, ".png")) {
    image.pngsave(path.c_str(), vips::VImage::option()->set("compression", 9)->set("strip", true));
    return;
  }
  const bool floats = sample.pixels == Pixels::kF32;
  image.tiffsave(path.c_str(), vips::VImage::option()
                                   ->set("compression", VIPS_FOREIGN_TIFF_COMPRESSION_DEFLATE)
                                   ->set("predictor", floats ? VIPS_FOREIGN_TIFF_PREDICTOR_FLOAT
                                                             : VIPS_FOREIGN_TIFF_PREDICTOR_HORIZONTAL)
                                   ->set("strip", true));
}

std::string difference(const Sample& sample, const std::string& path) {
  const Format format = format_of(sample.pixels);
  const vips::VImage image =
      vips::VImage::new_from_file(path.c_str(), vips::VImage::option()->set("fail_on", VIPS_FAIL_ON_ERROR));
  if (image.width() != sample.width || image.height() != sample.height) return "another size";
  if (image.format() != format.band || image.bands() != format.bands) return "another pixel type";
  const std::vector<std::byte> expected = bytes_of(sample);
  std::size_t size = 0;
  void* const memory = image.write_to_memory(&size);
  const bool equal = size == expected.size() && std::memcmp(memory, expected.data(), size) == 0;
  g_free(memory);
  return equal ? "" : "other pixels";
}

}  // namespace samples
