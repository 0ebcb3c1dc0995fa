#include <cstdio>

#include "app/DaemonBuilder.h"
#include "core/ToviLog.h"
#include "platform/HostFacts.h"
#include "platform/Memory.h"

namespace {

// sysexits.h: EX_USAGE, EX_CONFIG.
constexpr int kExitUsage = 64;
constexpr int kExitInstallationFault = 78;

int runDaemon() {
  using namespace tovi;
  // Memory holds captured names and the store's key.
  platform::forbidMemoryDumps();
  platform::keepFreedMemory();
  const ToviLog logger(kCoreSubsystem, "DaemonBuilder");
  platform::MainLoop loop;
  const platform::Bundle bundle = platform::Bundle::main();
  try {
    DaemonBuilder builder(loop, bundle, platform::stateDirectory());
    builder.start();
    platform::notifyReady();
    // Without its bus the daemon serves nobody: a failure, so that the service manager starts anew.
    return loop.run() ? 0 : 1;
  } catch (const InstallationFault& fault) {
    logger.error("main()", fault.what());
    return kExitInstallationFault;
  } catch (const std::exception& error) {
    logger.error("main()", "The daemon cannot start: ", error.what());
    return 1;
  }
}

}  // namespace

int main(int argumentCount, char**) {
  if (argumentCount == 1) return runDaemon();
  std::fputs("ToviDaemon takes no arguments; see tovictl(1) for talking to it\n", stderr);
  return kExitUsage;
}
