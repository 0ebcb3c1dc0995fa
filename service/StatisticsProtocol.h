#pragma once

/// The daemon's own read-only interface, on the object of the local service, for both ends of it.
/// What a caller can ask for changes nothing in the daemon.
namespace tovi::statistics {

inline constexpr const char* kInterfaceName = "io.tovi.ToviStatistics";

/// () -> a{sv}: what was done and what was lost since the daemon started, by the keys below: 64-bit
/// integers, and one text. What cannot be told now is left out.
inline constexpr const char* kGetCounters = "GetCounters";

inline constexpr const char* kUptimeSeconds = "uptime_seconds";
/// Packets from and to port 53 that the kernel handed over.
inline constexpr const char* kPacketsCaptured = "packets_captured";
/// Packets that the kernel had to drop, since the daemon did not fetch them fast enough.
inline constexpr const char* kPacketsDroppedByKernel = "packets_dropped_by_kernel";
/// Packets and messages that are no sound DNS or were cut off.
inline constexpr const char* kPacketsUndecodable = "packets_undecodable";
/// Messages with a record type that is not reported, such as HTTPS. They are sound.
inline constexpr const char* kMessagesOfOtherTypes = "messages_of_other_types";
inline constexpr const char* kMessages = "messages";
/// Queries whose process was looked for, and those of them for which none was found.
inline constexpr const char* kLookups = "lookups";
inline constexpr const char* kLookupsWithoutProcess = "lookups_without_process";
/// Those for which one was found, by way: in what the kernel noted, by a search in /proc, by lsof.
inline constexpr const char* kFoundByKernel = "processes_found_by_kernel";
inline constexpr const char* kFoundBySearch = "processes_found_by_search";
inline constexpr const char* kFoundByLsof = "processes_found_by_lsof";
/// What the kernel noted and forgot to make room for newer notes, since tovi-attach was run.
inline constexpr const char* kSendersForgotten = "senders_forgotten";
/// A text: the way in force ("kernel", "search", "lsof" or "none"); behind ": " why it is no better
/// one.
inline constexpr const char* kProcessLookup = "process_lookup";
/// Exchanges that had no answer yet and were forgotten to make room for newer ones; an answer that
/// still comes makes an event without its process. Most of them failed, and nothing is lost.
inline constexpr const char* kExchangesForgotten = "exchanges_forgotten";
/// Messages that make no event: those about the collector's own name, without a question, or with
/// the identifier 0.
inline constexpr const char* kMessagesRefused = "messages_refused";
/// Exchanges with an answer.
inline constexpr const char* kEvents = "events";
/// Events that the repetition filter left out.
inline constexpr const char* kEventsRepeated = "events_repeated";
inline constexpr const char* kBatchesStored = "batches_stored";
inline constexpr const char* kBatchesDropped = "batches_dropped";
/// Stored batches that were removed, the oldest first, since the store had become too large.
inline constexpr const char* kBatchesRemoved = "batches_removed";
/// Stored batches that could not be unsealed when they were to be handed out.
inline constexpr const char* kBatchesUnreadable = "batches_unreadable";
/// In the store at this moment: pending, or handed out and not reported on.
inline constexpr const char* kBatchesWaiting = "batches_waiting";
/// 1 while the store's key is there and cannot be read, so that batches wait in memory; left out
/// otherwise.
inline constexpr const char* kPayloadKeyUnreadable = "payload_key_unreadable";

/// () -> a{sv}: the exchanges of the last minute. "window_seconds", "queries", "responses" and
/// "failed_responses" are integers; "names", "processes", "failures" and "resolvers" are arrays of
/// dictionaries with "name" and "count", the largest count first; those of "failures" have a
/// "response_code" as well.
inline constexpr const char* kGetActivity = "GetActivity";

inline constexpr const char* kWindowSeconds = "window_seconds";
inline constexpr const char* kQueries = "queries";
inline constexpr const char* kResponses = "responses";
inline constexpr const char* kFailedResponses = "failed_responses";
inline constexpr const char* kNames = "names";
inline constexpr const char* kProcesses = "processes";
inline constexpr const char* kFailures = "failures";
inline constexpr const char* kResolvers = "resolvers";
inline constexpr const char* kName = "name";
inline constexpr const char* kCount = "count";
inline constexpr const char* kResponseCode = "response_code";

}  // namespace tovi::statistics
