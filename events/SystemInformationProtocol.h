#pragma once

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
};

}  // namespace tovi
