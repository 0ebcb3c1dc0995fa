#include "tovi-replay/FilteredEvents.h"

#include "tovi-replay/ReplayOptions.h"

namespace tovi::replay {

FilteredEvents::FilteredEvents(ReplayCounts& counts, TimeProviderProtocol& clock,
                               std::optional<double> repetitionInterval, Take take)
    : counts_(counts),
      filters_(repetitionInterval.has_value()),
      take_(std::move(take)),
      repetitions_(kRememberedNames, clock, variables_) {
  repetitions_.setMessageTimeoutSec(repetitionInterval.value_or(0));
}

void FilteredEvents::addMessage(ToviDNSEventPointer event) {
  ++counts_.events;
  if (filters_ && !filter_.filterResult(*event->dnsPacket->question->name, "")) return;
  take_(*event);
}

}  // namespace tovi::replay
