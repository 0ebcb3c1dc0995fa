#include "tovictl/top/TopView.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "toolkit/Figures.h"
#include "toolkit/ShownText.h"
#include "tovictl/CounterSections.h"

namespace tovi::ctl {

namespace {

constexpr std::size_t kCountColumns = 9;
constexpr std::size_t kShareColumns = 9;
constexpr std::size_t kCodeColumns = 10;
constexpr std::size_t kPanelGap = 2;
// From so many columns on, a panel has room for shares.
constexpr std::size_t kRoomForShares = 56;
// Its heading and three entries.
constexpr std::size_t kFewestPanelRows = 4;
constexpr std::size_t kNarrowestGrid = 64;
constexpr std::size_t kWideGrid = 200;

constexpr std::array kPanels = {TopPanel::Names, TopPanel::Processes, TopPanel::Failures,
                                TopPanel::Resolvers};

std::string titleOf(TopPanel panel) {
  switch (panel) {
    case TopPanel::Names:
      return "Names asked for";
    case TopPanel::Processes:
      return "Processes asking";
    case TopPanel::Failures:
      return "Failures";
    case TopPanel::Resolvers:
      return "Resolvers answering";
    case TopPanel::All:
      break;
  }
  return "";
}

// Of what the panel's counts are parts.
std::int64_t wholeOf(TopPanel panel, const Activity& activity) {
  if (panel == TopPanel::Failures) return activity.failedResponses;
  return panel == TopPanel::Resolvers ? activity.responses : activity.queries;
}

std::string rateText(const std::optional<double>& rate) {
  if (!rate) return "-";
  std::array<char, 32> text;
  std::snprintf(text.data(), text.size(), "%.1f", *rate);
  return text.data();
}

/// "  Name 12" of the header, the number in its colour.
void addFigure(Line& line, const std::string& name, const std::string& value, Tone tone) {
  line.push_back({(line.empty() ? "" : "   ") + name + " ", Tone::Faint});
  line.push_back({value, tone});
}

/// The same with a counter, in `whenMany` if it is more than 0.
void addCounter(Line& line, const std::string& name, const Counters::Count& count, Tone whenMany) {
  addFigure(line, name, count ? numberText(*count) : "-",
            count.value_or(0) > 0 ? whenMany : Tone::Plain);
}

Line trafficLine(const Activity& activity) {
  Line line;
  const auto failed = activity.failedResponses;
  addFigure(line, "Last " + std::to_string(activity.windowSeconds) + " s: queries",
            numberText(activity.queries), Tone::Plain);
  addFigure(line, "answers", numberText(activity.responses), Tone::Plain);
  addFigure(line, "failed", numberText(failed), failed > 0 ? Tone::Warning : Tone::Plain);
  return line;
}

Line rateLine(const TopModel& model) {
  Line line;
  addFigure(line, "Per second: queries", rateText(model.rate(&Counters::lookups)), Tone::Plain);
  addFigure(line, "packets", rateText(model.rate(&Counters::packetsCaptured)), Tone::Plain);
  addFigure(line, "events", rateText(model.rate(&Counters::events)), Tone::Plain);
  return line;
}

Line lossLine(const Counters& counters) {
  Line line;
  addCounter(line, "Lost: packets", counters.packetsDroppedByKernel, Tone::Bad);
  addCounter(line, "batches", counters.batchesDropped, Tone::Bad);
  addCounter(line, "unreadable batches", counters.batchesUnreadable, Tone::Bad);
  addCounter(line, "Undecodable", counters.packetsUndecodable, Tone::Warning);
  return line;
}

Line shareLine(const Counters& counters) {
  const auto share = [](const Counters::Count& part, const Counters::Count& whole) {
    const auto text = shareText(part, whole);
    return text.empty() ? "-" : text;
  };
  Line line;
  addCounter(line, "Batches waiting", counters.batchesWaiting, Tone::Plain);
  addFigure(line, "Repeated", share(counters.eventsRepeated, counters.events), Tone::Plain);
  addFigure(line, "Without process", share(counters.lookupsWithoutProcess, counters.lookups),
            Tone::Plain);
  return line;
}

std::vector<Line> helpLines() {
  return {{{"Keys", Tone::Heading}},
          {{"  q            quit"}},
          {{"  p or space   pause, and go on"}},
          {{"  s            sort by count or by name"}},
          {{"  Tab          the next panel alone, and all four again at the end"}},
          {{"  1 2 3 4, 0   names, processes, failures or resolvers alone; all of them"}},
          {{"  ? or h       this page, and back"}},
          {},
          {{"Red is what was lost since the daemon started. The lists are of the last minute."}},
          {{"tovictl status shows all counters, man tovictl says what they mean."}}};
}

}  // namespace

std::vector<Line> TopView::lines() const {
  auto lines = header();
  const auto used = lines.size() + 1;
  const auto rows = size_.rows > used ? size_.rows - used : 0;
  const auto middle = body(rows);
  lines.insert(lines.end(), middle.begin(), middle.end());
  lines.resize(lines.size() - middle.size() + rows);
  lines.push_back(footer());
  lines.resize(std::min(lines.size(), size_.rows));
  for (auto& line : lines) line = inColumns(line, size_.columns);
  return lines;
}

std::vector<Line> TopView::header() const {
  std::vector<Line> lines = {title()};
  if (const auto& sample = model_.sample()) {
    lines.insert(lines.end(), {trafficLine(sample->activity), rateLine(model_),
                               lossLine(sample->counters), shareLine(sample->counters)});
  }
  lines.push_back(notice());
  return lines;
}

Line TopView::notice() const {
  const auto& failure = model_.failure();
  if (!failure.empty()) return {{"Waiting: " + shownText(failure), Tone::Bad}};
  if (const auto silence = model_.silence().count(); silence > 0) {
    return {{"No answer for " + std::to_string(silence) + " s; does the daemon hang?", Tone::Bad}};
  }
  const auto& sample = model_.sample();
  if (!sample || sample->counters.packetsCaptured != 0) return {};
  return {{"Nothing was captured yet. Is the agent active? See: tovictl state", Tone::Warning}};
}

Line TopView::title() const {
  Line line = {{"ToviDaemon", Tone::Heading}};
  if (const auto& sample = model_.sample()) {
    const auto uptime = sample->counters.uptimeSeconds.value_or(0);
    line.push_back({"  up " + durationText(std::chrono::seconds(uptime))});
  }
  if (model_.isPaused()) line.push_back({"  PAUSED", Tone::Warning});
  return line;
}

std::vector<Line> TopView::body(std::size_t rows) const {
  if (model_.showsHelp()) return helpLines();
  auto lines =
      model_.panel() == TopPanel::All ? grid(rows) : panel(model_.panel(), rows, size_.columns);
  lines.resize(std::min(lines.size(), rows));
  return lines;
}

std::vector<Line> TopView::grid(std::size_t rows) const {
  const std::size_t across = size_.columns >= kWideGrid        ? 4
                             : size_.columns >= kNarrowestGrid ? 2
                                                               : 1;
  const auto columns = (size_.columns - kPanelGap * (across - 1)) / across;
  std::vector<Line> lines;
  auto first = kPanels.begin();
  for (const auto height : heights(rows, across)) {
    const auto strip = besideEachOther(first, first + across, height, columns);
    lines.insert(lines.end(), strip.begin(), strip.end());
    first += across;
  }
  return lines;
}

std::vector<std::size_t> TopView::heights(std::size_t rows, std::size_t across) const {
  std::vector<std::size_t> wanted(kPanels.size() / across, kFewestPanelRows);
  for (std::size_t each = 0; each < kPanels.size(); ++each) {
    auto& most = wanted[each / across];
    most = std::max(most, model_.entries(kPanels[each]).size() + 1);
  }
  std::vector<std::size_t> heights(wanted.size());
  for (; rows > 0; --rows) {
    std::size_t neediest = 0;
    const auto need = [&](std::size_t strip) {
      return std::pair(heights[strip] >= wanted[strip], heights[strip]);
    };
    for (std::size_t strip = 1; strip < heights.size(); ++strip) {
      if (need(strip) < need(neediest)) neediest = strip;
    }
    ++heights[neediest];
  }
  return heights;
}

std::vector<Line> TopView::besideEachOther(const TopPanel* first, const TopPanel* end,
                                           std::size_t rows, std::size_t columns) const {
  std::vector<Line> lines(rows);
  for (const auto* each = first; each != end; ++each) {
    const auto cell = panel(*each, rows, columns);
    for (std::size_t row = 0; row < rows; ++row) {
      if (each != first) lines[row].push_back({std::string(kPanelGap, ' ')});
      lines[row].insert(lines[row].end(), cell[row].begin(), cell[row].end());
    }
  }
  return lines;
}

std::vector<Line> TopView::panel(TopPanel panel, std::size_t rows, std::size_t columns) const {
  const auto entries = model_.entries(panel);
  const auto shown = std::min(entries.size(), rows > 0 ? rows - 1 : 0);
  std::string title = titleOf(panel);
  if (shown < entries.size()) {
    title += " (" + std::to_string(shown) + " of " + std::to_string(entries.size()) + ")";
  }
  if (model_.order() == TopOrder::ByName) title += ", by name";
  std::vector<Line> lines = {inColumns({{title, Tone::Heading}}, columns)};
  for (std::size_t each = 0; each < shown; ++each) {
    lines.push_back(inColumns(entryLine(panel, entries[each], columns), columns));
  }
  if (entries.empty()) lines.push_back(inColumns({{"        none", Tone::Faint}}, columns));
  lines.resize(rows, inColumns({}, columns));
  return lines;
}

Line TopView::entryLine(TopPanel panel, const Activity::Entry& entry, std::size_t columns) const {
  Line line = {{rightAligned(numberText(entry.count), kCountColumns)}};
  if (columns >= kRoomForShares) {
    const auto share = shareText(entry.count, wholeOf(panel, model_.sample()->activity));
    line.push_back({rightAligned(share, kShareColumns), Tone::Faint});
  }
  line.push_back({"  "});
  if (panel == TopPanel::Failures) {
    line.push_back(
        {padded(shownText(entry.responseCode.value_or("")), kCodeColumns) + " ", Tone::Warning});
  }
  line.push_back({shownText(entry.name)});
  return line;
}

Line TopView::footer() const {
  const auto sort = model_.order() == TopOrder::ByCount ? "by name" : "by count";
  return {{"q", Tone::Heading},   {" quit  "},
          {"p", Tone::Heading},   {model_.isPaused() ? " go on  " : " pause  "},
          {"s", Tone::Heading},   {std::string(" sort ") + sort + "  "},
          {"Tab", Tone::Heading}, {" next panel  "},
          {"0-4", Tone::Heading}, {" choose panel  "},
          {"?", Tone::Heading},   {model_.showsHelp() ? " back" : " help"}};
}

}  // namespace tovi::ctl
