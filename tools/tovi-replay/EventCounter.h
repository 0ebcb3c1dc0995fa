#pragma once

#include "events/RepetitionsRemovalMessageFilter.h"
#include "tools/tovi-replay/CountingFilter.h"
#include "tools/tovi-replay/EventDestination.h"
#include "tools/tovi-replay/NoVariables.h"
#include "tools/tovi-replay/report/ReportFigures.h"

namespace tovi::replay {

/// Adds to the figures of a report the events that `EventPrinter` would print. The borrowed
/// arguments must outlive it. One thread.
class EventCounter : public EventDestination {
 public:
  EventCounter(ReportFigures& figures, ReplayCounts& counts, TimeProviderProtocol& clock,
               std::optional<double> repetitionInterval);

  void addMessage(ToviDNSEventPointer event) override;
  void begin() override {}
  void finish() override {}

 private:
  ReportFigures& figures_;
  ReplayCounts& counts_;
  const bool filters_;
  NoVariables variables_;
  RepetitionsRemovalMessageFilter repetitions_;
  CountingFilter filter_{repetitions_, counts_};
};

}  // namespace tovi::replay
