#include "events/ToviDNSMessageBuilder.h"

#include "capture/RecordText.h"
#include "core/AgentErrors.h"
#include "events/DnsEventNames.h"
#include "events/RecordTextReader.h"
#include "events/TextParts.h"

namespace tovi {
namespace {

constexpr std::string_view kFieldSeparators(&recordtext::kFieldSeparator, 1);
constexpr std::string_view kListSeparators(&recordtext::kListSeparator, 1);
constexpr const char* kUnknownVersion = "1.0.0.0";

/// `text` is the output of lsof(8): a header line, then a row for each process, of which the first
/// is taken.
std::optional<EventProcess> parseProcess(std::string_view text) {
  const auto headerEnd = text.find('\n');
  if (headerEnd == text.npos) return std::nullopt;
  const auto rest = text.substr(headerEnd + 1);
  const auto columns = trimmedParts(rest.substr(0, rest.find('\n')), kWhiteSpace);
  if (columns.size() < 4) return std::nullopt;
  const auto pid = decimalInteger(columns[1]);
  if (!pid) return std::nullopt;
  return EventProcess{*pid, std::string(columns[0]), std::string(columns[2])};
}

std::optional<Answer> parseAnswer(std::string_view value) {
  const auto fields = trimmedParts(value, kFieldSeparators);
  if (fields.size() != 5) return std::nullopt;
  return Answer{.name = std::string(fields[4]),
                .type = std::string(fields[1]),
                .answerClass = std::string(fields[2]),
                .ttl = decimalInteger(fields[3]),
                .data = std::string(fields[0])};
}

std::vector<std::string> queriedServers(const RecordTextReader& data) {
  const auto servers =
      trimmedParts(data.value(recordtext::kDnsServers).value_or(""), kListSeparators);
  return {servers.begin(), servers.end()};
}

}  // namespace

ToviDNSMessageBuilder::ToviDNSMessageBuilder(const Collaborators& collaborators,
                                             std::set<std::string> undesireDomains)
    : packer_(collaborators.packer),
      timeProvider_(collaborators.timeProvider),
      systemProvider_(collaborators.systemProvider),
      bundleProvider_(collaborators.bundleProvider),
      variable_(collaborators.variable),
      container_(collaborators.container),
      userInfo_(collaborators.userInfo),
      undesireDomains_(std::move(undesireDomains)) {}

void ToviDNSMessageBuilder::feed(std::string_view recordText) {
  const RecordTextReader data(recordText);
  const auto id = decimalInteger(data.value(recordtext::kId).value_or(""));
  if (id && *id != 0) feed(data, *id);
}

void ToviDNSMessageBuilder::feed(const RecordTextReader& data, std::int64_t id) try {
  auto event = pendingOrNewEvent(id);
  if (!event.timestamp) event.timestamp = beginTimestamp();
  if (!event.version) event.version = bundleProvider_.shortVersion().value_or(kUnknownVersion);
  if (parseDataIntoEvent(data, event, id)) {
    decide(std::move(event), id);
  } else {
    logger_.debug("feed(_:)", "Can't get event data");
  }
} catch (const AgentErrors& error) {
  logger_.error("feed(_:)", "Can't parse event data: ", error.what());
}

// A copy: the pending event stays as it is until this text is known to be sound.
ToviDNSEvent ToviDNSMessageBuilder::pendingOrNewEvent(std::int64_t id) {
  const auto pending = container_.get(id);
  return pending ? *pending : ToviDNSEvent{};
}

std::string ToviDNSMessageBuilder::beginTimestamp() {
  auto now = timeProvider_.currentTime();
  variable_.save("last_dns_event_timestamp", PropertyValue{now});
  return now;
}

bool ToviDNSMessageBuilder::parseDataIntoEvent(const RecordTextReader& data, ToviDNSEvent& event,
                                               std::int64_t id) {
  if (!event.system) event.system = buildSystem();
  if (!event.process) event.process = parseProcess(data.value(recordtext::kProcess).value_or(""));
  event.dnsPacket = buildDnsPacket(data, id);
  if (event.dnsPacket->question) return true;
  logger_.debug("parseDataIntoEvent(data:event:id:)", "Query not found");
  return false;
}

EventSystem ToviDNSMessageBuilder::buildSystem() {
  EventSystem system{.name = systemProvider_.name(),
                     .loggedUsers = userInfo_.loggedUsers(),
                     .localAddress = systemProvider_.localAddresses()};
  if (system.name->empty()) system.name.reset();
  return system;
}

DnsPacket ToviDNSMessageBuilder::buildDnsPacket(const RecordTextReader& data,
                                                std::int64_t id) const {
  DnsPacket packet;
  packet.id = id;
  packet.question = firstQuestion(data);
  if (!packet.question) logger_.debug("buildDnsPacket(data:id:)", "Cant get Query");
  packet.answers = getAnswers(data);
  packet.queriedServers = queriedServers(data);
  packet.flags = getFlags(data);
  if (const auto code = data.value(recordtext::kOpcode)) packet.opCode = opcodeName(*code);
  if (const auto code = data.value(recordtext::kResponse)) {
    packet.responseCode = responseCodeName(*code);
  }
  return packet;
}

// All questions are read, since any one of them can be a reason to refuse the packet.
std::optional<Query> ToviDNSMessageBuilder::firstQuestion(const RecordTextReader& data) const {
  std::optional<Query> first;
  for (const auto& item : data.items()) {
    if (!item.key.starts_with(recordtext::kQuery)) continue;
    auto question = parseQuestion(item.value);
    if (!first) first = std::move(question);
  }
  return first;
}

Query ToviDNSMessageBuilder::parseQuestion(std::string_view value) const {
  const auto fields = trimmedParts(value, kFieldSeparators);
  if (fields.size() != 3) throw AgentErrors(AgentErrors::ErrorParsing);
  std::string name(fields[0]);
  if (undesireDomains_.contains(name)) throw AgentErrors(AgentErrors::UndesiredDomain);
  return {.type = std::string(fields[1]),
          .name = std::move(name),
          .queryClass = std::string(fields[2])};
}

std::vector<Answer> ToviDNSMessageBuilder::getAnswers(const RecordTextReader& data) const {
  std::vector<Answer> answers;
  for (const auto& item : data.items()) {
    if (!item.key.starts_with(recordtext::kAnswer)) continue;
    if (auto answer = parseAnswer(item.value)) {
      answers.push_back(std::move(*answer));
    } else {
      logger_.debug("getAnswers(data:)", "Cant get answers");
    }
  }
  return answers;
}

std::optional<Flags> ToviDNSMessageBuilder::getFlags(const RecordTextReader& data) const {
  const auto bits = trimmedParts(data.value(recordtext::kFlags).value_or(""), kFieldSeparators);
  if (bits.size() != 6) {
    logger_.debug("getFlags(data:)", "Cant get flags");
    return std::nullopt;
  }
  return Flags{.authoritative = bits[0] == "1",
               .recursionAvailable = bits[1] == "1",
               .truncatedResponse = bits[2] == "1",
               .checkingDisabled = bits[3] == "1",
               .recursionDesired = bits[4] == "1",
               .authenticData = bits[5] == "1"};
}

void ToviDNSMessageBuilder::decide(ToviDNSEvent event, std::int64_t id) {
  const bool isFinished = !event.dnsPacket->answers->empty();
  auto shared = std::make_shared<const ToviDNSEvent>(std::move(event));
  if (!isFinished) return container_.set(id, std::move(shared));
  packer_.addMessage(std::move(shared));
  container_.remove(id);
}

}  // namespace tovi
