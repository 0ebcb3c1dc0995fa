#include "tovictl/top/TopReport.h"

#include <algorithm>

#include "service/StatisticsProtocol.h"
#include "toolkit/ShownText.h"
#include "tovictl/Json.h"

namespace tovi::ctl {

static constexpr std::size_t kMostEntries = 5;

static std::string entryLines(const TopModel& model, const char* what, TopPanel panel) {
  auto entries = model.entries(panel);
  entries.resize(std::min(entries.size(), kMostEntries));
  std::string text;
  for (const auto& [name, count, code] : entries) {
    text.append(what).append(" ").append(std::to_string(count)).append(" ");
    if (!code.empty()) text.append(shownText(code)).append(" ");
    text.append(shownText(name)).append("\n");
  }
  return text;
}

std::string plainReport(const TopModel& model, const std::string& time) {
  const auto& counters = model.sample()->counters;
  const auto& activity = model.sample()->activity;
  const auto count = [&](const char* key) {
    const auto known = countOf(counters, key);
    return known ? std::to_string(*known) : "-";
  };
  const auto number = [](std::int64_t value) { return std::to_string(value); };
  return "time " + time + "\nuptime " + count(statistics::kUptimeSeconds) + " s\nexchanges " +
         number(activity.queries) + " queries, " + number(activity.responses) + " answers, " +
         number(activity.failedResponses) + " failed in " + number(activity.windowSeconds) +
         " s\nlost " + count(statistics::kPacketsDroppedByKernel) + " packets, " +
         count(statistics::kBatchesDropped) + " batches, " + count(statistics::kBatchesUnreadable) +
         " unreadable batches\nwaiting " + count(statistics::kBatchesWaiting) + " batches\n" +
         entryLines(model, "name", TopPanel::Names) +
         entryLines(model, "process", TopPanel::Processes) +
         entryLines(model, "failure", TopPanel::Failures) +
         entryLines(model, "resolver", TopPanel::Resolvers) + "\n";
}

static Json entriesJson(const TopModel& model, TopPanel panel) {
  auto entries = Json::array();
  for (const auto& [name, count, code] : model.entries(panel)) {
    Json entry{{"name", name}, {"count", count}};
    if (panel == TopPanel::Failures) entry["response_code"] = code;
    entries.push_back(entry);
  }
  return entries;
}

static Json ratesJson(const TopModel& model) {
  Json rates = Json::object();
  for (const char* key : {statistics::kLookups, statistics::kPacketsCaptured, statistics::kMessages,
                          statistics::kEvents}) {
    const auto rate = model.rate(key);
    if (!rate) return nullptr;
    rates[key] = *rate;
  }
  return rates;
}

std::string jsonReport(const TopModel& model, const std::string& time) {
  const auto& activity = model.sample()->activity;
  return versionedLine({{"time", time},
                        {"counters", jsonOf(model.sample()->counters)},
                        {"rates", ratesJson(model)},
                        {"activity",
                         {{statistics::kWindowSeconds, activity.windowSeconds},
                          {statistics::kQueries, activity.queries},
                          {statistics::kResponses, activity.responses},
                          {statistics::kFailedResponses, activity.failedResponses},
                          {statistics::kNames, entriesJson(model, TopPanel::Names)},
                          {statistics::kProcesses, entriesJson(model, TopPanel::Processes)},
                          {statistics::kFailures, entriesJson(model, TopPanel::Failures)},
                          {statistics::kResolvers, entriesJson(model, TopPanel::Resolvers)}}}});
}

}  // namespace tovi::ctl
