#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "bench/traffic/Random.h"

namespace tovi::bench {

/// Made-up domain names, some asked for far more often than others: the one of rank k with a
/// probability in proportion to 1/k (Zipf's law).
class NameTable {
 public:
  NameTable(std::size_t count, Random& random);

  /// Holds as long as the table.
  const std::string& pick(Random& random) const;

 private:
  std::vector<std::string> names_;
  /// Of a name and all before it; the last is 1.
  std::vector<double> probability_;
};

}  // namespace tovi::bench
