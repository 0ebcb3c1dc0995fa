#include <csignal>

#include <gtest/gtest.h>

#include "platform/MainLoop.h"

namespace tovi::platform {
namespace {

using namespace std::chrono_literals;

TEST(MainLoop, TimersRepeatUntilTheyAreDestroyedOrTheLoopQuits) {
  MainLoop loop;
  loop.repeat(1ms, [] { FAIL(); }).reset();
  int firings = 0;
  const auto timer = loop.repeat(1ms, [&] {
    if (++firings == 3) loop.quit();
  });
  EXPECT_TRUE(loop.run());
  EXPECT_EQ(firings, 3);
}

TEST(MainLoop, EndingSignalsEndTheLoop) {
  for (const int number : {SIGTERM, SIGINT}) {
    MainLoop loop;
    std::raise(number);
    EXPECT_TRUE(loop.run());
  }
}

TEST(MainLoop, AReaderThatWentAwayDoesNotEndTheProcess) {
  const MainLoop loop;
  EXPECT_EXIT((std::raise(SIGPIPE), std::exit(7)), testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace tovi::platform
