#include <nlohmann/json.hpp>

#include "Agent.h"
#include "Output.h"
#include "Verbs.h"

namespace tovi::ctl {

using Json = nlohmann::ordered_json;
using Batches = std::map<std::string, std::string>;

// A batch that is no JSON is shown as the text that it is.
static Json batchJson(const std::string& text) {
  auto json = Json::parse(text, nullptr, false);
  return json.is_discarded() ? Json(text) : json;
}

static std::string jsonOf(const Batches& batches) {
  auto messages = Json::array();
  for (const auto& [id, text] : batches)
    messages.push_back({{"id", id}, {"batch", batchJson(text)}});
  return Json{{"messages", messages}}.dump() + "\n";
}

static std::string summaryOf(const std::string& text) {
  const auto batch = batchJson(text);
  if (!batch.is_object() || !batch.contains("events_data")) return "unreadable";
  const auto date = batch.value("date", Json());
  return (date.is_string() ? date.get<std::string>() : "undated") + "  " +
         counted(batch["events_data"].size(), "event");
}

static std::string personText(const Batches& batches) {
  if (batches.empty()) return "No batch waits.\n";
  std::vector<Row> rows;
  for (const auto& [id, text] : batches) rows.emplace_back(id, summaryOf(text));
  return aligned(rows);
}

int runMessages(const CommandLine& line) {
  if (line.has("--ack") && line.has("--nack"))
    throw UsageError("--ack and --nack exclude each other");
  Agent agent;
  const auto batches = agent.messages();
  writeOut(line.has("--json") ? jsonOf(batches) : personText(batches));
  if (!line.has("--ack") && !line.has("--nack")) return kDone;
  for (const auto& [id, text] : batches) agent.report(id, line.has("--ack") ? "Ok" : "Nok");
  return kDone;
}

}  // namespace tovi::ctl
