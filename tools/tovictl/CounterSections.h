#pragma once

#include <vector>

#include "tovictl/Counters.h"
#include "tovictl/Table.h"

namespace tovi::ctl {

/// The daemon's counters for a person: where packets, events and batches went, with shares where
/// they tell something, and a warning where something was lost.
std::vector<Section> counterSections(const Counters& counters);

}  // namespace tovi::ctl
