#pragma once
// A check's report as text lines, as JSON, and as a self-contained HTML page with pictures of the part.
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "kvx/checker/Check.h"

namespace kvx::platform {
class ResourceLibrary;
}

namespace kvx::checker {

// The fixed words of the text output and the report (labels, headings, severity names) in the user's
// language, looked up by string id (kvx::res). A text the lookup lacks shows as its id in brackets: visible,
// never a crash. Findings' features and reasons stay as the checker words them.
class ReportTexts {
 public:
  using Lookup = std::function<std::optional<std::string>(int id)>;
  explicit ReportTexts(Lookup lookup) : lookup_(std::move(lookup)) {}
  // The texts of a resource library; null: every text shows as its id.
  static ReportTexts From(const kvx::platform::ResourceLibrary* library);
  std::string operator()(int id) const;
  std::string Severity(int severity) const;

 private:
  Lookup lookup_;
};

nlohmann::ordered_json ReportToJson(const Part& part, const CheckReport& report);
// One line per finding (severity, rule, measured, limit, where), then the rules not checked and a summary.
void WriteTextReport(const Part& part, const CheckReport& report, const ReportTexts& texts, std::ostream& out);
// The HTML page; `rules` supply the summaries shown beside the findings.
std::string HtmlReport(const Part& part, const CheckReport& report, const std::vector<RuleInput>& rules,
                       const ReportTexts& texts);
// One picture of the part seen along `view`: faces shaded, the faces of findings coloured by severity, the pull
// direction drawn, each finding's number at its point.
std::string SvgView(const Part& part, const CheckReport& report, Vec3 view, int size);

}  // namespace kvx::checker
