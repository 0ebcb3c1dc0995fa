#pragma once

#include <string>
#include <string_view>

#include "status/StatusMessage.h"

namespace tovi {

/// The message as one line of JSON, members in the order of their declaration, absent ones left
/// out. Bytes that are not UTF-8 become U+FFFD.
std::string jsonText(const StatusMessage& message);

/// Reads what `jsonText` writes; unknown members are passed over. Throws std::exception when the
/// text is no such JSON, a required member is missing, or a member has another type.
StatusMessage statusMessageFrom(std::string_view text);

}  // namespace tovi
