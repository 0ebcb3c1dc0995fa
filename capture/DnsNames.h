#pragma once

#include <cstdint>
#include <string_view>

namespace tovi {

/// The name of a DNS record type. Throws std::out_of_range for a type outside 1 to 51.
std::string_view dnsTypeName(std::uint16_t type);

/// The name of a DNS class; "UNKW" for one without. 32769 is the Internet class of a question that
/// asks for a unicast answer (RFC 6762, section 5.4).
std::string_view dnsClassName(std::uint16_t dnsClass);

}  // namespace tovi
