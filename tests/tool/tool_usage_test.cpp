// SPDX-License-Identifier: Apache-2.0
// Command lines: help, complaints and exit codes.
#include <gmock/gmock.h>

#include <algorithm>

#include "picture.h"
#include "process.h"

namespace {

using testing::HasSubstr;
using testing::Not;

const std::vector<std::string> kCommands = {"info",      "stats", "count", "background", "variance",
                                            "histogram", "diff",  "match", "project",    "profile"};

TEST(Usage, HelpGoesToStandardOutput) {
  const Finished help = vlix({"--help"});
  EXPECT_EQ(help.exit_code, 0);
  EXPECT_EQ(help.err, "");
  for (const std::string& command : kCommands) EXPECT_THAT(help.out, HasSubstr("\n  " + command + " "));
}

// The loader names every library that it maps.
TEST(Usage, HelpDoesNotLoadTheImageLibrary) {
  Launch launch;
  launch.environment = {"LD_DEBUG=files"};
  launch.arguments = {"--help"};
  EXPECT_THAT(run(launch).err, Not(HasSubstr("libvips")));
  const Folder folder;
  launch.environment.push_back("LD_DEBUG_OUTPUT=" + folder.file("log"));
  launch.arguments = {"info", folder.write("a.pgm", pnm(draw(2, 2, Sample::kU8, [](int, int) { return 1; })))};
  ASSERT_EQ(run(launch).exit_code, 0);
  std::string all;
  for (const std::string& name : folder.names()) {
    if (name.starts_with("log")) all += read_file(folder.file(name));
  }
  EXPECT_THAT(all, HasSubstr("libvips"));
}

// Milliseconds of processor time; the best of several runs.
TEST(Usage, HelpAnswersAtOnce) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "sanitizers take their time to start";
#endif
  double best = 1;
  for (int i = 0; i < 10; ++i) best = std::min(best, vlix({"--help"}).processor_seconds);
  EXPECT_LT(best, 0.015);
}

TEST(Usage, EveryCommandShowsAnExample) {
  for (const std::string& command : kCommands) {
    const Finished help = vlix({command, "--help"});
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_THAT(help.out, HasSubstr("Example:\n  vlix " + command)) << command;
    EXPECT_THAT(help.out, HasSubstr("--format"));
  }
}

TEST(Usage, ShapesHaveCommandsOfTheirOwn) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"fit", "line"}, {"fit", "circle"}, {"gauge", "circle"}}) {
    const Finished help = vlix({words[0], words[1], "--help"});
    EXPECT_EQ(help.exit_code, 0);
    EXPECT_THAT(help.out, HasSubstr("Example:\n  vlix " + words[0] + " " + words[1]));
  }
}

TEST(Usage, VersionIsThatOfTheProject) {
  EXPECT_THAT(vlix({"--version"}).out, testing::MatchesRegex("vlix [0-9.]+\n"));
}

void expect_usage_error(const std::vector<std::string>& arguments) {
  const Finished done = vlix(arguments);
  EXPECT_EQ(done.exit_code, 2) << done.err;
  EXPECT_EQ(done.out, "");
  EXPECT_EQ(lines_of(done.err), 1U) << done.err;
  EXPECT_THAT(done.err, testing::StartsWith("vlix: "));
}

TEST(Usage, SenselessCommandLinesAreRefused) {
  expect_usage_error({});
  expect_usage_error({"measure"});
  expect_usage_error({"stats"});
  expect_usage_error({"stats", "--nonsense", "a.png"});
  expect_usage_error({"stats", "--roi", "1,2,3", "a.png"});
  expect_usage_error({"stats", "--roi", "1,2,3,x", "a.png"});
  expect_usage_error({"stats", "--roi", "1,2,3,4,5", "a.png"});
  expect_usage_error({"stats", "--roi", "-1,0,5,5", "a.png"});
  expect_usage_error({"stats", "--roi", "0,0,0,5", "a.png"});
  expect_usage_error({"stats", "--roi", "0.5,0,5,5", "a.png"});
  expect_usage_error({"stats", "--roi", "0,0,5,9999999999", "a.png"});
  expect_usage_error({"stats", "--level", "3", "a.png"});
  expect_usage_error({"stats", "--format", "xml", "a.png"});
  expect_usage_error({"stats", "--jobs", "0", "a.png"});
  expect_usage_error({"stats", "--limit", "0", "a.png"});
  expect_usage_error({"stats", "-", "-"});
  expect_usage_error({"diff", "a.png"});
  expect_usage_error({"diff", "a.png", "b.png", "c.png"});
  expect_usage_error({"diff", "-", "-"});
  expect_usage_error({"diff", "--op", "cube", "a.png", "b.png"});
  expect_usage_error({"histogram", "--bins", "0", "a.png"});
  expect_usage_error({"histogram", "--lo", "9", "--hi", "3", "a.png"});
  expect_usage_error({"histogram", "--lo", "nan", "a.png"});
  expect_usage_error({"histogram", "--shape", "rect:1,2,3", "a.png"});
  expect_usage_error({"histogram", "--shape", "rect:1,2,0,4", "a.png"});
  expect_usage_error({"histogram", "--shape", "ring:1,2,9,4", "a.png"});
  expect_usage_error({"histogram", "--shape", "star:1,2", "a.png"});
  expect_usage_error({"histogram", "--color", "--level", "0", "a.png"});
  expect_usage_error({"histogram", "--color", "--float", "a.png"});
  expect_usage_error({"histogram", "--cumulative", "--peaks", "3", "a.png"});
  expect_usage_error({"histogram", "--minima", "a.png"});
  expect_usage_error({"histogram", "--smooth", "0", "a.png"});
  expect_usage_error({"histogram", "--plot", "a.svg", "a.png", "b.png"});
  for (const char* number : {"-1", "nan", "inf", "x"}) {
    expect_usage_error({"match", "--template", "t.png", "--min-distance", number, "a.png"});
    expect_usage_error({"gauge", "circle", "--center", "5,5", "--radius", "3", "--search", number, "a.png"});
  }
  expect_usage_error({"match", "--template", "t.png", "--threshold", "nan", "a.png"});
  expect_usage_error({"fit"});
  expect_usage_error({"gauge"});
}

}  // namespace
