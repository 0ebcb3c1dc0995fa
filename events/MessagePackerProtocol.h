#pragma once

#include "events/ToviDNSEvent.h"

namespace tovi {

/// Takes finished events. Any thread.
class MessagePackerProtocol {
 public:
  virtual ~MessagePackerProtocol() = default;
  virtual void addMessage(ToviDNSEventPointer event) = 0;
};

}  // namespace tovi
