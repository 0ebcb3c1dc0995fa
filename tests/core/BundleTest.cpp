#include <gtest/gtest.h>

#include "core/Bundle.h"
#include "core/PropertyList.h"
#include "tests/support/TestSupport.h"

namespace tovi {

TEST(Bundle, TellsTheTextsOfItsInformation) {
  const test::TemporaryDirectory directory;
  const auto bundleOf = [&](const std::string& information) {
    test::writeFile(directory / "Info.plist", information);
    return Bundle(directory.path());
  };
  const std::string sound =
      "<plist><dict><key>CFBundleIdentifier</key><string>io.tovi</string>"
      "<key>Count</key><integer>1</integer></dict></plist>";
  EXPECT_EQ(bundleOf(sound).identifier(), "io.tovi");
  EXPECT_EQ(bundleOf(sound).information("Count"), std::nullopt);
  EXPECT_EQ(bundleOf(sound).resource("Settings", "plist"), std::nullopt);
  for (const auto& malformed : {std::string("<plist>"), std::string("bplist00\xFF\xFF"),
                                std::string("<plist><array/></plist>"),
                                sound + std::string(kMaximumPropertyListSize, ' ')}) {
    EXPECT_EQ(bundleOf(malformed).identifier(), std::nullopt) << malformed.substr(0, 60);
  }
}

}  // namespace tovi
