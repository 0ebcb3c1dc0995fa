#pragma once

#include <optional>

#include "tovictl/Agent.h"
#include "tovictl/top/Sample.h"

namespace tovi::ctl {

/// Looks at the daemon through its read-only interface, and never makes the bus start it. One
/// thread.
class SampleSource {
 public:
  /// Throws platform::ServiceError.
  Sample look();
  /// The same, with the failure told.
  SampleOutcome tryToLook();

 private:
  std::optional<Agent> agent_;
};

}  // namespace tovi::ctl
