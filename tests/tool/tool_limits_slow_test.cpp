// SPDX-License-Identifier: Apache-2.0
// Little memory, interruptions, very many files.
#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>

#include "picture.h"
#include "process.h"

namespace {

Picture grey(int size) {
  return draw(size, size, Sample::kU8, [](int x, int y) { return noise(x, y, 1, 200); });
}

// Below about 15 MB the system cannot even start the program. Above, every limit gives either the results or one line
// per file, or one line for all.
TEST(Limits, LittleMemoryIsOneClearLine) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers reserve terabytes of addresses";
#endif
  const Folder folder;
  const std::vector<std::string> files = {folder.write("a.png", png(grey(100))), folder.write("b.tif", tiff(grey(100))),
                                          folder.write("c.jpg", encoded(grey(100), ".jpg"))};
  for (const char* jobs : {"1", "3"}) {
    for (unsigned long megabytes = 20; megabytes <= 400; megabytes += megabytes < 260 ? 10 : 70) {
      Launch launch;
      launch.arguments = {"stats", "--format", "csv", "--jobs", jobs, files[0], files[1], files[2]};
      launch.address_space = megabytes << 20;
      const Finished done = run(launch);
      SCOPED_TRACE(testing::Message() << megabytes << " MB, " << jobs << " jobs: " << done.err);
      ASSERT_TRUE(done.exit_code == 0 || done.exit_code == 1) << done.exit_code;
      const std::size_t complaints = lines_of(done.err);
      if (done.exit_code == 0) {
        EXPECT_EQ(complaints, 0U);
      }
      if (done.exit_code == 1) {
        EXPECT_TRUE(complaints >= 1 && complaints <= files.size());
      }
      if (done.err.find("stopped") == std::string::npos && done.exit_code == 1) {
        EXPECT_EQ(complaints + lines_of(done.out), files.size() + (done.out.empty() ? 0 : 1));
      }
    }
  }
}

TEST(Limits, AnImageLargerThanTheMemoryIsRefused) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers reserve terabytes of addresses";
#endif
  const Folder folder;
  const std::string path = folder.write("large.pgm", "P5\n30000 30000\n255\n");
  ASSERT_EQ(truncate(path.c_str(), 30000L * 30000 + 19), 0);
  Launch launch;
  launch.arguments = {"stats", path};
  launch.address_space = 1UL << 30;
  const Finished done = run(launch);
  EXPECT_EQ(done.exit_code, 1);
  EXPECT_EQ(lines_of(done.err), 1U) << done.err;
}

// Whenever it is ended, the output is the old file or the new one, and nothing lies beside it.
TEST(Limits, InterruptedRunsLeaveNoHalfWrittenOutput) {
  const Folder folder;
  const std::string image = folder.write("a.pgm", pnm(grey(300)));
  Launch launch;
  launch.arguments = {"histogram", "--format", "csv", "--bins", "256", "--output", folder.file("out.csv")};
  for (int i = 0; i < 40; ++i) launch.arguments.push_back(image);
  const Finished whole = run(launch);
  ASSERT_EQ(whole.exit_code, 0) << whole.err;
  const std::string expected = read_file(folder.file("out.csv"));
  ASSERT_EQ(lines_of(expected), 1U + 40 * 256);
  for (int milliseconds = 0; milliseconds <= 120; milliseconds += 5) {
    folder.write("out.csv", "old");
    launch.terminate_after_ms = milliseconds;
    const Finished done = run(launch);
    const std::string found = read_file(folder.file("out.csv"));
    EXPECT_TRUE(found == "old" || found == expected) << milliseconds << " ms";
    if (done.exit_code == 0) {
      EXPECT_EQ(found, expected);
    }
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.pgm", "out.csv"})) << milliseconds << " ms";
  }
}

// Ended just when the temporary file is there.
TEST(Limits, TemporaryFilesGoWithTheProgram) {
  const Folder folder;
  const std::string image = folder.write("a.pgm", pnm(grey(1500)));
  Launch launch;
  launch.arguments = {"variance", "--kernel", "3x3", "--output", folder.file("out.tif"), image};
  launch.terminate_when = [&] { return folder.names().size() > 1; };
  for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
    launch.signal_number = number;
    for (int i = 0; i < 3; ++i) {
      const Finished done = run(launch);
      EXPECT_TRUE(done.exit_code == 0 || done.exit_code == 128 + number) << done.exit_code;
      std::vector<std::string> names = folder.names();
      if (names.size() == 2) {
        EXPECT_EQ(names[1], "out.tif");
        EXPECT_GT(read_file(folder.file("out.tif")).size(), 4U * 1500 * 1500);
        unlink(folder.file("out.tif").c_str());
      }
      EXPECT_LE(names.size(), 2U);
    }
  }
}

// Rows above the region pass through the decoder without being kept: 64 MB of them here.
TEST(Limits, RegionFarDownNeedsNoMemoryForTheRowsAboveIt) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers have memory of their own";
#endif
  const Folder folder;
  const std::string path = folder.write("rows.png", png_of_rows(4000, 16000));
  Launch launch;
  launch.arguments = {"stats", "--format", "json", "--roi", "10,15500,16,1", path};
  const Finished done = run(launch);
  ASSERT_EQ(done.exit_code, 0) << done.err;
  EXPECT_EQ(done.json()[0]["mean"], 15500 % 251);
  launch.arguments[4] = "10,0,16,1";
  EXPECT_LT(done.peak_kilobytes, run(launch).peak_kilobytes + 32 * 1024);
}

// The image library shows pixels that it has no memory for as black ones; they must not be measured.
TEST(Limits, LittleMemoryNeverChangesAPixel) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers reserve terabytes of addresses";
#endif
  const Folder folder;
  const std::string path = folder.write("rows.png", png_of_rows(200000, 300));
  for (unsigned long megabytes = 100; megabytes <= 300; megabytes += 4) {
    Launch launch;
    launch.arguments = {"stats", "--format", "json", "--jobs", "3", "--roi", "10,249,190000,1", path, path, path};
    launch.address_space = megabytes << 20;
    const Finished done = run(launch);
    ASSERT_TRUE(done.exit_code == 0 || done.exit_code == 1) << done.exit_code;
    if (done.err.find("stopped") != std::string::npos) continue;
    for (const auto& row : done.json()) {
      EXPECT_EQ(row["min"], 249) << megabytes << " MB";
      EXPECT_EQ(row["max"], 249) << megabytes << " MB";
    }
  }
}

TEST(Limits, FewOpenFiles) {
  const Folder folder;
  Launch launch;
  launch.open_files = 20;
  launch.arguments = {"stats", "--format", "csv", "--jobs", "64"};
  const std::string path = folder.write("a.png", png(grey(20)));
  launch.arguments.insert(launch.arguments.end(), 500, path);
  const Finished done = run(launch);
  EXPECT_EQ(done.exit_code, 0);
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(lines_of(done.out), 501U);
}

TEST(Limits, TenThousandFiles) {
  const Folder folder;
  Launch launch;
  launch.folder = folder.path();
  launch.arguments = {"stats", "--format", "csv"};
  for (int i = 0; i < 10000; ++i) {
    const std::string name = std::to_string(i) + ".pgm";
    folder.write(name, pnm(draw(3, 2, Sample::kU8, [=](int x, int y) { return noise(x, y, i, 256); })));
    launch.arguments.push_back(name);
  }
  const Finished done = run(launch);
  EXPECT_EQ(done.exit_code, 0);
  EXPECT_EQ(done.err, "");
  EXPECT_EQ(lines_of(done.out), 10001U);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
  EXPECT_LT(done.peak_kilobytes, 200 * 1024);
#endif
}

}  // namespace
