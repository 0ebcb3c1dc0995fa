#include "core/KeychainHelper.h"

namespace tovi {

using platform::SecretStatus;

KeychainHelper::KeychainHelper(const std::filesystem::path& keychains, std::string_view serviceName)
    : items_(keychains / serviceName) {}

void KeychainHelper::save(ByteView value, std::string_view key) {
  SecretStatus status = items_.add(key, value);
  if (status.code == SecretStatus::Duplicate) status = items_.update(key, value);
  if (status.code == SecretStatus::Done) return;
  logger_.debug("save(_:service:account:)", "Error writing key", " *** ", status.text);
}

SecretStatus KeychainHelper::readInto(Bytes& value, std::string_view key) const {
  SecretStatus status = items_.read(key, value);
  if (status.code != SecretStatus::Done) {
    logger_.debug("read(service:account:)", "Error reading key", " *** ", status.text);
  }
  return status;
}

bool KeychainHelper::remove(std::string_view key) {
  const SecretStatus status = items_.remove(key);
  if (status.code == SecretStatus::Done) return true;
  logger_.debug("delete(service:account:)", "Error deleting key", " *** ", status.text);
  return false;
}

}  // namespace tovi
