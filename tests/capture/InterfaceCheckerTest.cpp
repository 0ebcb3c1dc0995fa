#include <arpa/inet.h>
#include <cstring>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "capture/InterfaceChecker.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

/// Moves this thread to a network of its own, with one address that no other has.
bool enterOwnNetwork() {
  if (unshare(CLONE_NEWNET) != 0) return false;
  ifreq request{.ifr_ifrn = {"lo"}, .ifr_ifru = {}};
  const sockaddr_in address = {AF_INET, 0, {htonl(0x7f090909)}, {}};
  std::memcpy(&request.ifr_addr, &address, sizeof address);
  const int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
  bool done = ioctl(descriptor, SIOCSIFADDR, &request) == 0;
  request.ifr_flags = IFF_UP;
  done = ioctl(descriptor, SIOCSIFFLAGS, &request) == 0 && done;
  close(descriptor);
  return done;
}

TEST(InterfaceCheckerTest, OnlyAnAddressNeverSeenAfterTheFirstScanIsNews) {
  LogRecorder log;
  int news = 0;
  InterfaceChecker checker("io.tovi.test", [&news] { ++news; });
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
  InterfaceChecker(std::nullopt, [] {}).startObserving();
  EXPECT_EQ(log.messages().back(), "Could not get bundle identifier");
}

}  // namespace
}  // namespace tovi::test
