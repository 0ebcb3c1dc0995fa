#include "events/TextParts.h"

#include <charconv>

namespace tovi {

std::optional<std::int64_t> decimalInteger(std::string_view text) {
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end) return std::nullopt;
  return number;
}

}  // namespace tovi
