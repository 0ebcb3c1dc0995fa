#include "events/ToviDNSMessageBuilder.h"

#include <algorithm>

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

constexpr std::size_t kUsualAnswers = 16;
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

/// Of the answer and of the names of its members.
std::size_t jsonBytes(const RecordTextReader::Item& answer) {
  constexpr std::size_t kNames = 64;
  const auto isEscaped = [](char c) { return c == '\\' || c == '"'; };
  const auto escapes = std::ranges::count_if(answer.value, isEscaped);
  return kNames + answer.value.size() + static_cast<std::size_t>(escapes);
}

/// Whether there were answers.
bool isWhole(const DnsPacket& packet) {
  return !packet.answers->empty() || packet.answersLeftOut;
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
      userInfo_(collaborators.userInfo),
      undesireDomains_(std::move(undesireDomains)),
      container_(collaborators.container) {}

void ToviDNSMessageBuilder::feed(std::string_view recordText) {
  const RecordTextReader data(recordText);
  const auto id = decimalInteger(data.id);
  if (!id || *id == 0) return refused_.add();
  feed(data, *id);
}

void ToviDNSMessageBuilder::feed(const RecordTextReader& data, std::int64_t id) try {
  if (parseDataIntoEvent(data, id)) return;
  beginTimestamp();
  refused_.add();
  logger_.debug("feed(_:)", "Can't get event data");
} catch (const AgentErrors& error) {
  beginTimestamp();
  refused_.add();
  logger_.error("feed(_:)", "Can't parse event data: ", error.what());
}

bool ToviDNSMessageBuilder::parseDataIntoEvent(const RecordTextReader& data, std::int64_t id) {
  auto event = std::make_shared<ToviDNSEvent>();
  const auto& packet = event->dnsPacket.emplace(buildDnsPacket(data, id));
  if (!packet.question) {
    logger_.debug("parseDataIntoEvent(data:event:id:)", "Query not found");
    return false;
  }
  event->system = currentSystem();
  Sighting seen;
  seen.isResponse = isWhole(packet);
  seen = sightingFrom(data.packet).value_or(seen);
  if (!join(event, {packet, seen, sendingProcess(data)}) || !isWhole(packet)) return true;
  events_.add();
  packer_.addMessage(std::move(event));
  return true;
}

bool ToviDNSMessageBuilder::join(const std::shared_ptr<ToviDNSEvent>& event,
                                 const ExchangePacket& packet) {
  std::lock_guard lock(containerMutex_);
  // A query that brings answers of its own, such as a notification, waits for none.
  const bool isAlone = isWhole(packet.dns) && !packet.seen.isResponse;
  auto* const exchange = isAlone ? nullptr : container_.get(packet);
  if (exchange && exchange->isOver()) {
    exchange->add(packet);
    return false;
  }
  begin(*event, exchange ? exchange->event().get() : nullptr);
  if (!event->process) event->process = packet.process;
  event->exchange = exchange ? exchange->outline(packet.seen) : outlineOf(packet.seen);
  if (!isWhole(packet.dns)) {
    container_.set(exchange, packet, event);
  } else if (!isAlone) {
    container_.remove(exchange, packet);
  }
  return true;
}

// What waits stays as it is: others may see it.
void ToviDNSMessageBuilder::begin(ToviDNSEvent& event, const ToviDNSEvent* pending) {
  if (pending == nullptr) {
    event.timestamp = beginTimestamp();
    event.version = bundleProvider_.shortVersion().value_or(kUnknownVersion);
    return;
  }
  event.timestamp = pending->timestamp;
  event.version = pending->version;
  event.system = pending->system;
  event.process = pending->process;
}

std::string ToviDNSMessageBuilder::beginTimestamp() {
  auto now = timeProvider_.currentTime();
  variable_.save("last_dns_event_timestamp", PropertyValue{now});
  return now;
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
  getAnswers(data, packet);
  packet.flags = getFlags(data);
  // Then the event waits for a response, whose packet takes the place of this one.
  if (!isWhole(packet)) return packet;
  packet.queriedServers = queriedServers(data);
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

void ToviDNSMessageBuilder::getAnswers(const RecordTextReader& data, DnsPacket& packet) const {
  auto& answers = packet.answers.emplace();
  answers.reserve(std::min(data.answers.size(), kUsualAnswers));
  std::size_t room = kMostAnswerBytes;
  for (auto item = data.answers.begin(); item != data.answers.end(); ++item) {
    const auto size = jsonBytes(*item);
    if (size > room) {
      packet.answersLeftOut = data.answers.end() - item;
      return;
    }
    room -= size;
    if (auto answer = parseAnswer(item->value)) {
      answers.push_back(std::move(*answer));
    } else {
      logger_.debug("getAnswers(data:)", "Cant get answers");
    }
  }
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

}  // namespace tovi
