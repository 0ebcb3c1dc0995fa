#pragma once

#include <map>
#include <string>

namespace tovi {

/// The store of closed batches. Any thread.
class MessagePersistenceProtocol {
 public:
  virtual ~MessagePersistenceProtocol() = default;

  /// Seals the JSON text of a batch and stores it as a new pending message. Need not wait for the
  /// disk: the message outlives a crash once the store has said so in a way of its own.
  virtual void saveMessage(const std::string& text) = 0;
  /// Hands out pending messages: JSON texts by message identifier.
  virtual std::map<std::string, std::string> getNewMessages() = 0;
  /// Takes the companion's report on a message that was handed out.
  virtual void messageDeliveryState(const std::string& id, bool deliveryFailed) = 0;
};

}  // namespace tovi
