#pragma once

#include <string_view>

namespace tovi {

/// The name of an operation code (IANA, DNS OpCodes), given in decimal; "UNKNOWN" for any other
/// text, "00" among them.
std::string_view opcodeName(std::string_view decimal);

/// The name of a response code (IANA, DNS RCODEs), given in decimal; "UNKNOWN" for any other text.
std::string_view responseCodeName(std::string_view decimal);

}  // namespace tovi
