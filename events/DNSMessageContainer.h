#pragma once

#include <cstdint>
#include <list>
#include <unordered_map>

#include "core/Tally.h"
#include "events/MessageContainerProtocol.h"

namespace tovi {

/// Keeps a limited number of pending events; one too many drops one that failed, else the one that
/// was set longest ago. Of one identifier and name, kMostAlike exchanges are kept at most.
/// Exchanges that are over are known for Exchange::kAftermath, as far as they are not too many. One
/// thread at a time; the tally from any.
class DNSMessageContainer : public MessageContainerProtocol {
 public:
  static constexpr std::size_t kMostOver = 2048;
  /// So many are looked through for each packet.
  static constexpr std::size_t kMostAlike = 16;

  /// With a `countLimit` of 0 or less, every transaction identifier can have its event.
  explicit DNSMessageContainer(std::int64_t countLimit);

  Exchange* get(const ExchangePacket& packet) override;
  void set(Exchange* exchange, const ExchangePacket& packet, ToviDNSEventPointer event) override;
  void remove(Exchange* exchange, const ExchangePacket& packet) override;

  std::size_t pending() const { return pending_.size(); }
  /// How many were dropped for newer ones.
  const Tally& forgotten() const { return forgotten_; }

 private:
  using Exchanges = std::list<Exchange>;
  using Index = std::unordered_multimap<std::size_t, Exchanges::iterator>;

  Exchanges::iterator added(Exchange* exchange, const ExchangePacket& packet);
  Exchanges::iterator begun(const ExchangePacket& packet);
  Index::iterator find(const Exchange& exchange);
  void makeRoomAmongAlike(std::size_t hash);
  void forgetFailures(const ExchangePacket& packet);
  void forget(Index::iterator place);
  void forgetOver(std::chrono::microseconds now);

  const std::size_t countLimit_;
  Tally forgotten_;
  /// What waits for a response comes first, of that what was set last.
  Exchanges pending_;
  Exchanges over_;
  /// Both, by Exchange::hash.
  Index index_;
};

}  // namespace tovi
