#pragma once

#include <nlohmann/json.hpp>

#include "core/JsonText.h"

namespace tovi::ctl {

using Json = nlohmann::ordered_json;

/// The record without its absent members, in the order of its list.
template <JsonRecord Record>
Json jsonOf(const Record& record) {
  TextBuffer text;
  appendJson(text, record);
  return Json::parse(text.view());
}

/// Grows when a member that programs may rely on changes its meaning or goes.
inline constexpr int kSchemaVersion = 1;

/// One line. On a terminal, all but ASCII is written \uXXXX, so that no text in it can control one.
std::string jsonLine(const Json& json);

/// `json`, which is on one line already, as a line of the same kind.
std::string terminalLine(const std::string& json);

/// The object behind its schema version, as a line.
std::string versionedLine(const Json& object);

}  // namespace tovi::ctl
