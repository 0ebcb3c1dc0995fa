#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "events/BoundedCounts.h"
#include "events/ToviDNSEvent.h"
#include "report/AnswerTimes.h"
#include "report/ExchangeMatcher.h"
#include "report/Timeline.h"

namespace tovi::report {

/// What a report tells, gathered while a capture is read. Its memory does not grow with the
/// capture. One thread.
class ReportFigures {
 public:
  /// Separates the process from the name in the texts of `askedNames`.
  static constexpr char kAskerSeparator = '\0';

  /// Comes before the messages, events and failures of the packet.
  void addPacket(Date time);
  /// A DNS message in the form in which capture hands it to the events.
  void addMessage(std::string_view recordText);
  void addUndecodable(std::string_view reason);
  void addEvent(const ToviDNSEvent& event);
  /// Why a file was not read to its end.
  void addFault(std::string_view text) { faults_.emplace_back(text); }

  std::uint64_t packets() const { return packets_; }
  /// Zero before the first packet, as is `last`.
  Date first() const { return first_; }
  Date last() const { return last_; }
  const std::vector<std::string>& faults() const { return faults_; }
  const Timeline& timeline() const { return timeline_; }
  const ExchangeMatcher& exchanges() const { return exchanges_; }
  const AnswerTimes& answerTimes() const { return answerTimes_; }
  const BoundedCounts& undecodable() const { return undecodable_; }

  // Of the responses; "(none)", which is no name as names are written, stands for that of a
  // response without a question.
  const BoundedCounts& responseCodes() const { return responseCodes_; }
  const BoundedCounts& failedNames() const { return failedNames_; }

  // Of the events; "(none)" stands for what an event does not have.
  std::uint64_t events() const { return types_.total(); }
  const BoundedCounts& names() const { return names_; }
  const BoundedCounts& types() const { return types_; }
  const BoundedCounts& eventCodes() const { return eventCodes_; }
  /// Of the events whose process is known.
  const BoundedCounts& askedNames() const { return askedNames_; }

 private:
  void addResponse(const ExchangeMatcher::Message& response, std::string_view code);

  /// Of the packet or message that the next figures are of.
  Date now_;
  Date first_;
  Date last_;
  std::uint64_t packets_ = 0;
  std::vector<std::string> faults_;
  Timeline timeline_;
  ExchangeMatcher exchanges_;
  AnswerTimes answerTimes_;
  BoundedCounts undecodable_;
  BoundedCounts responseCodes_;
  BoundedCounts failedNames_;
  BoundedCounts names_;
  BoundedCounts types_;
  BoundedCounts eventCodes_;
  BoundedCounts askedNames_;
};

}  // namespace tovi::report
