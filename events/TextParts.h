#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

/// Taking texts apart without copying: every part is a view into the text it comes from. Any
/// thread.
namespace tovi {

inline constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

/// Takes the next part that is not empty off the front of `rest`; empty when there is none left.
/// `separators` is one character, or a text each of whose characters separates.
template <typename Separators>
std::string_view takePart(std::string_view& rest, Separators separators) {
  const auto start = rest.find_first_not_of(separators);
  rest.remove_prefix(start == rest.npos ? rest.size() : start);
  const auto part = rest.substr(0, rest.find_first_of(separators));
  rest.remove_prefix(part.size());
  return part;
}

std::string_view trimmed(std::string_view text);

/// The parts between `separators`, white space trimmed from each, empty ones left out.
std::vector<std::string_view> trimmedParts(std::string_view text, std::string_view separators);

/// None unless the whole text is a decimal integer of 64 bits.
std::optional<std::int64_t> decimalInteger(std::string_view text);

}  // namespace tovi
