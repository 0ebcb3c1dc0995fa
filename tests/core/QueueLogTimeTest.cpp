#include <algorithm>
#include <cmath>
#include <latch>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/SerialQueue.h"
#include "core/TimeProvider.h"
#include "core/ToviLog.h"
#include "core/Utf8.h"
#include "platform/SystemLog.h"
#include "tests/support/TestSupport.h"

namespace tovi {

class SerialQueueTest : public testing::Test {
 protected:
  SerialQueue queue_{"io.test.serialqueue"};
  std::vector<int> order_;
};

TEST_F(SerialQueueTest, BlocksRunInTheOrderOfSubmission) {
  std::latch gate(1);
  queue_.async([&] { gate.wait(); });
  for (int i = 0; i < 9; ++i) queue_.async([this, i] { order_.push_back(i); });
  const std::jthread opener([&gate] { gate.count_down(); });
  queue_.sync([this] { order_.push_back(9); });
  EXPECT_EQ(order_, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST_F(SerialQueueTest, EachThreadFindsItsOwnBlocksDoneAndNoneOverlap) {
  std::vector<int> done(4);
  int total = 0;
  auto work = [&](std::size_t self) {
    for (int round = 1; round <= 500; ++round) {
      queue_.async([&, self] { ++total, ++done[self]; });
      EXPECT_EQ(queue_.sync([&, self] { return ++total, done[self]; }), round);
    }
  };
  std::vector<std::jthread> threads;
  for (std::size_t i = 0; i < done.size(); ++i) threads.emplace_back(work, i);
  threads.clear();
  EXPECT_EQ(total, 4 * 500 * 2);
}

TEST_F(SerialQueueTest, AThrowingSyncLeavesTheQueueUsable) {
  EXPECT_THROW(queue_.sync([] { throw std::runtime_error("no"); }), std::runtime_error);
  EXPECT_EQ(queue_.sync([] { return std::this_thread::get_id(); }), std::this_thread::get_id());
}

TEST_F(SerialQueueTest, DestructionRunsAllBlocksOnAThreadNamedAfterTheComponent) {
  char name[16];
  SerialQueue("io.messagepersistence.serialqueue").async([&name] {
    pthread_getname_np(pthread_self(), name, sizeof name);
  });
  EXPECT_STREQ(name, "messagepersiste");
}

TEST(ToviLog, LineCarriesFunctionPositionAndMessage) {
  std::string text;
  platform::exchangeLogSink([&text](const platform::LogEntry& entry) {
    text += std::to_string(entry.severity);
    for (auto part : {entry.subsystem, entry.category, entry.function, entry.message}) text += part;
  });
  const std::string line = std::to_string(__LINE__ + 1);
  ToviLog("StatusKeeper", "main").notice("feed(_:)", "n ", std::string("\n\u0085\xFFé"), true, -3);
  platform::exchangeLogSink({});
  EXPECT_TRUE(text.starts_with("5StatusKeepermainfeed(_:)feed(_:) [" + line + ":")) << text;
  EXPECT_TRUE(text.ends_with("]: n \\x0A\\xC2\\x85\\xFFétrue-3 ")) << text;
}

TEST(ToviLog, LineBelowTheLevelConvertsNothing) {
  struct Piece {
    operator std::string_view() const { return ADD_FAILURE() << "converted", ""; }
  };
  if (!platform::isLogged(7)) ToviLog("subsystem", "main").debug("quiet()", Piece());
}

TEST(ToviLog, ConsoleGetsTheMessageAloneWithPlainDecimals) {
  testing::internal::CaptureStdout();
  ToviLog("subsystem", "main", LogType::ConsoleLog).debug("f()", "a [1:2]: ", 60.0, -0.1, 1e300);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "a [1:2]: 60.0-0.11e+300\n");
}

TEST(Duration, IsTruncatedAndPadded) {
  const std::pair<double, const char*> cases[] = {
      {3725.5, "01:02:05.500"},   {0.0, "00:00:00.000"},     {59.9999, "00:00:59.999"},
      {40554.02, "11:15:54.020"}, {360000, "100:00:00.000"}, {-61.25, "00:-01:-01.-250"}};
  for (const auto& [seconds, text] : cases) EXPECT_EQ(durationText(seconds), text);
  for (const double seconds : {std::nan(""), 0x1p63}) EXPECT_DEATH(durationText(seconds), "");
}

TEST(TimeProvider, WritesDatesInUtc) {
  const Date date = test::ManualClock().now() + std::chrono::milliseconds(7);
  const Date beforeEpoch = Date() - std::chrono::milliseconds(1);
  for (const char* text : {"2022-01-25T17:02:52Z", "2022-01-25T17:02:53Z"}) {
    EXPECT_EQ(internetDateTime(date + std::chrono::seconds(text[18] - '2')), text);
  }
  EXPECT_EQ(internetDateTime(beforeEpoch), "1969-12-31T23:59:59Z");
  EXPECT_EQ(formattedDate(date, "yyyy/MM HH,SSS s"), "2022/01 17,007 s");
  EXPECT_EQ(formattedDate(beforeEpoch, "yyyy-MM-dd HH:mm:ss.SSS"), "1969-12-31 23:59:59.999");
}

TEST(Utf8, WellFormedTextIsTold) {
  EXPECT_TRUE(isUtf8("abc \u0080 \xED\x9F\xBF \uE000 \uFFFE \U00010000 \U0010FFFF"));
  for (const char* text :
       {"\x80", "\xC1\xBF", "\xC2", "\xC2\x41", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xE2\x82",
        "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "a\xFF", "\xF1\x80\x80\xC0"}) {
    EXPECT_FALSE(isUtf8(text)) << testing::PrintToString(text);
  }
}

}  // namespace tovi
