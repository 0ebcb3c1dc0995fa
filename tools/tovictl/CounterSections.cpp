#include "tovictl/CounterSections.h"

#include "toolkit/Figures.h"

namespace tovi::ctl {

using Count = Counters::Count;

std::string shareText(const Count& part, const Count& whole) {
  if (!part || *part < 0 || !whole || *whole <= 0) return "";
  return tovi::shareText(static_cast<std::uint64_t>(*part), static_cast<std::uint64_t>(*whole));
}

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
  const auto captured = counters.packetsCaptured;
  const auto dropped = counters.packetsDroppedByKernel;
  const auto undecodable = counters.packetsUndecodable;
  const auto all = captured.value_or(0) + dropped.value_or(0);
  return {"Capture",
          {{"Packets captured", text(captured)},
           {"Dropped by the kernel", withShare(dropped, all, "all"), toneOf(dropped, Tone::Bad)},
           {"Undecodable", withShare(undecodable, captured, "captured"),
            toneOf(undecodable, Tone::Warning)},
           {"Of other types", text(counters.messagesOfOtherTypes)},
           {"DNS messages", text(counters.messages)}}};
}

// What the kernel tells leaves nobody out; other ways do.
static Section lookupSection(const Counters& counters) {
  const auto lookups = counters.lookups;
  const auto without = counters.lookupsWithoutProcess;
  const auto way = counters.processLookup.value_or("");
  return {"Process lookups",
          {{"Way", way, way == "kernel" ? Tone::Plain : Tone::Warning},
           {"Lookups", text(lookups)},
           {"Without a process", withShare(without, lookups, "lookups")},
           {"Found by the kernel", text(counters.foundByKernel)},
           {"Found by search", text(counters.foundBySearch)},
           {"Found by lsof", text(counters.foundByLsof)},
           {"Forgotten notes", text(counters.sendersForgotten)}}};
}

static Section eventSection(const Counters& counters) {
  const auto events = counters.events;
  const auto repeated = counters.eventsRepeated;
  return {"Events",
          {{"Forgotten unanswered", text(counters.exchangesForgotten)},
           {"Messages refused", text(counters.messagesRefused)},
           {"Events", text(events)},
           {"Repeated, left out", withShare(repeated, events, "events")}}};
}

static Section batchSection(const Counters& counters) {
  const auto dropped = counters.batchesDropped;
  const auto removed = counters.batchesRemoved;
  const auto unreadable = counters.batchesUnreadable;
  const bool hasNoKey = counters.payloadKeyUnreadable.value_or(0) > 0;
  return {"Batches",
          {{"Stored", text(counters.batchesStored)},
           {"Waiting", text(counters.batchesWaiting)},
           {"Dropped", text(dropped), toneOf(dropped, Tone::Bad)},
           {"Removed, store full", text(removed), toneOf(removed, Tone::Bad)},
           {"Unreadable", text(unreadable), toneOf(unreadable, Tone::Bad)},
           {"Payload key", hasNoKey ? "cannot be read, see the log" : "", Tone::Bad}}};
}

std::vector<Section> counterSections(const Counters& counters) {
  const auto uptime = counters.uptimeSeconds;
  return {{"Since the daemon started",
           {{"Up for", uptime ? durationText(std::chrono::seconds(*uptime)) : ""}}},
          captureSection(counters),
          lookupSection(counters),
          eventSection(counters),
          batchSection(counters)};
}

}  // namespace tovi::ctl
