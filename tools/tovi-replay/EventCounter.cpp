#include "tools/tovi-replay/EventCounter.h"

#include "tools/tovi-replay/ReplayOptions.h"

namespace tovi::replay {

EventCounter::EventCounter(ReportFigures& figures, ReplayCounts& counts,
                           TimeProviderProtocol& clock, std::optional<double> repetitionInterval)
    : figures_(figures),
      counts_(counts),
      filters_(repetitionInterval.has_value()),
      repetitions_(kRememberedNames, clock, variables_) {
  repetitions_.setMessageTimeoutSec(repetitionInterval.value_or(0));
}

void EventCounter::addMessage(ToviDNSEventPointer event) {
  ++counts_.events;
  if (filters_ && !filter_.filterResult(*event->dnsPacket->question->name)) return;
  figures_.addEvent(*event);
}

}  // namespace tovi::replay
