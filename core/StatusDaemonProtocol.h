#pragma once

#include "core/AgentState.h"

namespace tovi {

/// What the status side needs of the agent controller. Main loop only.
class StatusDaemonProtocol {
 public:
  virtual ~StatusDaemonProtocol() = default;

  virtual AgentState agentState() const = 0;
  /// True when the state changed; capture is then started or stopped and the state persisted.
  virtual bool setAgentState(AgentState state) = 0;
  /// Makes the agent inactive and forgets its credentials.
  virtual void deactivateToviAgent() = 0;
};

}  // namespace tovi
