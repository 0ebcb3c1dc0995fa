#include <cstdio>

#include "app/Daemon.h"

// sysexits.h: EX_USAGE.
static constexpr int kExitUsage = 64;

int main(int argumentCount, char**) {
  if (argumentCount == 1) return tovi::runDaemon(std::make_unique<tovi::CommitAcknowledgement>());
  std::fputs("ToviDaemon takes no arguments; see tovictl(1) for talking to it\n", stderr);
  return kExitUsage;
}
