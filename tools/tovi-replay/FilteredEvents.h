#pragma once

#include <functional>

#include "events/RepetitionsRemovalMessageFilter.h"
#include "tovi-replay/CountingFilter.h"
#include "tovi-replay/EventDestination.h"
#include "tovi-replay/NoVariables.h"

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
  void finish() override {}

 private:
  ReplayCounts& counts_;
  const bool filters_;
  const Take take_;
  NoVariables variables_;
  RepetitionsRemovalMessageFilter repetitions_;
  CountingFilter filter_{repetitions_, counts_};
};

}  // namespace tovi::replay
