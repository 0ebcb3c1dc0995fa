#include <cmath>
#include <latch>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/SerialQueue.h"
#include "core/TimeProvider.h"
#include "core/ToviLog.h"
#include "platform/SystemLog.h"
#include "tests/support/TestSupport.h"

namespace tovi {

class SerialQueueTest : public testing::Test {
 protected:
  SerialQueue queue_{"io.test.serialqueue"};
  std::vector<int> order_;
};

TEST_F(SerialQueueTest, SyncRunsOnTheCallersThreadAndGivesItsResult) {
  EXPECT_EQ(queue_.sync([] { return std::this_thread::get_id(); }), std::this_thread::get_id());
}

TEST_F(SerialQueueTest, BlocksRunInTheOrderOfSubmission) {
  std::latch gate(1);
  queue_.async([&] { gate.wait(); });
  for (int i = 0; i < 100; ++i) queue_.async([this, i] { order_.push_back(i); });
  const std::jthread opener([&gate] { gate.count_down(); });
  queue_.sync([this] { order_.push_back(100); });
  ASSERT_EQ(order_.size(), 101u);
  for (int i = 0; i <= 100; ++i) EXPECT_EQ(order_[static_cast<std::size_t>(i)], i);
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
  EXPECT_EQ(queue_.sync([] { return 7; }), 7);
}

TEST_F(SerialQueueTest, DestructionRunsAllBlocksAlsoThoseSubmittedByBlocks) {
  {
    SerialQueue queue("io.test.serialqueue");
    queue.async([&] {
      queue.async([&] { queue.async([this] { order_.push_back(2); }); });
      order_.push_back(1);
    });
  }
  EXPECT_EQ(order_, (std::vector<int>{1, 2}));
}

struct CountedPiece {
  int& conversions;
  operator std::string_view() const { return ++conversions, "piece"; }
};

TEST(ToviLog, LineCarriesFunctionPositionAndMessage) {
  std::string text;
  platform::exchangeLogSink([&text](const platform::LogEntry& entry) {
    for (const auto part : {entry.subsystem, entry.category, entry.function, entry.message}) {
      text.append(part) += "|";
    }
  });
  const std::string line = std::to_string(__LINE__ + 1);
  ToviLog("StatusKeeper", "main").error("feed(_:)", "name ", std::string("x"), true, -3);
  platform::exchangeLogSink({});
  EXPECT_TRUE(text.starts_with("StatusKeeper|main|feed(_:)|feed(_:) [" + line + ":")) << text;
  EXPECT_TRUE(text.ends_with("]: name xtrue-3 |")) << text;
}

TEST(ToviLog, LineBelowTheLevelConvertsNothing) {
  if (platform::isLogged(7)) GTEST_SKIP() << "debug lines are kept in this environment";
  int conversions = 0;
  ToviLog("subsystem", "main").debug("quiet()", CountedPiece{conversions});
  EXPECT_EQ(conversions, 0);
  const test::LogRecorder recorder;
  ToviLog("subsystem", "main").debug("quiet()", CountedPiece{conversions});
  EXPECT_EQ(recorder.count("piece"), conversions);
}

TEST(ToviLog, ConsoleGetsTheMessageAloneWithPlainDecimals) {
  testing::internal::CaptureStdout();
  ToviLog("subsystem", "main", LogType::ConsoleLog).debug("f()", "a [1:2]: ", 60.0, -0.1, 1e300);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "a [1:2]: 60.0-0.11e+300\n");
}

TEST(Duration, IsTruncatedAndPadded) {
  const std::pair<double, const char*> cases[] = {
      {3725.5, "01:02:05.500"},  {0.0, "00:00:00.000"},       {59.9999, "00:00:59.999"},
      {360000, "100:00:00.000"}, {-61.25, "00:-01:-01.-250"}, {3600, "01:00:00.000"},
  };
  for (const auto& [seconds, text] : cases) EXPECT_EQ(durationText(seconds), text);
}

TEST(DurationDeathTest, OutOfRangeEndsTheProcess) {
  for (const double seconds : {std::nan(""), 9223372036854775808.0}) {
    EXPECT_DEATH(durationText(seconds), "");
  }
}

TEST(TimeProvider, WritesDatesInUtc) {
  const Date date = test::ManualClock().now() + std::chrono::milliseconds(7);
  const Date beforeEpoch = Date() - std::chrono::milliseconds(1);
  EXPECT_EQ(internetDateTime(date), "2022-01-25T17:02:52Z");
  EXPECT_EQ(formattedDate(beforeEpoch, "yyyy-MM-dd HH:mm:ss"), "1969-12-31 23:59:59");
  EXPECT_EQ(formattedDate(date, "yyyy/MM HH,SSS s"), "2022/01 17,007 s");
  EXPECT_EQ(formattedDate(beforeEpoch, "SSS"), "999");
}

}  // namespace tovi
