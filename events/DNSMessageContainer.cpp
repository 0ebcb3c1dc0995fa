#include "events/DNSMessageContainer.h"

namespace tovi {

// A transaction identifier has 16 bits (RFC 1035, section 4.1.1).
static constexpr std::int64_t kIdentifiers = 65536;

DNSMessageContainer::DNSMessageContainer(std::int64_t countLimit)
    : messageContainer_(countLimit > 0 ? countLimit : kIdentifiers) {}

void DNSMessageContainer::set(std::int64_t id, ToviDNSEventPointer event) {
  std::lock_guard lock(mutex_);
  if (messageContainer_.set(id, std::move(event))) forgotten_.add();
}

ToviDNSEventPointer DNSMessageContainer::get(std::int64_t id) {
  std::lock_guard lock(mutex_);
  const auto* event = messageContainer_.peek(id);
  return event ? *event : nullptr;
}

void DNSMessageContainer::remove(std::int64_t id) {
  std::lock_guard lock(mutex_);
  messageContainer_.remove(id);
}

}  // namespace tovi
