#include "tovictl/CounterSections.h"

#include "service/StatisticsProtocol.h"
#include "toolkit/Figures.h"

namespace tovi::ctl {

using Count = std::optional<std::int64_t>;

static std::string text(const Count& count) {
  return count ? numberText(*count) : "";
}

static std::string withShare(const Count& part, const Count& whole, const std::string& of) {
  const auto share = shareText(part, whole);
  return text(part) + (share.empty() ? "" : " (" + share + " of " + of + ")");
}

static Tone toneOf(const Count& count, Tone whenMany) {
  return count.value_or(0) > 0 ? whenMany : Tone::Plain;
}

static Section captureSection(const Counters& counters) {
  const auto captured = countOf(counters, statistics::kPacketsCaptured);
  const auto dropped = countOf(counters, statistics::kPacketsDroppedByKernel);
  const auto undecodable = countOf(counters, statistics::kPacketsUndecodable);
  const auto all = captured.value_or(0) + dropped.value_or(0);
  return {"Capture",
          {{"Packets captured", text(captured)},
           {"Dropped by the kernel", withShare(dropped, all, "all"), toneOf(dropped, Tone::Bad)},
           {"Undecodable", withShare(undecodable, captured, "captured"),
            toneOf(undecodable, Tone::Warning)},
           {"Of other types", text(countOf(counters, statistics::kMessagesOfOtherTypes))},
           {"DNS messages", text(countOf(counters, statistics::kMessages))}}};
}

// What the kernel tells leaves nobody out; other ways do.
static Section lookupSection(const Counters& counters) {
  const auto lookups = countOf(counters, statistics::kLookups);
  const auto without = countOf(counters, statistics::kLookupsWithoutProcess);
  const auto way = textOf(counters, statistics::kProcessLookup);
  return {"Process lookups",
          {{"Way", way, way == "kernel" ? Tone::Plain : Tone::Warning},
           {"Lookups", text(lookups)},
           {"Without a process", withShare(without, lookups, "lookups")},
           {"Found by the kernel", text(countOf(counters, statistics::kFoundByKernel))},
           {"Found by search", text(countOf(counters, statistics::kFoundBySearch))},
           {"Found by lsof", text(countOf(counters, statistics::kFoundByLsof))},
           {"Forgotten notes", text(countOf(counters, statistics::kSendersForgotten))}}};
}

static Section eventSection(const Counters& counters) {
  const auto events = countOf(counters, statistics::kEvents);
  const auto repeated = countOf(counters, statistics::kEventsRepeated);
  return {"Events",
          {{"Forgotten unanswered", text(countOf(counters, statistics::kExchangesForgotten))},
           {"Messages refused", text(countOf(counters, statistics::kMessagesRefused))},
           {"Events", text(events)},
           {"Repeated, left out", withShare(repeated, events, "events")}}};
}

static Section batchSection(const Counters& counters) {
  const auto dropped = countOf(counters, statistics::kBatchesDropped);
  const auto removed = countOf(counters, statistics::kBatchesRemoved);
  const auto unreadable = countOf(counters, statistics::kBatchesUnreadable);
  const bool hasNoKey = countOf(counters, statistics::kPayloadKeyUnreadable).value_or(0) > 0;
  return {"Batches",
          {{"Stored", text(countOf(counters, statistics::kBatchesStored))},
           {"Waiting", text(countOf(counters, statistics::kBatchesWaiting))},
           {"Dropped", text(dropped), toneOf(dropped, Tone::Bad)},
           {"Removed, store full", text(removed), toneOf(removed, Tone::Bad)},
           {"Unreadable", text(unreadable), toneOf(unreadable, Tone::Bad)},
           {"Payload key", hasNoKey ? "cannot be read, see the log" : "", Tone::Bad}}};
}

std::vector<Section> counterSections(const Counters& counters) {
  const auto uptime = countOf(counters, statistics::kUptimeSeconds);
  return {{"Since the daemon started",
           {{"Up for", uptime ? durationText(std::chrono::seconds(*uptime)) : ""}}},
          captureSection(counters),
          lookupSection(counters),
          eventSection(counters),
          batchSection(counters)};
}

}  // namespace tovi::ctl
