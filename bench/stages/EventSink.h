#pragma once

#include <functional>
#include <utility>

#include "events/MessagePackerProtocol.h"

namespace tovi::bench {

/// A packer that passes events to a function.
class EventSink : public MessagePackerProtocol {
 public:
  explicit EventSink(std::function<void(ToviDNSEventPointer)> take) : take_(std::move(take)) {}
  void addMessage(ToviDNSEventPointer event) override { take_(std::move(event)); }

 private:
  const std::function<void(ToviDNSEventPointer)> take_;
};

}  // namespace tovi::bench
