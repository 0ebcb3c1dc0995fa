#include "report/ReportFigures.h"

#include <algorithm>
#include <numeric>

#include "capture/DnsMessage.h"
#include "capture/RecordText.h"
#include "events/DnsEventNames.h"
#include "events/RecordTextReader.h"
#include "report/HtmlText.h"

namespace tovi::report {
namespace {

constexpr std::string_view kNone = "(none)";

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

void ReportFigures::observe(const ObservedMessage& message) {
  now_ = message.time;
  ++timeline_.at(now_).messages;
  const RecordTextReader record(message.recordText);
  const ExchangeMatcher::Message asked{message.flow, message.header.id, firstQuestion(record),
                                       now_};
  if (message.header.isResponse) {
    addResponse(asked, message.header.responseCode);
  } else {
    exchanges_.addQuery(asked);
  }
}

void ReportFigures::addResponse(const ExchangeMatcher::Message& response, unsigned code) {
  responseCodes_.add(responseCodeName(std::to_string(code)));
  if (const auto time = exchanges_.addResponse(response)) answerTimes_.add(*time);
  if (code == 0) return;
  ++timeline_.at(now_).failed;
  const auto name =
      response.question.substr(0, response.question.find(recordtext::kFieldSeparator));
  failedNames_.add(name.empty() ? kNone : name);
}

void ReportFigures::addUndecodable(Undecodable reason) {
  ++undecodable_[static_cast<std::size_t>(reason)];
  ++timeline_.at(now_).undecodable;
}

std::uint64_t ReportFigures::undecodable() const {
  return std::accumulate(undecodable_.begin(), undecodable_.end(), std::uint64_t{0});
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
