#include <sstream>

#include <gtest/gtest.h>

#include "core/Settings.h"
#include "core/SettingsHandler.h"
#include "tests/support/TestSupport.h"

namespace tovi {

// The rows of the manual page's tables below the heading, in its macros.
static std::vector<std::string> documentedRows(std::string_view heading) {
  const auto page = test::readFile(TOVI_SOURCE_DIR "/packaging/man/tovi-properties.5");
  std::istringstream lines(page.substr(page.find(".Sh " + std::string(heading))));
  std::vector<std::string> rows;
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line) && !line.starts_with(".Sh")) {
    const bool isRow = line.starts_with(".It Cm ") && line.find(" Ta ") != line.npos;
    if (isRow) rows.push_back(line);
  }
  return rows;
}

static std::string rowOf(const Setting& setting) {
  std::ostringstream row;
  row << ".It Cm " << setting.key << " Ta " << typeName(setting) << " Ta ";
  std::visit([&](const auto& value) { row << std::boolalpha << value; }, setting.defaultValue);
  row << " Ta " << setting.unit;
  return row.str();
}

static std::vector<std::string> rowsOf(SetBy setBy) {
  std::vector<std::string> rows;
  for (const Setting& setting : kSettings) {
    if (setting.setBy == setBy) rows.push_back(rowOf(setting));
  }
  std::ranges::sort(rows);
  return rows;
}

TEST(Settings, TheManualPageTellsEachWithTypeDefaultAndUnit) {
  EXPECT_EQ(documentedRows("Settings.plist"), rowsOf(SetBy::Deployment));
  EXPECT_EQ(documentedRows("PermanentVariables.plist"), rowsOf(SetBy::Collector));
}

TEST(Settings, AStoredValueOfItsTypeReplacesTheDefault) {
  const auto readFrom = [](PropertyDictionary stored) {
    const SettingsHandler store(std::move(stored));
    return std::tuple(setting<std::int64_t>(store, "failures_to_disable"),
                      setting<double>(store, "delivered_timeout_sec"),
                      setting<std::string_view>(store, "sparkle_channel"));
  };
  EXPECT_EQ(readFrom({{"failures_to_disable", {std::int64_t{-7}}},
                      {"delivered_timeout_sec", {0.5}},
                      {"sparkle_channel", {"beta"}}}),
            std::tuple(-7, 0.5, "beta"));
  EXPECT_EQ(readFrom({{"failures_to_disable", {7.0}},
                      {"delivered_timeout_sec", {std::int64_t{5}}},
                      {"sparkle_channel", {true}}}),
            std::tuple(2, 60.0, "stable"));
}

TEST(Settings, EntriesThatNobodyReadsAreTold) {
  EXPECT_EQ(settingFaults({{"removal_memory_size", {std::int64_t{5}}},
                           {"sparkle_channel", {"beta"}},
                           {"delivered_timeout_sec", {5.0}}}),
            std::vector<std::string>());
  EXPECT_EQ(
      settingFaults({{"delivered_timeout_sec", {std::int64_t{5}}},
                     {"dns_batch_size", {std::int64_t{5}}},
                     {"removal_memory_sise", {std::int64_t{5}}},
                     {"sparkle_channel", {true}}}),
      (std::vector<std::string>{"delivered_timeout_sec is not of the type real: the default stays",
                                "dns_batch_size is set by the collector, not here",
                                "removal_memory_sise is no setting of the daemon",
                                "sparkle_channel is not of the type string: the default stays"}));
}

}  // namespace tovi
