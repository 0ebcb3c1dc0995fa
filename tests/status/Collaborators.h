#pragma once

#include <map>
#include <optional>
#include <utility>

#include <gtest/gtest.h>

#include "core/PermanentVariablesManager.h"
#include "core/SettingsHandler.h"
#include "core/StatusDaemonProtocol.h"
#include "events/CommandExecuteProtocol.h"
#include "events/FilterPropertiesProtocol.h"
#include "pipeline/PackerPropertiesSetProtocol.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {

/// An agent that is only its state.
class PlainAgent : public StatusDaemonProtocol {
 public:
  AgentState state = AgentState::active;
  int deactivations = 0;

  AgentState agentState() const override { return state; }
  bool setAgentState(AgentState newState) override {
    return std::exchange(state, newState) != newState;
  }
  void deactivateToviAgent() override {
    state = AgentState::inactive;
    ++deactivations;
  }
};

/// What the collector's answers changed in the packer and the filter.
struct ChangedSettings : PackerPropertiesSetProtocol, FilterPropertiesProtocol {
  std::map<std::string, double> values;
  void setBatchSize(std::int64_t events) override { values["size"] = static_cast<double>(events); }
  void setBatchDelay(double seconds) override { values["delay"] = seconds; }
  void setMessageTimeoutSec(double seconds) override { values["timeout"] = seconds; }
};

/// Answers every program with one text, and remembers how it was called.
struct CannedExecutor : CommandExecuteProtocol {
  std::optional<std::string> output;
  std::vector<std::vector<std::string>> calls;

  std::optional<std::string> exec(const std::string& launchPath,
                                  const std::vector<std::string>& arguments) override {
    calls.push_back(arguments);
    calls.back().insert(calls.back().begin(), launchPath);
    return output;
  }
};

/// What every part of the status side reads from.
class StatusTest : public testing::Test {
 protected:
  LogRecorder log_;
  ManualClock clock_;
  TemporaryDirectory directory_;
  PermanentVariablesManager variables_{directory_ / "variables.plist"};
  SettingsHandler settings_{{}};
  PlainAgent agent_;
};

}  // namespace tovi::test
