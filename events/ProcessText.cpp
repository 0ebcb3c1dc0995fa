#include "events/ProcessText.h"

#include "events/TextParts.h"

namespace tovi {

std::optional<EventProcess> firstProcess(std::string_view text) {
  const auto headerEnd = text.find('\n');
  if (headerEnd == text.npos) return std::nullopt;
  const auto rest = text.substr(headerEnd + 1);
  const auto columns = trimmedParts(rest.substr(0, rest.find('\n')), kWhiteSpace);
  if (columns.size() < 4) return std::nullopt;
  const auto pid = decimalInteger(columns[1]);
  if (!pid) return std::nullopt;
  return EventProcess{*pid, std::string(columns[0]), std::string(columns[2])};
}

}  // namespace tovi
