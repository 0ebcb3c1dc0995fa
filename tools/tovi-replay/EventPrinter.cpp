#include "tools/tovi-replay/EventPrinter.h"

#include "tools/tovi-replay/ReplayOptions.h"

namespace tovi::replay {

EventPrinter::EventPrinter(LineOutput& output, ReplayCounts& counts, TimeProviderProtocol& clock,
                           formats::EventFormat format, std::optional<double> repetitionInterval)
    : output_(output),
      counts_(counts),
      format_(format),
      filters_(repetitionInterval.has_value()),
      repetitions_(kRememberedNames, clock, variables_) {
  repetitions_.setMessageTimeoutSec(repetitionInterval.value_or(0));
}

void EventPrinter::addMessage(ToviDNSEventPointer event) {
  ++counts_.events;
  if (filters_ && !filter_.filterResult(*event->dnsPacket->question->name)) return;
  output_.writeLine(formats::lineOf(*event, format_));
}

}  // namespace tovi::replay
