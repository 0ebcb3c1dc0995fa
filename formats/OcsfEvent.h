#pragma once

#include "events/ToviDNSEvent.h"
#include "formats/JsonMembers.h"

namespace tovi::formats {

enum class OcsfVersion { v1_8, v1_9 };

/// The event as a DNS Activity (class 4003) of the Open Cybersecurity Schema Framework, with the
/// host profile; what has no attribute there stands under "unmapped". Throws UnreadableEvent. Any
/// thread.
Json ocsfEvent(const ToviDNSEvent& event, OcsfVersion version);

}  // namespace tovi::formats
