#include "tovi-replay/CountingPersistence.h"

namespace tovi::replay {

CountingPersistence::CountingPersistence(MessagePersistenceProtocol& persistence,
                                         ReplayCounts& counts)
    : persistence_(persistence), counts_(counts) {}

void CountingPersistence::saveMessage(const std::string& text) {
  ++counts_.batches;
  persistence_.saveMessage(text);
}

std::map<std::string, std::string> CountingPersistence::getNewMessages() {
  return persistence_.getNewMessages();
}

void CountingPersistence::messageDeliveryState(const std::string& id, bool deliveryFailed) {
  persistence_.messageDeliveryState(id, deliveryFailed);
}

}  // namespace tovi::replay
