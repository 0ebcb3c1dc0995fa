#include "app/Daemon.h"

#include "app/DaemonBuilder.h"
#include "core/ToviLog.h"
#include "platform/HostFacts.h"
#include "platform/Memory.h"

namespace tovi {

// sysexits.h: EX_CONFIG.
static constexpr int kExitInstallationFault = 78;

int runDaemon(std::unique_ptr<CommitAcknowledgement> acknowledgement) {
  // Memory holds captured names and the store's key.
  platform::forbidMemoryDumps();
  platform::keepFreedMemory();
  const ToviLog logger(kCoreSubsystem, "DaemonBuilder");
  platform::MainLoop loop;
  const Bundle bundle = Bundle::main();
  try {
    DaemonBuilder builder(loop, bundle, platform::stateDirectory(), std::move(acknowledgement));
    builder.start();
    platform::notifyReady();
    // Without its bus the daemon serves nobody: a failure, so that the service manager starts anew.
    if (!loop.run()) return 1;
    builder.endOrderly();
    return 0;
  } catch (const InstallationFault& fault) {
    logger.error("main()", fault.what());
    return kExitInstallationFault;
  } catch (const std::exception& error) {
    logger.error("main()", "The daemon cannot start: ", error.what());
    return 1;
  }
}

}  // namespace tovi
