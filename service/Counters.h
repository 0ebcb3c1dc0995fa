#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/JsonRecord.h"

namespace tovi {

/// What was done and what was lost since the daemon started. What cannot be told now is absent.
struct Counters {
  using Count = std::optional<std::int64_t>;

  Count uptimeSeconds{};
  /// Packets from and to port 53 that the kernel handed over.
  Count packetsCaptured{};
  /// Packets that the kernel had to drop, since the daemon did not fetch them fast enough.
  Count packetsDroppedByKernel{};
  /// Packets and messages that are no sound DNS or were cut off.
  Count packetsUndecodable{};
  /// Messages with a record type that is not reported, such as HTTPS. They are sound.
  Count messagesOfOtherTypes{};
  Count messages{};
  /// Queries whose process was looked for, and those of them for which none was found.
  Count lookups{};
  Count lookupsWithoutProcess{};
  /// Those for which one was found, by way: in what the kernel noted, by a search in /proc, by
  /// lsof.
  Count foundByKernel{};
  Count foundBySearch{};
  Count foundByLsof{};
  /// What the kernel noted and forgot to make room for newer notes, since tovi-attach was run.
  Count sendersForgotten{};
  /// The way in force ("kernel", "search", "lsof" or "none"); behind ": " why it is no better one.
  std::optional<std::string> processLookup{};
  /// Exchanges that had no answer yet and were forgotten to make room for newer ones; an answer
  /// that still comes makes an event without its process. Most of them failed, and nothing is lost.
  Count exchangesForgotten{};
  /// Messages that make no event: those about the collector's own name, without a question, or with
  /// the identifier 0.
  Count messagesRefused{};
  /// Exchanges with an answer.
  Count events{};
  /// Events that the repetition filter left out.
  Count eventsRepeated{};
  Count batchesStored{};
  Count batchesDropped{};
  /// Stored batches that were removed, the oldest first, since the store had become too large.
  Count batchesRemoved{};
  /// Stored batches that could not be unsealed when they were to be handed out.
  Count batchesUnreadable{};
  /// In the store at this moment: pending, or handed out and not reported on.
  Count batchesWaiting{};
  /// 1 while the store's key is there and cannot be read, so that batches wait in memory; absent
  /// otherwise.
  Count payloadKeyUnreadable{};
};

/// In alphabetical order, in which a dictionary of the bus has them as well.
void forEachMember(MaybeConst<Counters> auto& counters, auto&& member) {
  member(JsonKey("batches_dropped"), counters.batchesDropped);
  member(JsonKey("batches_removed"), counters.batchesRemoved);
  member(JsonKey("batches_stored"), counters.batchesStored);
  member(JsonKey("batches_unreadable"), counters.batchesUnreadable);
  member(JsonKey("batches_waiting"), counters.batchesWaiting);
  member(JsonKey("events"), counters.events);
  member(JsonKey("events_repeated"), counters.eventsRepeated);
  member(JsonKey("exchanges_forgotten"), counters.exchangesForgotten);
  member(JsonKey("lookups"), counters.lookups);
  member(JsonKey("lookups_without_process"), counters.lookupsWithoutProcess);
  member(JsonKey("messages"), counters.messages);
  member(JsonKey("messages_of_other_types"), counters.messagesOfOtherTypes);
  member(JsonKey("messages_refused"), counters.messagesRefused);
  member(JsonKey("packets_captured"), counters.packetsCaptured);
  member(JsonKey("packets_dropped_by_kernel"), counters.packetsDroppedByKernel);
  member(JsonKey("packets_undecodable"), counters.packetsUndecodable);
  member(JsonKey("payload_key_unreadable"), counters.payloadKeyUnreadable);
  member(JsonKey("process_lookup"), counters.processLookup);
  member(JsonKey("processes_found_by_kernel"), counters.foundByKernel);
  member(JsonKey("processes_found_by_lsof"), counters.foundByLsof);
  member(JsonKey("processes_found_by_search"), counters.foundBySearch);
  member(JsonKey("senders_forgotten"), counters.sendersForgotten);
  member(JsonKey("uptime_seconds"), counters.uptimeSeconds);
}

}  // namespace tovi
