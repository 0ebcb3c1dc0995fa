#pragma once

#include "events/MessageFilterProtocol.h"
#include "tovi-replay/ReplayCounts.h"

namespace tovi::replay {

/// Counts what another filter drops. Both arguments must outlive it. One caller at a time.
class CountingFilter : public MessageFilterProtocol {
 public:
  CountingFilter(MessageFilterProtocol& filter, ReplayCounts& counts);
  bool filterResult(const std::string& name, const std::string& process) override;

 private:
  MessageFilterProtocol& filter_;
  ReplayCounts& counts_;
};

}  // namespace tovi::replay
