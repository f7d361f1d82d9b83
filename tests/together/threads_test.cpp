// SPDX-License-Identifier: Apache-2.0
// All operations at once from eight threads on shared inputs, while the level changes.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "support/all_exports.h"
#include "support/test_image.h"
#include "vlix/object.h"
#include "vlix/xform.h"

namespace vlix::test {
namespace {

constexpr int kThreads = 8;
constexpr int kRounds = 6;

TEST(Threads, ResultsAreThoseOfOneOfTheLevels) {
  const LevelScope restore(1);
  std::vector<std::vector<Outcome>> alone(3);
  for (int32_t level : {0, 1, 2}) {
    VlixOptimSetLevel(level);
    for (const ExportCase& item : all_exports()) alone[static_cast<std::size_t>(level)].push_back(item.run(nullptr));
  }

  std::atomic<bool> done = false;
  std::thread changes_levels([&] {
    for (int32_t level = 0; !done; level = (level + 1) % 3) {
      VlixOptimSetLevel(level);
      std::this_thread::yield();
    }
  });
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      const auto& cases = all_exports();
      for (int round = 0; round < kRounds; ++round) {
        for (std::size_t i = 0; i < cases.size(); ++i) {
          const std::size_t k = (i + static_cast<std::size_t>(t) * 13) % cases.size();
          const Outcome outcome = cases[k].run(nullptr);
          EXPECT_TRUE(outcome == alone[0][k] || outcome == alone[1][k] || outcome == alone[2][k]) << cases[k].name;
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  done = true;
  changes_levels.join();
}

// Spectra of many sizes, planned by all threads at the same time.
TEST(Threads, TransformsOfManySizesArePlannedAtOnce) {
  const auto round_trip = [](int32_t width, int32_t height) {
    TestImage<float> image(width, height, Fill::kNoise, static_cast<uint64_t>(width * 1000 + height));
    VlixImage spectrum = {};
    VlixImage back = {};
    EXPECT_EQ(vlix_fft(&image.record, &spectrum, 0, 0, 0), 0);
    EXPECT_EQ(vlix_fft(&spectrum, &back, 1, 0, 1), 0);
    std::string bytes;
    if (back.data != nullptr) {
      bytes.assign(static_cast<const char*>(back.data),
                   static_cast<std::size_t>(back.width) * static_cast<std::size_t>(back.height) * sizeof(float));
    }
    VlixImageRelease(&spectrum, 0);
    VlixImageRelease(&back, 0);
    return bytes;
  };
  constexpr int32_t kSizes = 12;
  std::vector<std::vector<std::string>> results(kThreads, std::vector<std::string>(kSizes));
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int32_t i = 0; i < kSizes; ++i) {
        const int32_t k = (i + static_cast<int32_t>(t)) % kSizes;
        results[t][static_cast<std::size_t>(k)] = round_trip(16 + 7 * k, 40 - 3 * k);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (std::size_t t = 1; t < kThreads; ++t) EXPECT_EQ(results[t], results[0]);
  for (const std::string& bytes : results[0]) EXPECT_FALSE(bytes.empty());
}

}  // namespace
}  // namespace vlix::test
