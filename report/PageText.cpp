#include "report/PageText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

#include "core/TimeProvider.h"

namespace tovi::replay {
namespace {

using namespace std::chrono;

std::string formatted(const char* format, double value) {
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), format, value);
  return text.data();
}

/// Less the zeros behind the point.
std::string withoutZeros(std::string number) {
  if (number.find('.') == number.npos) return number;
  number.erase(number.find_last_not_of('0') + 1);
  if (number.back() == '.') number.pop_back();
  return number;
}

std::string threeDigits(double value) {
  return formatted(value < 9.995 ? "%.2f" : value < 99.95 ? "%.1f" : "%.0f", value);
}

}  // namespace

std::string numberText(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t at = text.size(); at > 3;) text.insert(at -= 3, 1, ',');
  return text;
}

std::string shareText(std::uint64_t part, std::uint64_t whole) {
  if (whole == 0) return "0 %";
  return formatted("%.1f %%", 100 * static_cast<double>(part) / static_cast<double>(whole));
}

std::string shortTimeText(nanoseconds time) {
  const auto count = static_cast<double>(time.count());
  if (time < 1us) return formatted("%.0f ns", count);
  if (count < 999.5e3) return threeDigits(count / 1e3) + " µs";
  if (count < 999.5e6) return threeDigits(count / 1e6) + " ms";
  return threeDigits(count / 1e9) + " s";
}

std::string roundTimeText(nanoseconds time) {
  const std::string text = shortTimeText(time);
  const auto unit = text.find(' ');
  return withoutZeros(text.substr(0, unit)) + text.substr(unit);
}

std::string longTimeText(milliseconds time) {
  struct Unit {
    milliseconds length;
    const char* name;
  };
  constexpr Unit kUnits[] = {{days(1), " d"}, {1h, " h"}, {1min, " min"}, {1s, " s"}};
  if (time < 1s) return std::to_string(time.count()) + " ms";
  if (time < 1min) return withoutZeros(formatted("%.3f", duration<double>(time).count())) + " s";
  const auto* unit =
      std::ranges::find_if(kUnits, [&](const Unit& one) { return time >= one.length; });
  const auto first = static_cast<std::uint64_t>(time / unit->length);
  const auto second = time % unit->length / std::next(unit)->length;
  const std::string text = numberText(first) + unit->name;
  return second == 0 ? text : text + " " + std::to_string(second) + std::next(unit)->name;
}

std::string dateText(Date date) {
  return formattedDate(date, "yyyy-MM-dd HH:mm:ss.SSS");
}

std::string percent(double share) {
  return formatted("%.3f%%", share * 100);
}

}  // namespace tovi::replay
