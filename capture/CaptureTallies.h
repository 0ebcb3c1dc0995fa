#pragma once

#include "core/Tally.h"

namespace tovi {

/// What capture has seen and lost, on all interfaces. Any thread.
struct CaptureTallies {
  /// Packets from and to port 53 that the kernel handed over.
  Tally packets;
  /// Those that the kernel had no room for, since they were not fetched fast enough.
  Tally droppedByKernel;
  /// Packets, and messages of a TCP stream, that are no sound DNS or were cut off.
  Tally undecodable;
  /// Messages with a record type that has no name in a record text, such as HTTPS.
  Tally ofOtherTypes;
  /// Messages that were passed on.
  Tally messages;
  /// Queries whose process was looked for, and those of them for which none was found.
  Tally lookups;
  Tally lookupsWithoutProcess;
};

}  // namespace tovi
