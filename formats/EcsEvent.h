#pragma once

#include "events/ToviDNSEvent.h"
#include "formats/JsonMembers.h"

namespace tovi::formats {

/// The event in the fields of the Elastic Common Schema 9.4; what has no field there stands under
/// "tovi". Throws UnreadableEvent. Any thread.
Json ecsEvent(const ToviDNSEvent& event);

}  // namespace tovi::formats
