#include <csignal>

#include "status/BundleInfoProvider.h"
#include "status/StatusBuilder.h"
#include "status/StatusJson.h"
#include "status/StatusMembers.h"
#include "status/StatusResponse.h"
#include "tests/status/Collaborators.h"
#include "tests/support/SchemaComparison.h"

namespace tovi {
namespace {

struct PlainSystem : SystemInformationProtocol {
  SystemInformation system;
  std::vector<std::string> localAddresses() override { return {}; }
  std::map<std::string, std::string> userNames() override { return {}; }
  SystemInformation systemInformation() override { return system; }
  std::string name() const override { return ""; }
  std::uint64_t revision() const override { return 0; }
};

class StatusMessageTest : public test::StatusTest {
 protected:
  std::string build(const std::optional<std::string>& version = {}) {
    const BundleInfoProvider bundle(version);
    return StatusBuilder(bundle, clock_, variables_, agent_, settings_, system_)
        .buildStatusMessage();
  }

  PlainSystem system_;
};

TEST_F(StatusMessageTest, FreshInstallReportsDefaults) {
  agent_.state = AgentState::undetermined;
  EXPECT_EQ(build(),
            R"({"active":false,"agent_version":"1.0.0.0","current_time":"2022-01-25T17:02:52Z",)"
            R"("settings":{"dns_batch_max_delay_seconds":50,"dns_batch_size":20,)"
            R"("polling_interval_minutes":15,"message_timeout_seconds":300},)"
            R"("stats":{"last_daemon_shutdown_was_graceful":false,"graceful_shutdowns_count":0,)"
            R"("daemon_startups_count":0,"data_delivered_messages":0,"dns_events_count":0,)"
            R"("status_delivered_messages":0,"status_send_failures_count":0},"system":{}})");
}

TEST_F(StatusMessageTest, StoredValuesAreReportedAndReadBack) {
  settings_.merge({{"status_message_version", {std::string("2")}}});
  variables_.save("dns_batch_max_delay", {12.9});
  variables_.save("dns_batch_size", {std::string("7")});
  variables_.save("polling_interval_seconds", {119.0});
  variables_.save("removal_register_timeout", {-1.5});
  variables_.save("dns_events_count", {std::int64_t{7}});
  const auto message = statusMessageFrom(build("0.1.0"));
  EXPECT_EQ(message.agentVersion.value() + message.version.value(), "0.1.02");
  EXPECT_EQ(message.settings->dnsBatchMaxDelaySeconds, 12);
  EXPECT_EQ(message.settings->dnsBatchSize, 20);
  EXPECT_EQ(message.settings->pollingIntervalMinutes, 1);
  EXPECT_EQ(message.settings->messageTimeoutSeconds, -1);
  EXPECT_EQ(message.stats->dnsEventsCount, 7);
}

TEST_F(StatusMessageTest, BytesThatAreNotUtf8CostNoMessage) {
  system_.system.hardwareOverview.emplace().memory = "1\xff";
  EXPECT_EQ(statusMessageFrom(build()).system->hardwareOverview->memory, "1\uFFFD");
}

TEST_F(StatusMessageTest, ASettingThatDoesNotFitEndsTheProcess) {
  variables_.save("dns_batch_max_delay", {9223372036854775808.0});
  variables_.getAll();  // The queue's thread does not survive the fork.
  EXPECT_EXIT(build(), testing::KilledBySignal(SIGABRT), "");
}

TEST(StatusJsonTest, SchemaDescribesTheMembersOfEveryRecord) {
  const auto schema = nlohmann::ordered_json::parse(
      test::readFile(TOVI_SOURCE_DIR "/docs/status-message.schema.json"));
  test::SchemaComparison(schema).compare(StatusMessage(), schema);
}

TEST(StatusJsonTest, OnlyAMessageOfTheRightTypesIsRead) {
  for (const char* text : {"[]", "{}", R"({"active":1})", R"({"active":true,"settings":1})",
                           R"({"active":true,"settings":{"dns_batch_size":1.5}})"}) {
    EXPECT_THROW(statusMessageFrom(text), std::exception) << text;
  }
}

TEST(StatusResponseTest, OnlyAnObjectOfTheRightTypesIsRead) {
  const std::string nested(100'000, '['), ends(100'000, ']'), large(1 << 20, ' ');
  for (const std::string& text :
       {std::string(), std::string("[]"), std::string("{} {}"), "{" + large + "}",
        "{\"extra\":" + nested, "{\"extra\":" + nested + ends + "}"}) {
    EXPECT_FALSE(StatusResponse::decode(text)) << text.substr(0, 80);
  }
  EXPECT_EQ(StatusResponse::decode("{\"batch_size\":9223372036854775807}")->batchSize, INT64_MAX);
  for (const std::string member :
       {"\"active\":1", "\"active\":\"true\"", "\"batch_size\":5.0", "\"batch_size\":true",
        "\"batch_size\":9223372036854775808", "\"batch_size\":-9223372036854775809",
        "\"message_timeout_seconds\":[]", "\"extra\":\"\xff\""}) {
    EXPECT_FALSE(StatusResponse::decode("{" + member + "}")) << member;
  }
}

}  // namespace
}  // namespace tovi
