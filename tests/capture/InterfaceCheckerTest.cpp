#include <cstdlib>
#include <sched.h>
#include <thread>

#include <gtest/gtest.h>

#include "capture/InterfaceChecker.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

/// Moves this thread to a network of its own, with one address that no other has.
bool enterOwnNetwork() {
  return unshare(CLONE_NEWNET) == 0 &&
         std::system("ip address add 127.9.9.9/8 dev lo && ip link set lo up") == 0;
}

TEST(InterfaceCheckerTest, OnlyAnAddressNeverSeenAfterTheFirstScanIsNews) {
  LogRecorder log;
  int news = 0;
  InterfaceChecker checker(
      "io.tovi.test", [](const auto&) { return true; }, [&news] { ++news; });
  checker.uploadInterfacesList();
  EXPECT_EQ(news, 0);
  EXPECT_EQ(log.messages(),
            (std::vector<std::string>{" listEmpty true shouldUpdateInterfaces true",
                                      " listEmpty false shouldUpdateInterfaces false"}));
  bool moved = false;
  std::thread([&] {
    moved = enterOwnNetwork();
    if (moved) checker.uploadInterfacesList();
  }).join();
  if (!moved) GTEST_SKIP() << "no right to a network of its own";
  EXPECT_EQ(news, 1);
  EXPECT_EQ(log.messages().back(), " listEmpty false shouldUpdateInterfaces true");
}

TEST(InterfaceCheckerTest, ObservingNeedsABundleIdentifier) {
  LogRecorder log;
  InterfaceChecker(
      std::nullopt, [](const auto&) { return true; }, [] {})
      .startObserving();
  EXPECT_EQ(log.messages().back(), "Could not get bundle identifier");
}

}  // namespace
}  // namespace tovi::test
