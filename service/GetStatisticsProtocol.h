#pragma once

#include "core/Activity.h"
#include "service/Counters.h"

namespace tovi {

/// What the daemon has done and lost. Main loop only.
class GetStatisticsProtocol {
 public:
  virtual ~GetStatisticsProtocol() = default;
  /// Since the start of the daemon.
  virtual Counters counters() = 0;
  /// Of the last minute.
  virtual Activity activity() = 0;
};

}  // namespace tovi
