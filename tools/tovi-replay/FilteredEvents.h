#pragma once

#include <functional>
#include <optional>

#include "events/RepetitionsRemovalMessageFilter.h"
#include "tovi-replay/EventDestination.h"
#include "tovi-replay/NoVariables.h"
#include "tovi-replay/ReplayCounts.h"

namespace tovi::replay {

/// Hands on each event that is no repetition. The borrowed arguments must outlive it. One thread.
class FilteredEvents : public EventDestination {
 public:
  using Take = std::function<void(const ToviDNSEvent& event)>;

  /// Drops repetitions within `repetitionInterval` seconds, if one is given.
  FilteredEvents(ReplayCounts& counts, TimeProviderProtocol& clock,
                 std::optional<double> repetitionInterval, Take take);

  void addMessage(ToviDNSEventPointer event) override;
  void begin() override {}
  bool finish() override { return true; }

 private:
  ReplayCounts& counts_;
  const Take take_;
  NoVariables variables_;
  std::optional<RepetitionsRemovalMessageFilter> repetitions_;
};

}  // namespace tovi::replay
