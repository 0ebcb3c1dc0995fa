#include "core/TimeProvider.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cmath>
#include <cstdio>

#include "core/ToviLog.h"

namespace tovi {

namespace {

struct Field {
  std::string_view letters;
  int value;
};

std::string zeroPadded(int value, std::size_t width) {
  std::string digits = std::to_string(value);
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return digits;
}

std::array<Field, 7> fieldsOf(Date date) {
  using namespace std::chrono;
  const auto day = floor<days>(date);
  const year_month_day calendar(day);
  const hh_mm_ss time(floor<milliseconds>(date - day));
  return {{{"yyyy", int(calendar.year())},
           {"MM", int(unsigned(calendar.month()))},
           {"dd", int(unsigned(calendar.day()))},
           {"HH", int(time.hours().count())},
           {"mm", int(time.minutes().count())},
           {"ss", int(time.seconds().count())},
           {"SSS", int(time.subseconds().count())}}};
}

}  // namespace

std::string TimeProvider::currentTime() const {
  return internetDateTime(now());
}

std::string TimeProvider::currentTime(std::string_view pattern) const {
  return formattedDate(now(), pattern);
}

Date TimeProvider::now() const {
  return std::chrono::system_clock::now();
}

std::string internetDateTime(Date date) {
  return formattedDate(date, "yyyy-MM-ddTHH:mm:ssZ");
}

std::string formattedDate(Date date, std::string_view pattern) {
  const auto fields = fieldsOf(date);
  std::string text;
  while (!pattern.empty()) {
    const auto field = std::find_if(fields.begin(), fields.end(), [&](const Field& candidate) {
      return pattern.starts_with(candidate.letters);
    });
    const bool isField = field != fields.end();
    const std::size_t width = isField ? field->letters.size() : 1;
    text += isField ? zeroPadded(field->value, width) : std::string(pattern.substr(0, 1));
    pattern.remove_prefix(width);
  }
  return text;
}

std::string durationText(double seconds) {
  constexpr double kLimit = 9223372036854775808.0;  // 2^63; a NaN fails the comparison too.
  if (!(seconds >= -kLimit && seconds < kLimit)) fatalError("Duration out of range");
  const auto whole = static_cast<std::int64_t>(seconds);
  const auto milliseconds = static_cast<int>(std::fmod(std::trunc(seconds * 1000), 1000));
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%.2" PRId64 ":%.2" PRId64 ":%.2" PRId64 ".%.3d",
                whole / 3600, (whole / 60) % 60, whole % 60, milliseconds);
  return text.data();
}

}  // namespace tovi
