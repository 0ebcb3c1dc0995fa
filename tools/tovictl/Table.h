#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tovictl/Colours.h"

namespace tovi::ctl {

struct Row {
  std::string name;
  std::string value;
  Tone tone = Tone::Plain;
};

struct Section {
  std::string heading;
  std::vector<Row> rows;
};

/// One line a row, the values aligned and in their colours; rows with an empty value are left out.
/// Names and values may be of any origin: they are written by `shownText`.
std::string aligned(const std::vector<Row>& rows, const Colours& colours);

/// The sections under their headings, with an empty line between them and all values aligned.
/// Sections without a row that has a value are left out.
std::string aligned(const std::vector<Section>& sections, const Colours& colours);

/// "1 event", "2 events", "1,234 events".
std::string counted(std::int64_t number, std::string_view noun);

/// 1234567 as "1,234,567".
std::string grouped(std::int64_t number);

/// 0.1234 as "12.3 %"; empty for none.
std::string percentage(std::optional<double> share);

}  // namespace tovi::ctl
