#include "events/DNSMessageContainer.h"

#include <algorithm>
#include <tuple>

namespace tovi {

// A transaction identifier has 16 bits (RFC 1035, section 4.1.1).
static constexpr std::size_t kIdentifiers = 65536;

DNSMessageContainer::DNSMessageContainer(std::int64_t countLimit)
    : countLimit_(countLimit > 0 ? static_cast<std::size_t>(countLimit) : kIdentifiers) {}

Exchange* DNSMessageContainer::get(const ExchangePacket& packet) {
  Exchange* best = nullptr;
  const auto rank = [&](const Exchange& exchange) {
    return std::tuple(!exchange.isOver(), exchange.fit(packet), exchange.sent());
  };
  const auto [begin, end] = index_.equal_range(Exchange::hash(packet.dns));
  for (auto entry = begin; entry != end; ++entry) {
    auto& exchange = *entry->second;
    if (exchange.fit(packet) == Exchange::Fit::none) continue;
    if (best == nullptr || rank(exchange) > rank(*best)) best = &exchange;
  }
  return best;
}

void DNSMessageContainer::set(Exchange* exchange, const ExchangePacket& packet,
                              ToviDNSEventPointer event) {
  if (exchange == nullptr) forgetFailures(packet);
  const auto entry = added(exchange, packet);
  entry->setEvent(std::move(event));
  // Failures, and responses that nobody asked for, must not displace what waits for its response.
  pending_.splice(entry->answered() ? pending_.end() : pending_.begin(), pending_, entry);
  if (pending_.size() > countLimit_) forget(find(pending_.back()));
}

void DNSMessageContainer::remove(Exchange* exchange, const ExchangePacket& packet) {
  const auto entry = added(exchange, packet);
  entry->end(packet.seen.time);
  over_.splice(over_.begin(), pending_, entry);
  forgetOver(packet.seen.time);
}

/// The exchange with the packet; a new one if it is null.
DNSMessageContainer::Exchanges::iterator DNSMessageContainer::added(Exchange* exchange,
                                                                    const ExchangePacket& packet) {
  const auto entry = exchange == nullptr ? begun(packet) : find(*exchange)->second;
  entry->add(packet);
  return entry;
}

DNSMessageContainer::Exchanges::iterator DNSMessageContainer::begun(const ExchangePacket& packet) {
  makeRoomAmongAlike(Exchange::hash(packet.dns));
  const auto& exchange = pending_.emplace_front(packet);
  index_.emplace(exchange.hash(), pending_.begin());
  return pending_.begin();
}

DNSMessageContainer::Index::iterator DNSMessageContainer::find(const Exchange& exchange) {
  auto entry = index_.equal_range(exchange.hash()).first;
  while (&*entry->second != &exchange) ++entry;
  return entry;
}

// Whoever answers unasked could make as many as there are ports.
void DNSMessageContainer::makeRoomAmongAlike(std::size_t hash) {
  if (index_.count(hash) < kMostAlike) return;
  const auto [begin, end] = index_.equal_range(hash);
  forget(std::min_element(begin, end, [](const auto& one, const auto& other) {
    const auto worth = [](const Exchange& exchange) {
      return std::tuple(!exchange.isOver(), !exchange.answered(), exchange.sent());
    };
    return worth(*one.second) < worth(*other.second);
  }));
}

/// An exchange that failed gives way to the next one about the same.
void DNSMessageContainer::forgetFailures(const ExchangePacket& packet) {
  const auto [begin, end] = index_.equal_range(Exchange::hash(packet.dns));
  for (auto place = begin; place != end;) {
    const auto entry = place->second;
    const bool hasFailed = !entry->isOver() && entry->answered() && entry->isAbout(packet.dns);
    place = hasFailed ? index_.erase(place) : std::next(place);
    if (hasFailed) pending_.erase(entry);
  }
}

void DNSMessageContainer::forget(Index::iterator place) {
  const auto entry = place->second;
  const bool isPending = !entry->isOver();
  index_.erase(place);
  (isPending ? pending_ : over_).erase(entry);
  if (isPending) forgotten_.add();
}

void DNSMessageContainer::forgetOver(std::chrono::microseconds now) {
  while (over_.size() > kMostOver) forget(find(over_.back()));
  while (now - *over_.back().answered() > Exchange::kAftermath) forget(find(over_.back()));
}

}  // namespace tovi
