#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "events/ToviDNSEvent.h"

namespace tovi::fuzz {

/// Takes record texts on to events and their JSON. Requires each JSON to be one line of UTF-8 that
/// reads back as the same event, and each log entry on the way to be one line of UTF-8. One thread,
/// and one of them at a time.
class EventCheck {
 public:
  /// Exchanges about it are refused.
  static constexpr std::string_view kUndesiredDomain = "collector.test";

  EventCheck();
  ~EventCheck();

  void feed(std::string_view recordText);
  /// The events so far, in order.
  const std::vector<ToviDNSEventPointer>& events() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tovi::fuzz
