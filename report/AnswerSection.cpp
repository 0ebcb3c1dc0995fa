#include "report/AnswerSection.h"

#include <algorithm>
#include <cmath>

#include "report/BarChart.h"
#include "report/PageParts.h"
#include "report/PageText.h"
#include "toolkit/Figures.h"

namespace tovi::report {
namespace {

using namespace std::chrono;

// Beyond that, only powers of ten have their label.
constexpr std::size_t kFewRanges = 25;

/// On an axis by powers of ten.
double placeOf(nanoseconds time, const std::vector<AnswerTimes::Range>& ranges) {
  const auto log = [](nanoseconds value) { return std::log10(static_cast<double>(value.count())); };
  const double start = log(ranges.front().from);
  const double end = log(ranges.back().to);
  return std::clamp((log(std::max(time, 1ns)) - start) / (end - start), 0.0, 1.0);
}

std::vector<BarChart::Mark> answerTicks(const std::vector<AnswerTimes::Range>& ranges) {
  const bool isShort = ranges.size() <= kFewRanges;
  std::vector<BarChart::Mark> ticks;
  for (nanoseconds power = 1us; power <= ranges.back().to; power *= 10) {
    for (const int factor : {1, 2, 5}) {
      const nanoseconds time = power * factor;
      const bool isInside = time >= ranges.front().from && time <= ranges.back().to;
      if (isInside && (isShort || factor == 1)) {
        ticks.push_back({placeOf(time, ranges), roundTimeText(time)});
      }
    }
  }
  return ticks;
}

void writeAnswerChart(HtmlText& page, const AnswerTimes& times) {
  const auto ranges = times.ranges();
  BarChart chart{.name = "times",
                 .title = "Answers by the time they took",
                 .description =
                     "Answers in ten ranges a power of ten, on an axis by powers of ten. "
                     "The table below has the figures.",
                 .height = 150,
                 .scaleWidth = BarChart::scaleWidthFor(times.count()),
                 .bars = {},
                 .ticks = answerTicks(ranges),
                 .lines = {}};
  for (const auto& [from, to, count] : ranges) {
    chart.bars.push_back({placeOf(from, ranges), placeOf(to, ranges), count,
                          shortTimeText(from) + " to " + shortTimeText(to)});
  }
  for (const auto& [share, label] :
       {std::pair(0.5, "median "), std::pair(0.9, "90 % "), std::pair(0.99, "99 % ")}) {
    const auto time = times.within(share);
    chart.lines.push_back({placeOf(time, ranges), label + shortTimeText(time)});
  }
  page << "<figure><figcaption>Answers by the time they took, ten ranges a power of ten"
          "</figcaption>";
  chart.write(page);
  page << "</figure>\n<details><summary>The same as a table</summary><table id=\"ranges\"><thead>"
          "<tr><th scope=\"col\">From</th><th scope=\"col\">To below</th>"
          "<th scope=\"col\">Answers</th></tr></thead><tbody>\n";
  for (const auto& [from, to, count] : ranges) {
    page << "<tr><th scope=\"row\">" << shortTimeText(from) << "</th><td>" << shortTimeText(to)
         << "</td><td>" << numberText(count) << "</td></tr>\n";
  }
  page << "</tbody></table></details>\n";
}

void writeAnswerFacts(HtmlText& page, const AnswerTimes& times) {
  page << "<dl class=\"facts\">";
  writeFact(page, "shortest", "shortest", shortTimeText(times.shortest()));
  writeFact(page, "within-50", "median", shortTimeText(times.within(0.5)));
  writeFact(page, "within-90", "90 % within", shortTimeText(times.within(0.9)));
  writeFact(page, "within-99", "99 % within", shortTimeText(times.within(0.99)));
  writeFact(page, "longest", "longest", shortTimeText(times.longest()));
  page << "</dl>\n";
}

void writeExchanges(HtmlText& page, const ExchangeMatcher& exchanges) {
  const auto unanswered = exchanges.queries() - exchanges.repeated() - exchanges.answered();
  page << "<dl class=\"facts\">";
  writeFact(page, "answered", "exchanges", numberText(exchanges.answered()));
  writeFact(page, "unanswered", "unanswered queries", numberText(unanswered));
  writeFact(page, "repeated", "queries sent again", numberText(exchanges.repeated()));
  writeFact(page, "unasked", "unasked responses",
            numberText(exchanges.responses() - exchanges.answered()));
  page << "</dl>\n";
}

}  // namespace

void writeAnswerSection(HtmlText& page, const ReportFigures& figures) {
  beginSection(page, "answer-times", "Answer times", "exchanges");
  writeExchanges(page, figures.exchanges());
  if (figures.answerTimes().count() > 0) {
    writeAnswerFacts(page, figures.answerTimes());
    writeAnswerChart(page, figures.answerTimes());
    page << "<p class=\"bounds\">From a query, the first where it was sent again, to its response, "
            "whatever that says, as the capture saw them. The median and the times within which "
            "90 % and 99 % came are at most 0.8 % above the exact ones.</p>\n";
  }
  page << "</section>\n";
}

}  // namespace tovi::report
