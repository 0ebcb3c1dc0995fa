#pragma once

#include "core/PropertyValue.h"

namespace tovi {

/// What the daemon has done and lost, under the keys of service/StatisticsProtocol.h. Main loop
/// only.
class GetStatisticsProtocol {
 public:
  virtual ~GetStatisticsProtocol() = default;
  /// Since the start of the daemon.
  virtual PropertyDictionary counters() = 0;
  /// Of the last minute.
  virtual PropertyDictionary activity() = 0;
};

}  // namespace tovi
