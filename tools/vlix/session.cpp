// SPDX-License-Identifier: Apache-2.0
#include "session.h"

#include <sys/resource.h>

#include <algorithm>
#include <new>

#include "errors.h"
#include "jobs.h"
#include "output/sink.h"
#include "vlix/object.h"

namespace {

constexpr std::size_t kWidestFirstColumn = 60;

std::size_t width_of_names(const std::vector<std::string>& names) {
  std::size_t width = 4;
  for (const std::string& name : names) width = std::max(width, std::min(name.size(), kWidestFirstColumn));
  return width;
}

void refuse_repeated_standard_input(const std::vector<std::string>& files) {
  if (std::count(files.begin(), files.end(), "-") > 1) throw UsageError("standard input (-) can be read only once");
}

// Each job has its file open, and the image library has it twice.
std::size_t affordable_jobs(std::size_t wanted) {
  constexpr rlim_t kOthers = 12, kPerJob = 3;
  rlimit files = {};
  if (getrlimit(RLIMIT_NOFILE, &files) != 0 || files.rlim_cur == RLIM_INFINITY) return wanted;
  const rlim_t most = files.rlim_cur < kOthers + kPerJob ? 1 : (files.rlim_cur - kOthers) / kPerJob;
  return static_cast<std::size_t>(std::min<rlim_t>(wanted, most));
}

class Results {
 public:
  Results(const OutputOptions& options, std::size_t first_column_width)
      : sink_(options.output), writer_(make_writer(options.format, first_column_width)) {
    sink_.write(writer_->begin());
  }

  void add(const std::vector<Record>& records) {
    for (const Record& record : records) sink_.write(writer_->record(record));
  }

  void close() {
    sink_.write(writer_->end());
    sink_.close();
  }

 private:
  Sink sink_;
  std::unique_ptr<Writer> writer_;
};

// The channels of an image have their notes in common.
std::vector<std::string> without_repeats(const std::vector<std::string>& notes) {
  std::vector<std::string> once;
  for (const std::string& note : notes) {
    if (std::find(once.begin(), once.end(), note) == once.end()) once.push_back(note);
  }
  return once;
}

struct Outcome {
  Measurement measurement;
  std::string error;  // empty when it succeeded
};

Outcome outcome_of(const std::function<Measurement()>& measure) {
  try {
    return {measure(), ""};
  } catch (const std::bad_alloc&) {
    return {{}, "not enough memory"};
  } catch (const std::exception& error) {
    return {{}, error.what()};
  }
}

}  // namespace

LoadedImage load_image(Session& session, const std::string& path, const MeasureOptions& options) {
  const uint64_t limit = options.limit_mib << 20;
  return load_image(session, InputFile(path, limit), options.roi, limit);
}

LoadedImage load_image(Session& session, const InputFile& file, const std::optional<Rect>& region, uint64_t limit) {
  LoadedImage loaded;
  loaded.header = session.images.files().read(file.source(), {region, limit}, loaded.image);
  if (region) {
    loaded.x = region->x;
    loaded.y = region->y;
  }
  return loaded;
}

void set_level(const std::optional<int32_t>& level) {
  if (level) VlixOptimSetLevel(*level);
}

int measure_files(Session& session, const MeasureOptions& options, const MeasureFile& measure) {
  refuse_repeated_standard_input(options.files);
  set_level(options.level);
  Results results(options.output, width_of_names(options.files));
  int exit_code = kExitSuccess;
  const auto complete = [&](std::size_t index, const Outcome& outcome) {
    const std::string prefix = options.files[index] + ": ";
    for (const std::string& note : without_repeats(outcome.measurement.notes)) session.console.error(prefix + note);
    if (!outcome.error.empty()) {
      session.console.error(prefix + outcome.error);
      exit_code = kExitFailed;
    }
    session.console.clear_progress();
    results.add(outcome.measurement.records);
    session.console.progress(index + 1, options.files.size());
  };
  Jobs jobs;
  jobs.count = options.files.size();
  jobs.work = [&](std::size_t index) -> Completion {
    auto outcome = std::make_shared<Outcome>(outcome_of([&] { return measure(options.files[index]); }));
    return [&complete, index, outcome] { complete(index, *outcome); };
  };
  jobs.thread_ends = [&] { session.images.thread_ends(); };
  run_in_order(jobs, affordable_jobs(options.jobs));
  session.console.clear_progress();
  results.close();
  return exit_code;
}

int measure_once(Session& session, const OutputOptions& options, const std::function<Measurement()>& measure) {
  const Outcome outcome = outcome_of(measure);
  if (!outcome.error.empty()) {
    session.console.error(outcome.error);
    return kExitFailed;
  }
  Results results(options, 0);
  for (const std::string& note : outcome.measurement.notes) session.console.error(note);
  results.add(outcome.measurement.records);
  results.close();
  return kExitSuccess;
}
