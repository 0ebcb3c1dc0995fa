#include "app/DaemonStatistics.h"

namespace tovi {

Counters DaemonStatistics::counters() {
  using std::chrono::floor, std::chrono::seconds, std::chrono::steady_clock;
  const auto& captured = sources_.capture.tallies();
  const auto lookup = sources_.finder.report();
  return {
      .uptimeSeconds = floor<seconds>(steady_clock::now() - start_).count(),
      .packetsCaptured = captured.packets.count(),
      .packetsDroppedByKernel = captured.droppedByKernel.count(),
      .packetsUndecodable = captured.undecodable.count(),
      .messagesOfOtherTypes = captured.ofOtherTypes.count(),
      .messages = captured.messages.count(),
      .lookups = captured.lookups.count(),
      .lookupsWithoutProcess = captured.lookupsWithoutProcess.count(),
      .foundByKernel = lookup.foundByKernel,
      .foundBySearch = lookup.foundBySearch,
      .foundByLsof = lookup.foundByLsof,
      .sendersForgotten = lookup.sendersForgotten,
      .processLookup = lookup.way + (lookup.reason.empty() ? "" : ": " + lookup.reason),
      .exchangesForgotten = sources_.container.forgotten().count(),
      .messagesRefused = sources_.builder.refused().count(),
      .events = sources_.builder.events().count(),
      .eventsRepeated = sources_.packer.repeated().count(),
      .batchesStored = sources_.persistence.stored().count(),
      .batchesDropped = sources_.persistence.dropped().count(),
      .batchesRemoved = sources_.persistence.removed().count(),
      .batchesUnreadable = sources_.persistence.unreadable().count(),
      .batchesWaiting = sources_.persistence.waiting(),
      .payloadKeyUnreadable = sources_.crypto.keyFault() ? Counters::Count(1) : std::nullopt,
  };
}

Activity DaemonStatistics::activity() {
  return sources_.activity.summary();
}

}  // namespace tovi
