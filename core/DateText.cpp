#include "core/DateText.h"

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

void putDigits(char* end, std::size_t width, int value) {
  for (; width > 0; --width, value /= 10) *--end = static_cast<char>('0' + value % 10);
}

// A Date ends in the year 2262, so that every value has room in its letters.
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

// Thousands of events a second carry such a text.
std::string internetDateTime(Date date) {
  thread_local std::chrono::sys_seconds writtenSecond;
  thread_local std::string written;
  const auto second = std::chrono::floor<std::chrono::seconds>(date);
  if (written.empty() || second != writtenSecond) {
    written = formattedDate(date, "yyyy-MM-ddTHH:mm:ssZ");
    writtenSecond = second;
  }
  return written;
}

std::string formattedDate(Date date, std::string_view pattern) {
  const auto fields = fieldsOf(date);
  std::string text(pattern);
  for (std::size_t at = 0; at < text.size();) {
    const auto field = std::find_if(fields.begin(), fields.end(), [&](const Field& candidate) {
      return pattern.substr(at).starts_with(candidate.letters);
    });
    const bool isField = field != fields.end();
    at += isField ? field->letters.size() : 1;
    if (isField) putDigits(text.data() + at, field->letters.size(), field->value);
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
