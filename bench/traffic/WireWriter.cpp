#include "bench/traffic/WireWriter.h"

#include <algorithm>

namespace tovi::bench {

void WireWriter::name(std::string_view name) {
  constexpr unsigned kPointer = 0xc000;
  while (!name.empty()) {
    const auto known = std::ranges::find(written_, name, &Written::name);
    if (known != written_.end()) return u16(kPointer | static_cast<unsigned>(known->at));
    written_.push_back({std::string(name), octets_.size()});
    const auto label = name.substr(0, name.find('.'));
    u8(static_cast<unsigned>(label.size()));
    text(label);
    name.remove_prefix(std::min(label.size() + 1, name.size()));
  }
  u8(0);
}

}  // namespace tovi::bench
