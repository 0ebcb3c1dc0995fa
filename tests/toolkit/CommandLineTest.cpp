#include <gtest/gtest.h>

#include "toolkit/CommandLine.h"

namespace tovi {
namespace {

CommandLine lineOf(std::vector<std::string> arguments) {
  return CommandLine(std::move(arguments),
                     {{"--quiet", false, 'q'}, {"--interval", true, 'i'}, {"--items", true}});
}

std::string refusalOf(const std::vector<std::string>& arguments) try {
  lineOf(arguments);
  return "";
} catch (const UsageError& error) {
  return error.what();
}

TEST(CommandLineTest, OptionsAndOperandsMayStandInAnyOrder) {
  const auto line = lineOf({"a", "-qi3", "-", "--items=x=y", "b", "--", "--quiet"});
  EXPECT_TRUE(line.has("--quiet"));
  EXPECT_EQ(line.value("--interval"), "3");
  EXPECT_EQ(line.value("--items"), "x=y");
  EXPECT_EQ(line.operands(), (std::vector<std::string>{"a", "-", "b", "--quiet"}));
  // Nothing of the last line stays behind.
  EXPECT_FALSE(lineOf({"c"}).has("--quiet"));
  EXPECT_EQ(lineOf({"--int", "1", "--interval", "2"}).value("--interval"), "2");
}

TEST(CommandLineTest, WrongOptionIsNamed) {
  const std::pair<std::vector<std::string>, std::string> cases[] = {
      {{"a", "--qiuet=1"}, "unknown option --qiuet (did you mean \"--quiet\"?)"},
      {{"--i=3"}, "unknown option --i (did you mean \"--interval\"?)"},
      {{"-qx"}, "unknown option -x"},
      {{"--quiet=1"}, "--quiet takes no value"},
      {{"a", "--interval"}, "--interval needs a value"},
      {{"-qi"}, "--interval needs a value"}};
  for (const auto& [arguments, text] : cases) EXPECT_EQ(refusalOf(arguments), text);
}

TEST(CommandLineTest, NumberOutOfRangeIsRefused) {
  EXPECT_EQ(lineOf({"-i0.25"}).seconds("--interval", 0.25, 60), 0.25);
  EXPECT_EQ(lineOf({}).seconds("--interval", 0.25, 60), std::nullopt);
  for (const char* text : {"0.24", "60.1", "nan", "1s", "", " 1"}) {
    EXPECT_THROW(lineOf({"-i", text}).seconds("--interval", 0.25, 60), UsageError) << text;
  }
  EXPECT_EQ(lineOf({"-i7"}).count("--interval"), 7);
  for (const char* text : {"0", "-1", "1.5", "", "9223372036854775808"}) {
    EXPECT_THROW(lineOf({"-i", text}).count("--interval"), UsageError) << text;
  }
}

}  // namespace
}  // namespace tovi
