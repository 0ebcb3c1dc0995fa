#include "events/DNSMessageContainer.h"

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
  pending_.splice(pending_.begin(), pending_, entry);
  if (pending_.size() <= countLimit_) return;
  forgetLast(pending_);
  forgotten_.add();
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
  const auto& exchange = pending_.emplace_front(packet);
  index_.emplace(exchange.hash(), pending_.begin());
  return pending_.begin();
}

DNSMessageContainer::Index::iterator DNSMessageContainer::find(const Exchange& exchange) {
  auto entry = index_.equal_range(exchange.hash()).first;
  while (&*entry->second != &exchange) ++entry;
  return entry;
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

void DNSMessageContainer::forgetLast(Exchanges& exchanges) {
  index_.erase(find(exchanges.back()));
  exchanges.pop_back();
}

void DNSMessageContainer::forgetOver(std::chrono::microseconds now) {
  while (over_.size() > kMostOver) forgetLast(over_);
  while (now - *over_.back().answered() > Exchange::kAftermath) forgetLast(over_);
}

}  // namespace tovi
