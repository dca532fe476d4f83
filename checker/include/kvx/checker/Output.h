#pragma once
// A check's report as text lines, as JSON, and as a self-contained HTML page with pictures of the part.
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

#include "kvx/checker/Check.h"

namespace kvx::checker {

nlohmann::ordered_json ReportToJson(const Part& part, const CheckReport& report);
// One line per finding (severity, rule, measured, limit, where), then the rules not checked and a summary.
void WriteTextReport(const Part& part, const CheckReport& report, std::ostream& out);
// The HTML page; `rules` supply the summaries shown beside the findings.
std::string HtmlReport(const Part& part, const CheckReport& report, const std::vector<RuleInput>& rules);
// One picture of the part seen along `view`: faces shaded, the faces of findings coloured by severity, the pull
// direction drawn, each finding's number at its point.
std::string SvgView(const Part& part, const CheckReport& report, Vec3 view, int size);

}  // namespace kvx::checker
