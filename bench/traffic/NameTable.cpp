#include "bench/traffic/NameTable.h"

#include <algorithm>
#include <array>

namespace tovi::bench {

namespace {

constexpr std::array kSyllables = {"ka", "ro", "mi",  "tel", "san", "ver", "lo",  "nix",
                                   "pa", "du", "bel", "co",  "ri",  "zan", "tor", "e"};
constexpr std::array kHosts = {"www", "api", "cdn", "mail", "img", "static", "events", "login"};
constexpr std::array kSuffixes = {"com", "com", "com", "net", "org", "io", "co.uk", "example"};

template <std::size_t Size>
const char* oneOf(const std::array<const char*, Size>& texts, Random& random) {
  return texts[random.below(Size)];
}

std::string word(Random& random) {
  std::string word;
  for (auto syllables = random.between(2, 5); syllables > 0; --syllables) {
    word += oneOf(kSyllables, random);
  }
  return word;
}

/// Two to five labels; the long ones look like those of content networks.
std::string madeName(Random& random) {
  std::string name = word(random) + "." + oneOf(kSuffixes, random);
  if (random.chance(25)) name = word(random) + "." + name;
  if (random.chance(15))
    name = word(random) + "-" + std::to_string(random.below(1000)) + "." + name;
  if (random.chance(60)) name = std::string(oneOf(kHosts, random)) + "." + name;
  return name;
}

}  // namespace

NameTable::NameTable(std::size_t count, Random& random) {
  double sum = 0;
  for (std::size_t rank = 1; rank <= count; ++rank) {
    names_.push_back(madeName(random));
    probability_.push_back(sum += 1 / static_cast<double>(rank));
  }
  for (double& each : probability_) each /= sum;
}

const std::string& NameTable::pick(Random& random) const {
  const auto found = std::ranges::upper_bound(probability_, random.unit());
  return names_[static_cast<std::size_t>(found - probability_.begin())];
}

}  // namespace tovi::bench
