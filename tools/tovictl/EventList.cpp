#include "tovictl/EventList.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <utility>

#include "formats/EventFacts.h"
#include "toolkit/ShownText.h"
#include "tovictl/Line.h"

namespace tovi::ctl {

namespace {

constexpr std::size_t kTimeColumns = 8;
constexpr std::size_t kTypeColumns = 6;
constexpr const char* kGap = "  ";
constexpr const char* kNone = "-";

struct Moment {
  std::string day;
  std::string time;
};

std::string timeText(const char* format, const std::tm& time) {
  std::array<char, 16> text;
  return {text.data(), std::strftime(text.data(), text.size(), format, &time)};
}

Moment momentOf(const ToviDNSEvent& event) {
  const std::time_t seconds = formats::millisecondsOf(event) / 1000;
  std::tm local{};
  localtime_r(&seconds, &local);
  return {timeText("%Y-%m-%d", local), timeText("%H:%M:%S", local)};
}

std::string orNone(const std::string& shown) {
  return shown.empty() ? kNone : shown;
}

/// "name[identifier]"; of a long one, the identifier stays whole.
std::string processText(const std::optional<EventProcess>& process, std::size_t columns) {
  if (!process) return kNone;
  const auto identifier = "[" + std::to_string(process->pid) + "]";
  const auto room = columns - std::min(columns, identifier.size());
  return fitted(shownText(process->name.value_or("")), room) + identifier;
}

std::string answersText(const DnsPacket& exchange) {
  std::string text;
  for (const auto& answer : exchange.answers.value_or(std::vector<Answer>())) {
    text.append(text.empty() ? "" : ", ").append(shownText(answer.data));
  }
  return text;
}

Line resultOf(const DnsPacket& exchange) {
  const auto answers = answersText(exchange);
  const auto code = exchange.responseCode.value_or("");
  if (code.empty() || code == "NOERROR") return {{orNone(answers)}};
  return {{shownText(code), Tone::Warning}, {answers.empty() ? "" : " " + answers}};
}

/// How the columns of a terminal are shared out.
struct Layout {
  explicit Layout(std::size_t columns) : process(std::clamp<std::size_t>(columns / 5, 10, 28)) {
    const auto others = kTimeColumns + process + kTypeColumns + 4 * columnsOf(kGap);
    name = (columns - std::min(columns, others)) * 3 / 5;
  }
  std::size_t process;
  std::size_t name;
};

Line lineOf(const ToviDNSEvent& event, const std::string& time, const Layout& layout) {
  const auto& exchange = formats::exchangeOf(event);
  const auto question = exchange.question.value_or(Query());
  Line line = {{padded(time, kTimeColumns) + kGap, Tone::Faint},
               {padded(processText(event.process, layout.process), layout.process) + kGap},
               {padded(orNone(shownText(question.type.value_or(""))), kTypeColumns) + kGap},
               {padded(orNone(shownText(question.name.value_or(""))), layout.name) + kGap}};
  const auto result = resultOf(exchange);
  line.insert(line.end(), result.begin(), result.end());
  return line;
}

Line heading(const Layout& layout) {
  return {{padded("TIME", kTimeColumns) + kGap + padded("PROCESS", layout.process) + kGap +
               padded("TYPE", kTypeColumns) + kGap + padded("NAME", layout.name) + kGap + "ANSWER",
           Tone::Heading}};
}

}  // namespace

std::string EventList::lines(const ToviDNSEvent& event, std::size_t columns) {
  const Layout layout(columns);
  const auto [day, time] = momentOf(event);
  const auto line = lineOf(event, time, layout);
  std::vector<Line> lines;
  if (day_.empty()) lines.push_back(heading(layout));
  if (std::exchange(day_, day) != day) lines.push_back({{day, Tone::Heading}});
  lines.push_back(line);
  std::string text;
  for (const auto& each : lines) {
    for (const auto& [span, tone] : cut(each, columns)) text += colours_(span, tone);
    text += "\n";
  }
  return text;
}

}  // namespace tovi::ctl
