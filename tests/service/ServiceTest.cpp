#include <pwd.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/ChildProcess.h"
#include "service/ToviAgentXPCProtocol.h"
#include "tests/service/RunningService.h"
#include "tests/support/PrivateBus.h"

namespace tovi::test {
namespace {

TEST(ServiceTest, IntrospectionShowsEveryMethodWithItsArguments) {
  const PrivateBus bus;
  PlainDaemon daemon;
  const RunningService service(daemon);
  const auto xml = platform::runProgram(
      "/usr/bin/busctl",
      {"--system", "introspect", "--xml-interface", xpc::kServiceName, xpc::kObjectPath});
  for (const char* part :
       {"<method name=\"GetActivationStatus\">", "type=\"as\" name=\"enrollment\"",
        "type=\"a{ss}\" name=\"messages\"", "type=\"as\" name=\"data\" direction=\"in\"",
        "type=\"b\" name=\"force\"", "type=\"a{sv}\" name=\"settings\""}) {
    EXPECT_NE(xml.find(part), xml.npos) << part;
  }
}

TEST(StatisticsTest, DocumentationNamesEveryCounter) {
  const auto text = readFile(TOVI_SOURCE_DIR "/docs/protocol.md");
  const Counters counters;
  forEachMember(counters, [&](const auto& key, const auto&) {
    EXPECT_NE(text.find("`" + std::string(key.name()) + "`"), text.npos) << key.name();
  });
}

/// What `tovictl state` complains of (lines) and its exit status, when the installed policy says of
/// `account` what it says of root. Anybody may serve.
std::string stateForRootBeing(const std::string& account) {
  auto text = readFile(TOVI_SOURCE_DIR "/packaging/dbus/io.tovi.ToviAgentXPC.conf");
  const std::string root = "user=\"root\"";
  text.replace(text.find(root), root.size(), "user=\"" + account + "\"");
  text.insert(text.find("</busconfig>"),
              "<policy context=\"mandatory\"><allow own=\"io.tovi.ToviAgentXPC\"/></policy>");
  const TemporaryDirectory directory;
  writeFile(directory / "policy.conf", text);
  const PrivateBus bus(directory / "policy.conf");
  PlainDaemon daemon;
  const RunningService service(daemon);
  return platform::runProgram(
      "/bin/bash", {"-c", TOVICTL " state 2>&1 >/dev/null | wc -l; echo ${PIPESTATUS[0]}"});
}

TEST(ServicePolicyTest, RootMayCallAndOthersMayNot) {
  EXPECT_EQ(stateForRootBeing(getpwuid(geteuid())->pw_name), "0\n0\n");
  EXPECT_EQ(stateForRootBeing("daemon"), "1\n4\n");
}

}  // namespace
}  // namespace tovi::test
