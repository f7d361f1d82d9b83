// SPDX-License-Identifier: Apache-2.0
// Pictures with known samples, and the files that hold them. PNM, PFM, plain TIFF and PNG are written here byte by
// byte, so that the tool's reading is compared with something of another origin; the compressed formats come from
// libvips.
#ifndef VLIX_TESTS_TOOL_PICTURE_H
#define VLIX_TESTS_TOOL_PICTURE_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

enum class Sample { kU8, kS8, kU16, kS16, kU32, kF32, kF64 };

// Samples as doubles, row after row, channels side by side.
struct Picture {
  int width = 0, height = 0, channels = 1;
  Sample sample = Sample::kU8;
  std::vector<double> values;

  double at(int x, int y, int channel = 0) const {
    return values[static_cast<std::size_t>((y * width + x) * channels + channel)];
  }
};

Picture draw(int width, int height, Sample sample, const std::function<double(int x, int y)>& value);
Picture draw_colour(int width, int height, Sample sample, int channels,
                    const std::function<double(int x, int y, int channel)>& value);

// Values that look random and depend on nothing but their place and the seed; within 0 .. limit - 1.
double noise(int x, int y, int seed, int limit);

// A folder that is removed with everything in it.
class Folder {
 public:
  Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder();

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }
  std::string write(const std::string& name, const std::string& contents) const;
  std::vector<std::string> names() const;  // sorted

 private:
  std::string path_;
};

std::string read_file(const std::string& path);

// Files as bytes.
std::string pnm(const Picture& picture);   // binary PGM or PPM, 8 or 16 bits
std::string pfm(const Picture& picture);   // little-endian, rows from the bottom to the top
std::string tiff(const Picture& picture);  // little-endian, uncompressed, one strip per 7 rows
std::string png(const Picture& picture);   // 8 or 16 bits, stored blocks

// Through libvips: the suffix may carry options, for instance ".jpg[Q=90]" or ".tif[tile]".
std::string encoded(const Picture& picture, const std::string& suffix);

// A compressed PNG whose rows are all of one value, the row's number modulo 251.
std::string png_of_rows(int width, int height);

// An image file as libvips sees it, samples and all.
Picture decoded(const std::string& path);

// The measures of a grey image file, by the operations of libvips.
struct Measured {
  double mean = 0, deviation = 0, min = 0, max = 0;  // the deviation with divisor N
  std::vector<double> histogram;                     // a bin per value
};
Measured measured(const std::string& path);

// Four channels as a CMYK JPEG.
std::string cmyk_jpeg(const Picture& picture);

#endif
