#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace tovi {

/// The texts of internet addresses, as inet_ntop(3) writes them. Most answers are addresses, and
/// the C library makes their texts with its formatted print, which takes as long as all the rest of
/// an answer.
inline constexpr std::size_t kAddressTextSize = 46;

/// In dotted decimal. The text stands in `buffer`.
std::string_view addressText(std::span<const std::uint8_t, 4> address,
                             std::span<char, kAddressTextSize> buffer);
/// RFC 5952; an embedded IPv4 address in dotted decimal. The text stands in `buffer`.
std::string_view addressText(std::span<const std::uint8_t, 16> address,
                             std::span<char, kAddressTextSize> buffer);

/// That of a flow's address: an IPv4 address in its mapped form (RFC 4291, section 2.5.5.2) in
/// dotted decimal alone.
std::string_view addressText(const std::array<std::byte, 16>& address,
                             std::span<char, kAddressTextSize> buffer);

}  // namespace tovi
