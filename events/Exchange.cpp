#include "events/Exchange.h"

#include <algorithm>
#include <functional>

namespace tovi {
namespace {

constexpr std::size_t kMostClients = 8;

char lowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// Servers are free to give a name back in other letters (RFC 1035, section 2.3.3; RFC 4343).
bool isSameName(std::string_view one, std::string_view other) {
  return std::ranges::equal(one, other, {}, lowerCase, lowerCase);
}

bool isWithin(std::chrono::microseconds one, std::chrono::microseconds other,
              std::chrono::microseconds distance) {
  return one - other <= distance && other - one <= distance;
}

bool isTruncated(const DnsPacket& packet) {
  return packet.flags && packet.flags->truncatedResponse;
}

}  // namespace

Exchange::Exchange(const ExchangePacket& first)
    : hash_(hash(first.dns)),
      id_(first.dns.id),
      question_(*first.dns.question),
      asked_(first.seen),
      clients_{first.seen.client},
      begun_(first.seen.time),
      sent_(first.seen.time) {}

// FNV-1a of the name as isSameName compares it.
std::size_t Exchange::hash(const DnsPacket& packet) {
  auto hash = static_cast<std::uint64_t>(packet.id) ^ 0xcbf29ce484222325;
  for (const char c : *packet.question->name) {
    hash = (hash ^ static_cast<unsigned char>(lowerCase(c))) * 0x100000001b3;
  }
  return hash;
}

bool Exchange::isAbout(const DnsPacket& packet) const {
  const auto& question = *packet.question;
  return packet.id == id_ && question.type == question_.type &&
         question.queryClass == question_.queryClass && isSameName(*question.name, *question_.name);
}

Exchange::Fit Exchange::fit(const ExchangePacket& packet) const {
  if (!isAbout(packet.dns)) return Fit::none;
  return packet.seen.isResponse ? fitOfResponse(packet.seen) : fitOfQuery(packet);
}

// A query that was captured after the answer begins an exchange of its own, in whatever order the
// interfaces tell of the two.
Exchange::Fit Exchange::fitOfQuery(const ExchangePacket& packet) const {
  const auto& [dns, seen, process] = packet;
  if (answered_ && (seen.time > *answered_ || *answered_ - seen.time > kAftermath)) {
    return Fit::none;
  }
  const bool bothKnown = pid_ && process;
  if (bothKnown && *pid_ != process->pid) return Fit::none;
  if (!isWithin(seen.time, sent_, kAftermath)) return Fit::none;
  if (hasClient(seen.client)) return Fit::sameClient;
  if (bothKnown) return Fit::sameProcess;
  const bool isCrossing = seen.server == asked_.server && isWithin(seen.time, sent_, kCrossingTime);
  return isCrossing ? Fit::sameCrossing : Fit::none;
}

// Whoever can guess an identifier still has to guess the port, as with the asker itself.
Exchange::Fit Exchange::fitOfResponse(const Sighting& seen) const {
  if (!hasClient(seen.client) || seen.time < begun_) return Fit::none;
  const bool isLate = isOver() && !isWithin(seen.time, *answered_, kAftermath);
  return isLate ? Fit::none : Fit::sameClient;
}

bool Exchange::hasClient(const Endpoint& client) const {
  return std::ranges::find(clients_, client) != clients_.end();
}

void Exchange::add(const ExchangePacket& packet) {
  if (!packet.seen.isResponse) return addQuery(packet);
  // After a truncated response the asker goes on over TCP (RFC 7766, section 5).
  if (!isOver_ && !isTruncated(packet.dns)) answered_ = packet.seen.time;
}

// Behind a translation of addresses, the response that is seen first can have the port of the
// translation; the sender's own is that of its query.
std::optional<EventExchange> Exchange::outline(const Sighting& response) const {
  auto outline = outlineOf(response);
  if (!outline || asked_.isResponse) return outline;
  if (asked_.server == response.server) outline->clientPort = asked_.client.port;
  outline->durationUs = (response.time - begun_).count();
  return outline;
}

void Exchange::end(std::chrono::microseconds time) {
  answered_ = time;
  isOver_ = true;
  event_ = nullptr;
}

void Exchange::addQuery(const ExchangePacket& packet) {
  const auto& seen = packet.seen;
  const bool isSentAgain = hasClient(seen.client) || packet.process;
  if (isSentAgain) sent_ = std::max(sent_, seen.time);
  begun_ = std::min(begun_, seen.time);
  if (packet.process) {
    pid_ = packet.process->pid;
    asked_ = seen;
  }
  if (hasClient(seen.client)) return;
  if (clients_.size() == kMostClients) clients_.erase(clients_.begin());
  clients_.push_back(seen.client);
}

}  // namespace tovi
