#pragma once

#include "events/RepetitionsRemovalMessageFilter.h"
#include "tools/formats/EventFormat.h"
#include "tools/tovi-replay/CountingFilter.h"
#include "tools/tovi-replay/EventDestination.h"
#include "tools/tovi-replay/LineOutput.h"
#include "tools/tovi-replay/NoVariables.h"

namespace tovi::replay {

/// Prints each event as a line of JSON in the vocabulary chosen. The borrowed arguments must
/// outlive it. One thread.
class EventPrinter : public EventDestination {
 public:
  /// Drops repetitions within `repetitionInterval` seconds, if one is given.
  EventPrinter(LineOutput& output, ReplayCounts& counts, TimeProviderProtocol& clock,
               formats::EventFormat format, std::optional<double> repetitionInterval);

  void addMessage(ToviDNSEventPointer event) override;
  void begin() override {}
  void finish() override {}

 private:
  LineOutput& output_;
  ReplayCounts& counts_;
  const formats::EventFormat format_;
  const bool filters_;
  NoVariables variables_;
  RepetitionsRemovalMessageFilter repetitions_;
  CountingFilter filter_{repetitions_, counts_};
};

}  // namespace tovi::replay
