#include "tovictl/top/TopReport.h"

#include <algorithm>

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
    if (code) text.append(shownText(*code)).append(" ");
    text.append(shownText(name)).append("\n");
  }
  return text;
}

std::string plainReport(const TopModel& model, const std::string& time) {
  const auto& counters = model.sample()->counters;
  const auto& activity = model.sample()->activity;
  const auto count = [](const Counters::Count& known) {
    return known ? std::to_string(*known) : "-";
  };
  const auto number = [](std::int64_t value) { return std::to_string(value); };
  return "time " + time + "\nuptime " + count(counters.uptimeSeconds) + " s\nexchanges " +
         number(activity.queries) + " queries, " + number(activity.responses) + " answers, " +
         number(activity.failedResponses) + " failed in " + number(activity.windowSeconds) +
         " s\nlost " + count(counters.packetsDroppedByKernel) + " packets, " +
         count(counters.batchesDropped) + " batches, " + count(counters.batchesUnreadable) +
         " unreadable batches\nwaiting " + count(counters.batchesWaiting) + " batches\n" +
         entryLines(model, "name", TopPanel::Names) +
         entryLines(model, "process", TopPanel::Processes) +
         entryLines(model, "failure", TopPanel::Failures) +
         entryLines(model, "resolver", TopPanel::Resolvers) + "\n";
}

static Json ratesJson(const TopModel& model) {
  Json rates = Json::object();
  for (const auto& [name, counter] : {std::pair("lookups", &Counters::lookups),
                                      {"packets_captured", &Counters::packetsCaptured},
                                      {"messages", &Counters::messages},
                                      {"events", &Counters::events}}) {
    const auto rate = model.rate(counter);
    if (!rate) return nullptr;
    rates[name] = *rate;
  }
  return rates;
}

std::string jsonReport(const TopModel& model, const std::string& time) {
  auto activity = model.sample()->activity;
  activity.names = model.entries(TopPanel::Names);
  activity.processes = model.entries(TopPanel::Processes);
  activity.failures = model.entries(TopPanel::Failures);
  activity.resolvers = model.entries(TopPanel::Resolvers);
  return versionedLine({{"time", time},
                        {"counters", jsonOf(model.sample()->counters)},
                        {"rates", ratesJson(model)},
                        {"activity", jsonOf(activity)}});
}

}  // namespace tovi::ctl
