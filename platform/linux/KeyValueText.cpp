#include "platform/linux/KeyValueText.h"

#include <algorithm>

namespace tovi::platform {

namespace {

std::string_view withoutBlanks(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const auto first = text.find_first_not_of(kBlanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Between single quotes nothing is special but their end; a backslash elsewhere takes the next
// character as it is.
std::string unquoted(std::string_view written) {
  std::string value;
  char quote = '\0';
  for (std::size_t index = 0; index < written.size(); ++index) {
    const char character = written[index];
    if (character == '\\' && quote != '\'' && index + 1 < written.size()) {
      value += written[++index];
    } else if (quote == '\0' && (character == '"' || character == '\'')) {
      quote = character;
    } else if (character == quote) {
      quote = '\0';
    } else {
      value += character;
    }
  }
  return value;
}

}  // namespace

std::optional<std::string> keyValue(std::string_view text, std::string_view key) {
  std::optional<std::string> value;
  while (!text.empty()) {
    const auto length = std::min(text.find('\n'), text.size());
    const std::string_view line = withoutBlanks(text.substr(0, length));
    text.remove_prefix(std::min(length + 1, text.size()));
    if (line.starts_with(key) && line.substr(key.size()).starts_with('=')) {
      value = unquoted(line.substr(key.size() + 1));
    }
  }
  return value && !value->empty() ? value : std::nullopt;
}

}  // namespace tovi::platform
