// SPDX-License-Identifier: Apache-2.0
// Every export with inputs of its types, callable alike: for tests that are about all operations at once (levels,
// threads, failing platform). Inputs are shared and never written; each run has outputs of its own.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "support/recording_platform.h"
#include "vlix/types.h"

namespace vlix::test {

struct Outcome {
  VlixStatus status = 0;
  std::string bytes;  // all outputs, one after the other
  bool operator==(const Outcome&) const = default;
};

struct ExportCase {
  std::string name;                                // export and input type
  std::string export_name;                         // with its prefix
  bool levels_agree = true;                        // bit by bit at levels 0, 1 and 2
  int kept_buffers = 0;                            // buffers that a successful call at level 1 keeps on purpose
  std::function<Outcome(RecordingPlatform*)> run;  // through the platform's call() unless null
};

const std::vector<ExportCase>& all_exports();

}  // namespace vlix::test
