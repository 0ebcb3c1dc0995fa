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
  /// `permanentVariable`, the default when there is none. With `byProcess`, a name is another one
  /// for each process that asks for it: else the query that a resolver on this machine sends on,
  /// which is answered first, would hide the one of the program that asked the resolver.
  RepetitionsRemovalMessageFilter(std::int64_t memorySize, TimeProviderProtocol& timeProvider,
                                  SavePropertyManagerProtocol& permanentVariable,
                                  bool byProcess = false);

  bool filterResult(const std::string& name, const std::string& process) override;
  /// Stores the interval, so that it survives a restart; an equal one does nothing.
  void setMessageTimeoutSec(double seconds) override;

 private:
  ToviLog logger_{"RepetitionsRemovalMessageFilter", "main"};
  TimeProviderProtocol& timeProvider_;
  SavePropertyManagerProtocol& permanentVariable_;

  struct Key {
    std::string name;
    /// Empty unless processes are told apart.
    std::string process;
    bool operator==(const Key&) const = default;
  };
  struct Hash {
    std::size_t operator()(const Key& key) const;
  };

  const bool byProcess_;

  /// When each name was last let through; only for the caller of `filterResult`.
  LRUCache<Key, Date, Hash> cache_;

  /// Seconds; only on the queue.
  double registersTimeout_;

  SerialQueue serialQueue_{"io.repetitionsfilter.serialqueue"};
};

}  // namespace tovi
