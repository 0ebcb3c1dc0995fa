#pragma once

#include "core/PermanentVariablesManager.h"
#include "core/TimeProviderProtocol.h"

namespace tovi {

/// The bookkeeping of the daemon's runs in the permanent variables: a run that was killed leaves
/// the counts of starts and of orderly ends apart. The collaborators are borrowed. One thread.
class RunRecord {
 public:
  /// Records a start, on the disk: a run that is killed at once has been a start.
  RunRecord(PermanentVariablesManager& variables, const TimeProviderProtocol& timeProvider);
  /// Records an orderly end.
  void finish();

 private:
  PermanentVariablesManager& variables_;
  const TimeProviderProtocol& timeProvider_;
};

}  // namespace tovi
