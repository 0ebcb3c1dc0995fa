#pragma once

#include "tools/tovi-replay/report/HtmlText.h"
#include "tools/tovi-replay/report/ReportFigures.h"

namespace tovi::replay {

/// What happened when. Any thread.
void writeTimeSection(HtmlText& page, const ReportFigures& figures);

}  // namespace tovi::replay
