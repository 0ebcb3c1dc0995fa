#pragma once

#include "report/HtmlText.h"
#include "report/ReportFigures.h"

namespace tovi::report {

/// Tables of what was counted, by the name of what it was. Any thread.
void writeNames(HtmlText& page, const ReportFigures& figures);
void writeFailedNames(HtmlText& page, const ReportFigures& figures);
void writeTypes(HtmlText& page, const ReportFigures& figures);
void writeCodes(HtmlText& page, const ReportFigures& figures);
void writeAskers(HtmlText& page, const ReportFigures& figures);
void writeUndecodable(HtmlText& page, const ReportFigures& figures);

}  // namespace tovi::report
