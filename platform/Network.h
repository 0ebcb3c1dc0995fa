#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tovi::platform {

struct InterfaceAddress {
  std::string interfaceName;
  /// Another one when the interface is deleted and made again.
  unsigned interfaceIndex = 0;
  /// Numeric host text as getnameinfo(3) writes it, IPv4 or IPv6.
  std::string address;
};

/// Every address of every interface that is up, in the operating system's order; empty on failure.
std::vector<InterfaceAddress> interfaceAddresses();

/// IPv4 addresses of the resolvers that this machine asks, in order, read afresh at each call:
/// from systemd-resolved's list of real servers where that exists, else from resolv.conf(5).
std::vector<std::string> resolverAddresses();

/// Tells of changes of the machine's interfaces and of their IPv4 addresses.
class NetworkChanges {
 public:
  NetworkChanges();
  ~NetworkChanges();
  NetworkChanges(const NetworkChanges&) = delete;
  NetworkChanges& operator=(const NetworkChanges&) = delete;

  /// False when the operating system offers no notifications.
  bool isOpen() const;
  /// Blocks, calling `onChange` on this thread after each change (changes close together may share
  /// one call), until `stop`. Returns at once when not open or already stopped.
  void run(const std::function<void()>& onChange);
  /// Ends `run`, for good. Any thread.
  void stop();

 private:
  struct Native;
  std::unique_ptr<Native> native_;
};

}  // namespace tovi::platform
