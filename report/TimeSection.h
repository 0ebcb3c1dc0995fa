#pragma once

#include "report/HtmlText.h"
#include "report/ReportFigures.h"

namespace tovi::report {

/// What happened when. Any thread.
void writeTimeSection(HtmlText& page, const ReportFigures& figures);

}  // namespace tovi::report
