#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tovi {

/// `text`, of whatever origin, as a terminal can be given it: each byte of what is not a visible
/// character of this locale is written \xHH. Control characters, line ends, bidirectional controls,
/// characters that combine with the one before, private ones and broken UTF-8 are not visible ones.
std::string shownText(std::string_view text);

/// The columns that `shown` takes, a result of `shownText`.
std::size_t columnsOf(std::string_view shown);

/// `shown`, with its middle left out where it is wider than `columns`: of a long domain name, the
/// end tells the most. Never wider than `columns`.
std::string fitted(std::string_view shown, std::size_t columns);

}  // namespace tovi
