#pragma once

#include "events/Exchange.h"
#include "events/ExchangePacket.h"

namespace tovi {

/// Exchanges whose events wait for their response, and for a while those that are over, so that
/// what is seen of them on another interface is known. One thread at a time.
class MessageContainerProtocol {
 public:
  virtual ~MessageContainerProtocol() = default;
  /// The exchange to which the packet belongs, which stays where it is until the next change; null
  /// when the packet begins one.
  virtual Exchange* get(const ExchangePacket& packet) = 0;
  /// The event waits in the exchange, which now has this packet; a null one is begun.
  virtual void set(Exchange* exchange, const ExchangePacket& packet, ToviDNSEventPointer event) = 0;
  /// The packet ends the exchange; a null one was begun and ended by it.
  virtual void remove(Exchange* exchange, const ExchangePacket& packet) = 0;
};

}  // namespace tovi
