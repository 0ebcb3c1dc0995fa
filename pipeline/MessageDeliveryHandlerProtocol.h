#pragma once

namespace tovi {

enum class AmountMessages { DeliverOneMessage, DeliverEveryMessage, NotDeliverMessages };

/// Slows the hand-over of messages down while the collector refuses them. One caller at a time.
class MessageDeliveryHandlerProtocol {
 public:
  virtual ~MessageDeliveryHandlerProtocol() = default;
  virtual void deliveryFailed() = 0;
  virtual void deliverySucceeded() = 0;
  virtual AmountMessages shouldReturnEveryMessage() = 0;
};

}  // namespace tovi
