#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <thread>

#include <gtest/gtest.h>

#include "platform/HostChanges.h"
#include "platform/Network.h"
#include "platform/linux/FileDescriptor.h"
#include "platform/linux/KeyValueText.h"
#include "platform/linux/LogLine.h"
#include "platform/linux/ResolverList.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

TEST(LogLine, CarriesSeverityWordAndOrigin) {
  for (const auto& [severity, word] :
       {std::pair(7, "debug"), {6, "info"}, {5, "notice"}, {3, "error"}}) {
    EXPECT_EQ(platform::logLine({severity, "Sub", "main", "text", "file.cpp", 1, "f()"}),
              word + std::string(" Sub[main] text\n"));
    EXPECT_EQ(platform::leastSeverity(word), severity);
  }
  for (const char* name : {"", "loud", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(platform::leastSeverity(name), 6);
  }
}

TEST(KeyValueText, QuotesAndEscapesAreResolved) {
  constexpr char kText[] =
      "# NAME=comment\nNAME=plain\r\n  SPACED=\"a b\" \nSINGLE='it \\ is'\nESCAPED=\"a\\\"b\\$\"\n"
      "TWICE=1\nTWICE=2\nEMPTY=\"\"\nOPEN=\"no end\nLAST=\\";
  std::string values;
  for (const char* key :
       {"NAME", "SPACED", "SINGLE", "ESCAPED", "TWICE", "EMPTY", "OPEN", "LAST", "AME"}) {
    values += platform::keyValue(kText, key).value_or("none") + "|";
  }
  EXPECT_EQ(values, "plain|a b|it \\ is|a\"b$|2|none|no end|\\|none|");
}

TEST(ResolverList, KeepsAddressesInOrderWithoutRepetitions) {
  EXPECT_EQ(
      platform::resolversOf("#nameserver 192.0.2.9\n;nameserver 192.0.2.9\nnameservers 192.0.2.9\n"
                            "nameserver\nnameserver 192.0.2\nnameserver 192.0.2.256\n"
                            "nameserver 192.0.2.9x\nnameserver 2001:db8::1\nsearch a.example\n"
                            "nameserver\t192.0.2.2 # second\nnameserver 192.0.2.1\r\n"
                            "nameserver 192.0.2.2\nnameserver 192.0.2.3"),
      (std::vector<std::string>{"192.0.2.2", "192.0.2.1", "192.0.2.3"}));
}

TEST(NetworkChanges, StopFromAnotherThreadEndsTheRun) {
  platform::NetworkChanges changes;
  ASSERT_TRUE(changes.isOpen());
  std::thread runner([&] { changes.run([] {}); });
  changes.stop();
  runner.join();
  changes.run([] {});
}

TEST(HostChanges, AnInterfaceThatComesUpChangesTheRevision) {
  bool isAllowed = false;
  std::thread([&] {
    isAllowed = unshare(CLONE_NEWNET) == 0;
    if (!isAllowed) return;
    platform::MainLoop loop;
    const platform::HostChanges changes(loop);
    const auto before = changes.revision();
    ifreq loopback = {.ifr_ifrn = {"lo"}, .ifr_ifru = {.ifru_flags = IFF_UP}};
    const platform::FileDescriptor any(socket(AF_INET, SOCK_DGRAM, 0));
    EXPECT_EQ(ioctl(any.get(), SIOCSIFFLAGS, &loopback), 0);
    const auto end = loop.repeat(std::chrono::milliseconds(1), [&loop] { loop.quit(); });
    loop.run();
    EXPECT_NE(changes.revision(), before);
  }).join();
  if (!isAllowed) GTEST_SKIP() << "no right to make a network namespace";
}

}  // namespace
}  // namespace tovi::test
