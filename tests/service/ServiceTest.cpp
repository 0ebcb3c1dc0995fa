#include <pwd.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"
#include "service/ServiceValues.h"
#include "service/ToviAgentXPCProtocol.h"
#include "tests/service/RunningService.h"
#include "tests/support/PrivateBus.h"

namespace tovi::test {
namespace {

using platform::ServiceClient;
using platform::ServiceError;
using platform::ServiceType;
using OptionalText = std::optional<std::string>;

ServiceClient client() {
  return {xpc::kServiceName, xpc::kObjectPath, xpc::kInterfaceName};
}

OptionalText report(ServiceClient& caller, const std::string& id, const OptionalText& data) {
  const auto results = caller.call(xpc::kSetMessageDeliveryState, {id, std::string("Ok"), data},
                                   {ServiceType::OptionalText});
  return std::get<OptionalText>(results.at(0));
}

class ServiceTest : public testing::Test {
 protected:
  LogRecorder log_;
  PrivateBus bus_;
  PlainDaemon daemon_;
};

TEST_F(ServiceTest, IntrospectionShowsEveryMethodWithItsArguments) {
  const RunningService service(daemon_);
  const auto xml = platform::runProgram(
      "/usr/bin/busctl",
      {"--system", "introspect", "--xml-interface", xpc::kServiceName, xpc::kObjectPath});
  for (const char* part :
       {"<method name=\"GetActivationStatus\">", "<arg type=\"as\" name=\"enrollment\"",
        "<arg type=\"a{ss}\" name=\"messages\"", "<arg type=\"s\" name=\"messageId\"",
        "<arg type=\"as\" name=\"data\" direction=\"in\"", "<arg type=\"as\" name=\"reply\"",
        "<arg type=\"b\" name=\"force\"", "<arg type=\"a{sv}\" name=\"settings\""}) {
    EXPECT_NE(xml.find(part), xml.npos) << part;
  }
}

TEST_F(ServiceTest, CallsReachTheirOwnSideAndSecretsStayOutOfTheLog) {
  {
    const RunningService service(daemon_);
    auto first = client();
    auto second = client();
    EXPECT_EQ(report(first, "20220125170252", "ignored"), "Message received state: Ok");
    EXPECT_EQ(report(second, "status_message", "{}"), std::nullopt);
    first.call(xpc::kSetActivationData, {std::string("secret")}, {ServiceType::Text});
  }
  EXPECT_EQ(daemon_.calls,
            (std::vector<std::string>{"batch 20220125170252 Ok", "status Ok {}", "enroll secret"}));
  EXPECT_EQ(log_.count("setMessagesDeliveryState "), 2);
  EXPECT_EQ(log_.count("Status delivery arrived "), 1);
  EXPECT_EQ(log_.count("setActivationData "), 1);
  for (const auto& message : log_.messages()) EXPECT_EQ(message.find("secret"), message.npos);
}

TEST(ServiceValuesTest, WhatTheBusLacksBecomesText) {
  const auto values = serviceDictionary(
      {{"data", {PropertyValue::Data{std::byte{0x0a}, std::byte{0xff}}}},
       {"date", {PropertyDate{86'400, 0}}},
       {"list", {PropertyValue::Array{{1.5}, {PropertyDictionary{{"inner", {true}}}}}}}});
  EXPECT_EQ(std::get<std::string>(values.at("data").value), "0aff");
  EXPECT_EQ(std::get<std::string>(values.at("date").value), "2001-01-02T00:00:00Z");
  const auto& list = std::get<platform::ServiceValue::Array>(values.at("list").value);
  const auto& inner = std::get<platform::ServiceValue::Dictionary>(list.at(1).value);
  EXPECT_EQ(std::get<double>(list.at(0).value), 1.5);
  EXPECT_TRUE(std::get<bool>(inner.at("inner").value));
}

/// The installed policy, with another account in root's place.
class ServicePolicyTest : public testing::Test {
 protected:
  std::filesystem::path policyFor(const std::string& account, const std::string& more = "") {
    auto text = readFile(TOVI_SOURCE_DIR "/packaging/dbus/io.tovi.ToviAgentXPC.conf");
    const std::string root = "user=\"root\"";
    text.replace(text.find(root), root.size(), "user=\"" + account + "\"");
    text.insert(text.find("</busconfig>"), more);
    writeFile(directory_ / "policy.conf", text);
    return directory_ / "policy.conf";
  }

  TemporaryDirectory directory_;
  PlainDaemon daemon_;
};

TEST_F(ServicePolicyTest, OwnerMayServeAndCall) {
  const PrivateBus bus(policyFor(getpwuid(geteuid())->pw_name));
  const RunningService service(daemon_);
  auto caller = client();
  EXPECT_EQ(report(caller, "1", std::nullopt), "Message received state: Ok");
}

TEST_F(ServicePolicyTest, OthersMayNeitherServeNorCall) {
  {
    const PrivateBus bus(policyFor("daemon"));
    const SettingsHandler settings({});
    platform::MainLoop loop;
    EXPECT_THROW(ToviAgentXPC(loop, daemon_, daemon_, xpc::kServiceName, settings), ServiceError);
  }
  const PrivateBus bus(policyFor(
      "daemon", "<policy context=\"mandatory\"><allow own=\"io.tovi.ToviAgentXPC\"/></policy>"));
  const RunningService service(daemon_);
  EXPECT_EQ(
      platform::runProgram("/bin/sh", {"-c", TOVICTL " state 2>&1 >/dev/null | wc -l; " TOVICTL
                                                     " state 2>/dev/null; echo $?"}),
      "1\n4\n");
}

}  // namespace
}  // namespace tovi::test
