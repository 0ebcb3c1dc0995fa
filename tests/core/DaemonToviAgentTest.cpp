#include <optional>

#include <gtest/gtest.h>

#include "core/DaemonToviAgent.h"
#include "core/KeychainHelper.h"
#include "tests/support/TestSupport.h"

namespace tovi {

using Journal = std::vector<std::string>;

/// What the agent commands, with a journal of it.
struct Commanded : PacketReceiverProtocol, MessagePersistenceProtocol {
  void startReader() override { journal.push_back("start"); }
  void stopReader() override { journal.push_back("stop"); }
  void saveMessage(const std::string&) override {}
  std::map<std::string, std::string> getNewMessages() override { return {}; }
  void messageDeliveryState(const std::string& id, bool deliveryFailed) override {
    journal.push_back(id + (deliveryFailed ? " failed" : " delivered"));
  }

  Journal journal;
};

class Agent : public testing::Test {
 protected:
  DaemonToviAgent& start() { return agent_.emplace(keychain_, world_, world_); }
  std::string status() {
    const ActivationStatus status = agent_->getActivationStatus();
    return status.state + " " + status.enrollment.value_or("none");
  }
  Journal takeJournal() { return std::exchange(world_.journal, {}); }

  test::TemporaryDirectory directory_;
  KeychainHelper keychain_{directory_.path(), "ToviAgent"};
  Commanded world_;
  test::LogRecorder recorder_;
  std::optional<DaemonToviAgent> agent_;
};

static const char* const kEnrollment = R"({"uuid":"agent-1","more":[1],"key":"secret"})";

TEST_F(Agent, EnrollmentIsKeptAndStartsCapture) {
  EXPECT_EQ(start().setActivationData(kEnrollment), "active");
  EXPECT_EQ(agent_->setActivationData(R"({"uuid":"other","key":"other"})"), "active");
  for (const char* line :
       {"Agent is active", "Agent state change to active ", "Agent state save"}) {
    EXPECT_EQ(recorder_.count(line), 1) << line;
  }
  for (int restart = 0; restart < 2; ++restart, start()) {
    EXPECT_EQ(takeJournal(), Journal{"start"});
    EXPECT_EQ(status(), R"(active {"key":"secret","uuid":"agent-1"})");
  }
  EXPECT_EQ(recorder_.count("State get from persistence."), 2);
}

TEST_F(Agent, DataThatIsNoEnrollmentIsRefusedAndNotLogged) {
  const std::string cases[] = {R"({"uuid":"secret)",
                               R"({"uuid":"secret"})",
                               R"(["secret"])",
                               R"({"uuid":7,"key":"secret"})",
                               "{\"uuid\":\"secret\xFF\"}",
                               std::string(60000, '['),
                               kEnrollment + std::string(65536, ' ')};
  start();
  const auto before = recorder_.messages().size();
  for (const auto& data : cases) EXPECT_EQ(agent_->setActivationData(data), "inactive") << data;
  EXPECT_EQ(takeJournal(), Journal());
  const auto messages = recorder_.messages();
  EXPECT_EQ(messages.size(), before + std::size(cases));
  for (const auto& message : messages) EXPECT_EQ(message.find("secret"), message.npos) << message;
  EXPECT_TRUE(recorder_.hasPrefix("Cannot parser activation data: "));
}

TEST_F(Agent, EmptyCredentialsAreRefused) {
  EXPECT_EQ(start().setActivationData(R"({"uuid":"","key":"secret"})"), "inactive");
  EXPECT_FALSE(keychain_.read("agent_id"));
  EXPECT_EQ(agent_->setActivationData(R"({"uuid":"agent-1","key":""})"), "inactive");
  EXPECT_TRUE(keychain_.read("agent_id"));
  EXPECT_EQ(recorder_.count("Activation data empty. Agent inactive."), 2);
  EXPECT_EQ(status(), "inactive none");
}

TEST_F(Agent, OtherStatesStopCapture) {
  EXPECT_FALSE(start().setAgentState(AgentState::inactive));
  EXPECT_EQ(takeJournal(), Journal());
  EXPECT_TRUE(agent_->setAgentState(AgentState::undetermined));
  start();
  EXPECT_EQ(takeJournal(), (Journal{"stop", "stop"}));
  EXPECT_EQ(status(), "undetermined none");
  for (const char* stored : {"Active", "\xFF"}) {
    keychain_.save(bytesOf(stored), "active");
    EXPECT_EQ(start().agentState(), AgentState::inactive);
  }
}

TEST_F(Agent, DeactivationForgetsTheEnrollment) {
  start().setActivationData(kEnrollment);
  agent_->deactivateToviAgent();
  EXPECT_EQ(status(), "inactive none");
  EXPECT_EQ(recorder_.count("Key: agent_id deleted by agent deactivation"), 1);
  EXPECT_EQ(recorder_.count("Key: api_key deleted by agent deactivation"), 1);
  start();
  EXPECT_EQ(takeJournal(), (Journal{"start", "stop"}));
  EXPECT_EQ(status(), "inactive none");
}

TEST_F(Agent, DeliveryReportsReachTheStoreOnlyInTheirExactWords) {
  start();
  for (const std::string result : {"Ok", "Nok", "ok", ""}) {
    EXPECT_EQ(agent_->messageDeliveryState("m", result), "Message received state: " + result);
  }
  EXPECT_EQ(takeJournal(), (Journal{"m delivered", "m failed"}));
  EXPECT_EQ(recorder_.count("Unknow delivery state: ok "), 1);
}

}  // namespace tovi
