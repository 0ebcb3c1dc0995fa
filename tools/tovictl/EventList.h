#pragma once

#include <cstddef>
#include <string>

#include "events/ToviDNSEvent.h"
#include "tovictl/Colours.h"

namespace tovi::ctl {

/// DNS events as a person reads them, one a line, under a heading and the day. One thread.
class EventList {
 public:
  explicit EventList(const Colours& colours) : colours_(colours) {}

  /// The event's line with its end, in local time; before it the heading, once, and the day where
  /// it is another than that of the line before. No line is wider than `columns`, and whatever the
  /// event holds is safe to show. Throws formats::UnreadableEvent for one without a time or an
  /// exchange.
  std::string lines(const ToviDNSEvent& event, std::size_t columns);

 private:
  const Colours colours_;
  // Of the line before; empty before the first.
  std::string day_;
};

}  // namespace tovi::ctl
