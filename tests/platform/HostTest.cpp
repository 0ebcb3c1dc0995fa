#include <gtest/gtest.h>

#include "platform/Bundle.h"
#include "platform/HostFacts.h"
#include "platform/linux/KeyValueText.h"
#include "tests/support/TestSupport.h"

namespace tovi::test {
namespace {

using platform::keyValue;

TEST(KeyValueText, QuotesAndEscapesAreResolved) {
  constexpr char kText[] =
      "# NAME=comment\nNAME=plain\r\n  SPACED=\"a b\" \nSINGLE='it \\ is'\nESCAPED=\"a\\\"b\\$\"\n"
      "TWICE=1\nTWICE=2\nEMPTY=\"\"\nOPEN=\"no end\nLAST=\\";
  const std::vector<std::pair<const char*, std::optional<std::string>>> cases = {
      {"NAME", "plain"},     {"SPACED", "a b"},       {"SINGLE", "it \\ is"}, {"ESCAPED", "a\"b$"},
      {"TWICE", "2"},        {"EMPTY", std::nullopt}, {"OPEN", "no end"},     {"LAST", "\\"},
      {"AME", std::nullopt}, {"NAM", std::nullopt}};
  for (const auto& [key, value] : cases) EXPECT_EQ(keyValue(kText, key), value) << key;
}

TEST(HostFacts, FirstOfTheStateDirectoriesIsUsed) {
  setenv("STATE_DIRECTORY", "/first:/second", 1);
  EXPECT_EQ(platform::stateDirectory(), "/first");
  unsetenv("STATE_DIRECTORY");
}

TEST(Bundle, TellsTheTextsOfItsInformation) {
  const TemporaryDirectory directory;
  writeFile(directory / "Info.plist",
            "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>io.tovi</string>"
            "<key>Count</key><integer>1</integer></dict></plist>");
  const platform::Bundle bundle(directory.path());
  EXPECT_EQ(bundle.identifier(), "io.tovi");
  EXPECT_EQ(bundle.information("Count"), std::nullopt);
  EXPECT_EQ(bundle.resource("Info", "plist"), directory / "Info.plist");
  EXPECT_EQ(bundle.resource("Settings", "plist"), std::nullopt);
}

TEST(Bundle, MalformedInformationIsNone) {
  const TemporaryDirectory directory;
  for (const char* contents : {"", "<plist>", "bplist00\xFF\xFF", "<plist><array/></plist>"}) {
    writeFile(directory / "Info.plist", contents);
    EXPECT_EQ(platform::Bundle(directory.path()).identifier(), std::nullopt) << contents;
  }
}

}  // namespace
}  // namespace tovi::test
