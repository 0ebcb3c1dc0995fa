#include <filesystem>
#include <limits>

#include <gtest/gtest.h>

#include "core/PropertyList.h"
#include "tests/support/TestSupport.h"

namespace tovi {

using namespace std::string_literals;

static std::string xml(const std::string& value) {
  return "<plist><dict><key>k</key>" + value + "</dict></plist>";
}

// A dictionary that holds under "k" the first of `objects`, which has index 2; all offsets and
// references have one byte.
static std::string binary(std::vector<std::string> objects) {
  objects.insert(objects.begin(), {"\xD1\1\2", "Qk"});
  std::string bytes = "bplist00", offsets, trailer(32, '\0');
  for (const std::string& object : objects) {
    offsets += static_cast<char>(bytes.size());
    bytes += object;
  }
  trailer[6] = trailer[7] = 1;
  trailer[15] = static_cast<char>(objects.size());
  trailer[31] = static_cast<char>(bytes.size());
  return bytes + offsets + trailer;
}

static const PropertyDictionary kEveryType = {
    {"array", {PropertyValue::Array{{false}, {PropertyDictionary{{"", {"x"}}}}}}},
    {"data", {PropertyValue::Data{std::byte{0}, std::byte{255}}}},
    {"date", {PropertyDate{700000000, 0}}},
    {"int", {std::numeric_limits<std::int64_t>::min()}},
    {"markup <&> \"'", {"]]> &amp; \t\n é 😀 "}},
    {"real", {0.1}},
    {"whole", {60.0}}};

class PropertyList : public testing::Test {
 protected:
  void write(const PropertyDictionary& dictionary) { writePropertyList(file_, dictionary); }
  PropertyDictionary read() const { return readPropertyList(file_); }
  static void expectRefused(const std::string& bytes) {
    EXPECT_THROW(parsePropertyList(bytes), PropertyListError) << bytes.substr(0, 60);
  }

  test::TemporaryDirectory directory_;
  std::filesystem::path file_ = directory_ / "a.plist";
};

TEST_F(PropertyList, TypesStayApartInBothFormats) {
  const std::tuple<std::string, std::vector<std::string>, PropertyValue> cases[] = {
      {"<integer>-2</integer>", {"\x13" + std::string(7, '\xFF') + "\xFE"}, {std::int64_t{-2}}},
      {"<real>3</real>", {"\x22\x40\x40\0\0"s}, {3.0}},
      {"<true/>", {"\x09"}, {true}},
      {"<string>3é</string>", {"\x62\0\x33\0\xE9"s}, {"3é"}},
      {"<string/>", {"\x50"}, {""}},
      {"<array><integer>18446744073709551615</integer><true/></array>",
       {"\xA3\3\4\5", "\x14" + std::string(16, '\xFF'), "\x80\1", "\x09"},
       {PropertyValue::Array{{true}}}},
  };
  for (const auto& [text, objects, value] : cases) {
    EXPECT_EQ(parsePropertyList(xml(text)), (PropertyDictionary{{"k", value}})) << text;
    EXPECT_EQ(parsePropertyList(binary(objects)), (PropertyDictionary{{"k", value}})) << text;
  }
}

TEST_F(PropertyList, NestingIsBounded) {
  std::string text = "<true/>";
  std::vector<std::string> objects;
  for (char depth = 2; depth <= 64; ++depth) {
    text = "<array>" + text + "</array>";
    objects.push_back({'\xA1', static_cast<char>(depth + 1)});
  }
  objects.push_back("\xA0");
  EXPECT_NO_THROW(parsePropertyList(xml(text)));
  expectRefused(xml("<array>" + text + "</array>"));
  EXPECT_NO_THROW(parsePropertyList(binary({objects.begin() + 1, objects.end()})));
  expectRefused(binary(objects));
}

TEST_F(PropertyList, OtherBytesAreRefused) {
  for (const char* bytes : {"", "text", "bplist00", "<plist><array/></plist>", "<true/>"}) {
    expectRefused(bytes);
  }
  EXPECT_THROW(readPropertyList(directory_.path()), PropertyListError);
  expectRefused(xml("<string>&nonsense;</string>"));
  expectRefused(xml("<true/>") + std::string(kMaximumPropertyListSize, ' '));
  std::vector<std::string> doubling;
  for (char i = 3; i < 40; ++i) doubling.push_back({'\xA2', i, i});
  doubling.push_back("\x09");
  expectRefused(binary(doubling));
  EXPECT_THROW(write({{"k", {std::string(kMaximumPropertyListSize, 'x')}}}), PropertyListError);
  EXPECT_FALSE(std::filesystem::exists(file_));
  expectRefused(binary({"\xA1\2"}));                            // Holds itself.
  expectRefused(binary({"\xD1\3\4", "\x62\0k\0\0"s, "\x09"}));  // A zero in a key.
}

// Every prefix and many single changed bytes: an error or a dictionary, no fault of memory.
TEST_F(PropertyList, DamagedBytesAreSurvived) {
  const auto expectSmall = [](const std::string& bytes) {
    try {
      EXPECT_LE(parsePropertyList(bytes).size(), kEveryType.size() + 1);
    } catch (const PropertyListError&) {
    }
  };
  write(kEveryType);
  EXPECT_EQ(read(), kEveryType);
  for (const std::string& whole :
       {test::readFile(file_), binary({"\xD1\3\4", "\x51k", "\xA2\5\6", "\x61\0k"s, "\x14"})}) {
    for (std::size_t i = 0; i < whole.size(); ++i) {
      expectSmall(whole.substr(0, i));
      for (const char byte : "\0\xFF<&\x60"s)
        expectSmall(std::string(whole).replace(i, 1, 1, byte));
    }
  }
}

TEST_F(PropertyList, BytesThatXmlCannotCarryAreReplaced) {
  write({{"k\0"s, {"\x1B[0m \xC3 \xED\xA0\x80 \xEF\xBF\xBE \r\n\té😀"}}});
  EXPECT_EQ(read(),
            (PropertyDictionary{
                {"k\uFFFD", {"\uFFFD[0m \uFFFD \uFFFD\uFFFD\uFFFD \uFFFD\uFFFD\uFFFD \r\n\té😀"}}}));
}

}  // namespace tovi
