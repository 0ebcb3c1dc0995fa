#include "tovictl/Json.h"

#include "tovictl/Output.h"

namespace tovi::ctl {

std::string jsonLine(const Json& json) {
  return json.dump(-1, ' ', outputIsTerminal()) + "\n";
}

std::string terminalLine(const std::string& json) {
  return outputIsTerminal() ? jsonLine(Json::parse(json)) : json + "\n";
}

std::string versionedLine(const Json& object) {
  Json versioned{{"schema_version", kSchemaVersion}};
  versioned.update(object);
  return jsonLine(versioned);
}

}  // namespace tovi::ctl
