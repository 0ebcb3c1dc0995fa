#include "events/TextParts.h"

#include <charconv>

namespace tovi {

std::string_view trimmed(std::string_view text) {
  const auto start = text.find_first_not_of(kWhiteSpace);
  if (start == text.npos) return {};
  return text.substr(start, text.find_last_not_of(kWhiteSpace) - start + 1);
}

std::vector<std::string_view> trimmedParts(std::string_view text, std::string_view separators) {
  std::vector<std::string_view> parts;
  for (auto part = takePart(text, separators); !part.empty(); part = takePart(text, separators)) {
    part = trimmed(part);
    if (!part.empty()) parts.push_back(part);
  }
  return parts;
}

std::optional<std::int64_t> decimalInteger(std::string_view text) {
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace tovi
