// SPDX-License-Identifier: Apache-2.0
// Image files, the only place that knows their formats. The code behind this interface lives in a library of its own
// that is loaded when the first image is opened: its dependencies take longer to load than most commands take to run.
#ifndef VLIX_TOOL_IMAGES_IMAGE_FILES_H
#define VLIX_TOOL_IMAGES_IMAGE_FILES_H

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "records.h"

struct Rect {
  int32_t x, y, width, height;
};

// An open file, or the bytes of a stream that has been read to its end.
struct ImageSource {
  int descriptor = -1;
  std::string bytes;  // used when there is no descriptor
};

struct ReadRequest {
  std::optional<Rect> region;  // the whole image otherwise
  uint64_t byte_limit = 0;     // for the pixels that must be held in memory
};

struct ImageHeader {
  std::string format;
  uint32_t type = 0;  // ObjType that the pixels are mapped to
  int32_t width = 0;  // of the whole image, whatever region is asked for
  int32_t height = 0;
};

enum class FileFormat { kPng, kTiff };

// All functions may be called from several threads. Failures are FileErrors.
class ImageFiles {
 public:
  // Reads no pixels.
  virtual ImageHeader header(const ImageSource& source) = 0;

  // Decodes the asked region only, as far as the format allows it. The image consists of just that region.
  virtual ImageHeader read(const ImageSource& source, const ReadRequest& request, Image& image) = 0;

  // The bytes of a file that holds the image's region of interest: U8, U16, Rgba8 (as RGB), or F32 (TIFF only).
  virtual std::string encode(const Image& image, FileFormat format) = 0;

  // To be called on every thread that used this object, before it ends.
  virtual void thread_ends() = 0;

 protected:
  ~ImageFiles() = default;
};

// The library behind the interface, loaded on first use; for any number of threads.
class ImageLibrary {
 public:
  ImageFiles& files();

  // Frees what the calling thread holds, if the library has been loaded.
  void thread_ends();

 private:
  std::mutex mutex_;
  std::atomic<ImageFiles*> files_ = nullptr;
};

// The library's one entry.
using ImageFilesEntry = ImageFiles* (*)();
constexpr const char* kImageFilesEntry = "vlix_image_files";

#endif
