// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "vlix/object.h"

namespace {

VlixOpReport last() {
  VlixOpReport report = {};
  VlixOpLastReport(&report);
  return report;
}

class Status : public ::testing::Test {
 protected:
  Status() { VlixOpClear(); }
  ~Status() override {
    VlixOpSetHandler(nullptr, nullptr);
    VlixOpClear();
  }
};

TEST_F(Status, OutOfMemoryNamesOperationAndBytes) {
  EXPECT_EQ(VlixOpStatus(1, 0, "variance", int64_t{5000000000}), VLIX_STATUS_OUT_OF_MEMORY);
  EXPECT_STREQ(last().text, "variance: out of memory (5000000000 bytes)");
  EXPECT_EQ(last().kind, 0);
  EXPECT_EQ(last().status, VLIX_STATUS_OUT_OF_MEMORY);
}

TEST_F(Status, UnsupportedTypeNamesOperationAndType) {
  EXPECT_EQ(VlixOpStatus(1, 1, "stats", "F64"), VLIX_STATUS_UNSUPPORTED_TYPE);
  EXPECT_STREQ(last().text, "stats: unsupported type F64");
}

TEST_F(Status, MessagesAreFormattedAndLoseTheirLineFeed) {
  EXPECT_EQ(VlixOpStatus(1, 100, "sum: %d of %g%%\n", 7, 2.5), VLIX_STATUS_MESSAGE);
  EXPECT_STREQ(last().text, "sum: 7 of 2.5%");
}

TEST_F(Status, ResultCodesAreDistinctNegativeValues) {
  const std::set<int32_t> codes = {VLIX_STATUS_OUT_OF_MEMORY, VLIX_STATUS_UNSUPPORTED_TYPE, VLIX_STATUS_MESSAGE,
                                   VLIX_STATUS_UNKNOWN_KIND};
  EXPECT_EQ(codes.size(), 4u);
  for (int32_t code : codes) EXPECT_LT(code, 0);
}

TEST_F(Status, UnknownKindsKeepTheirTextUnformatted) {
  EXPECT_EQ(VlixOpStatus(1, 55, "what %d"), VLIX_STATUS_UNKNOWN_KIND);
  EXPECT_STREQ(last().text, "what %d");
}

TEST_F(Status, NullTextAndNullReportAreHarmless) {
  EXPECT_LT(VlixOpStatus(1, 100, nullptr), 0);
  EXPECT_STREQ(last().text, "");
  VlixOpLastReport(nullptr);
}

TEST_F(Status, LongTextsAreCut) {
  const std::string text(3000, 'x');
  VlixOpStatus(1, 100, "%s", text.c_str());
  EXPECT_EQ(std::string(last().text), text.substr(0, VLIX_REPORT_TEXT_SIZE - 1));
}

TEST_F(Status, CountsUntilCleared) {
  VlixOpStatus(1, 100, "one");
  VlixOpStatus(1, 100, "two");
  EXPECT_EQ(last().count, 2u);
  VlixOpClear();
  EXPECT_EQ(last().count, 0u);
  EXPECT_STREQ(last().text, "");
}

TEST_F(Status, EachThreadHasItsOwnLastReport) {
  VlixOpStatus(1, 100, "mine");
  std::thread([] {
    EXPECT_EQ(last().count, 0u);
    VlixOpStatus(1, 100, "theirs");
    EXPECT_STREQ(last().text, "theirs");
  }).join();
  EXPECT_STREQ(last().text, "mine");
}

TEST_F(Status, HandlerReceivesEveryReportUntilRemoved) {
  std::vector<std::string> seen;
  VlixOpSetHandler([](const VlixOpReport* report,
                      void* user) { static_cast<std::vector<std::string>*>(user)->emplace_back(report->text); },
                   &seen);
  VlixOpStatus(1, 100, "first\n");
  VlixOpStatus(1, 1, "stats", "U8");
  VlixOpSetHandler(nullptr, nullptr);
  VlixOpStatus(1, 100, "unseen");
  EXPECT_EQ(seen, (std::vector<std::string>{"first", "stats: unsupported type U8"}));
}

TEST_F(Status, HandlerMayReportAndRemoveItself) {
  static int calls;
  calls = 0;
  VlixOpSetHandler(
      [](const VlixOpReport* report, void*) {
        ++calls;
        VlixOpSetHandler(nullptr, nullptr);
        const std::string before = report->text;
        VlixOpStatus(1, 100, "inner");
        EXPECT_EQ(report->text, before);
      },
      nullptr);
  VlixOpStatus(1, 100, "outer");
  EXPECT_EQ(calls, 1);
}

TEST_F(Status, HandlerMayChangeWhileOtherThreadsReport) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < 500; ++i) {
        if (t == 0) {
          VlixOpSetHandler(i % 2 == 0 ? [](const VlixOpReport*, void*) {} : VlixOpHandler{}, nullptr);
        } else {
          VlixOpStatus(1, 100, "t%d i%d", t, i);
          EXPECT_EQ(std::string(last().text), "t" + std::to_string(t) + " i" + std::to_string(i));
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(Level, AcceptsZeroToTwoOnly) {
  const int32_t before = VlixOptimGetLevel();
  for (int32_t level : {0, 2, 1}) {
    EXPECT_EQ(VlixOptimSetLevel(level), 0);
    EXPECT_EQ(VlixOptimGetLevel(), level);
  }
  for (int32_t level : {-1, 3, INT32_MAX}) {
    EXPECT_NE(VlixOptimSetLevel(level), 0);
    EXPECT_EQ(VlixOptimGetLevel(), 1);
  }
  VlixOptimSetLevel(before);
}

// The environment is read once per process, so each value gets a process of its own.
int level_of_fresh_process(const char* value) {
  if (value == nullptr) {
    unsetenv("VLIX_OPTIM_LEVEL");
  } else {
    setenv("VLIX_OPTIM_LEVEL", value, 1);
  }
  char self[4096] = {};
  if (readlink("/proc/self/exe", self, sizeof(self) - 1) < 0) return -1;
  FILE* pipe = popen((std::string(self) + " --print-level").c_str(), "r");
  int level = -1;
  if (pipe == nullptr || std::fscanf(pipe, "%d", &level) != 1) level = -1;
  if (pipe != nullptr) pclose(pipe);
  unsetenv("VLIX_OPTIM_LEVEL");
  return level;
}

TEST(Level, EnvironmentSetsTheStartValueAndNonsenseIsIgnored) {
  EXPECT_EQ(level_of_fresh_process(nullptr), 1);
  EXPECT_EQ(level_of_fresh_process("0"), 0);
  EXPECT_EQ(level_of_fresh_process("2"), 2);
  EXPECT_EQ(level_of_fresh_process("3"), 1);
  EXPECT_EQ(level_of_fresh_process("01"), 1);
  EXPECT_EQ(level_of_fresh_process(""), 1);
  EXPECT_EQ(level_of_fresh_process("fast"), 1);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::string(argv[1]) == "--print-level") {
    std::printf("%d\n", VlixOptimGetLevel());
    return 0;
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
