#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace tovi {

/// Room for the text of any name: 255 octets (RFC 1035, section 2.3.4), four characters each.
inline constexpr std::size_t kNameTextSize = 1024;

/// The zone-file text (RFC 1035, section 5.1) of a name: its labels joined by dots, none behind the
/// last; "." for the root. Letters, digits, "-", "_", "*" and "/" stand for themselves; other
/// punctuation has a backslash before it; what is left, "#" too, is written \DDD. `name` is a
/// name of the message `wire` that knot_dname_wire_check accepted, or one without pointers. The
/// text stands in `buffer`.
std::string_view nameText(const std::uint8_t* name, const std::uint8_t* wire,
                          std::span<char, kNameTextSize> buffer);

}  // namespace tovi
