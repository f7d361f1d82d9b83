// SPDX-License-Identifier: Apache-2.0
// Runs every case: first verified, then timed beside its peer in interleaved repetitions, of which the medians count.
//
//   vlix_bench [--quick] [--filter TEXT] [--repetitions N] [--markdown FILE]
//   vlix_bench --overhead | --growth [--quick]

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "harness.h"
#include "peers.h"
#include "tables.h"
#include "vlix/object.h"

namespace vlix::bench {
namespace {

std::vector<void (*)(Cases&)>& registry() {
  static std::vector<void (*)(Cases&)> functions;
  return functions;
}

struct Options {
  bool quick = false;
  std::string filter;
  int repetitions = 0;
  std::string markdown;
  bool overhead = false;
  bool growth = false;
};

// Collects the real time of each repetition, in seconds.
class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && run.iterations > 0) {
        times[run.run_name.function_name].push_back(run.real_accumulated_time / static_cast<double>(run.iterations));
      }
    }
  }
  std::map<std::string, std::vector<double>> times;
};

double median(std::vector<double> values) {
  if (values.empty()) return 0.0;
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

// Half the distance between the quartiles, relative to the median.
double spread(std::vector<double> values) {
  if (values.size() < 4) return 0.0;
  std::sort(values.begin(), values.end());
  return (values[values.size() * 3 / 4] - values[values.size() / 4]) / 2.0 / values[values.size() / 2];
}

std::string format_time(double seconds) {
  char text[32];
  if (seconds <= 0.0) return "-";
  if (seconds < 1e-6) {
    std::snprintf(text, sizeof(text), "%.1f ns", seconds * 1e9);
  } else if (seconds < 1e-3) {
    std::snprintf(text, sizeof(text), "%.2f us", seconds * 1e6);
  } else {
    std::snprintf(text, sizeof(text), "%.2f ms", seconds * 1e3);
  }
  return text;
}

std::string format_ratio(double ratio) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.2f", ratio);
  return ratio > 0.0 ? text : "-";
}

struct Row {
  std::string operation, name, level, ours, peer_name, peer, ratio, goal, limit, of_limit, spread, verdict;
};

void time_closure(const std::string& name, std::function<void()> work, int32_t level, int repetitions,
                  double min_time) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [work = std::move(work), level](benchmark::State& state) {
                                 VlixOptimSetLevel(level);
                                 for (auto _ : state) work();
                               })
      ->Repetitions(repetitions)
      ->MinTime(min_time)
      ->UseRealTime();
}

std::string verify(const Case& item, const Work& work) {
  for (int32_t level : item.levels) {
    VlixOptimSetLevel(level);
    work.ours();
    if (work.peer) work.peer();
    if (!work.verify) continue;
    const std::string difference = work.verify();
    if (!difference.empty()) return "level " + std::to_string(level) + ": " + difference;
  }
  return work.verify ? "" : "unverified";
}

std::vector<Row> run(const Case& item, const Options& options) {
  const Work work = item.make();
  const std::string difference = verify(item, work);
  const int repetitions = options.repetitions > 0 ? options.repetitions : options.quick ? 3 : 9;
  const double min_time = options.quick ? 0.01 : 0.05;

  benchmark::ClearRegisteredBenchmarks();
  for (int32_t level : item.levels) {
    time_closure("level" + std::to_string(level), work.ours, level, repetitions, min_time);
  }
  if (work.peer) time_closure("peer", work.peer, item.levels[0], repetitions, min_time);
  if (work.limit) time_closure("limit", work.limit, item.levels[0], repetitions, min_time);
  Collector collector;
  benchmark::RunSpecifiedBenchmarks(&collector);

  const double peer = median(collector.times["peer"]);
  const double limit = median(collector.times["limit"]);
  std::vector<Row> rows;
  for (std::size_t i = 0; i < item.levels.size(); ++i) {
    const std::vector<double>& times = collector.times["level" + std::to_string(item.levels[i])];
    const double ours = median(times);
    const double ratio = peer / ours;
    const bool has_goal = item.goal > 0.0 && i == 0 && peer > 0.0;
    std::string verdict = difference;
    if (verdict.empty()) verdict = !has_goal ? "same" : ratio >= item.goal ? "same, goal met" : "same, GOAL MISSED";
    char percent[32];
    std::snprintf(percent, sizeof(percent), "%.0f %%", 100.0 * spread(times));
    rows.push_back({item.operation, item.name, std::to_string(item.levels[i]), format_time(ours), item.peer,
                    format_time(peer), format_ratio(ratio), has_goal ? format_ratio(item.goal) : "-",
                    format_time(limit), limit > 0.0 ? format_ratio(ours / limit) : "-", percent, verdict});
  }
  return rows;
}

constexpr const char* kTitles[] = {"operation", "case", "level", "ours",    "peer",   "time",
                                   "ratio",     "goal", "limit", "x limit", "spread", "result"};

std::vector<std::string> cells(const Row& row) {
  return {row.operation, row.name, row.level, row.ours,     row.peer_name, row.peer,
          row.ratio,     row.goal, row.limit, row.of_limit, row.spread,    row.verdict};
}

constexpr int kWidths[] = {22, 44, 5, 10, 28, 10, 7, 6, 10, 7, 6, 14};

void print(const std::vector<std::string>& row) {
  for (std::size_t i = 0; i < row.size(); ++i) std::printf("%-*s ", kWidths[i], row[i].c_str());
  std::printf("\n");
  std::fflush(stdout);
}

void write_markdown(const std::string& path, const std::vector<Row>& rows) {
  std::FILE* file = std::fopen(path.c_str(), "w");
  if (file == nullptr) {
    std::fprintf(stderr, "cannot write %s\n", path.c_str());
    return;
  }
  for (const char* title : kTitles) std::fprintf(file, "| %s ", title);
  std::fprintf(file, "|\n");
  for (std::size_t i = 0; i < std::size(kTitles); ++i) std::fprintf(file, "|---");
  std::fprintf(file, "|\n");
  for (const Row& row : rows) {
    for (const std::string& cell : cells(row)) std::fprintf(file, "| %s ", cell.c_str());
    std::fprintf(file, "|\n");
  }
  std::fclose(file);
}

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const bool has_value = i + 1 < argc;
    if (std::strcmp(argv[i], "--quick") == 0) {
      options.quick = true;
    } else if (std::strcmp(argv[i], "--overhead") == 0) {
      options.overhead = true;
    } else if (std::strcmp(argv[i], "--growth") == 0) {
      options.growth = true;
    } else if (std::strcmp(argv[i], "--filter") == 0 && has_value) {
      options.filter = argv[++i];
    } else if (std::strcmp(argv[i], "--repetitions") == 0 && has_value) {
      options.repetitions = std::atoi(argv[++i]);
    } else if (std::strcmp(argv[i], "--markdown") == 0 && has_value) {
      options.markdown = argv[++i];
    } else {
      std::fprintf(stderr,
                   "usage: vlix_bench [--quick] [--filter TEXT] [--repetitions N] [--markdown FILE]\n"
                   "       vlix_bench --overhead | --growth [--quick]\n");
      std::exit(2);
    }
  }
  return options;
}

int run_all(const Options& options) {
  Cases cases;
  for (auto* add : registry()) add(cases);
  std::stable_sort(cases.begin(), cases.end(), [](const Case& a, const Case& b) { return a.operation < b.operation; });

  print({std::begin(kTitles), std::end(kTitles)});
  std::vector<Row> all;
  bool same = true;
  for (const Case& item : cases) {
    if (options.quick && !item.quick) continue;
    if ((item.operation + " " + item.name).find(options.filter) == std::string::npos) continue;
    for (const Row& row : run(item, options)) {
      print(cells(row));
      same = same && (row.verdict == "unverified" || row.verdict.rfind("same", 0) == 0);
      all.push_back(row);
    }
  }
  if (!options.markdown.empty()) write_markdown(options.markdown, all);
  return same ? 0 : 1;
}

}  // namespace

bool register_cases(void (*add)(Cases&)) {
  registry().push_back(add);
  return true;
}

}  // namespace vlix::bench

int main(int argc, char** argv) {
  const vlix::bench::Options options = vlix::bench::parse(argc, argv);
  int benchmark_argc = 2;
  char name[] = "vlix_bench";
  char interleave[] = "--benchmark_enable_random_interleaving=true";
  char* benchmark_argv[] = {name, interleave, nullptr};
  benchmark::Initialize(&benchmark_argc, benchmark_argv);
  vlix::bench::use_one_peer_thread();
  if (options.growth) vlix::bench::print_growth(options.quick);
  if (options.overhead) vlix::bench::print_call_overheads();
  return options.overhead || options.growth ? 0 : vlix::bench::run_all(options);
}
