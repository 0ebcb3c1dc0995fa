#pragma once

#include "core/MessagePersistenceProtocol.h"
#include "tovi-replay/ReplayCounts.h"

namespace tovi::replay {

/// Counts the batches that go into another store. Both arguments must outlive it. One thread.
class CountingPersistence : public MessagePersistenceProtocol {
 public:
  CountingPersistence(MessagePersistenceProtocol& persistence, ReplayCounts& counts);

  void saveMessage(const std::string& text) override;
  std::map<std::string, std::string> getNewMessages() override;
  void messageDeliveryState(const std::string& id, bool deliveryFailed) override;

 private:
  MessagePersistenceProtocol& persistence_;
  ReplayCounts& counts_;
};

}  // namespace tovi::replay
