// What programs print, and names that processes give themselves: the profiler, the directory
// service and lsof(8), and the lsof text that this system makes itself.

#include "capture/DnsMessage.h"
#include "capture/RecordTextWriter.h"
#include "core/Utf8.h"
#include "events/CommandExecutor.h"
#include "events/RecordTextReader.h"
#include "events/UserInfoBuilder.h"
#include "fuzz/EventCheck.h"
#include "fuzz/Require.h"
#include "platform/linux/LsofText.h"
#include "status/HardwareInformationManager.h"
#include "status/StatusJson.h"

namespace tovi::fuzz {

namespace {

/// A response of one question and one answer.
constexpr std::string_view kResponse(
    "\0\7\x81\x80\0\1\0\1\0\0\0\0\1a\0\0\1\0\1\xc0\x0c\0\1\0\1\0\0\0\1\0\4\x7f\0\0\1", 35);

void checkProfiler(CommandExecutor& executor) {
  HardwareInformationManager manager(executor, "/profiler");
  StatusMessage message;
  message.system.emplace().hardwareOverview = manager.getHardwareOverview();
  const std::string json = jsonText(message);
  require(isUtf8(json) && isOneLine(json));
  require(jsonText(statusMessageFrom(json)) == json);
}

struct Directory : UserInfoProtocol {
  explicit Directory(std::optional<std::string> text) : answer(std::move(text)) {}
  std::optional<std::string> fullNameText(const std::string&) override { return answer; }
  std::optional<std::string> loggedUserName() override { return "alice"; }
  const std::optional<std::string> answer;
};

void checkDirectory(CommandExecutor& executor) {
  Directory directory(executor.exec("/directory", {}));
  const auto users = UserInfoBuilder(directory).loggedUsers();
  require(users.size() == 1 && users[0].name == "alice");
  require(users[0].fullName->find('\n') == std::string::npos);
}

bool isSameBesideProcess(const RecordTextReader& a, const RecordTextReader& b) {
  const auto all = [](const RecordTextReader& reader) {
    return std::array{reader.id,
                      reader.opcode,
                      reader.response,
                      reader.flags,
                      reader.dnsServers,
                      reader.queries.begin()->value,
                      reader.answers.begin()->value};
  };
  return all(a) == all(b) && b.queries.size() == 1 && b.answers.size() == 1;
}

/// The event of a message that came from these processes.
ToviDNSEventPointer eventOf(std::string_view processes) {
  DnsMessage message(std::as_bytes(std::span(kResponse)));
  RecordTextWriter writer;
  writer.setDnsServers("192.0.2.53");
  writer.write(message, {});
  const std::string plain(writer.text());
  writer.addSender({.rows = std::string(processes)});
  require(isSameBesideProcess(RecordTextReader(plain), RecordTextReader(writer.text())));
  EventCheck check;
  check.feed(writer.text());
  require(check.events().size() == 1);
  return check.events().back();
}

void checkOwnLsof(std::string_view name) {
  static const platform::ServiceNames services;
  const platform::NamedOwner owner{{.process = 512, .descriptor = 9}, std::string(name), "alice"};
  const auto event = eventOf(platform::lsofText({}, std::span(&owner, 1), services));
  require(event->process && event->process->pid == 512 && event->process->user == "alice");
}

}  // namespace

}  // namespace tovi::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tovi;
  const std::string text(fuzz::textOf(data, size));
  CommandExecutor executor([&](const auto&, const auto&) { return text; });
  fuzz::checkProfiler(executor);
  fuzz::checkDirectory(executor);
  fuzz::eventOf(text);
  fuzz::checkOwnLsof(text);
  return 0;
}
