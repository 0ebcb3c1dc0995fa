#include <gtest/gtest.h>

#include "toolkit/Figures.h"

namespace tovi {
namespace {

using namespace std::chrono;

TEST(FiguresTest, NumbersAndSharesAreReadable) {
  EXPECT_EQ(numberText(0) + " " + numberText(999) + " " + numberText(1234567), "0 999 1,234,567");
  EXPECT_EQ(numberText(-999) + " " + numberText(-1000), "-999 -1,000");
  EXPECT_EQ(counted(1, "event") + ", " + counted(1200, "event"), "1 event, 1,200 events");
  EXPECT_EQ(shareText(1, 3) + " " + shareText(0, 0), "33.3 % 0 %");
  EXPECT_EQ(roundText(0.1) + " " + roundText(3600) + " " + roundText(2.5), "0.1 3600 2.5");
}

TEST(FiguresTest, DurationsHaveTheTwoGreatestUnitsTheyNeed) {
  const std::pair<milliseconds, const char*> durations[] = {
      {0ms, "0 ms"},        {2500ms, "2.5 s"}, {60s, "1 min"},
      {100s, "1 min 40 s"}, {1h + 59s, "1 h"}, {days(400) + 5h, "400 d 5 h"}};
  for (const auto& [duration, text] : durations) EXPECT_EQ(durationText(duration), text);
}

}  // namespace
}  // namespace tovi
