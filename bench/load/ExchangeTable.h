#pragma once

#include <cstdint>
#include <vector>

#include "bench/traffic/ExchangeGenerator.h"

namespace tovi::bench {

/// An exchange for each transaction identifier but 0, so that whoever has the same seed knows the
/// response to a query by its first two octets.
class ExchangeTable {
 public:
  explicit ExchangeTable(std::uint64_t seed) {
    ExchangeGenerator generator(seed);
    exchanges_.resize(1);
    for (unsigned id = 1; id < 65536; ++id) {
      exchanges_.push_back(generator.next(static_cast<std::uint16_t>(id)));
    }
  }

  /// The exchange of identifier 0 is empty.
  const Exchange& operator[](std::uint16_t id) const { return exchanges_[id]; }

 private:
  std::vector<Exchange> exchanges_;
};

}  // namespace tovi::bench
