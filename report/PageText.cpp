#include "report/PageText.h"

#include "core/DateText.h"
#include "toolkit/Figures.h"

namespace tovi::report {
namespace {

using namespace std::chrono;

std::string threeDigits(double value) {
  return fixedPoint(value, value < 9.995 ? 2 : value < 99.95 ? 1 : 0);
}

}  // namespace

std::string shortTimeText(nanoseconds time) {
  const auto count = static_cast<double>(time.count());
  if (time < 1us) return fixedPoint(count, 0) + " ns";
  if (count < 999.5e3) return threeDigits(count / 1e3) + " µs";
  if (count < 999.5e6) return threeDigits(count / 1e6) + " ms";
  return threeDigits(count / 1e9) + " s";
}

std::string roundTimeText(nanoseconds time) {
  const std::string text = shortTimeText(time);
  return roundText(std::stod(text)) + text.substr(text.find(' '));
}

std::string dateText(Date date) {
  return formattedDate(date, "yyyy-MM-dd HH:mm:ss.SSS");
}

std::string percent(double share) {
  return fixedPoint(share * 100, 3) + "%";
}

}  // namespace tovi::report
