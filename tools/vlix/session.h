// SPDX-License-Identifier: Apache-2.0
// One run of a command.
#ifndef VLIX_TOOL_SESSION_H
#define VLIX_TOOL_SESSION_H

#include <functional>
#include <string>
#include <vector>

#include "console.h"
#include "images/image_files.h"
#include "input/file.h"
#include "options.h"
#include "output/record.h"

struct Session {
  Console console;
  ImageLibrary images;
};

// A command, ready to run; returns the exit code.
using Action = std::function<int(Session&)>;

// A region of an image file, and what the file is.
struct LoadedImage {
  Image image;
  ImageHeader header;
  int32_t x = 0, y = 0;  // where the region begins in the whole image
};

// What a measurement came to, and what a user should know about it.
struct Measurement {
  std::vector<Record> records;
  std::vector<std::string> notes;
};

// Reads the asked region of an image file. Throws FileError.
LoadedImage load_image(Session& session, const std::string& path, const MeasureOptions& options);

// The same of a file that is open already.
LoadedImage load_image(Session& session, const InputFile& file, const std::optional<Rect>& region, uint64_t limit);

// Sets the level of the process, if one was asked for. To be called before the first measurement.
void set_level(const std::optional<int32_t>& level);

// Measures one file. Throws FileError.
using MeasureFile = std::function<Measurement(const std::string& path)>;

// Measures all files, several at a time, and writes their records in the order of the files. A file that fails gets a
// line on standard error, and so does every note.
int measure_files(Session& session, const MeasureOptions& options, const MeasureFile& measure);

// The same for commands that measure the files together, or just one.
int measure_once(Session& session, const OutputOptions& options, const std::function<Measurement()>& measure);

#endif
