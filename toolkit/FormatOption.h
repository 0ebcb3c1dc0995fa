#pragma once

#include "formats/EventFormat.h"
#include "toolkit/CommandLine.h"

namespace tovi {

/// The option --format; the daemon's own format without it. Throws UsageError for an unknown one.
formats::EventFormat formatOf(const CommandLine& line);

}  // namespace tovi
