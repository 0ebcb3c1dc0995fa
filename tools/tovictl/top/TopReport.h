#pragma once

#include <string>

#include "tovictl/top/TopModel.h"

namespace tovi::ctl {

/// What `top` knows as a block of plain lines, each beginning with what it is about, with the five
/// largest of each panel and an empty line at the end. The model has a sample.
std::string plainReport(const TopModel& model, const std::string& time);

/// The same as one versioned JSON object on a line, with all entries.
std::string jsonReport(const TopModel& model, const std::string& time);

}  // namespace tovi::ctl
