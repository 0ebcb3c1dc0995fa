#pragma once

#include <cstdint>

#include "core/SavePropertyManagerProtocol.h"
#include "core/SerialQueue.h"
#include "core/TimeProviderProtocol.h"
#include "core/ToviLog.h"
#include "events/FilterPropertiesProtocol.h"
#include "events/LRUCache.h"
#include "events/MessageFilterProtocol.h"

namespace tovi {

/// Lets a name through at most once in a repetition interval, which runs from the last time the
/// name was let through. Remembers a limited number of names and forgets them at the end of the
/// process. `filterResult` from one caller at a time, the setter from any thread. The collaborators
/// must outlive it.
class RepetitionsRemovalMessageFilter : public MessageFilterProtocol,
                                        public FilterPropertiesProtocol {
 public:
  /// Remembers at most `memorySize` names. The interval is the one last stored in
  /// `permanentVariable`, the default when there is none.
  RepetitionsRemovalMessageFilter(std::int64_t memorySize, TimeProviderProtocol& timeProvider,
                                  SavePropertyManagerProtocol& permanentVariable);

  bool filterResult(const std::string& key) override;
  /// Stores the interval, so that it survives a restart; an equal one does nothing.
  void setMessageTimeoutSec(double seconds) override;

 private:
  ToviLog logger_{"RepetitionsRemovalMessageFilter", "main"};
  TimeProviderProtocol& timeProvider_;
  SavePropertyManagerProtocol& permanentVariable_;

  /// When each name was last let through; only for the caller of `filterResult`.
  LRUCache<std::string, Date> cache_;

  /// Seconds; only on the queue.
  double registersTimeout_;

  SerialQueue serialQueue_{"io.repetitionsfilter.serialqueue"};
};

}  // namespace tovi
