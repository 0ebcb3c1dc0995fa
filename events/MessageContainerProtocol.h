#pragma once

#include <cstdint>

#include "events/ToviDNSEvent.h"

namespace tovi {

/// Events that wait for their response, by transaction identifier. Any thread.
class MessageContainerProtocol {
 public:
  virtual ~MessageContainerProtocol() = default;
  virtual void set(std::int64_t id, ToviDNSEventPointer event) = 0;
  /// Null when none is pending.
  virtual ToviDNSEventPointer get(std::int64_t id) = 0;
  virtual void remove(std::int64_t id) = 0;
};

}  // namespace tovi
