#pragma once

#include "core/PersistenceDataProtocol.h"
#include "core/ToviLog.h"
#include "platform/SecretItems.h"

namespace tovi {

/// Keeps the daemon's secrets as items of the platform's secret store under one service name.
/// Any thread.
class KeychainHelper : public PersistenceDataProtocol {
 public:
  /// The items lie in a directory named after the service, below `keychains`.
  KeychainHelper(const std::filesystem::path& keychains, std::string_view serviceName);

  void save(ByteView value, std::string_view key) override;
  platform::SecretStatus readInto(Bytes& value, std::string_view key) const override;
  bool remove(std::string_view key) override;

 private:
  ToviLog logger_{kCoreSubsystem, "KeychainHelper"};
  platform::SecretItems items_;
};

}  // namespace tovi
