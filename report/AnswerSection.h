#pragma once

#include "report/HtmlText.h"
#include "report/ReportFigures.h"

namespace tovi::report {

/// How many queries were answered, and how long that took. Any thread.
void writeAnswerSection(HtmlText& page, const ReportFigures& figures);

}  // namespace tovi::report
