#pragma once

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

}  // namespace tovi::ctl
