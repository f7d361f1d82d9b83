// SPDX-License-Identifier: Apache-2.0
// Cases of the benchmark. Each operation has a file of its own that registers its cases:
//
//   void stats_cases(Cases& cases) {
//     cases.push_back({.operation = "stats", .name = "U8 2048 x 2048", .goal = 6.0, .make = [] { ...; return Work{...};
//     }});
//   }
//   const bool registered = register_cases(stats_cases);
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vlix::bench {

// What one case runs. The closures own the case's images (shared_ptr), which live while the case runs.
struct Work {
  std::function<void()> ours;   // called at each level of the case
  std::function<void()> peer;   // may be empty
  std::function<void()> limit;  // the same work without any interface; may be empty
  // Called after ours ran once (at each level) and peer ran once: an empty text when the results agree.
  std::function<std::string()> verify;
};

struct Case {
  std::string operation;              // name of the export without its prefix
  std::string name;                   // type, size, parameters
  std::vector<int32_t> levels = {1};  // the first one is the default level, which the goal is about
  std::string peer = "";              // name of the peer, for instance "OpenCV calcHist"
  std::string limit = "";             // name of the limit kernel
  double goal = 0.0;                  // time of the peer / time of ours; 0 = none
  bool quick = true;                  // part of --quick
  std::function<Work()> make;
};

using Cases = std::vector<Case>;

bool register_cases(void (*add)(Cases&));

// Keeps the compiler from dropping a result.
template <class T>
inline void keep(const T& value) {
  asm volatile("" : : "r,m"(value) : "memory");
}

}  // namespace vlix::bench
