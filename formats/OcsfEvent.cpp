#include "formats/OcsfEvent.h"

#include <algorithm>
#include <span>

#include "formats/EventFacts.h"

namespace tovi::formats {
namespace {

/// A value of an enumeration: how our events write it, and how the framework does.
struct Value {
  std::string_view ours;
  int id;
  const char* caption;
};

constexpr Value kOpcodes[] = {
    {"QUERY", 0, "Query"},   {"IQUERY", 1, "Inverse Query"}, {"STATUS", 2, "Status"},
    {"NOTIFY", 4, "Notify"}, {"UPDATE", 5, "Update"},        {"DSO", 6, "DSO Message"},
};

constexpr Value kResponseCodes[] = {
    {"NOERROR", 0, "NoError"},      {"FORMERR", 1, "FormError"},    {"SERVFAIL", 2, "ServError"},
    {"NXDOMAIN", 3, "NXDomain"},    {"NOTIMP", 4, "NotImp"},        {"REFUSED", 5, "Refused"},
    {"YXDOMAIN", 6, "YXDomain"},    {"YXRRSET", 7, "YXRRSet"},      {"NXRRSET", 8, "NXRRSet"},
    {"NOTAUTH", 9, "NotAuth"},      {"NOTZONE", 10, "NotZone"},     {"DSOTYPENI", 11, "DSOTYPENI"},
    {"BADVERS", 16, "BADSIG_VERS"}, {"BADKEY", 17, "BADKEY"},       {"BADTIME", 18, "BADTIME"},
    {"BADMODE", 19, "BADMODE"},     {"BADNAME", 20, "BADNAME"},     {"BADALG", 21, "BADALG"},
    {"BADTRUNC", 22, "BADTRUNC"},   {"BADCOOKIE", 23, "BADCOOKIE"},
};
constexpr int kOther = 99;

struct OcsfFlag {
  bool Flags::*isSet;
  int id;
  const char* caption;
};

constexpr OcsfFlag kOcsfFlags[] = {
    {&Flags::authoritative, 1, "Authoritative Answer"},
    {&Flags::truncatedResponse, 2, "Truncated Response"},
    {&Flags::recursionDesired, 3, "Recursion Desired"},
    {&Flags::recursionAvailable, 4, "Recursion Available"},
    {&Flags::authenticData, 5, "Authentic Data"},
    {&Flags::checkingDisabled, 6, "Checking Disabled"},
};

const Value* valueNamed(std::span<const Value> values, std::string_view ours) {
  const auto found = std::ranges::find(values, ours, &Value::ours);
  return found == values.end() ? nullptr : &*found;
}

Json metadata(const ToviDNSEvent& event, OcsfVersion version) {
  Json product{{"name", "ToviDaemon"}, {"vendor_name", "Tovi"}};
  add(product, "version", event.version);
  return {{"version", version == OcsfVersion::v1_8 ? "1.8.0" : "1.9.0"},
          {"profiles", Json::array({"host"})},
          {"product", std::move(product)}};
}

void addStatus(Json& ocsf, Outcome outcome) {
  const bool succeeded = outcome == Outcome::success;
  const bool isKnown = outcome != Outcome::unknown;
  ocsf["status_id"] = !isKnown ? 0 : succeeded ? 1 : 2;
  ocsf["status"] = !isKnown ? "Unknown" : succeeded ? "Success" : "Failure";
}

void addResponseCode(Json& ocsf, const std::optional<std::string>& code) {
  if (!code) return;
  const auto* known = valueNamed(kResponseCodes, *code);
  ocsf["rcode_id"] = known != nullptr ? known->id : kOther;
  ocsf["rcode"] = known != nullptr ? known->caption : *code;
}

// The three parts of the message's header that version 1.9 moved.

void addIdentifier(Json& object, const DnsPacket& exchange, OcsfVersion version) {
  object[version == OcsfVersion::v1_8 ? "packet_uid" : "transaction_id"] = exchange.id;
}

void addOpcode(Json& object, const DnsPacket& exchange) {
  const auto* known = valueNamed(kOpcodes, exchange.opCode.value_or(""));
  if (known == nullptr) return;
  object["opcode_id"] = known->id;
  object["opcode"] = known->caption;
}

void addFlags(Json& object, const DnsPacket& exchange) {
  if (!exchange.flags) return;
  auto ids = Json::array();
  auto captions = Json::array();
  for (const auto& flag : kOcsfFlags) {
    if (!(*exchange.flags.*flag.isSet)) continue;
    ids.push_back(flag.id);
    captions.push_back(flag.caption);
  }
  object["flag_ids"] = std::move(ids);
  object["flags"] = std::move(captions);
}

Json query(const DnsPacket& exchange, OcsfVersion version) {
  Json query;
  if (!exchange.question || !exchange.question->name) return query;
  query["hostname"] = *exchange.question->name;
  if (exchange.question->type) query["type"] = registeredType(*exchange.question->type);
  add(query, "class", registeredClass(exchange.question->queryClass));
  if (version == OcsfVersion::v1_8) {
    addIdentifier(query, exchange, version);
    addOpcode(query, exchange);
  }
  return query;
}

Json answerJson(const Answer& answer, const DnsPacket& exchange, OcsfVersion version) {
  Json json;
  if (version == OcsfVersion::v1_9) json["hostname"] = answer.name;
  json["type"] = registeredType(answer.type);
  add(json, "class", registeredClass(answer.answerClass));
  add(json, "ttl", answer.ttl);
  json["rdata"] = answer.data;
  if (version == OcsfVersion::v1_8) {
    addIdentifier(json, exchange, version);
    addFlags(json, exchange);
  }
  return json;
}

Json answers(const DnsPacket& exchange, OcsfVersion version) {
  auto list = Json::array();
  for (const auto& answer : *exchange.answers) {
    list.push_back(answerJson(answer, exchange, version));
  }
  return list;
}

void addExchange(Json& ocsf, const DnsPacket& exchange, OcsfVersion version) {
  if (version == OcsfVersion::v1_9) {
    addIdentifier(ocsf, exchange, version);
    addOpcode(ocsf, exchange);
    addFlags(ocsf, exchange);
  }
  addUnlessEmpty(ocsf, "query", query(exchange, version));
  if (exchange.answers) ocsf["answers"] = answers(exchange, version);
  addResponseCode(ocsf, exchange.responseCode);
}

/// What tells the host from others; null when nothing is known.
Json endpoint(const ToviDNSEvent& event) {
  Json endpoint;
  if (event.system) add(endpoint, "hostname", event.system->name);
  const auto addresses = hostAddresses(event);
  if (!addresses.empty()) endpoint["ip"] = addresses.front();
  return endpoint;
}

Json device(const ToviDNSEvent& event) {
  auto device = endpoint(event);
  if (device.empty()) return device;
  device["type_id"] = 0;
  device["type"] = "Unknown";
  for (const auto& address : hostAddresses(event)) {
    device["network_interfaces"].push_back({{"ip", address}});
  }
  return device;
}

Json parentProcess(const EventParent& parent) {
  Json process{{"pid", parent.pid}};
  add(process, "name", parent.name);
  return process;
}

Json actor(const EventProcess& process) {
  Json actor{{"process", {{"pid", process.pid}}}};
  add(actor["process"], "name", process.name);
  add(actor["process"], "path", process.executable);
  if (process.parent) actor["process"]["parent_process"] = parentProcess(*process.parent);
  if (process.user) {
    actor["process"]["user"] = {{"name", *process.user}};
    actor["user"] = {{"name", *process.user}};
  }
  return actor;
}

/// The host, which is taken for the asker. The class demands one of the two ends, so what is
/// unknown is said to be.
Json sourceEndpoint(const ToviDNSEvent& event) {
  auto source = endpoint(event);
  if (source.empty()) source["name"] = "unknown";
  if (event.exchange) add(source, "port", event.exchange->clientPort);
  return source;
}

Json connection(const std::string& transport) {
  // The protocol's number (IANA, Assigned Internet Protocol Numbers).
  const int number = transport == "tcp" ? 6 : 17;
  return {{"direction_id", 0},
          {"direction", "Unknown"},
          {"protocol_name", transport},
          {"protocol_num", number}};
}

/// The first packet is the query, unless that was not seen.
void addTimes(Json& ocsf, const ToviDNSEvent& event) {
  constexpr std::int64_t kMicroseconds = 1000;
  const auto first = millisecondsOf(event);
  const auto duration = durationUs(event);
  if (!duration) return;
  const auto milliseconds = *duration / kMicroseconds;
  ocsf["query_time"] = first;
  ocsf["response_time"] = first + milliseconds;
  ocsf["duration"] = milliseconds;
}

void addConnection(Json& ocsf, const ToviDNSEvent& event) {
  if (const auto server = answeringServer(event)) {
    ocsf["dst_endpoint"] = {{"ip", *server}, {"port", kServerPort}};
  }
  if (event.exchange && event.exchange->transport) {
    ocsf["connection_info"] = connection(*event.exchange->transport);
  }
  addTimes(ocsf, event);
}

void addHost(Json& ocsf, const ToviDNSEvent& event) {
  addUnlessEmpty(ocsf, "device", device(event));
  if (event.process) ocsf["actor"] = actor(*event.process);
  ocsf["src_endpoint"] = sourceEndpoint(event);
  addConnection(ocsf, event);
}

struct ObservableType {
  int id;
  const char* caption;
};
constexpr ObservableType kHostname{1, "Hostname"};
constexpr ObservableType kAddress{2, "IP Address"};
constexpr ObservableType kUserName{4, "User Name"};
constexpr ObservableType kProcessName{9, "Process Name"};

void observe(Json& list, const char* place, const ObservableType& type,
             const std::optional<std::string>& value) {
  if (!value) return;
  list.push_back(
      {{"name", place}, {"type_id", type.id}, {"type", type.caption}, {"value", *value}});
}

Json observables(const ToviDNSEvent& event, const DnsPacket& exchange) {
  Json list;
  if (exchange.question) observe(list, "query.hostname", kHostname, exchange.question->name);
  for (const auto& address : resolvedAddresses(exchange)) {
    observe(list, "answers.rdata", kAddress, address);
  }
  if (event.process) {
    observe(list, "actor.process.name", kProcessName, event.process->name);
    observe(list, "actor.user.name", kUserName, event.process->user);
  }
  return list;
}

Json ownerNames(const std::vector<Answer>& answers) {
  Json names;
  for (const auto& answer : answers) names.push_back({{"name", answer.name}});
  return names;
}

Json unmappedExchange(const DnsPacket& exchange, OcsfVersion version) {
  Json rest;
  const bool isMapped = valueNamed(kOpcodes, exchange.opCode.value_or("")) != nullptr;
  if (!isMapped) add(rest, "op_code", exchange.opCode);
  if (version == OcsfVersion::v1_8 && exchange.answers) {
    addUnlessEmpty(rest, "answers", ownerNames(*exchange.answers));
  }
  add(rest, "answers_left_out", exchange.answersLeftOut);
  if (exchange.queriedServers) addUnlessEmpty(rest, "queried_servers", *exchange.queriedServers);
  return rest;
}

/// Under the names and in the places that our events have for them.
Json unmapped(const ToviDNSEvent& event, const DnsPacket& exchange, OcsfVersion version) {
  Json rest;
  if (const auto users = loggedUsers(event); !users.empty()) rest["system"]["logged_users"] = users;
  if (event.process && event.process->unit) rest["process"]["unit"] = *event.process->unit;
  addUnlessEmpty(rest, "dns_packet", unmappedExchange(exchange, version));
  return rest;
}

}  // namespace

Json ocsfEvent(const ToviDNSEvent& event, OcsfVersion version) {
  const auto& exchange = exchangeOf(event);
  Json ocsf{{"time", millisecondsOf(event)},        {"category_uid", 4},
            {"category_name", "Network Activity"},  {"class_uid", 4003},
            {"class_name", "DNS Activity"},         {"activity_id", 6},
            {"activity_name", "Traffic"},           {"type_uid", 400306},
            {"type_name", "DNS Activity: Traffic"}, {"severity_id", 1},
            {"severity", "Informational"},          {"metadata", metadata(event, version)}};
  addStatus(ocsf, outcomeOf(exchange));
  addHost(ocsf, event);
  addExchange(ocsf, exchange, version);
  addUnlessEmpty(ocsf, "observables", observables(event, exchange));
  addUnlessEmpty(ocsf, "unmapped", unmapped(event, exchange, version));
  return ocsf;
}

}  // namespace tovi::formats
