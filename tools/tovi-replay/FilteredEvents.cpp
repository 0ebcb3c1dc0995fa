#include "tovi-replay/FilteredEvents.h"

#include "tovi-replay/ReplayOptions.h"

namespace tovi::replay {

FilteredEvents::FilteredEvents(ReplayCounts& counts, TimeProviderProtocol& clock,
                               std::optional<double> repetitionInterval, Take take)
    : counts_(counts), take_(std::move(take)) {
  if (!repetitionInterval) return;
  repetitions_.emplace(kRememberedNames, clock, variables_);
  repetitions_->setMessageTimeoutSec(*repetitionInterval);
}

void FilteredEvents::addMessage(ToviDNSEventPointer event) {
  ++counts_.events;
  if (repetitions_ && !repetitions_->filterResult(*event->dnsPacket->question->name, "")) {
    ++counts_.repetitions;
  } else {
    take_(*event);
  }
}

}  // namespace tovi::replay
