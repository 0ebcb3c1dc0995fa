#pragma once

#include <string>
#include <string_view>

#include "core/PropertyValue.h"
#include "platform/ServiceBus.h"

namespace tovi {

/// `text` as the bus carries it: U+FFFD stands for NUL, for noncharacters, and for each byte that
/// is not UTF-8.
std::string serviceText(std::string_view text);

/// Settings as the bus carries them. Dates become internet date-time texts and byte strings
/// hexadecimal texts, since the bus's dictionary has neither.
platform::ServiceValue::Dictionary serviceDictionary(const PropertyDictionary& properties);

}  // namespace tovi
