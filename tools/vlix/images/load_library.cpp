// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>

#include "errors.h"
#include "images/image_files.h"

namespace {

// The run path of the program names the library's folder, beside the program and where it is installed.
ImageFiles* load() {
  void* library = dlopen(VLIX_IMAGE_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw FileError(std::string("image files cannot be read: ") + dlerror());
  const auto entry = reinterpret_cast<ImageFilesEntry>(dlsym(library, kImageFilesEntry));
  if (entry == nullptr) throw FileError("image files cannot be read: " VLIX_IMAGE_LIBRARY " is of another version");
  return entry();
}

}  // namespace

ImageFiles& ImageLibrary::files() {
  ImageFiles* files = files_.load(std::memory_order_acquire);
  if (files != nullptr) return *files;
  const std::lock_guard lock(mutex_);
  files = files_.load(std::memory_order_relaxed);
  if (files == nullptr) {
    files = load();
    files_.store(files, std::memory_order_release);
  }
  return *files;
}

void ImageLibrary::thread_ends() {
  ImageFiles* files = files_.load(std::memory_order_acquire);
  if (files != nullptr) files->thread_ends();
}
