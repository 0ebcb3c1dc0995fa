#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace tovi {

/// Room for the text of any name: 255 octets (RFC 1035, section 2.3.4), four characters each.
inline constexpr std::size_t kNameTextSize = 1024;

/// The text of a name: its labels joined by dots, none behind the last; "." for the root. Octets
/// stand for themselves but for the backslash, a dot inside a label, the separators of record texts
/// (capture/RecordText.h), the blank, and all that is not printable ASCII: these are written \DDD
/// (RFC 1035, section 5.1). `name` is a name of the message `wire` that knot_dname_wire_check
/// accepted, or one without pointers. The text stands in `buffer`.
std::string_view nameText(const std::uint8_t* name, const std::uint8_t* wire,
                          std::span<char, kNameTextSize> buffer);
/// The same of a name that stands as zone-file text, whatever is escaped in it and how.
std::string_view nameText(std::string_view zoneText, std::span<char, kNameTextSize> buffer);

}  // namespace tovi
