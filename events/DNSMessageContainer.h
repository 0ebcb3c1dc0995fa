#pragma once

#include <mutex>

#include "core/Tally.h"
#include "events/LRUCache.h"
#include "events/MessageContainerProtocol.h"

namespace tovi {

/// Keeps a limited number of pending events; one too many drops the one that was set longest ago.
/// Any thread.
class DNSMessageContainer : public MessageContainerProtocol {
 public:
  /// With a `countLimit` of 0 or less, every transaction identifier can have its event.
  explicit DNSMessageContainer(std::int64_t countLimit);

  void set(std::int64_t id, ToviDNSEventPointer event) override;
  ToviDNSEventPointer get(std::int64_t id) override;
  void remove(std::int64_t id) override;

  /// How many were dropped for newer ones.
  const Tally& forgotten() const { return forgotten_; }

 private:
  Tally forgotten_;
  std::mutex mutex_;
  /// Guarded by `mutex_`.
  LRUCache<std::int64_t, ToviDNSEventPointer> messageContainer_;
};

}  // namespace tovi
