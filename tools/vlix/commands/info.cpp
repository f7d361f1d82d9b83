// SPDX-License-Identifier: Apache-2.0
#include "commands/commands.h"
#include "input/file.h"

namespace {

Measurement info(Session& session, const MeasureOptions& options, const std::string& path) {
  const InputFile file(path, options.limit_mib << 20);
  const ImageHeader header = session.images.files().header(file.source());
  Record record;
  record.fields = {{"file", path},
                   {"format", header.format},
                   {"type", VlixObjGetName(static_cast<int32_t>(header.type))},
                   {"width", int64_t{header.width}},
                   {"height", int64_t{header.height}}};
  return {{record}, {}};
}

int run(Session& session, const MeasureOptions& options) {
  return measure_files(session, options, [&](const std::string& path) { return info(session, options, path); });
}

}  // namespace

void add_info(CLI::App& tool, Action& action) {
  const auto options = std::make_shared<MeasureOptions>();
  CLI::App* command = tool.add_subcommand("info", "Format, pixel type and size of image files; decodes no pixels");
  add_measure_options(*command, *options);
  command->footer("Example:\n  vlix info plate.png scan.tif");
  runs(*command, action, options, run);
}
