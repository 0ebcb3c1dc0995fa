#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "capture/MessageReceivedProtocol.h"
#include "core/SavePropertyManagerProtocol.h"
#include "core/Tally.h"
#include "core/TimeProviderProtocol.h"
#include "core/ToviLog.h"
#include "events/BundleProviderProtocol.h"
#include "events/MessageContainerProtocol.h"
#include "events/MessagePackerProtocol.h"
#include "events/SystemInformationProtocol.h"
#include "events/UserInfoBuilderProtocol.h"

namespace tovi {

struct RecordTextReader;

/// Joins the record texts of a query and of its response, which share a transaction identifier, a
/// question and a client, into one event, however often and in whatever order several interfaces
/// saw them. An event goes to the packer once a response with at least one answer has come; until
/// then it waits in the container. A response whose query was not seen makes an event without a
/// process. The answers of an event take kMostAnswerBytes of JSON at the most. Called from several
/// threads at once.
class ToviDNSMessageBuilder : public MessageReceivedProtocol {
 public:
  using Domains = std::set<std::string, std::less<>>;

  /// Some hundred addresses. A message over TCP can hold answers of which megabytes of JSON would
  /// come, and events are passed on many at a time.
  static constexpr std::size_t kMostAnswerBytes = std::size_t{32} << 10;

  /// All must outlive the builder.
  struct Collaborators {
    MessagePackerProtocol& packer;
    TimeProviderProtocol& timeProvider;
    SystemInformationProtocol& systemProvider;
    BundleProviderProtocol& bundleProvider;
    /// Keeps the time of the last event that was begun.
    SavePropertyManagerProtocol& variable;
    MessageContainerProtocol& container;
    UserInfoBuilderProtocol& userInfo;
  };

  /// Exchanges about a name in `undesireDomains` are refused; the match is exact.
  ToviDNSMessageBuilder(const Collaborators& collaborators, Domains undesireDomains);

  void feed(std::string_view recordText) override;

  /// Events that went to the packer.
  const Tally& events() const { return events_; }
  /// Texts that make no event: malformed ones, those without an identifier or a question, and those
  /// about an undesired domain.
  const Tally& refused() const { return refused_; }

 private:
  void feed(const RecordTextReader& data, std::int64_t id);
  /// False when nothing is asked. Throws AgentErrors.
  bool parseDataIntoEvent(const RecordTextReader& data, std::int64_t id);
  /// Gives the event, which has the packet, what earlier packets of the exchange told, and lets it
  /// wait unless it is whole. False when the exchange is over.
  bool join(const std::shared_ptr<ToviDNSEvent>& event, const ExchangePacket& packet);
  void begin(ToviDNSEvent& event, const ToviDNSEvent* pending);
  std::string beginTimestamp();
  std::shared_ptr<const EventSystem> currentSystem();
  EventSystem buildSystem();
  /// Throws AgentErrors for a question that is malformed or about an undesired domain.
  DnsPacket buildDnsPacket(const RecordTextReader& data, std::int64_t id) const;
  std::optional<Query> firstQuestion(const RecordTextReader& data) const;
  Query parseQuestion(std::string_view value) const;
  /// Fills the answers, as many of the first as one event has room for.
  void getAnswers(const RecordTextReader& data, DnsPacket& packet) const;
  std::optional<Flags> getFlags(const RecordTextReader& data) const;

  // Constant after construction.
  ToviLog logger_{"ToviDNSMessageBuilder", "main"};
  MessagePackerProtocol& packer_;
  TimeProviderProtocol& timeProvider_;
  SystemInformationProtocol& systemProvider_;
  BundleProviderProtocol& bundleProvider_;
  SavePropertyManagerProtocol& variable_;
  UserInfoBuilderProtocol& userInfo_;
  const Domains undesireDomains_;

  Tally events_;
  Tally refused_;

  // Guarded by the mutex.
  std::mutex containerMutex_;
  MessageContainerProtocol& container_;

  // Guarded by the mutex: the host as it was last gathered.
  std::mutex systemMutex_;
  std::shared_ptr<const EventSystem> system_;
  std::uint64_t systemRevision_ = 0;
};

}  // namespace tovi
