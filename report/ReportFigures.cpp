#include "report/ReportFigures.h"

#include <algorithm>
#include <chrono>

#include "events/DnsEventNames.h"
#include "events/RecordTextReader.h"
#include "report/HtmlText.h"

namespace tovi::report {
namespace {

constexpr std::string_view kNone = "(none)";
// Of name, type and class in the question of a record text.
constexpr char kFieldSeparator = ';';

std::string_view firstQuestion(const RecordTextReader& record) {
  return record.queries.size() > 0 ? record.queries.begin()->value : std::string_view();
}

std::string_view orNone(const std::optional<std::string>& text) {
  return text ? std::string_view(*text) : kNone;
}

}  // namespace

void ReportFigures::addPacket(Date time) {
  now_ = time;
  first_ = packets_ == 0 ? time : std::min(first_, time);
  last_ = std::max(last_, time);
  ++packets_;
  ++timeline_.at(now_).packets;
}

void ReportFigures::addMessage(std::string_view recordText) {
  const RecordTextReader record(recordText);
  const auto seen = sightingFrom(record.packet);
  if (!seen) return;
  // A message of a stream can be told by a later packet. Else the packet's time is the exact one.
  if (std::chrono::floor<std::chrono::microseconds>(now_) != Date(seen->time)) {
    now_ = Date(seen->time);
  }
  ++timeline_.at(now_).messages;
  const ExchangeMatcher::Message message{seen->client, seen->server, record.id,
                                         firstQuestion(record), now_};
  if (seen->isResponse) {
    addResponse(message, record.response);
  } else {
    exchanges_.addQuery(message);
  }
}

void ReportFigures::addResponse(const ExchangeMatcher::Message& response, std::string_view code) {
  responseCodes_.add(responseCodeName(code));
  if (const auto time = exchanges_.addResponse(response)) answerTimes_.add(*time);
  if (code == "0") return;
  ++timeline_.at(now_).failed;
  const auto name = response.question.substr(0, response.question.find(kFieldSeparator));
  failedNames_.add(name.empty() ? kNone : name);
}

void ReportFigures::addUndecodable(std::string_view reason) {
  undecodable_.add(reason);
  ++timeline_.at(now_).undecodable;
}

void ReportFigures::addEvent(const ToviDNSEvent& event) {
  ++timeline_.at(now_).events;
  static const DnsPacket kNoPacket;
  static const Query kNoQuestion;
  const DnsPacket& packet = event.dnsPacket ? *event.dnsPacket : kNoPacket;
  const Query& question = packet.question ? *packet.question : kNoQuestion;
  const auto name = orNone(question.name);
  names_.add(name);
  types_.add(orNone(question.type));
  eventCodes_.add(orNone(packet.responseCode));
  if (!event.process) return;
  // What is shown has no separator in it.
  const auto asker = visibleText(orNone(event.process->name)) + kAskerSeparator;
  askedNames_.add(asker + std::string(name));
}

}  // namespace tovi::report
