#include "status/StatusJson.h"

#include "core/JsonReading.h"
#include "core/JsonText.h"
#include "status/StatusMembers.h"

namespace tovi {

std::string jsonText(const StatusMessage& message) {
  TextBuffer text;
  appendJson(text, message);
  return std::string(text.view());
}

StatusMessage statusMessageFrom(std::string_view text) {
  StatusMessage message;
  readJson(JsonTree::parse(text), message);
  return message;
}

}  // namespace tovi
