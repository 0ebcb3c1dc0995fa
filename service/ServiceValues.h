#pragma once

#include "core/PropertyValue.h"
#include "platform/ServiceBus.h"

namespace tovi {

/// Settings as the bus carries them. Dates become internet date-time texts and byte strings
/// hexadecimal texts, since the bus's dictionary has neither.
platform::ServiceValue::Dictionary serviceDictionary(const PropertyDictionary& properties);

}  // namespace tovi
