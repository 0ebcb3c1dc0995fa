#include "tovictl/Agent.h"
#include "tovictl/Json.h"
#include "tovictl/Output.h"
#include "tovictl/Table.h"
#include "tovictl/Verbs.h"

namespace tovi::ctl {

using platform::ServiceValue;

static Json json(const ServiceValue& value);

static Json json(const ServiceValue::Array& array) {
  auto values = Json::array();
  for (const auto& entry : array) values.push_back(json(entry));
  return values;
}

static Json json(const ServiceValue::Dictionary& dictionary) {
  auto object = Json::object();
  for (const auto& [key, value] : dictionary) object[key] = json(value);
  return object;
}

template <typename Scalar>
static Json json(const Scalar& scalar) {
  return scalar;
}

static Json json(const ServiceValue& value) {
  return std::visit([](const auto& alternative) { return json(alternative); }, value.value);
}

static std::string personText(const Json& value) {
  return value.is_string() ? value.get<std::string>() : value.dump();
}

int runSettings(const CommandLine& line) {
  const auto colours = Colours::forOutput(line);
  const auto settings = json(Agent().settings());
  if (line.has("--json")) {
    writeOut(versionedLine({{"settings", settings}}));
    return kDone;
  }
  std::vector<Row> rows;
  for (const auto& [key, value] : settings.items()) rows.push_back({key, personText(value)});
  writeOut(aligned(rows, colours));
  return kDone;
}

}  // namespace tovi::ctl
