#pragma once

#include <vector>

#include "tovictl/Counters.h"
#include "tovictl/Table.h"

namespace tovi::ctl {

/// The daemon's counters for a person: where packets, events and batches went, with shares where
/// they tell something, and a warning where something was lost.
std::vector<Section> counterSections(const Counters& counters);

/// "45 s", "12 min 3 s", "3 h 12 min", "5 d 3 h".
std::string uptimeText(std::int64_t seconds);

}  // namespace tovi::ctl
