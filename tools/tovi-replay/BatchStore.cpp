#include "tovi-replay/BatchStore.h"

namespace tovi::replay {

static std::filesystem::path madeDirectory(const std::filesystem::path& directory) {
  std::filesystem::create_directories(directory);
  return std::filesystem::canonical(directory);
}

BatchStore::BatchStore(const ReplayOptions& options, ReplayCounts& counts, ReplayClock& clock)
    : directory_(madeDirectory(options.storeDirectory)),
      counts_(counts),
      clock_(clock),
      keychain_(directory_ / "keychain", "ToviAgent"),
      protector_(keychain_),
      coreData_(directory_ / "store"),
      deliveryHandler_(clock, settings_),
      persistence_(coreData_, clock, settings_, variables_, deliveryHandler_, protector_),
      repetitions_(kRememberedNames, clock, variables_),
      packer_(variables_, persistence_, clock, settings_, repetitions_) {
  checkKey();
  repetitions_.setMessageTimeoutSec(
      options.repetitionInterval.value_or(defaultSetting<double>("removal_register_timeout")));
  packer_.setBatchSize(options.batchSize);
}

// The protector carries on with a key that could not be kept; here that would make a store that
// nobody can ever read.
void BatchStore::checkKey() const {
  if (keychain_.read(protector_.kKeyAccount)) return;
  throw std::runtime_error((directory_ / "keychain").string() + ": the key cannot be kept there");
}

void BatchStore::addMessage(ToviDNSEventPointer event) {
  ++counts_.events;
  packer_.addMessage(std::move(event));
}

// With nothing in the batch yet, this only makes its delay run from the first packet.
void BatchStore::begin() {
  packer_.closeBatchIfDue();
}

bool BatchStore::finish() {
  clock_.advance(defaultSetting<double>("dns_batch_max_delay"));
  packer_.closeBatchIfDue();
  const bool isSaved = persistence_.waitUntilSaved();
  counts_.repetitions = packer_.repeated().count();
  counts_.batches = persistence_.stored().count();
  return isSaved && persistence_.dropped().count() == 0;
}

}  // namespace tovi::replay
