#include <optional>

#include <gtest/gtest.h>

#include "core/DaemonToviAgent.h"
#include "tests/support/TestSupport.h"

namespace tovi {

using Journal = std::vector<std::string>;

/// Everything around the agent, in memory, with a journal of what the agent did to it.
struct Surroundings : PersistenceDataProtocol, PacketReceiverProtocol, MessagePersistenceProtocol {
  void save(ByteView value, std::string_view key) override {
    items[std::string(key)] = {reinterpret_cast<const char*>(value.data()), value.size()};
    journal.push_back("save " + std::string(key));
  }
  std::optional<Bytes> read(std::string_view key) const override {
    const auto item = items.find(key);
    if (item == items.end()) return std::nullopt;
    const ByteView bytes = bytesOf(item->second);
    return Bytes(bytes.begin(), bytes.end());
  }
  bool remove(std::string_view key) override { return items.erase(std::string(key)) == 1; }
  void startReader() override { journal.push_back("start"); }
  void stopReader() override { journal.push_back("stop"); }
  void saveMessage(const std::string&) override {}
  std::map<std::string, std::string> getNewMessages() override { return {{"id", "text"}}; }
  void messageDeliveryState(const std::string& id, bool deliveryFailed) override {
    journal.push_back(id + (deliveryFailed ? " failed" : " delivered"));
  }

  std::map<std::string, std::string, std::less<>> items;
  Journal journal;
};

class Agent : public testing::Test {
 protected:
  DaemonToviAgent& start() { return agent_.emplace(world_, world_, world_); }
  void expectStatus(const std::string& state, std::optional<std::string> enrollment) {
    EXPECT_EQ(agent_->getActivationStatus().state, state);
    EXPECT_EQ(agent_->getActivationStatus().enrollment, enrollment);
  }
  Journal takeJournal() { return std::exchange(world_.journal, {}); }

  Surroundings world_;
  test::LogRecorder recorder_;
  std::optional<DaemonToviAgent> agent_;
};

static const char* const kEnrollment = R"({"uuid":"agent-1","more":[1],"key":"secret"})";

TEST_F(Agent, EnrollmentSavesTheCredentialsAndStartsCapture) {
  EXPECT_EQ(start().setActivationData(kEnrollment), "active");
  EXPECT_EQ(takeJournal(), (Journal{"save agent_id", "save api_key", "start", "save active"}));
  expectStatus("active", R"({"key":"secret","uuid":"agent-1"})");
  EXPECT_EQ(world_.items["active"], "active");
  EXPECT_EQ(recorder_.messages(),
            (Journal{"Agent is active", "Agent state change to active ", "Agent state save"}));
}

TEST_F(Agent, ASecondEnrollmentOfAnActiveAgentIsIgnored) {
  start().setActivationData(kEnrollment);
  takeJournal();
  EXPECT_EQ(agent_->setActivationData(R"({"uuid":"other","key":"other"})"), "active");
  EXPECT_EQ(takeJournal(), Journal());
  expectStatus("active", R"({"key":"secret","uuid":"agent-1"})");
}

TEST_F(Agent, DataThatIsNoEnrollmentIsRefusedAndNotLogged) {
  std::vector<std::string> cases{std::string(60000, '['), kEnrollment + std::string(65536, ' ')};
  for (const char* data :
       {"", "secret", R"({"uuid":"secret)", R"({"uuid":"secret"})", R"(["secret"])",
        R"({"uuid":7,"key":"secret"})", "{\"uuid\":\"secret\xFF\"}"}) {
    cases.push_back(data);
  }
  start();
  for (const auto& data : cases) EXPECT_EQ(agent_->setActivationData(data), "inactive") << data;
  EXPECT_EQ(takeJournal(), Journal());
  EXPECT_EQ(recorder_.messages().size(), cases.size());
  for (const std::string& message : recorder_.messages()) {
    EXPECT_TRUE(message.starts_with("Cannot parser activation data: ")) << message;
    EXPECT_EQ(message.find("secret"), message.npos) << message;
  }
}

TEST_F(Agent, EmptyCredentialsAreRefused) {
  EXPECT_EQ(start().setActivationData(R"({"uuid":"","key":"secret"})"), "inactive");
  EXPECT_EQ(takeJournal(), Journal());
  EXPECT_EQ(agent_->setActivationData(R"({"uuid":"agent-1","key":""})"), "inactive");
  EXPECT_EQ(takeJournal(), (Journal{"save agent_id"}));
  EXPECT_EQ(recorder_.count("Activation data empty. Agent inactive."), 2);
  expectStatus("inactive", std::nullopt);
}

TEST_F(Agent, StartUpRestoresStateAndCredentials) {
  const std::tuple<std::string, std::string, Journal> cases[] = {
      {"active", "active", {"start", "save active"}},
      {"undetermined", "undetermined", {"stop", "save active"}},
      {"Active", "inactive", {}}};
  for (const auto& [stored, state, journal] : cases) {
    world_.items = {{"active", stored}, {"agent_id", "i\xFF"}, {"api_key", "k"}};
    start();
    EXPECT_EQ(takeJournal(), journal) << stored;
    expectStatus(state, "{\"key\":\"k\",\"uuid\":\"i\xEF\xBF\xBD\"}");
  }
  EXPECT_EQ(recorder_.count("State get from persistence."), 2);
}

TEST_F(Agent, SettingTheCurrentStateDoesNothing) {
  EXPECT_FALSE(start().setAgentState(AgentState::inactive));
  EXPECT_EQ(takeJournal(), Journal());
  EXPECT_EQ(recorder_.messages(), Journal());
  EXPECT_TRUE(agent_->setAgentState(AgentState::undetermined));
  EXPECT_EQ(agent_->agentState(), AgentState::undetermined);
  EXPECT_EQ(takeJournal(), (Journal{"stop", "save active"}));
}

TEST_F(Agent, DeactivationForgetsTheEnrollment) {
  start().setActivationData(kEnrollment);
  takeJournal();
  agent_->deactivateToviAgent();
  EXPECT_EQ(takeJournal(), (Journal{"stop", "save active"}));
  EXPECT_EQ(world_.items.size(), 1u);
  expectStatus("inactive", std::nullopt);
  EXPECT_EQ(recorder_.count("Key: agent_id deleted by agent deactivation"), 1);
  EXPECT_EQ(recorder_.count("Key: api_key deleted by agent deactivation"), 1);
}

TEST_F(Agent, DeliveryReportsReachTheStoreOnlyInTheirExactWords) {
  start();
  for (const char* result : {"Ok", "Nok", "ok", ""}) {
    EXPECT_EQ(agent_->messageDeliveryState("m", result),
              std::string("Message received state: ") + result);
  }
  EXPECT_EQ(takeJournal(), (Journal{"m delivered", "m failed"}));
  EXPECT_EQ(recorder_.messages(),
            (Journal{"Unknow delivery state: ok ", "Unknow delivery state:  "}));
  EXPECT_EQ(agent_->getDNSMessages().at("id"), "text");
}

}  // namespace tovi
