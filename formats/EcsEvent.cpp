#include "formats/EcsEvent.h"

#include <algorithm>

#include "formats/EventFacts.h"

namespace tovi::formats {
namespace {

constexpr const char* kEcsVersion = "9.4.0";

struct EcsFlag {
  bool Flags::*isSet;
  const char* letters;
};

constexpr EcsFlag kEcsFlags[] = {
    {&Flags::authoritative, "AA"},    {&Flags::truncatedResponse, "TC"},
    {&Flags::recursionDesired, "RD"}, {&Flags::recursionAvailable, "RA"},
    {&Flags::authenticData, "AD"},    {&Flags::checkingDisabled, "CD"},
};

/// Types whose data is one name and nothing else.
constexpr const char* kNameTypes[] = {"CNAME", "DNAM", "NS", "PTR"};

const char* outcomeText(Outcome outcome) {
  if (outcome == Outcome::unknown) return "unknown";
  return outcome == Outcome::success ? "success" : "failure";
}

Json category(const ToviDNSEvent& event, const DnsPacket& exchange) {
  constexpr std::int64_t kNanoseconds = 1000;
  Json category{{"kind", "event"},
                {"category", Json::array({"network"})},
                {"type", Json::array({"protocol"})},
                {"outcome", outcomeText(outcomeOf(exchange))},
                {"module", "tovi"},
                {"dataset", "tovi.dns"}};
  if (const auto duration = durationUs(event)) category["duration"] = *duration * kNanoseconds;
  return category;
}

Json network(const ToviDNSEvent& event) {
  Json network{{"protocol", "dns"}};
  if (event.exchange) add(network, "transport", event.exchange->transport);
  return network;
}

void addEnds(Json& ecs, const ToviDNSEvent& event) {
  if (event.exchange && event.exchange->clientPort) {
    ecs["source"] = {{"port", *event.exchange->clientPort}};
  }
  if (const auto server = answeringServer(event)) {
    ecs["destination"] = {{"ip", *server}, {"port", kServerPort}};
  }
}

Json agent(const ToviDNSEvent& event) {
  Json agent{{"type", "ToviDaemon"}};
  add(agent, "version", event.version);
  return agent;
}

Json host(const ToviDNSEvent& event) {
  Json host;
  if (event.system) {
    add(host, "name", event.system->name);
    add(host, "hostname", event.system->name);
  }
  addUnlessEmpty(host, "ip", hostAddresses(event));
  return host;
}

void addAsker(Json& ecs, const std::optional<EventProcess>& process) {
  if (!process) return;
  ecs["process"] = {{"pid", process->pid}};
  add(ecs["process"], "name", process->name);
  add(ecs["process"], "executable", process->executable);
  if (process->parent) {
    ecs["process"]["parent"] = {{"pid", process->parent->pid}};
    add(ecs["process"]["parent"], "name", process->parent->name);
  }
  if (process->user) ecs["user"] = {{"name", *process->user}};
}

Json question(const std::optional<Query>& query) {
  Json question;
  if (!query) return question;
  add(question, "name", query->name);
  if (query->type) question["type"] = registeredType(*query->type);
  add(question, "class", registeredClass(query->queryClass));
  return question;
}

Json answerJson(const Answer& answer) {
  Json json{{"name", answer.name}, {"type", registeredType(answer.type)}};
  add(json, "class", registeredClass(answer.answerClass));
  add(json, "ttl", answer.ttl);
  json["data"] = answer.data;
  return json;
}

Json headerFlags(const Flags& flags) {
  auto letters = Json::array();
  for (const auto& flag : kEcsFlags) {
    if (flags.*flag.isSet) letters.push_back(flag.letters);
  }
  return letters;
}

Json answers(const std::vector<Answer>& answers) {
  auto list = Json::array();
  for (const auto& answer : answers) list.push_back(answerJson(answer));
  return list;
}

Json dns(const DnsPacket& exchange) {
  Json dns{{"type", "answer"}, {"id", std::to_string(exchange.id)}};
  add(dns, "op_code", exchange.opCode);
  add(dns, "response_code", exchange.responseCode);
  if (exchange.flags) dns["header_flags"] = headerFlags(*exchange.flags);
  addUnlessEmpty(dns, "question", question(exchange.question));
  if (exchange.answers) dns["answers"] = answers(*exchange.answers);
  addUnlessEmpty(dns, "resolved_ip", resolvedAddresses(exchange));
  return dns;
}

std::set<std::string> relatedHosts(const ToviDNSEvent& event, const DnsPacket& exchange) {
  std::set<std::string> hosts;
  if (event.system && event.system->name) hosts.insert(*event.system->name);
  if (exchange.question && exchange.question->name) hosts.insert(*exchange.question->name);
  if (!exchange.answers) return hosts;
  for (const auto& answer : *exchange.answers) {
    hosts.insert(answer.name);
    if (std::ranges::find(kNameTypes, answer.type) != std::end(kNameTypes)) {
      hosts.insert(answer.data);
    }
  }
  return hosts;
}

std::set<std::string> relatedAddresses(const ToviDNSEvent& event, const DnsPacket& exchange) {
  auto addresses = resolvedAddresses(exchange);
  for (auto& address : hostAddresses(event)) addresses.insert(std::move(address));
  if (auto server = answeringServer(event)) addresses.insert(std::move(*server));
  if (!exchange.queriedServers) return addresses;
  for (const auto& server : *exchange.queriedServers) {
    if (isAddress(server)) addresses.insert(server);
  }
  return addresses;
}

std::set<std::string> relatedUsers(const ToviDNSEvent& event) {
  std::set<std::string> users;
  if (event.process && event.process->user) users.insert(*event.process->user);
  if (!event.system || !event.system->loggedUsers) return users;
  for (const auto& user : *event.system->loggedUsers) {
    if (user.name) users.insert(*user.name);
  }
  return users;
}

Json related(const ToviDNSEvent& event, const DnsPacket& exchange) {
  Json related;
  addUnlessEmpty(related, "hosts", relatedHosts(event, exchange));
  addUnlessEmpty(related, "ip", relatedAddresses(event, exchange));
  addUnlessEmpty(related, "user", relatedUsers(event));
  return related;
}

Json ownFields(const ToviDNSEvent& event, const DnsPacket& exchange) {
  Json own;
  addUnlessEmpty(own, "logged_users", loggedUsers(event));
  if (exchange.queriedServers) addUnlessEmpty(own, "queried_servers", *exchange.queriedServers);
  add(own, "answers_left_out", exchange.answersLeftOut);
  if (event.process) add(own, "unit", event.process->unit);
  return own;
}

}  // namespace

Json ecsEvent(const ToviDNSEvent& event) {
  const auto& exchange = exchangeOf(event);
  // For its check: the text itself is passed on.
  millisecondsOf(event);
  Json ecs{{"@timestamp", *event.timestamp},
           {"ecs", {{"version", kEcsVersion}}},
           {"event", category(event, exchange)},
           {"network", network(event)},
           {"agent", agent(event)}};
  addUnlessEmpty(ecs, "host", host(event));
  addAsker(ecs, event.process);
  addEnds(ecs, event);
  ecs["dns"] = dns(exchange);
  addUnlessEmpty(ecs, "related", related(event, exchange));
  addUnlessEmpty(ecs, "tovi", ownFields(event, exchange));
  return ecs;
}

}  // namespace tovi::formats
