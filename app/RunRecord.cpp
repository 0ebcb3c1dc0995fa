#include "app/RunRecord.h"

namespace tovi {

RunRecord::RunRecord(PermanentVariablesManager& variables, const TimeProviderProtocol& timeProvider)
    : variables_(variables), timeProvider_(timeProvider) {
  variables_.increment("daemon_startups_count");
  variables_.save("startup_time", {timeProvider_.currentTime()});
  variables_.writeNow();
}

void RunRecord::finish() {
  variables_.save("last_daemon_shutdown_time", {timeProvider_.currentTime()});
  variables_.save("last_daemon_shutdown_was_graceful", {true});
  variables_.increment("graceful_shutdowns_count");
}

}  // namespace tovi
