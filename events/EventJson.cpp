#include "events/EventJson.h"

#include "core/JsonReading.h"
#include "core/JsonText.h"
#include "events/EventMembers.h"

namespace tovi {

void appendJson(TextBuffer& text, const ToviDNSEvent& event) {
  appendJson<ToviDNSEvent>(text, event);
}

void readJson(const JsonTree& json, ToviDNSEvent& event) {
  readJson<ToviDNSEvent>(json, event);
}

std::string jsonText(const ToviDNSEvent& event) {
  TextBuffer text;
  appendJson(text, event);
  return std::string(text.view());
}

}  // namespace tovi
