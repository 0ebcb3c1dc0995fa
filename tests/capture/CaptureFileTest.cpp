#include <gtest/gtest.h>

#include "capture/CaptureFile.h"
#include "tests/capture/FrameBuilder.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

/// In big-endian byte order, with two frames of 60 octets; a second has 10^`resolution` units.
std::string pcapngFile(const std::string& time, unsigned resolution) {
  const std::string frame = ipv4(queryDatagram()) + std::string(3, '\0');
  const std::string block = u32(6) + u32(92) + u32(0) + time + u32(60) + u32(60) + frame + u32(92);
  return u32(0x0a0d0d0a) + u32(28) + u32(0x1a2b3c4d) + u16(1) + u16(0) + std::string(8, '\xff') +
         u32(28) + u32(1) + u32(28) + u16(101) + u16(0) + u32(65535) + u16(9) + u16(1) +
         u32(resolution << 24) + u32(28) + block + block;
}

class CaptureFileTest : public testing::Test {
 protected:
  /// How many frames come out of a file of these octets, and why it ended, without its name.
  std::pair<int, std::string> read(const std::string& contents) {
    writeFile(file_, contents);
    int frames = 0;
    try {
      for (CaptureFile capture(file_); capture.next(frame_); ++frames) continue;
    } catch (const CaptureFileError& error) {
      const std::string text = error.what(), name = file_.string() + ": ";
      return {frames, text.starts_with(name) ? text.substr(name.size(), 5) : text};
    }
    return {frames, "end"};
  }

  TemporaryDirectory directory_;
  const std::filesystem::path file_ = directory_ / "capture";
  CapturedFrame frame_;
};

using Read = std::pair<int, std::string>;

TEST_F(CaptureFileTest, FramesHaveTheirTimeOrTheNearestThatTheClockShows) {
  const std::tuple<std::string, unsigned, std::chrono::nanoseconds> cases[] = {
      {u32(0) + u32(77), 0, std::chrono::seconds(77)},
      {u32(1) + u32(2), 9, std::chrono::nanoseconds(0x100000002)},
      {u32(0x7fffffff) + u32(0), 0, std::chrono::seconds(9'000'000'000)},
      {u32(0xffffffff) + u32(0), 0, std::chrono::seconds(0)}};
  for (const auto& [time, resolution, expected] : cases) {
    EXPECT_EQ(read(pcapngFile(time, resolution)), Read(2, "end"));
    EXPECT_EQ(frame_.time.time_since_epoch(), expected);
  }
}

TEST_F(CaptureFileTest, DamagedFileGivesAllFramesBeforeAndThenItsName) {
  const std::string whole = pcapngFile(u32(0) + u32(0), 9);
  EXPECT_EQ(read(whole.substr(0, whole.size() - 1)), Read(1, "trunc"));
  EXPECT_EQ(read("This is no capture of anything."), Read(0, "unkno"));
}

}  // namespace
}  // namespace tovi::test
