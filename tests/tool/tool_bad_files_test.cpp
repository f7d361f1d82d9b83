// SPDX-License-Identifier: Apache-2.0
// A bad file costs one clear line on standard error, and the other files are measured all the same.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "picture.h"
#include "process.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

Picture grey(Sample sample = Sample::kU8) {
  return draw(64, 48, sample, [](int x, int y) { return noise(x, y, 1, 200); });
}

// The one line of a run on this file, without the program's and the file's name.
std::string complaint(const std::string& path, std::vector<std::string> arguments = {"stats"}) {
  arguments.push_back(path);
  const Finished done = vlix(arguments);
  EXPECT_EQ(done.exit_code, 1) << path << ": " << done.err;
  EXPECT_EQ(lines_of(done.err), 1U) << done.err;
  const std::string prefix = "vlix: " + path + ": ";
  EXPECT_THAT(done.err, StartsWith(prefix));
  return done.err.size() > prefix.size() ? done.err.substr(prefix.size()) : "";
}

TEST(BadFiles, MissingEmptyAndFolders) {
  const Folder folder;
  EXPECT_EQ(complaint(folder.file("none.png")), "does not exist\n");
  EXPECT_EQ(complaint(folder.write("empty.png", "")), "is empty\n");
  EXPECT_EQ(complaint(folder.path()), "is a folder\n");
}

TEST(BadFiles, NoImages) {
  const Folder folder;
  EXPECT_EQ(complaint(folder.write("a.txt", "Hello.\n")), "not an image in a supported format\n");
  EXPECT_EQ(complaint(folder.write("a.pam", "P7\nWIDTH 1\nHEIGHT 1\nDEPTH 1\nMAXVAL 255\nENDHDR\nx")),
            "not an image in a supported format\n");
  std::string bytes(1000, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(noise(static_cast<int>(i), 0, 5, 256));
  EXPECT_EQ(complaint(folder.write("a.png", bytes)), "not an image in a supported format\n");
}

// Formats that libvips can read but does not trust.
TEST(BadFiles, UntrustedFormatsStayClosed) {
  const Folder folder;
  const std::string svg =
      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"><rect width=\"5\" height=\"5\"/></svg>";
  EXPECT_EQ(complaint(folder.write("a.svg", svg)), "not an image in a supported format\n");
  EXPECT_EQ(complaint(folder.write("a.v", "\x08\xf2\xa6\xb6" + std::string(60, '\1'))),
            "not an image in a supported format\n");
  EXPECT_EQ(complaint(folder.write("a.hdr", encoded(grey(), ".hdr"))), "not an image in a supported format\n");
  EXPECT_EQ(complaint(folder.write("a.mat", "2 2\n1 2\n3 4\n")), "not an image in a supported format\n");
}

TEST(BadFiles, TruncatedFilesAreRefusedInsteadOfFilledUp) {
  const Folder folder;
  const std::vector<std::pair<std::string, std::string>> files = {
      {"a.pgm", pnm(grey())},
      {"b.pgm", pnm(grey(Sample::kU16))},
      {"a.pfm", pfm(grey(Sample::kF32))},
      {"a.png", png(grey())},
      {"i.png", encoded(grey(), ".png[interlace]")},
      {"a.jpg", encoded(grey(), ".jpg")},
      {"i.jpg", encoded(grey(), ".jpg[interlace]")},
      {"a.tif", tiff(grey())},
      {"t.tif", encoded(grey(), ".tif[tile,tile_width=16,tile_height=16,compression=deflate]")},
      {"a.webp", encoded(grey(), ".webp")},
      {"a.gif", encoded(grey(), ".gif")}};
  for (const auto& [name, bytes] : files) {
    EXPECT_THAT(complaint(folder.write(name, bytes.substr(0, bytes.size() * 3 / 5))),
                StartsWith("damaged or truncated"));
  }
}

TEST(BadFiles, DamagedInTheMiddle) {
  const Folder folder;
  for (const std::string& suffix : {std::string(".png"), std::string(".tif[compression=deflate]")}) {
    std::string bytes = encoded(grey(), suffix);
    for (std::size_t i = bytes.size() / 2; i < bytes.size() / 2 + 40; ++i)
      bytes[i] = static_cast<char>(bytes[i] ^ 0x5a);
    EXPECT_THAT(complaint(folder.write("a" + suffix.substr(0, 4), bytes)), StartsWith("damaged or truncated"));
  }
}

// One tile of many: the rest could be shown, with a black square in it.
TEST(BadFiles, OneDamagedTile) {
  const Folder folder;
  const Picture large = draw(256, 256, Sample::kU8, [](int x, int y) { return noise(x, y, 1, 200); });
  for (const double place : {0.1, 0.5, 0.9}) {
    std::string bytes = encoded(large, ".tif[tile,tile_width=64,tile_height=64,compression=deflate]");
    const auto at = static_cast<std::size_t>(place * static_cast<double>(bytes.size()));
    bytes.replace(at, 100, std::string(100, '\xff'));
    EXPECT_THAT(complaint(folder.write("a.tif", bytes)), StartsWith("damaged or truncated")) << place;
  }
}

TEST(BadFiles, UnreadableFiles) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(grey()));
  chmod(folder.path().c_str(), 0755);
  chmod(path.c_str(), 0);
  Launch launch;
  launch.unprivileged = true;
  launch.arguments = {"stats", path};
  const Finished done = run(launch);
  if (done.exit_code > 124) GTEST_SKIP() << "nobody may not run the tool here";
  EXPECT_EQ(done.exit_code, 1);
  EXPECT_EQ(done.err, "vlix: " + path + ": may not be read\n");
}

TEST(BadFiles, HugeHeaders) {
  const Folder folder;
  EXPECT_THAT(complaint(folder.write("a.pgm", "P5\n100000 100000\n255\n")),
              HasSubstr("more than the limit of 2048 MiB"));
  EXPECT_THAT(complaint(folder.write("b.pgm", "P5\n2000000000 2000000000\n255\nabc")),
              StartsWith("damaged or truncated"));
  EXPECT_THAT(complaint(folder.write("c.pgm", "P5\n2000000000 1\n255\nabc")), StartsWith("damaged or truncated"));
  EXPECT_THAT(complaint(folder.write("d.pgm", "P5\n99999999999999999999 1\n255\nabc")),
              StartsWith("damaged or truncated"));
  EXPECT_THAT(complaint(folder.write("e.pgm", "P5\n-4 4\n255\nabcdefghijklmnop")), StartsWith("damaged or truncated"));
  EXPECT_THAT(complaint(folder.write("f.pgm", "P5\n0 4\n255\nabc")), StartsWith("damaged or truncated"));
  std::string big_tiff = tiff(grey());
  const std::size_t directory =
      static_cast<unsigned char>(big_tiff[4]) + 256U * static_cast<unsigned char>(big_tiff[5]);
  big_tiff.replace(directory + 2 + 8, 4, std::string("\xff\xff\xff\x7f", 4));  // the width
  EXPECT_THAT(complaint(folder.write("a.tif", big_tiff)), StartsWith("damaged or truncated"));
}

TEST(BadFiles, PixelsWithoutCounterpartAreRefusedByName) {
  const Folder folder;
  const auto picture = [](Sample sample, int channels) {
    return draw_colour(20, 20, sample, channels, [](int x, int y, int c) { return noise(x, y, c, 100); });
  };
  EXPECT_THAT(complaint(folder.write("la.png", png(picture(Sample::kU8, 2)))),
              StartsWith("grey with alpha with unsigned 8-bit samples"));
  EXPECT_THAT(complaint(folder.write("u32.tif", tiff(picture(Sample::kU32, 1)))),
              StartsWith("grey with unsigned 32-bit samples"));
  EXPECT_THAT(complaint(folder.write("f64.tif", tiff(picture(Sample::kF64, 1)))), StartsWith("64-bit"));
  EXPECT_THAT(complaint(folder.write("rgbf.tif", tiff(picture(Sample::kF32, 3)))),
              StartsWith("colour with 32-bit float samples"));
  EXPECT_THAT(complaint(folder.write("cmyk.jpg", cmyk_jpeg(picture(Sample::kU8, 4)))), StartsWith("CMYK colour"));
}

TEST(BadFiles, RegionsOutsideTheImage) {
  const Folder folder;
  const std::string path = folder.write("a.png", png(grey()));
  const std::string reason = complaint(path, {"stats", "--roi", "60,40,5,5"});
  EXPECT_EQ(reason, "the region 60,40,5,5 does not lie inside the 64 x 48 image\n");
  complaint(path, {"stats", "--roi", "2147483647,0,2147483647,1"});
  complaint(path, {"stats", "--roi", "0,48,1,1"});
}

TEST(BadFiles, TheOthersAreReportedInOrder) {
  const Folder folder;
  const std::string good = folder.write("good.png", png(grey()));
  const std::string bad = folder.write("bad.png", png(grey()).substr(0, 500));
  const std::string none = folder.file("none.png");
  const Finished done = vlix({"stats", "--format", "csv", bad, good, none, good});
  EXPECT_EQ(done.exit_code, 1);
  EXPECT_EQ(lines_of(done.err), 2U) << done.err;
  EXPECT_LT(done.err.find(bad), done.err.find(none));
  EXPECT_EQ(lines_of(done.out), 3U) << done.out;
}

TEST(BadFiles, ControlCharactersInNamesStayOnOneLine) {
  const Folder folder;
  const Finished done = vlix({"stats", folder.file("two\nlines\x1b[2J")});
  EXPECT_EQ(lines_of(done.err), 1U);
  EXPECT_THAT(done.err, HasSubstr("two\\x0alines\\x1b[2J: does not exist"));
}

TEST(BadFiles, StandardInput) {
  Launch launch;
  launch.arguments = {"stats", "-"};
  launch.input = "junk";
  EXPECT_EQ(run(launch).err, "vlix: -: not an image in a supported format\n");
  launch.input = "";
  EXPECT_EQ(run(launch).err, "vlix: -: is empty\n");
  launch.arguments = {"stats", "--limit", "1", "-"};
  launch.input = std::string(2 << 20, 'x');
  EXPECT_EQ(run(launch).err, "vlix: -: is larger than the limit of 1 MiB (--limit)\n");
}

}  // namespace
