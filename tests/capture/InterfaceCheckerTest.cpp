#include <arpa/inet.h>
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

/// Gives the loopback interface of this thread's network an address, and brings it up.
bool addAddress(const char* interface, const char* address) {
  ifreq request{};
  std::string_view(interface).copy(request.ifr_name, IFNAMSIZ - 1);
  request.ifr_addr.sa_family = AF_INET;
  inet_pton(AF_INET, address, &reinterpret_cast<sockaddr_in*>(&request.ifr_addr)->sin_addr);
  const int descriptor = socket(AF_INET, SOCK_DGRAM, 0);
  bool done = ioctl(descriptor, SIOCSIFADDR, &request) == 0;
  request.ifr_flags = IFF_UP;
  done = done && ioctl(descriptor, SIOCSIFFLAGS, &request) == 0;
  close(descriptor);
  return done;
}

TEST(InterfaceCheckerTest, OnlyAnAddressNeverSeenAfterTheFirstScanIsNews) {
  bool hasNetwork = false;
  // A thread with a network of its own, which nobody else sees.
  std::thread([&hasNetwork] {
    hasNetwork = unshare(CLONE_NEWNET) == 0;
    if (!hasNetwork) return;
    LogRecorder log;
    int news = 0;
    InterfaceChecker checker("io.tovi.test", [&news] { ++news; });
    checker.uploadInterfacesList();
    EXPECT_TRUE(log.messages().empty());
    ASSERT_TRUE(addAddress("lo", "127.0.0.1"));
    checker.uploadInterfacesList();
    EXPECT_EQ(log.messages().back(), " listEmpty true shouldUpdateInterfaces true");
    checker.uploadInterfacesList();
    EXPECT_EQ(log.messages().back(), " listEmpty false shouldUpdateInterfaces false");
    EXPECT_EQ(news, 0);
    ASSERT_TRUE(addAddress("lo:1", "127.0.0.2"));
    checker.uploadInterfacesList();
    EXPECT_EQ(log.messages().back(), " listEmpty false shouldUpdateInterfaces true");
    EXPECT_EQ(news, 1);
  }).join();
  if (!hasNetwork) GTEST_SKIP() << "no right to a network of its own";
}

TEST(InterfaceCheckerTest, ObservingNeedsABundleIdentifier) {
  LogRecorder log;
  InterfaceChecker checker(std::nullopt, [] {});
  checker.startObserving();
  EXPECT_EQ(log.messages(), std::vector<std::string>{"Could not get bundle identifier"});
}

TEST(InterfaceCheckerTest, ObservingEndsWhenToldTo) {
  InterfaceChecker checker("io.tovi.test", [] {});
  std::thread observer([&checker] { checker.startObserving(); });
  checker.stopObserving();
  observer.join();
}

}  // namespace
}  // namespace tovi::test
