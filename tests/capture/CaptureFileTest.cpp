#include <gtest/gtest.h>

#include "capture/CaptureFile.h"
#include "tests/capture/FrameBuilder.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

/// Both file formats are written here in big-endian byte order.
std::string pcapFile(int frames) {
  std::string file = u32(0xa1b23c4d) + u16(2) + u16(4) + u32(0) + u32(0) + u32(65535) + u32(1);
  for (int i = 0; i < frames; ++i) {
    const std::string frame = ethernet(ipv4(queryDatagram()));
    const auto size = static_cast<std::uint32_t>(frame.size());
    file += u32(1700000000) + u32(123456789) + u32(size) + u32(size) + frame;
  }
  return file;
}

std::string pcapngFile() {
  const std::string frame = ipv4(queryDatagram()) + std::string(3, '\0');
  const auto size = static_cast<std::uint32_t>(frame.size());
  EXPECT_EQ(size % 4, 0U);
  return u32(0x0a0d0d0a) + u32(28) + u32(0x1a2b3c4d) + u16(1) + u16(0) + u32(0xffffffff) +
         u32(0xffffffff) + u32(28) + u32(1) + u32(20) + u16(101) + u16(0) + u32(65535) + u32(20) +
         u32(6) + u32(32 + size) + u32(0) + u32(0) + u32(1000000) + u32(size) + u32(size) + frame +
         u32(32 + size);
}

class CaptureFileTest : public testing::Test {
 protected:
  /// How many texts come out of a file of these octets; the reason why it ended early in `error_`.
  std::size_t texts(const std::string& contents) {
    writeFile(file_, contents);
    HandlerRecorder recorder;
    try {
      CaptureFile capture(file_);
      while (capture.next(frame_)) {
        recorder.give(frame_.linkType,
                      {reinterpret_cast<const char*>(frame_.bytes.data()), frame_.bytes.size()});
      }
    } catch (const CaptureFileError& error) {
      error_ = error.what();
    }
    return recorder.texts.size();
  }

  TemporaryDirectory directory_;
  const std::filesystem::path file_ = directory_ / "capture";
  CapturedFrame frame_;
  std::string error_;
};

TEST_F(CaptureFileTest, FramesOfAPcapFileWithTheirTimesInNanoseconds) {
  EXPECT_EQ(texts(pcapFile(3)), 3U);
  EXPECT_EQ(frame_.linkType, 1);
  EXPECT_EQ(frame_.time.time_since_epoch(), std::chrono::nanoseconds(1700000000123456789));
  EXPECT_EQ(error_, "");
}

TEST_F(CaptureFileTest, FramesOfAPcapngFile) {
  EXPECT_EQ(texts(pcapngFile()), 1U);
  EXPECT_EQ(frame_.linkType, 12);
  EXPECT_EQ(frame_.time.time_since_epoch(), std::chrono::seconds(1));
}

TEST_F(CaptureFileTest, FileThatIsCutOffGivesAllFramesBeforeAndThenNamesItself) {
  const std::string whole = pcapFile(3);
  EXPECT_EQ(texts(whole.substr(0, whole.size() - 1)), 2U);
  EXPECT_TRUE(error_.starts_with(file_.string() + ": trunc")) << error_;
}

TEST_F(CaptureFileTest, FileThatIsNoCaptureIsNamedOnce) {
  EXPECT_EQ(texts("This is no capture of anything."), 0U);
  EXPECT_TRUE(error_.starts_with(file_.string() + ": unknown file format")) << error_;
  EXPECT_THROW(CaptureFile(directory_ / "missing"), CaptureFileError);
  try {
    CaptureFile missing(directory_ / "missing");
  } catch (const CaptureFileError& error) {
    EXPECT_EQ(error.what(), (directory_ / "missing").string() + ": No such file or directory");
  }
}

}  // namespace
}  // namespace tovi::test
