#include "status/BundleInfoProvider.h"

#include <utility>

namespace tovi {

BundleInfoProvider::BundleInfoProvider(std::optional<std::string> shortVersion)
    : shortVersion_(std::move(shortVersion)) {}

}  // namespace tovi
