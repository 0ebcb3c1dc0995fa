#include "toolkit/Complaint.h"
#include "toolkit/Figures.h"
#include "tovictl/Agent.h"
#include "tovictl/Json.h"
#include "tovictl/Output.h"
#include "tovictl/Table.h"
#include "tovictl/Verbs.h"

namespace tovi::ctl {

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
  return versionedLine({{"messages", messages}});
}

static Row rowOf(const std::string& id, const std::string& text) {
  const auto batch = batchJson(text);
  if (!batch.is_object() || !batch.contains("events_data")) {
    return {id, "unreadable", Tone::Warning};
  }
  const auto date = batch.value("date", Json());
  const auto events = static_cast<std::int64_t>(batch["events_data"].size());
  return {id, (date.is_string() ? date.get<std::string>() : "undated") + "  " +
                  counted(events, "event")};
}

static void show(const Batches& batches, const Colours& colours) {
  if (batches.empty()) return complain("no batch waits");
  std::vector<Row> rows;
  for (const auto& [id, text] : batches) rows.push_back(rowOf(id, text));
  writeOut(aligned(rows, colours));
}

int runMessages(const CommandLine& line) {
  if (line.has("--ack") && line.has("--nack"))
    throw UsageError("--ack and --nack exclude each other");
  const auto colours = Colours::forOutput(line);
  Agent agent;
  const auto batches = agent.messages();
  if (line.has("--json")) {
    writeOut(jsonOf(batches));
  } else {
    show(batches, colours);
  }
  if (!line.has("--ack") && !line.has("--nack")) return kDone;
  for (const auto& [id, text] : batches) agent.report(id, line.has("--ack") ? "Ok" : "Nok");
  return kDone;
}

}  // namespace tovi::ctl
