#include <clocale>

#include <gtest/gtest.h>

#include "toolkit/ShownText.h"
#include "tovictl/top/TopView.h"

namespace tovi::test {
namespace {

using namespace ctl;

constexpr char kHostile[] = "\033]0;x\a\xE2\x80\xAE\xE6\x97\xA5\xE6\x9C\xAC\xFF\n";

class TopTest : public testing::Test {
 protected:
  TopTest() { std::setlocale(LC_CTYPE, "C.UTF-8"); }

  void look(double seconds, std::int64_t uptime, std::int64_t packets) {
    Sample sample;
    sample.time += std::chrono::milliseconds(static_cast<int>(seconds * 1000));
    sample.counters = {.uptimeSeconds = uptime, .packetsCaptured = packets};
    sample.activity.names = {{"b", 9}, {"a", 9}, {"c", 30}};
    sample.activity.failures = {{kHostile, 3, kHostile}, {std::string(300, 'x') + ".end", 1}};
    model_.take({sample, ""});
  }
  std::string order() const {
    std::string names;
    for (const auto& entry : model_.entries(TopPanel::Names)) names += entry.name;
    return names;
  }
  std::string textOf(ScreenSize size) const {
    std::string text;
    for (const auto& line : TopView(model_, size).lines()) {
      for (const auto& span : line) text += span.text;
      text += "\n";
    }
    return text;
  }

  TopModel model_;
};

TEST_F(TopTest, EveryLineFillsTheScreenExactlyWhateverItsSize) {
  look(0, 1, 1);
  for (const ScreenSize size : {ScreenSize{24, 80}, {50, 250}, {8, 30}, {1, 1}, {2, 0}, {0, 9}}) {
    for (int panel = 0; panel < 5; ++panel) {
      model_.choose(static_cast<TopPanel>(panel));
      const auto lines = TopView(model_, size).lines();
      EXPECT_EQ(lines.size(), size.rows);
      for (const auto& line : lines) {
        std::size_t columns = 0;
        for (const auto& span : line) columns += columnsOf(span.text);
        EXPECT_EQ(columns, size.columns);
      }
    }
  }
}

TEST_F(TopTest, PanelGetsTheRoomThatItsNeighbourDoesNotNeed) {
  Sample sample;
  for (char name = 'a'; name < 'm'; ++name) sample.activity.names.push_back({{name}, 1});
  model_.take({sample, ""});
  EXPECT_NE(textOf({24, 80}).find("Names asked for  "), std::string::npos);
  EXPECT_NE(textOf({20, 80}).find("Names asked for (8 of 12)"), std::string::npos);
}

TEST_F(TopTest, RateIsOfTheLastTwoLooksAndNoneAcrossARestart) {
  const auto rate = [this] { return model_.rate(&Counters::packetsCaptured); };
  look(0, 10, 100);
  EXPECT_EQ(rate(), std::nullopt);
  look(2, 12, 130);
  EXPECT_EQ(rate(), 15);
  look(4, 1, 500);
  EXPECT_EQ(rate(), std::nullopt);
}

TEST_F(TopTest, KeysSortPauseAndCycle) {
  look(0, 10, 100);
  EXPECT_EQ(order(), "cab");
  model_.apply(TopAction::ToggleOrder);
  EXPECT_EQ(order(), "abc");
  model_.apply(TopAction::TogglePause);
  model_.take({std::nullopt, "gone"});
  EXPECT_EQ(textOf({24, 80}).find("gone"), std::string::npos);
  model_.apply(TopAction::TogglePause);
  model_.take({std::nullopt, "gone"});
  EXPECT_NE(textOf({24, 80}).find("Waiting: gone"), std::string::npos);
  EXPECT_EQ(order(), "abc");
  for (int press = 0; press < 4; ++press) model_.apply(TopAction::NextPanel);
  EXPECT_EQ(model_.panel(), TopPanel::Resolvers);
  model_.apply(TopAction::NextPanel);
  EXPECT_EQ(model_.panel(), TopPanel::All);
}

}  // namespace
}  // namespace tovi::test
