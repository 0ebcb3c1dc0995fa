#pragma once

#include "core/SavePropertyManagerProtocol.h"
#include "core/TimeProviderProtocol.h"

namespace tovi {

/// The bookkeeping of the daemon's runs in the permanent variables: a run that was killed leaves
/// the counts of starts and of orderly ends apart. The collaborators are borrowed. One thread.
class RunRecord {
 public:
  /// Records a start.
  RunRecord(SavePropertyManagerProtocol& variables, const TimeProviderProtocol& timeProvider);
  /// Records an orderly end.
  void finish();

 private:
  SavePropertyManagerProtocol& variables_;
  const TimeProviderProtocol& timeProvider_;
};

}  // namespace tovi
