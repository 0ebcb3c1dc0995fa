#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Flow.h"

namespace tovi::platform {

enum class Transport { udp, tcp };

/// A DNS query that was captured, and may have left from a socket of this machine.
struct CapturedQuery {
  Flow flow;
  Transport transport = Transport::udp;
  /// Of the DNS message (RFC 1035, section 4.1.1).
  std::uint16_t identifier = 0;
  /// When it was captured; 1970 when unknown.
  std::chrono::system_clock::time_point time = {};
  /// The index of the interface on which it was captured; 0 when unknown.
  unsigned interfaceIndex = 0;
};

/// Who sent a query. What is unknown is empty. All but the numbers is chosen by the process or
/// those who started it, and can hold any byte.
struct QuerySender {
  /// The processes, as lsof(8) with "-n +c0 -i" tells them: a header line, then a row each, with
  /// command, process identifier and user as the first three columns. A process cannot forge rows
  /// or columns by its name. Empty when nobody was found; all else is empty then, too, and else it
  /// is about the process of the first row.
  std::string rows = {};
  /// The systemd unit or the container of its control group.
  std::string unit = {};
  /// 0 when unknown.
  int parentProcess = 0;
  std::string parentName = {};
  /// The path of its program.
  std::string executable = {};
};

/// Finds the process that sent a query; nobody rather than one that is not certain. Any thread,
/// several at once.
using ProcessLookup = std::function<QuerySender(const CapturedQuery&)>;

/// Finds the processes that send queries, in the best way that there is. Any thread.
class ProcessFinder {
 public:
  /// The way to look, chosen by name. "kernel": what the kernel noted while the query was sent.
  /// "search": who holds the socket that the query left from now. "lsof": that program, which finds
  /// a socket by its port alone and takes some ten milliseconds, a second at the most. Else the
  /// first where it can be used, and the second only where it cannot: then it is tried again now
  /// and then, when nobody was found.
  explicit ProcessFinder(std::optional<std::string_view> way);
  ~ProcessFinder();
  ProcessFinder(const ProcessFinder&) = delete;
  ProcessFinder& operator=(const ProcessFinder&) = delete;

  QuerySender find(const CapturedQuery& query);

  struct Report {
    /// The way in force, as above; "none" where none can be used.
    std::string way;
    /// Why no better one is; empty for the best one, and where it was chosen.
    std::string reason;
    /// Queries whose sender was found, by way.
    std::uint64_t foundByKernel = 0;
    std::uint64_t foundBySearch = 0;
    std::uint64_t foundByLsof = 0;
    /// Senders that the kernel forgot to make room for others since its programs were put in place.
    std::uint64_t sendersForgotten = 0;
  };
  Report report() const;

 private:
  class Native;
  std::unique_ptr<Native> native_;
};

}  // namespace tovi::platform
