#include "toolkit/Figures.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>

namespace tovi {

using namespace std::chrono;

std::string grouped(std::string digits) {
  const std::size_t first = digits.starts_with('-') ? 1 : 0;
  for (auto place = digits.size(); place > first + 3;) digits.insert(place -= 3, ",");
  return digits;
}

std::string counted(std::int64_t number, std::string_view noun) {
  return numberText(number) + " " + std::string(noun) + (number == 1 ? "" : "s");
}

std::string fixedPoint(double number, int digits) {
  std::array<char, 512> text;
  std::snprintf(text.data(), text.size(), "%.*f", digits, number);
  return text.data();
}

std::string roundText(double number) {
  auto text = fixedPoint(number, 3);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

std::string shareText(std::uint64_t part, std::uint64_t whole) {
  if (whole == 0) return "0 %";
  return fixedPoint(100 * static_cast<double>(part) / static_cast<double>(whole), 1) + " %";
}

std::string durationText(milliseconds time) {
  struct Unit {
    milliseconds length;
    const char* name;
  };
  constexpr Unit kUnits[] = {{days(1), " d"}, {1h, " h"}, {1min, " min"}, {1s, " s"}};
  if (time < 1s) return std::to_string(time.count()) + " ms";
  if (time < 1min) return roundText(duration<double>(time).count()) + " s";
  const auto* unit =
      std::ranges::find_if(kUnits, [&](const Unit& one) { return time >= one.length; });
  const auto first = time / unit->length;
  const auto second = time % unit->length / std::next(unit)->length;
  const auto text = numberText(first) + unit->name;
  return second == 0 ? text : text + " " + std::to_string(second) + std::next(unit)->name;
}

}  // namespace tovi
