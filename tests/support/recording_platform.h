// SPDX-License-Identifier: Apache-2.0
// A platform that watches the module. Test programs define the platform's C functions themselves (symbols of the
// program come first), forward them to the real libraries, and, while a recorded call runs, note every call, make
// chosen calls fail, and watch the module's use of the C heap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "vlix/types.h"

namespace vlix::test {

// One report through the status channel.
struct Report {
  int32_t kind;
  std::string text;      // operation name or format, as the module passed it
  std::string argument;  // bytes or type name; for messages the formatted text
  bool operator==(const Report&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Report& report);

// At most one exists at a time; calls outside of call() are forwarded unseen.
class RecordingPlatform {
 public:
  RecordingPlatform();
  ~RecordingPlatform();
  RecordingPlatform(const RecordingPlatform&) = delete;
  RecordingPlatform& operator=(const RecordingPlatform&) = delete;

  // Pointers into [p, p + bytes) are rendered as "name" or "name+offset" (bytes).
  void name(const void* p, std::size_t bytes, std::string name);
  template <class Record>
  void name(const Record& record, std::string text) {
    name(&record, sizeof(record), std::move(text));
  }

  // What VlixOptimGetLevel answers; none = the real library's.
  std::optional<int32_t> level;
  // What VlixOpStatus answers.
  int32_t report_result = -4711;
  // The report with "%g..%g" carries two 32-bit integers instead of doubles.
  bool integer_ranges = false;

  // Output images are shaped this much larger than asked for; their region of interest is what was asked for.
  struct Margins {
    int32_t left = 0, top = 0, right = 0, bottom = 0;
  };
  Margins output_margins;
  // Stands in for vlix_fft.
  std::function<int32_t(const VlixImage*, VlixImage*, int32_t direction, int32_t reserved, int32_t real_output)> fft;
  // Stand in for VlixUtilScanRoi and VlixUtilRasterizeRoi.
  using Scanner = std::function<int32_t(void* context, void* region_or_shape, VlixPixelRoutine)>;
  Scanner scan_roi;
  Scanner rasterize_roi;

  // Makes the nth call (1 = the next one) of a function fail with its failure value or with this one.
  void fail(const std::string& function, int nth = 1, std::optional<int32_t> result = {});
  // Makes the nth heap allocation of the module fail. Needs heap_is_watched().
  void fail_heap(int nth);
  static bool heap_is_watched();
  // How many planned failures of functions came due.
  int failures_taken() const { return failures_taken_; }

  // Runs an export and records what it does.
  template <class Function, class... Arguments>
  auto call(Function&& function, Arguments&&... arguments) {
    Scope scope(*this);
    return function(std::forward<Arguments>(arguments)...);
  }

  // Calls in order, as "VlixVectorAlloc(vec, PointF32, 5)". Size and name queries and reports are left out.
  const std::vector<std::string>& calls() const { return calls_; }
  std::vector<std::string> calls_of(const std::string& function) const;
  const std::vector<Report>& reports() const { return reports_; }
  // How many calls came before each report.
  const std::vector<std::size_t>& calls_before_reports() const { return calls_before_reports_; }
  // Buffers that recorded calls obtained through records and did not release, by the call that made them.
  std::vector<std::string> live_buffers() const;
  // The same by address.
  const std::map<const void*, std::string>& buffers() const { return buffers_; }
  // Heap blocks of the module: sizes asked for in order, and how many are not freed yet.
  const std::vector<std::size_t>& heap_requests() const;
  int64_t heap_live() const;
  // Forgets what was recorded, not the names and settings.
  void clear();

  // For the platform functions of the test program.
  std::string render(const void* p) const;
  void record_call(const std::string& function, const std::string& arguments);
  void record_report(Report report) {
    reports_.push_back(std::move(report));
    calls_before_reports_.push_back(calls_.size());
  }
  std::optional<std::optional<int32_t>> take_failure(const std::string& function);
  void note_buffer(const void* data, const std::string& maker);
  void note_release(const void* data);

  static RecordingPlatform* recording();  // null outside of call(), on other threads and inside platform functions

 private:
  struct Scope {
    explicit Scope(RecordingPlatform& platform);
    ~Scope();
  };
  struct Name {
    const char* begin;
    std::size_t bytes;
    std::string text;
  };
  struct Failure {
    int countdown;
    std::optional<int32_t> result;
  };

  std::vector<Name> names_;
  std::vector<std::string> calls_;
  std::vector<Report> reports_;
  std::vector<std::size_t> calls_before_reports_;
  std::map<std::string, std::vector<Failure>> failures_;
  int failures_taken_ = 0;
  std::map<const void*, std::string> buffers_;
};

}  // namespace vlix::test
