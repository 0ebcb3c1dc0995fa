#include <gtest/gtest.h>

#include "events/DNSMessageContainer.h"
#include "events/LRUCache.h"

namespace tovi {
namespace {

DnsPacket packetOf(std::int64_t id, const char* type, std::vector<Answer> answers = {}) {
  DnsPacket packet;
  packet.id = id;
  packet.question = Query{type, "example.org", "IN"};
  packet.answers = std::move(answers);
  return packet;
}

const std::optional<EventProcess> kNobody;

using Cache = LRUCache<std::string, int>;

TEST(LRUCache, LeastRecentlyUsedEntryMakesRoom) {
  Cache cache(2);
  cache.set("a", 1);
  cache.set("b", 2);
  EXPECT_EQ(*cache.get("a"), 1);
  cache.set("c", 3);
  EXPECT_EQ(cache.get("b"), nullptr);
  cache.set("a", 10);
  cache.set("d", 4);
  EXPECT_EQ(*cache.get("a"), 10);
  EXPECT_EQ(cache.get("c"), nullptr) << "replacing counts as use";
}

TEST(LRUCache, WithoutRoomNothingIsRemembered) {
  for (const int size : {0, -1}) {
    Cache cache(size);
    cache.set("a", 1);
    EXPECT_EQ(cache.get("a"), nullptr);
  }
}

TEST(DNSMessageContainer, DropsTheEventThatWasSetLongestAgo) {
  DNSMessageContainer container(2);
  const auto event = std::make_shared<const ToviDNSEvent>();
  const Sighting seen;
  const auto set = [&](const DnsPacket& packet) {
    const ExchangePacket exchangePacket{packet, seen, kNobody};
    container.set(container.get(exchangePacket), exchangePacket, event);
  };
  const auto get = [&](const DnsPacket& packet) { return container.get({packet, seen, kNobody}); };
  const auto first = packetOf(1, "A"), second = packetOf(2, "A"), third = packetOf(2, "AAAA");
  for (const auto& packet : {first, second, second}) set(packet);
  EXPECT_EQ(container.forgotten().count(), 0U);
  EXPECT_EQ(get(first)->event(), event);
  set(third);
  EXPECT_EQ(container.forgotten().count(), 1U);
  EXPECT_EQ(get(first), nullptr);
  EXPECT_EQ(get(second)->event(), event);
  container.remove(get(second), {second, seen, kNobody});
  EXPECT_TRUE(get(second)->isOver());
  EXPECT_EQ(container.pending(), 1U);
}

TEST(DNSMessageContainer, RemembersALimitedNumberThatIsOver) {
  DNSMessageContainer container(2);
  Sighting seen;
  seen.isResponse = true;
  constexpr auto kMost = static_cast<std::int64_t>(DNSMessageContainer::kMostOver);
  for (std::int64_t id = 0; id <= kMost; ++id) {
    container.remove(nullptr, {packetOf(id, "A", {Answer()}), seen, kNobody});
  }
  EXPECT_EQ(container.get({packetOf(0, "A"), seen, kNobody}), nullptr);
  EXPECT_TRUE(container.get({packetOf(1, "A"), seen, kNobody})->isOver());
}

}  // namespace
}  // namespace tovi
