#pragma once

#include <chrono>
#include <string_view>

namespace tovi {

namespace platform {
struct Flow;
}
struct DnsHeader;

/// A DNS message that was decoded and is passed on as a record text, with what that leaves out. All
/// is borrowed.
struct ObservedMessage {
  /// When its last part was captured, of a stream that lacks some the last one at all.
  std::chrono::system_clock::time_point time;
  const platform::Flow& flow;
  /// The address that it came from.
  std::string_view sender;
  const DnsHeader& header;
  /// Of the first question, as in the record text; empty when nothing is asked.
  std::string_view questionName;
  /// What the lookup told of the asker; empty when none was looked for or found.
  std::string_view processes;
  std::string_view recordText;
};

/// Watches the messages that capture passes on. Called on the capture threads, in parallel.
class MessageObserverProtocol {
 public:
  virtual ~MessageObserverProtocol() = default;

  /// Never fails outward. The message is borrowed for the duration of the call.
  virtual void observe(const ObservedMessage& message) = 0;
};

}  // namespace tovi
