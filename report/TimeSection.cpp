#include "report/TimeSection.h"

#include <algorithm>

#include "core/DateText.h"
#include "report/BarChart.h"
#include "report/PageParts.h"
#include "report/PageText.h"
#include "toolkit/Figures.h"

namespace tovi::report {
namespace {

using namespace std::chrono;
using namespace std::string_literals;

constexpr std::size_t kIntervals = 120;

/// How a place on an axis of this length is written.
std::string_view tickPattern(Timeline::Width length, Timeline::Width step) {
  if (step >= days(1)) return "yyyy-MM-dd";
  if (length >= days(1)) return "MM-dd HH:mm";
  if (step >= 1min) return "HH:mm";
  return step >= 1s ? "HH:mm:ss" : "HH:mm:ss.SSS";
}

std::vector<BarChart::Mark> timeTicks(const Timeline::Series& series) {
  constexpr int kTicks = 4;
  const auto length = duration_cast<Timeline::Width>(series.end() - series.start);
  const auto step = Timeline::readableWidth(std::max(length / kTicks, series.width), series.width);
  const auto pattern = tickPattern(length, step);
  std::vector<BarChart::Mark> ticks;
  const auto sinceEpoch = floor<milliseconds>(series.start.time_since_epoch());
  for (Date at(((sinceEpoch + step - 1ms) / step) * step); at < series.end(); at += step) {
    ticks.push_back({duration<double>(at - series.start) / duration<double>(length),
                     formattedDate(at, pattern)});
  }
  return ticks;
}

struct TimeChart {
  const char* name;
  const char* title;
  int height;
  std::uint64_t Timeline::Interval::*count;
};

/// A unit, where the width is one of it.
std::string perWidth(Timeline::Width width) {
  const std::string text = durationText(width);
  return " per " + (text.starts_with("1 ") ? text.substr(2) : text);
}

void writeTimeChart(HtmlText& page, const TimeChart& kind, const Timeline::Series& series,
                    int scaleWidth) {
  const std::string title = kind.title + perWidth(series.width);
  BarChart chart{.name = kind.name,
                 .title = title,
                 .description = title + ", from " + dateText(series.start) + " to " +
                                dateText(series.end()) + " UTC. The table below has the figures.",
                 .height = kind.height,
                 .scaleWidth = scaleWidth,
                 .bars = {},
                 .ticks = timeTicks(series),
                 .lines = {}};
  const auto size = static_cast<double>(series.intervals.size());
  for (std::size_t at = 0; at < series.intervals.size(); ++at) {
    const auto place = static_cast<double>(at);
    chart.bars.push_back({place / size, (place + 1) / size, series.intervals[at].*kind.count,
                          dateText(series.start + series.width * at)});
  }
  page << "<figure><figcaption>" << title << "</figcaption>";
  chart.write(page);
  page << "</figure>\n";
}

void writeTimeTable(HtmlText& page, const Timeline::Series& series) {
  page << "<details><summary>The same as a table</summary><div class=\"wide\">"
          "<table id=\"intervals\"><thead><tr><th scope=\"col\">From (UTC)</th>"
          "<th scope=\"col\">Packets</th><th scope=\"col\">Messages</th><th "
          "scope=\"col\">Events</th>"
          "<th scope=\"col\">Failed</th><th scope=\"col\">Not decoded</th></tr></thead><tbody>\n";
  for (std::size_t at = 0; at < series.intervals.size(); ++at) {
    const auto& interval = series.intervals[at];
    if (interval.packets == 0) continue;
    page << "<tr><th scope=\"row\">" << dateText(series.start + series.width * at) << "</th>";
    for (const auto count : {interval.packets, interval.messages, interval.events, interval.failed,
                             interval.undecodable}) {
      page << "<td>" << numberText(count) << "</td>";
    }
    page << "</tr>\n";
  }
  page << "</tbody></table></div></details>\n";
}

}  // namespace

void writeTimeSection(HtmlText& page, const ReportFigures& figures) {
  constexpr TimeChart kCharts[] = {
      {"events", "Events (exchanges with answers)", 150, &Timeline::Interval::events},
      {"failed", "Responses with an error code", 70, &Timeline::Interval::failed},
      {"lost", "Not decoded", 70, &Timeline::Interval::undecodable}};
  const auto series = figures.timeline().series(kIntervals);
  // One for all, so that their axes of time stand below each other.
  int scaleWidth = 0;
  for (const auto& interval : series.intervals) {
    for (const TimeChart& chart : kCharts) {
      scaleWidth = std::max(scaleWidth, BarChart::scaleWidthFor(interval.*chart.count));
    }
  }
  beginSection(page, "over-time", "Over time", "events and messages");
  for (const TimeChart& chart : kCharts) {
    const bool isEmpty = std::ranges::all_of(
        series.intervals, [&](const auto& one) { return one.*chart.count == 0; });
    if (!isEmpty) {
      writeTimeChart(page, chart, series, scaleWidth);
    } else {
      page << "<p class=\"none\">" << std::string(chart.title) << ": none.</p>\n";
    }
  }
  page << "<p class=\"bounds\">An event counts at the time of its response; the timestamp that "
          "<code>--events</code> prints is that of its query.</p>\n";
  if (!series.intervals.empty()) writeTimeTable(page, series);
  page << "</section>\n";
}

}  // namespace tovi::report
