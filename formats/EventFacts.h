#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "events/ToviDNSEvent.h"
#include "formats/JsonMembers.h"

/// What several formats ask of an event. Any thread.
namespace tovi::formats {

/// The event's exchange. Throws UnreadableEvent when it has none.
const DnsPacket& exchangeOf(const ToviDNSEvent& event);

/// The event's time in milliseconds since 1970. Throws UnreadableEvent unless it is an internet
/// date-time in UTC, in whole seconds.
std::int64_t millisecondsOf(const ToviDNSEvent& event);

/// The name in the registry of types (IANA, DNS Parameters), for the two that our events write
/// otherwise: "DNAM" and "NSAP_PTR".
std::string registeredType(const std::string& type);

/// The name of the class (IANA, DNS Parameters). None for "UNKW"; "IN" for "IN_QU", whose highest
/// bit asks for an answer to the asker alone (RFC 6762, section 5.4).
std::optional<std::string> registeredClass(const std::optional<std::string>& dnsClass);

enum class Outcome { unknown, success, failure };
/// By the response code.
Outcome outcomeOf(const DnsPacket& exchange);

/// True for an IPv4 or IPv6 address as text.
bool isAddress(const std::string& text);
/// The addresses among the host's texts.
std::vector<std::string> hostAddresses(const ToviDNSEvent& event);
/// The data of the address records among the answers.
std::set<std::string> resolvedAddresses(const DnsPacket& exchange);

/// The server that answered, when that is an address.
std::optional<std::string> answeringServer(const ToviDNSEvent& event);
/// Microseconds from query to response; nothing when unknown, or not within a day.
std::optional<std::int64_t> durationUs(const ToviDNSEvent& event);
/// The only port whose exchanges become events.
inline constexpr int kServerPort = 53;

/// The users that are logged in, as the event itself writes them; null when there are none.
Json loggedUsers(const ToviDNSEvent& event);

}  // namespace tovi::formats
