#pragma once

#include "events/MessagePackerProtocol.h"

namespace tovi::replay {

/// Where the finished events of a run go. One thread.
class EventDestination : public MessagePackerProtocol {
 public:
  /// The clock now shows the time of the first packet.
  virtual void begin() = 0;
  /// The last packet was replayed. May move the clock. False when some events could not be kept,
  /// which was logged.
  virtual bool finish() = 0;
};

}  // namespace tovi::replay
