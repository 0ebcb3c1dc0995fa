#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tovictl/Colours.h"

namespace tovi::ctl {

/// Text in one colour, safe to show.
struct Span {
  std::string text;
  Tone tone = Tone::Plain;
};
using Line = std::vector<Span>;

/// `shown` in exactly so many columns, with its middle left out or blanks behind it.
std::string padded(const std::string& shown, std::size_t columns);
/// The same with the blanks before it.
std::string rightAligned(const std::string& shown, std::size_t columns);

/// The line in so many columns at most.
Line cut(const Line& line, std::size_t columns);
/// The line in exactly so many columns.
Line inColumns(const Line& line, std::size_t columns);

}  // namespace tovi::ctl
