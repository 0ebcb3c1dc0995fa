#include "pipeline/MessagePacker.h"

#include <utility>

#include "core/Settings.h"
#include "events/EventJson.h"

namespace tovi {

static constexpr SettingKey<std::int64_t> kBatchSize = "dns_batch_size";
static constexpr SettingKey<double> kBatchDelay = "dns_batch_max_delay";

/// The name on which repetitions are recognised; null when the event asks nothing.
static const std::string* questionName(const ToviDNSEvent& event) {
  if (!event.dnsPacket || !event.dnsPacket->question) return nullptr;
  const auto& name = event.dnsPacket->question->name;
  return name ? &*name : nullptr;
}

MessagePacker::MessagePacker(SavePropertyManagerProtocol& permanentVariable,
                             MessagePersistenceProtocol& persistence,
                             TimeProviderProtocol& timeProvider,
                             const GetPropertyManagerProtocol& properties,
                             MessageFilterProtocol& filter)
    : permanentVariable_(permanentVariable),
      persistence_(persistence),
      timeProvider_(timeProvider),
      properties_(properties),
      filter_(filter),
      batchSize_(setting(permanentVariable, kBatchSize)),
      timeOutSec_(setting(permanentVariable, kBatchDelay)),
      previousMessageTimestamp_(timeProvider.now()) {}

/// Empty when unknown.
static std::string processName(const ToviDNSEvent& event) {
  return event.process ? event.process->name.value_or("") : "";
}

MessagePacker::~MessagePacker() {
  Texts closed;
  close(closed);
  store(closed);
}

void MessagePacker::addMessage(ToviDNSEventPointer event) {
  permanentVariable_.increment("dns_events_count");
  store(serialQueue_.sync([&] {
    Texts closed;
    if (isNew(*event)) append(*event, closed);
    closeIfDue(closed);
    return closed;
  }));
}

bool MessagePacker::isNew(const ToviDNSEvent& event) {
  const auto* name = questionName(event);
  if (!name) return false;
  if (filter_.filterResult(*name, processName(event))) return true;
  repeated_.add();
  return false;
}

void MessagePacker::append(const ToviDNSEvent& event, Texts& closed) {
  std::string text = jsonText(event);
  if (containerBytes_ + text.size() > kMostBatchBytes) close(closed);
  containerBytes_ += text.size();
  messageContainer_.push_back({std::move(text)});
}

void MessagePacker::closeBatchIfDue() {
  store(serialQueue_.sync([&] {
    Texts closed;
    closeIfDue(closed);
    return closed;
  }));
}

void MessagePacker::closeIfDue(Texts& closed) {
  const bool full = std::cmp_greater_equal(messageContainer_.size(), batchSize_.load()) ||
                    containerBytes_ >= kMostBatchBytes;
  const double age = secondsBetween(previousMessageTimestamp_, timeProvider_.now());
  if (full || age >= timeOutSec_) close(closed);
}

void MessagePacker::close(Texts& closed) {
  previousMessageTimestamp_ = timeProvider_.now();
  if (messageContainer_.empty()) return;
  containerBytes_ = 0;
  closed.push_back(jsonText(WrittenDNSEvents{
      timeProvider_.currentTime(), properties_.getString("dns_message_version").value_or("1.0.0.0"),
      std::exchange(messageContainer_, {})}));
}

void MessagePacker::store(const Texts& batches) {
  for (const auto& text : batches) persistence_.saveMessage(text);
}

void MessagePacker::setBatchSize(std::int64_t events) {
  if (batchSize_.exchange(events) != events) {
    permanentVariable_.save(kBatchSize.name, PropertyValue{events});
  }
}

void MessagePacker::setBatchDelay(double seconds) {
  if (timeOutSec_.exchange(seconds) != seconds) {
    permanentVariable_.save(kBatchDelay.name, PropertyValue{seconds});
  }
}

}  // namespace tovi
