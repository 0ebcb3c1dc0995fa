#include "tovictl/Interval.h"

#include <charconv>

namespace tovi::ctl {

std::chrono::milliseconds intervalOf(const CommandLine& line) {
  const auto text = line.value("--interval").value_or("2");
  double seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  const bool isNumber = error == std::errc{} && end == text.data() + text.size();
  // Written so that NaN fails as well.
  if (!isNumber || !(seconds >= 0.1 && seconds <= 3600)) {
    throw UsageError("--interval takes 0.1 to 3600 seconds");
  }
  return std::chrono::milliseconds(static_cast<std::int64_t>(seconds * 1000));
}

}  // namespace tovi::ctl
