#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tovi {

struct SystemInformation;

/// What the system knows of itself. Any thread.
class SystemInformationProtocol {
 public:
  virtual ~SystemInformationProtocol() = default;
  virtual std::vector<std::string> localAddresses() = 0;
  /// The texts found so far by UserInfoProtocol::fullNameText, by account name.
  virtual std::map<std::string, std::string> userNames() = 0;
  /// The machine's description, refreshed every so many requests.
  virtual SystemInformation systemInformation() = 0;
  /// The machine's name, fixed for the life of the process.
  virtual std::string name() const = 0;
  /// Changes when localAddresses or the logged-in users may have changed since. Cheap; what is
  /// gathered after asking for it is at least as new as it.
  virtual std::uint64_t revision() const = 0;
};

}  // namespace tovi
