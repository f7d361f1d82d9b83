// SPDX-License-Identifier: Apache-2.0
// Formats, files that are written, many files at a time, terminals.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "picture.h"
#include "process.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

std::string small_image(const Folder& folder, const std::string& name, int value) {
  return folder.write(name, pnm(draw(4, 3, Sample::kU8, [=](int x, int) { return value + x % 2; })));
}

TEST(Output, OneTableForAllFiles) {
  const Folder folder;
  small_image(folder, "a.pgm", 10);
  small_image(folder, "longer-name.pgm", 20);
  Launch launch;
  launch.folder = folder.path();
  launch.arguments = {"stats", "a.pgm", "longer-name.pgm"};
  EXPECT_EQ(
      run(launch).out,
      "file             type           width     height  channel         mean  deviation        min        max\n"
      "a.pgm            U8                 4          3  -               10.5        0.5         10         11\n"
      "longer-name.pgm  U8                 4          3  -               20.5        0.5         20         21\n");
}

TEST(Output, CsvAndJsonHaveTheSameValues) {
  const Folder folder;
  const std::string path = small_image(folder, "a.pgm", 10);
  EXPECT_EQ(vlix({"stats", "--format", "csv", path}).out,
            "file,type,width,height,channel,mean,deviation,min,max\n" + path + ",U8,4,3,,10.5,0.5,10,11\n");
  const auto rows = vlix({"stats", "--format", "json", path}).json();
  EXPECT_EQ(rows.dump(), "[{\"file\":\"" + path +
                             "\",\"type\":\"U8\",\"width\":4,\"height\":3,\"channel\":null,\"mean\":10.5,"
                             "\"deviation\":0.5,\"min\":10.0,\"max\":11.0}]");
}

TEST(Output, NothingMeasuredIsStillValidJson) {
  const Finished done = vlix({"stats", "--format", "json", "/nonexistent.png"});
  EXPECT_EQ(done.exit_code, 1);
  EXPECT_TRUE(done.json().empty());
}

TEST(Output, NamesThatAreNotUtf8StayValidJson) {
  const Folder folder;
  const std::string path = small_image(folder, "a\xff.pgm", 10);
  EXPECT_EQ(vlix({"stats", "--format", "json", path}).json().size(), 1U);
}

TEST(Output, FileAppearsCompleteAndAlone) {
  const Folder folder;
  const std::string path = small_image(folder, "a.pgm", 10);
  const Finished done = vlix({"stats", "--format", "csv", "--output", folder.file("out.csv"), path});
  EXPECT_EQ(done.exit_code, 0) << done.err;
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(lines_of(read_file(folder.file("out.csv"))), 2U);
  EXPECT_THAT(folder.names(), ElementsAre("a.pgm", "out.csv"));
}

TEST(Output, ReplacedFileKeepsItsModeAndLinksStayLinks) {
  const Folder folder;
  const std::string path = small_image(folder, "a.pgm", 10);
  const std::string target = folder.write("target.csv", "old");
  chmod(target.c_str(), 0640);
  ASSERT_EQ(symlink("target.csv", folder.file("link.csv").c_str()), 0);
  EXPECT_EQ(vlix({"stats", "--format", "csv", "-o", folder.file("link.csv"), path}).exit_code, 0);
  struct stat info = {};
  ASSERT_EQ(lstat(folder.file("link.csv").c_str(), &info), 0);
  EXPECT_TRUE(S_ISLNK(info.st_mode));
  ASSERT_EQ(stat(target.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640U);
  EXPECT_EQ(lines_of(read_file(target)), 2U);
}

TEST(Output, NewFilesFollowTheMask) {
  const Folder folder;
  const std::string path = small_image(folder, "a.pgm", 10);
  const mode_t before = umask(027);
  EXPECT_EQ(vlix({"stats", "-o", folder.file("out.txt"), path}).exit_code, 0);
  umask(before);
  struct stat info = {};
  ASSERT_EQ(stat(folder.file("out.txt").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0640U);
}

TEST(Output, FullDiskIsOneLine) {
  const Folder folder;
  const std::string path = small_image(folder, "a.pgm", 10);
  const Finished file = vlix({"stats", "-o", "/dev/full", path});
  EXPECT_EQ(file.exit_code, 1);
  EXPECT_EQ(file.err, "vlix: /dev/full: cannot be written: No space left on device\n");
  Launch launch;
  launch.arguments = {"stats", path};
  launch.standard_output = "/dev/full";
  const Finished out = run(launch);
  EXPECT_EQ(out.exit_code, 1);
  EXPECT_EQ(out.err, "vlix: standard output: cannot be written: No space left on device\n");
}

// What the disk has no room for leaves the old file as it was.
TEST(Output, FullDiskLeavesTheOldFile) {
  const Folder folder;
  const std::string image = folder.write("a.pgm", pnm(draw(100, 100, Sample::kU8, [](int x, int y) { return x + y; })));
  const std::string target = folder.write("out.tif", "old");
  Launch launch;
  launch.arguments = {"variance", "--kernel", "3x3", "--output", target, image};
  launch.file_size = 10000;
  const Finished done = run(launch);
  EXPECT_EQ(done.exit_code, 1);
  EXPECT_EQ(done.err, "vlix: " + image + ": " + target + ": cannot be written: File too large\n");
  EXPECT_EQ(read_file(target), "old");
  EXPECT_THAT(folder.names(), ElementsAre("a.pgm", "out.tif"));
}

TEST(Output, UnwritablePlacesAreOneLine) {
  const Folder folder;
  const std::string path = small_image(folder, "a.pgm", 10);
  for (const std::string& target : {folder.file("none/out.csv"), folder.path()}) {
    const Finished done = vlix({"stats", "-o", target, path});
    EXPECT_EQ(done.exit_code, 1);
    EXPECT_EQ(lines_of(done.err), 1U) << done.err;
    EXPECT_THAT(done.err, HasSubstr(target + ": cannot be written: "));
  }
  EXPECT_THAT(folder.names(), ElementsAre("a.pgm"));
}

TEST(Output, OtherTargetsAreWrittenDirectly) {
  const Folder folder;
  const std::string path = small_image(folder, "a.pgm", 10);
  const Finished done = vlix({"stats", "--format", "csv", "-o", "/dev/stdout", path});
  EXPECT_EQ(done.exit_code, 0) << done.err;
  EXPECT_EQ(lines_of(done.out), 2U);
}

// Every third file is bad, and the results come in the order of the files whatever the number of jobs.
TEST(Jobs, ResultsAndComplaintsComeInOrder) {
  const Folder folder;
  std::vector<std::string> arguments = {"stats", "--format", "csv", "--jobs", "1"};
  for (int i = 0; i < 300; ++i) {
    const std::string name = std::to_string(i) + ".pgm";
    const std::string bytes = pnm(draw(8 + i % 5, 8, Sample::kU8, [=](int x, int y) { return noise(x, y, i, 200); }));
    arguments.push_back(folder.write(name, i % 3 == 0 ? bytes.substr(0, 20) : bytes));
  }
  const Finished alone = vlix(arguments);
  EXPECT_EQ(alone.exit_code, 1);
  EXPECT_EQ(lines_of(alone.out), 201U);
  EXPECT_EQ(lines_of(alone.err), 100U);
  for (const char* jobs : {"2", "7", "64"}) {
    arguments[4] = jobs;
    const Finished together = vlix(arguments);
    EXPECT_EQ(together.exit_code, 1);
    EXPECT_EQ(together.out, alone.out);
    EXPECT_EQ(together.err, alone.err);
  }
}

TEST(Jobs, ProgressIsForTerminalsAndSeveralFiles) {
  const Folder folder;
  const std::string path = small_image(folder, "a.pgm", 10);
  Launch launch;
  launch.arguments = {"stats", path, path, path};
  EXPECT_EQ(run(launch).err, "");
  launch.terminal = true;
  const std::string bar = run(launch).err;
  EXPECT_THAT(bar, HasSubstr("] 3/3"));
  EXPECT_EQ(bar.substr(bar.size() - 4), "\r\x1b[K");
  launch.arguments = {"stats", path};
  EXPECT_EQ(run(launch).err, "");
}

}  // namespace
