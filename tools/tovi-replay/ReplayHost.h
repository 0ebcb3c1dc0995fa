#pragma once

#include "events/BundleProviderProtocol.h"
#include "events/SystemInformationProtocol.h"
#include "events/UserInfoBuilderProtocol.h"

namespace tovi::replay {

/// A host without name, users and addresses: the captured packets came from another one, and the
/// output is to be the same on every machine. Any thread.
class ReplayHost : public SystemInformationProtocol,
                   public UserInfoBuilderProtocol,
                   public BundleProviderProtocol {
 public:
  std::vector<std::string> localAddresses() override;
  std::map<std::string, std::string> userNames() override;
  SystemInformation systemInformation() override;
  std::string name() const override;
  std::uint64_t revision() const override;
  std::vector<User> loggedUsers() override;
  /// The version of this program.
  std::optional<std::string> shortVersion() const override;
};

}  // namespace tovi::replay
