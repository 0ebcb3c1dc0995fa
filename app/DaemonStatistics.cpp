#include "app/DaemonStatistics.h"

#include "events/DnsEventNames.h"
#include "service/StatisticsProtocol.h"

namespace tovi {

using namespace statistics;

namespace {

PropertyValue valueOf(std::uint64_t count) {
  return {static_cast<std::int64_t>(count)};
}

PropertyDictionary entryOf(const RecentActivity::Entry& entry) {
  PropertyDictionary values = {{kName, {entry.name}}, {kCount, valueOf(entry.count)}};
  if (entry.responseCode) {
    const auto code = responseCodeName(std::to_string(*entry.responseCode));
    values[kResponseCode] = {std::string(code)};
  }
  return values;
}

PropertyValue listOf(const std::vector<RecentActivity::Entry>& entries) {
  PropertyValue::Array list;
  for (const auto& entry : entries) list.emplace_back().value = entryOf(entry);
  return {std::move(list)};
}

}  // namespace

PropertyDictionary DaemonStatistics::counters() {
  const auto& capture = sources_.capture.tallies();
  const auto uptime = std::chrono::steady_clock::now() - start_;
  PropertyDictionary counters = {
      {kUptimeSeconds, {std::int64_t{std::chrono::floor<std::chrono::seconds>(uptime).count()}}}};
  for (const auto& [key, tally] :
       {std::pair<const char*, const Tally&>{kPacketsCaptured, capture.packets},
        {kPacketsDroppedByKernel, capture.droppedByKernel},
        {kPacketsUndecodable, capture.undecodable},
        {kMessagesOfOtherTypes, capture.ofOtherTypes},
        {kMessages, capture.messages},
        {kLookups, capture.lookups},
        {kLookupsWithoutProcess, capture.lookupsWithoutProcess},
        {kExchangesForgotten, sources_.container.forgotten()},
        {kMessagesRefused, sources_.builder.refused()},
        {kEvents, sources_.builder.events()},
        {kEventsRepeated, sources_.packer.repeated()},
        {kBatchesStored, sources_.persistence.stored()},
        {kBatchesDropped, sources_.persistence.dropped()},
        {kBatchesRemoved, sources_.persistence.removed()},
        {kBatchesUnreadable, sources_.persistence.unreadable()}}) {
    counters[key] = valueOf(tally.count());
  }
  if (const auto waiting = sources_.persistence.waiting()) {
    counters[kBatchesWaiting] = valueOf(*waiting);
  }
  addLookups(counters);
  if (sources_.crypto.keyFault()) counters[kPayloadKeyUnreadable] = valueOf(1);
  return counters;
}

void DaemonStatistics::addLookups(PropertyDictionary& counters) const {
  const auto report = sources_.finder.report();
  counters[kFoundByKernel] = valueOf(report.foundByKernel);
  counters[kFoundBySearch] = valueOf(report.foundBySearch);
  counters[kFoundByLsof] = valueOf(report.foundByLsof);
  counters[kSendersForgotten] = valueOf(report.sendersForgotten);
  counters[kProcessLookup] = {report.way + (report.reason.empty() ? "" : ": " + report.reason)};
}

PropertyDictionary DaemonStatistics::activity() {
  const auto summary = sources_.activity.summary();
  return {{kWindowSeconds, {std::int64_t{summary.covered.count()}}},
          {kQueries, valueOf(summary.queries)},
          {kResponses, valueOf(summary.responses)},
          {kFailedResponses, valueOf(summary.failedResponses)},
          {kNames, listOf(summary.names)},
          {kProcesses, listOf(summary.processes)},
          {kFailures, listOf(summary.failures)},
          {kResolvers, listOf(summary.resolvers)}};
}

}  // namespace tovi
