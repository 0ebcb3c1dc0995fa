#pragma once

#include <vector>

#include "service/Counters.h"
#include "tovictl/Table.h"

namespace tovi::ctl {

/// The daemon's counters for a person: where packets, events and batches went, with shares where
/// they tell something, and a warning where something was lost.
std::vector<Section> counterSections(const Counters& counters);

/// `part` of `whole` in per cent; empty of nothing, and of what is not told.
std::string shareText(const Counters::Count& part, const Counters::Count& whole);

}  // namespace tovi::ctl
