#include <clocale>

#include <gtest/gtest.h>

#include "toolkit/ShownText.h"

namespace tovi::test {
namespace {

class ShownTextTest : public testing::Test {
 protected:
  ShownTextTest() { std::setlocale(LC_CTYPE, "C.UTF-8"); }
};

TEST_F(ShownTextTest, HostileTextIsShownAsEscapes) {
  const std::pair<std::string, std::string> cases[] = {
      {"plain-1.example", "plain-1.example"},
      {"\033[2J\r\n\t\x7F", "\\x1B[2J\\x0D\\x0A\\x09\\x7F"},
      {"\xC2\x9B", "\\xC2\\x9B"},           // CSI as one character
      {"\xE2\x80\xAE", "\\xE2\\x80\\xAE"},  // right-to-left override
      {"\xC2\xAD", "\\xC2\\xAD"},           // soft hyphen
      {"e\xCC\x81", "e\\xCC\\x81"},         // combining accent
      {"\xEE\x80\x80", "\\xEE\\x80\\x80"},  // private use
      {"\xFF\xC0\x80\xED\xA0\x80", "\\xFF\\xC0\\x80\\xED\\xA0\\x80"},
      {"caf\xC3\xA9 \xE6\x97\xA5", "caf\xC3\xA9 \xE6\x97\xA5"}};
  for (const auto& [text, shown] : cases) EXPECT_EQ(shownText(text), shown);
  EXPECT_EQ(columnsOf("caf\xC3\xA9 \xE6\x97\xA5"), 7U);
  std::setlocale(LC_CTYPE, "C");
  EXPECT_EQ(shownText("\xC3\xA9"), "\\xC3\\xA9");
}

TEST_F(ShownTextTest, LongTextKeepsItsEndAndNeverExceedsItsColumns) {
  EXPECT_EQ(fitted("www.a.long.name.example", 10), "www\xE2\x80\xA6xample");
  const std::string wide = "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE6\x97\xA5\xE6\x9C\xAC";
  for (std::size_t columns = 0; columns < 12; ++columns) {
    EXPECT_LE(columnsOf(fitted(wide, columns)), columns);
  }
}

}  // namespace
}  // namespace tovi::test
