#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

/// Taking texts apart without copying: every part is a view into the text it comes from. Any
/// thread.
namespace tovi {

inline constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

inline bool isWhiteSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Takes the next part that is not empty off the front of `rest`; empty when there is none left.
/// `separators` is one character, or a text each of whose characters separates.
template <typename Separators>
std::string_view takePart(std::string_view& rest, Separators separators) {
  const auto start = rest.find_first_not_of(separators);
  if (start == rest.npos) return rest = {};
  const auto end = std::min(rest.find_first_of(separators, start), rest.size());
  const auto part = rest.substr(start, end - start);
  rest.remove_prefix(end);
  return part;
}

inline std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && isWhiteSpace(text.back())) text.remove_suffix(1);
  return text;
}

/// Takes the next part that is not empty once white space is trimmed from it, as `takePart` does.
template <typename Separators>
std::string_view takeTrimmedPart(std::string_view& rest, Separators separators) {
  for (auto part = takePart(rest, separators); !part.empty(); part = takePart(rest, separators)) {
    part = trimmed(part);
    if (!part.empty()) return part;
  }
  return {};
}

/// The parts between `separators`, white space trimmed from each, empty ones left out.
template <typename Separators>
std::vector<std::string_view> trimmedParts(std::string_view text, Separators separators) {
  std::vector<std::string_view> parts;
  for (auto part = takeTrimmedPart(text, separators); !part.empty();
       part = takeTrimmedPart(text, separators)) {
    parts.push_back(part);
  }
  return parts;
}

/// The same when there are exactly `count` of them.
template <std::size_t count>
std::optional<std::array<std::string_view, count>> exactlyTrimmedParts(std::string_view text,
                                                                       char separator) {
  std::array<std::string_view, count> parts;
  for (auto& part : parts) part = takeTrimmedPart(text, separator);
  if (parts.back().empty() || !takeTrimmedPart(text, separator).empty()) return std::nullopt;
  return parts;
}

/// None unless the whole text is a decimal integer of 64 bits.
std::optional<std::int64_t> decimalInteger(std::string_view text);

}  // namespace tovi
