#include "events/ToviDNSMessageBuilder.h"

#include "capture/RecordText.h"
#include "core/AgentErrors.h"
#include "events/DnsEventNames.h"
#include "events/ProcessText.h"
#include "events/RecordTextReader.h"
#include "events/TextParts.h"

namespace tovi {
namespace {

using recordtext::kFieldSeparator;
using recordtext::kListSeparator;

constexpr const char* kUnknownVersion = "1.0.0.0";

std::optional<Answer> parseAnswer(std::string_view value) {
  const auto fields = exactlyTrimmedParts<5>(value, kFieldSeparator);
  if (!fields) return std::nullopt;
  const auto& [data, type, answerClass, ttl, name] = *fields;
  return Answer{.name = std::string(name),
                .type = std::string(type),
                .answerClass = std::string(answerClass),
                .ttl = decimalInteger(ttl),
                .data = std::string(data)};
}

std::vector<std::string> queriedServers(const RecordTextReader& data) {
  const auto servers = trimmedParts(data.dnsServers, kListSeparator);
  return {servers.begin(), servers.end()};
}

}  // namespace

ToviDNSMessageBuilder::ToviDNSMessageBuilder(const Collaborators& collaborators,
                                             Domains undesireDomains)
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
  const auto id = decimalInteger(data.id);
  if (!id || *id == 0) return refused_.add();
  feed(data, *id);
}

void ToviDNSMessageBuilder::feed(const RecordTextReader& data, std::int64_t id) try {
  const auto event = std::make_shared<ToviDNSEvent>(pendingOrNewEvent(id));
  if (parseDataIntoEvent(data, *event, id)) {
    decide(event, id);
  } else {
    refused_.add();
    logger_.debug("feed(_:)", "Can't get event data");
  }
} catch (const AgentErrors& error) {
  refused_.add();
  logger_.error("feed(_:)", "Can't parse event data: ", error.what());
}

// A copy of what the packets of an exchange share: the pending event stays as it is, since others
// may see it and this text may yet turn out to be unsound.
ToviDNSEvent ToviDNSMessageBuilder::pendingOrNewEvent(std::int64_t id) {
  if (const auto pending = container_.get(id)) {
    return {.timestamp = pending->timestamp,
            .version = pending->version,
            .system = pending->system,
            .process = pending->process,
            .dnsPacket = std::nullopt};
  }
  return {.timestamp = beginTimestamp(),
          .version = bundleProvider_.shortVersion().value_or(kUnknownVersion),
          .system = nullptr,
          .process = std::nullopt,
          .dnsPacket = std::nullopt};
}

std::string ToviDNSMessageBuilder::beginTimestamp() {
  auto now = timeProvider_.currentTime();
  variable_.save("last_dns_event_timestamp", PropertyValue{now});
  return now;
}

bool ToviDNSMessageBuilder::parseDataIntoEvent(const RecordTextReader& data, ToviDNSEvent& event,
                                               std::int64_t id) {
  if (!event.system) event.system = currentSystem();
  if (!event.process) event.process = firstProcess(data.process);
  event.dnsPacket = buildDnsPacket(data, id);
  if (event.dnsPacket->question) return true;
  logger_.debug("parseDataIntoEvent(data:event:id:)", "Query not found");
  return false;
}

std::shared_ptr<const EventSystem> ToviDNSMessageBuilder::currentSystem() {
  const auto revision = systemProvider_.revision();
  {
    std::lock_guard lock(systemMutex_);
    if (system_ && systemRevision_ == revision) return system_;
  }
  // Not under the mutex: a new user's name is asked of a program.
  auto gathered = std::make_shared<const EventSystem>(buildSystem());
  std::lock_guard lock(systemMutex_);
  systemRevision_ = revision;
  return system_ = std::move(gathered);
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
  // Then the event waits for a response, whose packet takes the place of this one.
  if (packet.answers->empty()) return packet;
  packet.queriedServers = queriedServers(data);
  packet.flags = getFlags(data);
  if (!data.opcode.empty()) packet.opCode = opcodeName(data.opcode);
  if (!data.response.empty()) packet.responseCode = responseCodeName(data.response);
  return packet;
}

// All questions are read, since any one of them can be a reason to refuse the packet.
std::optional<Query> ToviDNSMessageBuilder::firstQuestion(const RecordTextReader& data) const {
  std::optional<Query> first;
  for (const auto& item : data.queries) {
    auto question = parseQuestion(item.value);
    if (!first) first = std::move(question);
  }
  return first;
}

Query ToviDNSMessageBuilder::parseQuestion(std::string_view value) const {
  const auto fields = exactlyTrimmedParts<3>(value, kFieldSeparator);
  if (!fields) throw AgentErrors(AgentErrors::ErrorParsing);
  const auto& [name, type, queryClass] = *fields;
  if (undesireDomains_.contains(name)) throw AgentErrors(AgentErrors::UndesiredDomain);
  return {
      .type = std::string(type), .name = std::string(name), .queryClass = std::string(queryClass)};
}

std::vector<Answer> ToviDNSMessageBuilder::getAnswers(const RecordTextReader& data) const {
  std::vector<Answer> answers;
  answers.reserve(data.answers.size());
  for (const auto& item : data.answers) {
    if (auto answer = parseAnswer(item.value)) {
      answers.push_back(std::move(*answer));
    } else {
      logger_.debug("getAnswers(data:)", "Cant get answers");
    }
  }
  return answers;
}

std::optional<Flags> ToviDNSMessageBuilder::getFlags(const RecordTextReader& data) const {
  const auto bits = exactlyTrimmedParts<6>(data.flags, kFieldSeparator);
  if (!bits) {
    logger_.debug("getFlags(data:)", "Cant get flags");
    return std::nullopt;
  }
  const auto isSet = [&](std::size_t at) { return (*bits)[at] == "1"; };
  return Flags{.authoritative = isSet(0),
               .recursionAvailable = isSet(1),
               .truncatedResponse = isSet(2),
               .checkingDisabled = isSet(3),
               .recursionDesired = isSet(4),
               .authenticData = isSet(5)};
}

void ToviDNSMessageBuilder::decide(ToviDNSEventPointer event, std::int64_t id) {
  if (event->dnsPacket->answers->empty()) return container_.set(id, std::move(event));
  events_.add();
  packer_.addMessage(std::move(event));
  container_.remove(id);
}

}  // namespace tovi
