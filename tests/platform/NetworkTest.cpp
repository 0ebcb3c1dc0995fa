#include <algorithm>
#include <thread>

#include <gtest/gtest.h>

#include "platform/Network.h"
#include "platform/linux/ResolverList.h"

namespace tovi::platform {
namespace {

using Addresses = std::vector<std::string>;

TEST(ResolverList, KeepsAddressesInOrderWithoutRepetitions) {
  const std::vector<std::pair<std::string_view, Addresses>> cases = {
      {"nameserver 192.0.2.1\nsearch a.example\nnameserver\t192.0.2.2 # second\n",
       {"192.0.2.1", "192.0.2.2"}},
      {"nameserver 192.0.2.2\nnameserver 192.0.2.1\nnameserver 192.0.2.2",
       {"192.0.2.2", "192.0.2.1"}},
      {"nameserver 2001:db8::1\nnameserver fe80::1%eth0\r\nnameserver 192.0.2.1\r\n",
       {"192.0.2.1"}},
      {"#nameserver 192.0.2.1\n;nameserver 192.0.2.1\nnameservers 192.0.2.1\nnameserver\n", {}},
      {"nameserver 192.0.2\nnameserver 192.0.2.256\nnameserver 192.0.2.1x", {}}};
  for (const auto& [text, resolvers] : cases) EXPECT_EQ(resolversOf(text), resolvers) << text;
}

TEST(Network, LoopbackIsAmongTheInterfaces) {
  const auto addresses = interfaceAddresses();
  EXPECT_TRUE(std::any_of(addresses.begin(), addresses.end(), [](const InterfaceAddress& each) {
    return each.isLoopback && each.address == "127.0.0.1";
  }));
}

TEST(NetworkChanges, StopFromAnotherThreadEndsTheRun) {
  NetworkChanges changes;
  ASSERT_TRUE(changes.isOpen());
  std::thread runner([&] { changes.run([] {}); });
  changes.stop();
  runner.join();
  changes.run([] {});
}

}  // namespace
}  // namespace tovi::platform
