#include "events/ProcessText.h"

#include <algorithm>

#include "capture/RecordText.h"
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
  EventProcess process;
  process.pid = *pid;
  process.name = columns[0];
  process.user = columns[2];
  return process;
}

static std::optional<EventParent> parentOf(std::string_view item) {
  const auto pidEnd = std::min(item.find(recordtext::kFieldSeparator), item.size());
  const auto pid = decimalInteger(item.substr(0, pidEnd));
  if (!pid) return std::nullopt;
  EventParent parent{.pid = *pid, .name = std::nullopt};
  if (pidEnd + 1 < item.size()) parent.name = item.substr(pidEnd + 1);
  return parent;
}

static std::optional<std::string> textUnlessEmpty(std::string_view item) {
  return item.empty() ? std::nullopt : std::optional<std::string>(item);
}

std::optional<EventProcess> sendingProcess(const RecordTextReader& data) {
  auto process = firstProcess(data.process);
  if (!process) return process;
  process->unit = textUnlessEmpty(data.unit);
  process->parent = parentOf(data.parent);
  process->executable = textUnlessEmpty(data.executable);
  return process;
}

}  // namespace tovi
