#pragma once

#include <memory>

#include "pipeline/CommitAcknowledgement.h"

namespace tovi {

/// The daemon, from its start until a signal ends it; returns the exit status of the process. Main
/// thread, once.
int runDaemon(std::unique_ptr<CommitAcknowledgement> acknowledgement);

}  // namespace tovi
