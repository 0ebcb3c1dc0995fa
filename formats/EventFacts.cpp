#include "formats/EventFacts.h"

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <ctime>
#include <iterator>

#include "formats/UnreadableEvent.h"

namespace tovi::formats {
namespace {

constexpr const char* kInternetDateTime = "%Y-%m-%dT%H:%M:%SZ";
constexpr std::size_t kDateTimeSize = sizeof "2022-01-25T17:02:52Z";

std::string dateTimeText(const std::tm& time) {
  char text[kDateTimeSize] = "";
  return {text, std::strftime(text, sizeof text, kInternetDateTime, &time)};
}

bool isAddressRecord(const Answer& answer) {
  return (answer.type == "A" || answer.type == "AAAA") && isAddress(answer.data);
}

}  // namespace

const DnsPacket& exchangeOf(const ToviDNSEvent& event) {
  if (!event.dnsPacket) throw UnreadableEvent("the event has no exchange");
  return *event.dnsPacket;
}

std::int64_t millisecondsOf(const ToviDNSEvent& event) {
  const auto text = event.timestamp.value_or("");
  std::tm time{};
  strptime(text.c_str(), kInternetDateTime, &time);
  const std::int64_t seconds = timegm(&time);
  // Reading is lenient, and the text is passed on: it must be what would be written.
  if (dateTimeText(time) != text) throw UnreadableEvent("the event has no time");
  return seconds * 1000;
}

std::string registeredType(const std::string& type) {
  if (type == "DNAM") return "DNAME";
  return type == "NSAP_PTR" ? "NSAP-PTR" : type;
}

std::optional<std::string> registeredClass(const std::optional<std::string>& dnsClass) {
  if (dnsClass == "UNKW") return std::nullopt;
  return dnsClass == "IN_QU" ? "IN" : dnsClass;
}

Outcome outcomeOf(const DnsPacket& exchange) {
  const auto code = exchange.responseCode.value_or("UNKNOWN");
  if (code == "UNKNOWN") return Outcome::unknown;
  return code == "NOERROR" ? Outcome::success : Outcome::failure;
}

bool isAddress(const std::string& text) {
  in6_addr address{};
  // A text with a byte of 0 in it would be read up to there.
  return text.find('\0') == text.npos && (inet_pton(AF_INET, text.c_str(), &address) == 1 ||
                                          inet_pton(AF_INET6, text.c_str(), &address) == 1);
}

std::vector<std::string> hostAddresses(const ToviDNSEvent& event) {
  std::vector<std::string> addresses;
  if (!event.system || !event.system->localAddress) return addresses;
  std::ranges::copy_if(*event.system->localAddress, std::back_inserter(addresses), isAddress);
  return addresses;
}

std::set<std::string> resolvedAddresses(const DnsPacket& exchange) {
  std::set<std::string> addresses;
  if (!exchange.answers) return addresses;
  for (const auto& answer : *exchange.answers) {
    if (isAddressRecord(answer)) addresses.insert(answer.data);
  }
  return addresses;
}

std::optional<std::string> answeringServer(const ToviDNSEvent& event) {
  if (!event.exchange || !isAddress(event.exchange->server.value_or(""))) return std::nullopt;
  return event.exchange->server;
}

std::optional<std::int64_t> durationUs(const ToviDNSEvent& event) {
  constexpr std::int64_t kDay = std::chrono::microseconds(std::chrono::days(1)).count();
  if (!event.exchange || !event.exchange->durationUs) return std::nullopt;
  const auto duration = *event.exchange->durationUs;
  return duration >= 0 && duration <= kDay ? std::optional(duration) : std::nullopt;
}

Json loggedUsers(const ToviDNSEvent& event) {
  Json users;
  if (!event.system || !event.system->loggedUsers) return users;
  for (const auto& user : *event.system->loggedUsers) {
    auto entry = Json::object();
    add(entry, "name", user.name);
    add(entry, "full_name", user.fullName);
    add(entry, "sessions", user.sessions);
    users.push_back(std::move(entry));
  }
  return users;
}

}  // namespace tovi::formats
