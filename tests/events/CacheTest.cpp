#include <gtest/gtest.h>

#include "events/DNSMessageContainer.h"
#include "events/LRUCache.h"

namespace tovi {
namespace {

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
  container.set(1, event);
  container.set(2, event);
  container.set(2, event);
  EXPECT_EQ(container.forgotten().count(), 0U);
  EXPECT_EQ(container.get(1), event);
  container.set(3, event);
  EXPECT_EQ(container.forgotten().count(), 1U);
  EXPECT_EQ(container.get(1), nullptr);
  EXPECT_EQ(container.get(2), event);
  container.remove(2);
  EXPECT_EQ(container.get(2), nullptr);
}

}  // namespace
}  // namespace tovi
