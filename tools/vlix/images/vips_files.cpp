// SPDX-License-Identifier: Apache-2.0
// Image files through libvips.
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string_view>
#include <vips/vips8>

#include "errors.h"
#include "images/image_files.h"
#include "images/mapping.h"
#include "images/refusal.h"

namespace {

using vips::VImage;

std::string format_of(const VImage& image) {
  std::string loader = image.get_typeof("vips-loader") == 0 ? "" : image.get_string("vips-loader");
  loader = loader.substr(0, loader.find("load"));
  if (loader == "ppm") return "pnm";
  return loader.empty() ? "image" : loader;
}

// Formats whose decoder holds the whole picture, whatever region is asked for.
bool is_decoded_whole(const VImage& image, const std::string& format) {
  return format == "webp" || format == "gif" || format == "heif" || image.get_typeof("interlaced") != 0;
}

ImageHeader header_of(const VImage& image) {
  return {format_of(image), mapped_type(image), image.width(), image.height()};
}

void check_region(const ImageHeader& header, const Rect& region) {
  const bool inside = region.x <= header.width - region.width && region.y <= header.height - region.height;
  if (inside) return;
  throw FileError(fmt::format("the region {},{},{},{} does not lie inside the {} x {} image", region.x, region.y,
                              region.width, region.height, header.width, header.height));
}

void check_size(const ImageHeader& header, int64_t width, int64_t height, uint64_t limit) {
  const auto pixel_bytes = static_cast<uint64_t>(VlixObjGetSize(static_cast<int32_t>(header.type)));
  const auto bytes = static_cast<uint64_t>(width) * static_cast<uint64_t>(height) * pixel_bytes;
  if (bytes <= limit) return;
  throw FileError(fmt::format("{} x {} pixels take {} MiB, more than the limit of {} MiB (--limit)", width, height,
                              (bytes >> 20) + 1, limit >> 20));
}

// Lets a decoder that goes from top to bottom pass the rows above a region a few at a time; asked for the region at
// once, libvips would hold all of them.
void pass_rows(const VImage& file, int32_t rows) {
  constexpr int32_t kRowsAtATime = 16;
  if (file.get_typeof(VIPS_META_SEQUENTIAL) == 0) return;
  const std::unique_ptr<VipsRegion, void (*)(void*)> region(vips_region_new(file.get_image()), g_object_unref);
  if (region == nullptr) throw vips::VError();
  for (int32_t y = 0; y < rows; y += kRowsAtATime) {
    const VipsRect strip = {0, y, 1, std::min(kRowsAtATime, rows - y)};
    if (vips_region_prepare(region.get(), &strip) != 0) throw vips::VError();
  }
}

void decode_into(const VImage& pixels, Image& image) {
  VlixImage& record = *image.record();
  const std::size_t bytes = static_cast<std::size_t>(VlixObjGetSize(static_cast<int32_t>(record.type))) *
                            static_cast<std::size_t>(record.width) * static_cast<std::size_t>(record.height);
  const VImage target =
      VImage::new_from_memory(record.data, bytes, record.width, record.height, pixels.bands(), pixels.format());
  pixels.write(target);
}

void flip_rows(Image& image) {
  auto* const pixels = static_cast<float*>(image.record()->data);
  const std::ptrdiff_t width = image.width();
  for (std::ptrdiff_t top = 0, bottom = image.height() - 1; top < bottom; ++top, --bottom) {
    std::swap_ranges(pixels + top * width, pixels + (top + 1) * width, pixels + bottom * width);
  }
}

VImage view_of(const Image& image) {
  const VlixImage& record = *image.record();
  VipsBandFormat format = VIPS_FORMAT_UCHAR;
  if (record.type == ObjType_U16) format = VIPS_FORMAT_USHORT;
  if (record.type == ObjType_F32) format = VIPS_FORMAT_FLOAT;
  const int bands = record.type == ObjType_Rgba8 ? 4 : 1;
  const std::size_t bytes = static_cast<std::size_t>(VlixObjGetSize(static_cast<int32_t>(record.type))) *
                            static_cast<std::size_t>(record.width) * static_cast<std::size_t>(record.height);
  VipsInterpretation meaning = VIPS_INTERPRETATION_B_W;
  if (record.type == ObjType_U16) meaning = VIPS_INTERPRETATION_GREY16;
  if (bands == 4) meaning = VIPS_INTERPRETATION_sRGB;
  const VImage whole = VImage::new_from_memory(record.data, bytes, record.width, record.height, bands, format)
                           .copy(VImage::option()->set("interpretation", meaning));
  const VImage region = whole.crop(record.roiX, record.roiY, record.roiWidth, record.roiHeight);
  return bands == 4 ? region.extract_band(0, VImage::option()->set("n", 3)) : region;
}

// GObject drops header values that are out of range and merely warns of it on the thread that reads the header.
thread_local bool t_header_out_of_range = false;

// Third-party warnings concern nobody who reads this program's standard error.
void note_warning(const gchar* domain, GLogLevelFlags, const gchar*, gpointer) {
  if (domain != nullptr && std::string_view(domain) == "GLib-GObject") t_header_out_of_range = true;
}

// Pixels that libvips has no memory for stay black; a text among its errors is all that tells.
bool ran_out_of_memory() {
  return std::string_view(vips_error_buffer()).find("out of memory") != std::string_view::npos;
}

VImage open_image(const ImageSource& source) {
  t_header_out_of_range = false;
  if (source.descriptor >= 0) lseek(source.descriptor, 0, SEEK_SET);
  const vips::VSource input = source.descriptor >= 0
                                  ? vips::VSource::new_from_descriptor(source.descriptor)
                                  : vips::VSource::new_from_memory(source.bytes.data(), source.bytes.size());
  const VImage image = VImage::new_from_source(
      input, "", VImage::option()->set("access", VIPS_ACCESS_SEQUENTIAL)->set("fail_on", VIPS_FAIL_ON_ERROR));
  if (t_header_out_of_range) throw FileError("damaged or truncated: its size is out of range");
  return image;
}

class VipsFiles final : public ImageFiles {
 public:
  VipsFiles() {
    g_log_set_default_handler(note_warning, nullptr);
    if (VIPS_INIT("vlix") != 0) throw FileError("image files cannot be read: the image library does not start");
    vips_block_untrusted_set(TRUE);
    vips_operation_block_set("VipsForeignLoadPpm", FALSE);
    vips_operation_block_set("VipsForeignLoadMatrix", TRUE);  // text, not images
    vips_concurrency_set(1);                                  // the jobs run side by side instead
    vips_cache_set_max(0);
  }

  ImageHeader header(const ImageSource& source) override {
    return guarded(source, [&](const VImage& image) { return header_of(image); });
  }

  ImageHeader read(const ImageSource& source, const ReadRequest& request, Image& image) override {
    return guarded(source, [&](const VImage& file) { return read_region(file, request, image); });
  }

  std::string encode(const Image& image, FileFormat format) override {
    try {
      return encoded(view_of(image), format);
    } catch (const vips::VError& error) {
      vips_error_clear();
      throw FileError(std::string("cannot be encoded: ") + error.what());
    }
  }

  void thread_ends() override { vips_thread_shutdown(); }

 private:
  // libvips keeps one error text for all threads. A file that fails is read once more while no other is being read, so
  // that the text is its own, and all the memory too.
  template <class Use>
  ImageHeader guarded(const ImageSource& source, const Use& use) {
    try {
      const std::shared_lock together(mutex_);
      const ImageHeader header = use(open_image(source));
      if (!ran_out_of_memory()) return header;
    } catch (const vips::VError&) {
    }
    const std::unique_lock alone(mutex_);
    vips_error_clear();
    std::string reason = "not enough memory";
    try {
      const ImageHeader header = use(open_image(source));
      if (!ran_out_of_memory()) return header;
    } catch (const vips::VError& error) {
      reason = refusal(source, error.what());
    }
    vips_error_clear();
    throw FileError(reason);
  }

  static ImageHeader read_region(const VImage& file, const ReadRequest& request, Image& image) {
    const ImageHeader header = header_of(file);
    const Rect region = request.region.value_or(Rect{0, 0, header.width, header.height});
    check_region(header, region);
    check_size(header, region.width, region.height, request.byte_limit);
    if (is_decoded_whole(file, header.format)) check_size(header, header.width, header.height, request.byte_limit);
    // The rows of PFM, the one float format of its family, are stored from the bottom to the top.
    const bool upside_down = header.format == "pnm" && header.type == ObjType_F32;
    const int32_t top = upside_down ? header.height - region.y - region.height : region.y;
    Image target;
    if (VlixImageAlloc(target.record(), static_cast<int32_t>(header.type), region.width, region.height) != 0) {
      throw FileError("not enough memory");
    }
    pass_rows(file, top);
    decode_into(with_mapped_bands(file.crop(region.x, top, region.width, region.height)), target);
    if (upside_down) flip_rows(target);
    image = std::move(target);
    return header;
  }

  static std::string encoded(const VImage& image, FileFormat format) {
    VipsBlob* blob = format == FileFormat::kPng ? image.pngsave_buffer() : image.tiffsave_buffer();
    std::size_t size = 0;
    const auto* data = static_cast<const char*>(vips_blob_get(blob, &size));
    std::string bytes(data, size);
    vips_area_unref(VIPS_AREA(blob));
    return bytes;
  }

  std::shared_mutex mutex_;
};

}  // namespace

extern "C" __attribute__((visibility("default"))) ImageFiles* vlix_image_files() {
  static VipsFiles files;
  return &files;
}
