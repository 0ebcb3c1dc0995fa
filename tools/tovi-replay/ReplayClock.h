#pragma once

#include "core/TimeProviderProtocol.h"

namespace tovi::replay {

/// The clock of the packets: it stands where the last packet put it. One thread.
class ReplayClock : public TimeProviderProtocol {
 public:
  /// A time before 1970 or after 2200 becomes the nearer of the two, so that no sum or difference
  /// of times overflows whatever a file claims.
  void set(Date now);
  void advance(double seconds);

  Date now() const override;

 private:
  Date now_;
};

}  // namespace tovi::replay
