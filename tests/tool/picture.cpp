// SPDX-License-Identifier: Apache-2.0
#include "picture.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <vips/vips8>

namespace {

int bytes_of(Sample sample) {
  switch (sample) {
    case Sample::kU8:
    case Sample::kS8: return 1;
    case Sample::kU16:
    case Sample::kS16: return 2;
    case Sample::kU32:
    case Sample::kF32: return 4;
    case Sample::kF64: return 8;
  }
  return 0;
}

template <class Value>
void append(std::string& bytes, Value value) {
  char raw[sizeof(Value)];
  std::memcpy(raw, &value, sizeof(Value));
  bytes.append(raw, sizeof(Value));
}

template <class Value>
void append_big_endian(std::string& bytes, Value value) {
  for (int shift = 8 * (static_cast<int>(sizeof(Value)) - 1); shift >= 0; shift -= 8) {
    bytes += static_cast<char>((value >> shift) & 0xff);
  }
}

// In the byte order of this machine.
void append_sample(std::string& bytes, Sample sample, double value) {
  switch (sample) {
    case Sample::kU8: return append(bytes, static_cast<uint8_t>(value));
    case Sample::kS8: return append(bytes, static_cast<int8_t>(value));
    case Sample::kU16: return append(bytes, static_cast<uint16_t>(value));
    case Sample::kS16: return append(bytes, static_cast<int16_t>(value));
    case Sample::kU32: return append(bytes, static_cast<uint32_t>(value));
    case Sample::kF32: return append(bytes, static_cast<float>(value));
    case Sample::kF64: return append(bytes, value);
  }
}

std::string samples_of(const Picture& picture) {
  std::string bytes;
  for (const double value : picture.values) append_sample(bytes, picture.sample, value);
  return bytes;
}

std::string big_endian_row(const Picture& picture, int y) {
  std::string bytes;
  for (int i = 0; i < picture.width * picture.channels; ++i) {
    const double value = picture.values[static_cast<std::size_t>(y * picture.width * picture.channels + i)];
    if (picture.sample == Sample::kU8) bytes += static_cast<char>(static_cast<uint8_t>(value));
    if (picture.sample == Sample::kU16) append_big_endian(bytes, static_cast<uint16_t>(value));
  }
  return bytes;
}

uint32_t crc_of(const std::string& bytes) {
  uint32_t crc = 0xffffffff;
  for (const char c : bytes) {
    crc ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xedb88320U : 0U);
  }
  return ~crc;
}

uint32_t adler_of(const std::string& bytes) {
  uint32_t a = 1, b = 0;
  for (const char c : bytes) {
    a = (a + static_cast<unsigned char>(c)) % 65521;
    b = (b + a) % 65521;
  }
  return (b << 16) | a;
}

std::string png_chunk(const std::string& kind, const std::string& data) {
  std::string chunk;
  append_big_endian(chunk, static_cast<uint32_t>(data.size()));
  chunk += kind + data;
  append_big_endian(chunk, crc_of(kind + data));
  return chunk;
}

std::string zlib_stored(const std::string& data) {
  std::string out = "\x78\x01";
  for (std::size_t at = 0; at < data.size(); at += 65535) {
    const std::size_t size = std::min<std::size_t>(65535, data.size() - at);
    out += at + size == data.size() ? '\1' : '\0';
    append(out, static_cast<uint16_t>(size));
    append(out, static_cast<uint16_t>(~size));
    out += data.substr(at, size);
  }
  append_big_endian(out, adler_of(data));
  return out;
}

VipsBandFormat vips_format(Sample sample) {
  switch (sample) {
    case Sample::kU8: return VIPS_FORMAT_UCHAR;
    case Sample::kS8: return VIPS_FORMAT_CHAR;
    case Sample::kU16: return VIPS_FORMAT_USHORT;
    case Sample::kS16: return VIPS_FORMAT_SHORT;
    case Sample::kU32: return VIPS_FORMAT_UINT;
    case Sample::kF32: return VIPS_FORMAT_FLOAT;
    case Sample::kF64: return VIPS_FORMAT_DOUBLE;
  }
  return VIPS_FORMAT_UCHAR;
}

struct TiffField {
  uint16_t tag, kind;
  uint32_t count, value;
};
constexpr uint16_t kShort = 3, kLong = 4;

}  // namespace

Picture draw(int width, int height, Sample sample, const std::function<double(int x, int y)>& value) {
  return draw_colour(width, height, sample, 1, [&](int x, int y, int) { return value(x, y); });
}

Picture draw_colour(int width, int height, Sample sample, int channels,
                    const std::function<double(int x, int y, int channel)>& value) {
  Picture picture = {width, height, channels, sample, {}};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (int c = 0; c < channels; ++c) picture.values.push_back(value(x, y, c));
    }
  }
  return picture;
}

double noise(int x, int y, int seed, int limit) {
  uint64_t state = static_cast<uint64_t>(x) * 0x9e3779b97f4a7c15 + static_cast<uint64_t>(y) * 0xbf58476d1ce4e5b9 +
                   static_cast<uint64_t>(seed) * 0x94d049bb133111eb;
  state = (state ^ (state >> 30)) * 0xbf58476d1ce4e5b9;
  state = (state ^ (state >> 27)) * 0x94d049bb133111eb;
  return static_cast<double>((state ^ (state >> 31)) % static_cast<uint64_t>(limit));
}

Folder::Folder() {
  std::string name = std::filesystem::temp_directory_path() / "vlix-test-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp");
  path_ = name;
}

Folder::~Folder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string Folder::write(const std::string& name, const std::string& contents) const {
  std::ofstream(file(name), std::ios::binary) << contents;
  return file(name);
}

std::vector<std::string> Folder::names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path_)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

std::string read_file(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string pnm(const Picture& picture) {
  std::string bytes = picture.channels == 1 ? "P5\n" : "P6\n";
  bytes += std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n";
  bytes += picture.sample == Sample::kU8 ? "255\n" : "65535\n";
  for (int y = 0; y < picture.height; ++y) bytes += big_endian_row(picture, y);
  return bytes;
}

std::string pfm(const Picture& picture) {
  std::string bytes = "Pf\n" + std::to_string(picture.width) + " " + std::to_string(picture.height) + "\n-1.0\n";
  for (int y = picture.height - 1; y >= 0; --y) {
    for (int x = 0; x < picture.width; ++x) append(bytes, static_cast<float>(picture.at(x, y)));
  }
  return bytes;
}

std::string tiff(const Picture& picture) {
  static_assert(std::endian::native == std::endian::little);
  constexpr int kRowsPerStrip = 7;
  const std::string samples = samples_of(picture);
  const int sample_bytes = bytes_of(picture.sample);
  const auto strip_bytes = static_cast<uint32_t>(kRowsPerStrip * picture.width * picture.channels * sample_bytes);
  const auto strips = static_cast<uint32_t>((picture.height + kRowsPerStrip - 1) / kRowsPerStrip);
  const bool is_float = picture.sample == Sample::kF32 || picture.sample == Sample::kF64;
  const bool is_signed = picture.sample == Sample::kS8 || picture.sample == Sample::kS16;

  // Header, samples, then the arrays of the strips and of the bits, then the directory.
  std::string bytes("II*\0", 4);
  append(bytes, uint32_t{0});
  bytes += samples;
  while (bytes.size() % 4 != 0) bytes += '\0';
  const auto offsets_at = static_cast<uint32_t>(bytes.size());
  for (uint32_t i = 0; i < strips; ++i) append(bytes, 8 + i * strip_bytes);
  const auto sizes_at = static_cast<uint32_t>(bytes.size());
  for (uint32_t i = 0; i < strips; ++i) {
    append(bytes, std::min(strip_bytes, static_cast<uint32_t>(samples.size()) - i * strip_bytes));
  }
  const auto bits_at = static_cast<uint32_t>(bytes.size());
  for (int c = 0; c < 4; ++c) append(bytes, static_cast<uint16_t>(8 * sample_bytes));
  const auto kinds_at = static_cast<uint32_t>(bytes.size());
  const auto kind = static_cast<uint16_t>(is_float ? 3 : (is_signed ? 2 : 1));
  for (int c = 0; c < 4; ++c) append(bytes, kind);

  const auto channels = static_cast<uint32_t>(picture.channels);
  const bool grey = picture.channels == 1;
  const std::vector<TiffField> fields = {
      {256, kLong, 1, static_cast<uint32_t>(picture.width)},
      {257, kLong, 1, static_cast<uint32_t>(picture.height)},
      {258, kShort, channels, grey ? static_cast<uint32_t>(8 * sample_bytes) : bits_at},
      {259, kShort, 1, 1},
      {262, kShort, 1, grey ? 1U : 2U},
      {273, kLong, strips, strips == 1 ? 8 : offsets_at},
      {277, kShort, 1, channels},
      {278, kLong, 1, kRowsPerStrip},
      {279, kLong, strips, strips == 1 ? static_cast<uint32_t>(samples.size()) : sizes_at},
      {339, kShort, channels, grey ? kind : kinds_at}};
  const auto directory_at = static_cast<uint32_t>(bytes.size());
  std::memcpy(bytes.data() + 4, &directory_at, 4);
  append(bytes, static_cast<uint16_t>(fields.size()));
  for (const TiffField& field : fields) {
    append(bytes, field.tag);
    append(bytes, field.kind);
    append(bytes, field.count);
    append(bytes, field.value);
  }
  append(bytes, uint32_t{0});
  return bytes;
}

std::string png(const Picture& picture) {
  constexpr std::array<char, 5> kColourTypes = {0, 0, 4, 2, 6};
  std::string header;
  append_big_endian(header, static_cast<uint32_t>(picture.width));
  append_big_endian(header, static_cast<uint32_t>(picture.height));
  header += static_cast<char>(8 * bytes_of(picture.sample));
  header += kColourTypes[static_cast<std::size_t>(picture.channels)];
  header += std::string(3, '\0');
  std::string rows;
  for (int y = 0; y < picture.height; ++y) rows += '\0' + big_endian_row(picture, y);
  return "\x89PNG\r\n\x1a\n" + png_chunk("IHDR", header) + png_chunk("IDAT", zlib_stored(rows)) + png_chunk("IEND", "");
}

static void start_vips() {
  static const bool started = VIPS_INIT("tests") == 0;
  if (!started) throw std::runtime_error("libvips");
}

static std::string bytes_of(const vips::VImage& image, const std::string& suffix) {
  void* data = nullptr;
  std::size_t size = 0;
  image.write_to_buffer(suffix.c_str(), &data, &size);
  const std::string bytes(static_cast<const char*>(data), size);
  g_free(data);
  return bytes;
}

static std::string encoded_as(const Picture& picture, VipsInterpretation meaning, const std::string& suffix) {
  start_vips();
  const std::string samples = samples_of(picture);
  const vips::VImage image =
      vips::VImage::new_from_memory(const_cast<char*>(samples.data()), samples.size(), picture.width, picture.height,
                                    picture.channels, vips_format(picture.sample))
          .copy(vips::VImage::option()->set("interpretation", meaning));
  return bytes_of(image, suffix);
}

std::string encoded(const Picture& picture, const std::string& suffix) {
  const bool wide = bytes_of(picture.sample) == 2;
  if (picture.channels > 2)
    return encoded_as(picture, wide ? VIPS_INTERPRETATION_RGB16 : VIPS_INTERPRETATION_sRGB, suffix);
  return encoded_as(picture, wide ? VIPS_INTERPRETATION_GREY16 : VIPS_INTERPRETATION_B_W, suffix);
}

std::string cmyk_jpeg(const Picture& picture) { return encoded_as(picture, VIPS_INTERPRETATION_CMYK, ".jpg"); }

std::string png_of_rows(int width, int height) {
  start_vips();
  const vips::VImage rows = vips::VImage::xyz(1, height).extract_band(1) % 251;
  return bytes_of(rows.cast(VIPS_FORMAT_UCHAR).zoom(width, 1), ".png[compression=1]");
}

Picture decoded(const std::string& path) {
  start_vips();
  const vips::VImage file = vips::VImage::new_from_file(path.c_str());
  const vips::VImage samples = file.cast(VIPS_FORMAT_DOUBLE);
  std::size_t size = 0;
  const std::unique_ptr<void, void (*)(void*)> bytes(samples.write_to_memory(&size), g_free);
  const auto* const first = static_cast<const double*>(bytes.get());
  return {file.width(), file.height(), file.bands(), Sample::kF64, {first, first + size / sizeof(double)}};
}

Measured measured(const std::string& path) {
  start_vips();
  const vips::VImage file = vips::VImage::new_from_file(path.c_str());
  const double count = static_cast<double>(file.width()) * file.height();
  Measured found = {file.avg(), file.deviate() * std::sqrt((count - 1) / count), file.min(), file.max(), {}};
  const vips::VImage histogram = file.hist_find();
  for (int i = 0; i < histogram.width(); ++i) found.histogram.push_back(histogram.getpoint(i, 0)[0]);
  return found;
}
