#include "kvx/checker/Output.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <unordered_map>

#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"
#include "kvx/res/StringIds.h"

namespace kvx::checker {

namespace {
using nlohmann::ordered_json;
namespace res = kvx::res;

std::string OperatorText(int op) { return kvx::platform::Narrow(kvx::params::OperatorToText(op)); }

ordered_json Point(Vec3 p) { return ordered_json::array({p.x, p.y, p.z}); }

// Findings' colours by severity, least severe first.
constexpr const char* kSeverityColours[] = {"#4f9bd9", "#3fae6a", "#f0b429", "#e8590c", "#c92a2a"};
const char* ColourOf(int severity) { return kSeverityColours[std::clamp(severity, 0, 4)]; }

std::string Escape(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '&': out += "&amp;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
  return out;
}

std::string Number(double value) { return fmt::format("{:.4g}", value); }

std::string FaceList(const std::vector<int>& faces, std::size_t shown) {
  std::string list;
  for (std::size_t i = 0; i < faces.size() && i < shown; ++i) list += (i ? "," : "") + std::to_string(faces[i]);
  return faces.size() > shown ? list + ",..." : list;
}

std::string Where(const Finding& finding, const ReportTexts& texts) {
  return fmt::format("{}, {} {}, {} ({}, {}, {})", finding.what, texts(res::kCheckFaces), FaceList(finding.faces, 6),
                     texts(res::kCheckPoint), Number(finding.point.x), Number(finding.point.y),
                     Number(finding.point.z));
}

std::string PullText(const CheckReport& report) {
  return fmt::format("({}, {}, {})", Number(report.pull.x), Number(report.pull.y), Number(report.pull.z));
}

// "Solids: 1, Faces: 15, Nominal wall thickness: 2 mm, Pull direction: (0, 0, 1)", as text and report share it.
std::string PartLine(const Part& part, const CheckReport& report, const ReportTexts& texts) {
  return fmt::format("{}: {}, {}: {}, {}: {} mm, {}: {}", texts(res::kCheckSolids), part.solids,
                     texts(res::kCheckFaces), part.faces.size(), texts(res::kCheckNominalWall),
                     Number(report.facts.thickness.nominal), texts(res::kCheckPull), PullText(report));
}
}  // namespace

ordered_json ReportToJson(const Part& part, const CheckReport& report) {
  ordered_json json;
  json["part"] = {{"file", part.file},
                  {"units", "mm"},
                  {"fileUnits", part.fileUnit},
                  {"solids", part.solids},
                  {"faces", part.faces.size()},
                  {"triangles", part.mesh.triangles.size()},
                  {"boundingBox", {{"min", Point(part.box.min)}, {"max", Point(part.box.max)}}},
                  {"nominalWallThickness", report.facts.thickness.nominal},
                  {"warnings", part.warnings}};
  json["pull"] = Point(report.pull);
  json["pullChoice"] = report.pullNote;
  json["thicknessT"] = report.nominalThickness;
  ordered_json findings = ordered_json::array();
  for (const Finding& f : report.findings)
    findings.push_back({{"ruleId", f.ruleId},
                        {"name", f.name},
                        {"displayName", f.displayName},
                        {"severity", SeverityName(f.severity)},
                        {"feature", f.what},
                        {"measured", f.measured},
                        {"limit", f.limit},
                        {"operator", OperatorText(f.op)},
                        {"unit", f.unit},
                        {"faces", f.faces},
                        {"point", Point(f.point)}});
  json["findings"] = findings;
  json["passed"] = report.passed;
  auto list = [](const std::vector<NotChecked>& entries) {
    ordered_json out = ordered_json::array();
    for (const NotChecked& n : entries) {
      ordered_json entry = {{"ruleId", n.ruleId}, {"name", n.name}, {"reason", n.reason}};
      if (n.parameter) entry["parameter"] = n.parameter;
      out.push_back(entry);
    }
    return out;
  };
  json["notChecked"] = list(report.notChecked);
  json["skipped"] = list(report.skipped);
  ordered_json tolerances = ordered_json::array();
  for (const ToleranceBand& band : report.tolerances)
    tolerances.push_back({{"dimension", band.dimension},
                          {"size", band.size},
                          {"over", band.over},
                          {"upto", band.upto},
                          {"a", band.a},
                          {"b", band.b}});
  json["tolerances"] = {{"material", report.toleranceMaterial}, {"bands", tolerances}};
  json["analysesCutShort"] = report.facts.skipped;
  return json;
}

ReportTexts ReportTexts::From(const kvx::platform::ResourceLibrary* library) {
  return ReportTexts([library](int id) -> std::optional<std::string> {
    const auto text = library ? library->String(id) : std::nullopt;
    if (!text) return std::nullopt;
    return kvx::platform::Narrow(*text);
  });
}

std::string ReportTexts::operator()(int id) const {
  auto text = lookup_ ? lookup_(id) : std::nullopt;
  return text ? *text : "[" + std::to_string(id) + "]";
}

std::string ReportTexts::Severity(int severity) const {
  constexpr int kNames[] = {res::kSeverityVeryLow, res::kSeverityLow, res::kSeverityMedium, res::kSeverityHigh,
                            res::kSeverityVeryHigh};
  if (severity < 0 || severity >= static_cast<int>(std::size(kNames))) return SeverityName(severity);
  return (*this)(kNames[severity]);
}

void WriteTextReport(const Part& part, const CheckReport& report, const ReportTexts& texts, std::ostream& out) {
  out << fmt::format("{}: {} {}\n", part.file, PartLine(part, report, texts), report.pullNote);
  for (const std::string& warning : part.warnings) out << texts(res::kCheckWarning) << ": " << warning << "\n";
  for (const std::string& skipped : report.facts.skipped) out << texts(res::kCheckCutShort) << ": " << skipped << "\n";
  std::map<int, int> bySeverity;
  for (const Finding& f : report.findings) {
    ++bySeverity[f.severity];
    out << fmt::format("{:<9} {} {}: {} {} {}, {} {} {} {}; {}\n", texts.Severity(f.severity), f.ruleId, f.displayName,
                       texts(res::kCheckMeasured), Number(f.measured), f.unit, texts(res::kCheckLimit),
                       OperatorText(f.op), Number(f.limit), f.unit, Where(f, texts));
  }
  for (const NotChecked& n : report.notChecked) {
    const std::string limit = n.parameter ? fmt::format(" ({} {})", texts(res::kCheckLimit), n.parameter) : "";
    out << fmt::format("{}: {} {}{}: {}\n", texts(res::kCheckNotChecked), n.ruleId, n.displayName, limit, n.reason);
  }
  for (const NotChecked& n : report.skipped)
    out << fmt::format("{}: {} {}: {}\n", texts(res::kCheckSkipped), n.ruleId, n.displayName, n.reason);
  for (const ToleranceBand& b : report.tolerances)
    out << fmt::format("{} {} {} {}: {} {}, {} {}, A {}, B {}\n", texts(res::kCheckTolerance), report.toleranceMaterial,
                       b.dimension, Number(b.size), texts(res::kToleranceOverParam), Number(b.over),
                       texts(res::kToleranceUptoParam), Number(b.upto), Number(b.a), Number(b.b));
  // Findings: 3 (High: 2, Low: 1); Passed: 5; Not checked: 2; Skipped: 1
  std::string severities;
  for (auto it = bySeverity.rbegin(); it != bySeverity.rend(); ++it)
    severities += fmt::format("{}{}: {}", severities.empty() ? " (" : ", ", texts.Severity(it->first), it->second);
  if (!severities.empty()) severities += ")";
  out << fmt::format("{}: {}{}; {}: {}; {}: {}; {}: {}\n", texts(res::kCheckFindings), report.findings.size(),
                     severities, texts(res::kCheckPassed), report.passed.size(), texts(res::kCheckNotChecked),
                     report.notChecked.size(), texts(res::kCheckSkipped), report.skipped.size());
}

std::string SvgView(const Part& part, const CheckReport& report, Vec3 view, int size) {
  view = Normalized(view);
  const Vec3 up0 = std::fabs(view.z) < 0.9 ? Vec3{0, 0, 1} : Vec3{0, 1, 0};
  const Vec3 right = Normalized(Cross(up0, view)), up = Cross(view, right);
  const Vec3 centre = (part.box.min + part.box.max) * 0.5;
  const double scale = 0.8 * size / std::max(part.box.Diagonal(), 1e-9);
  auto screen = [&](Vec3 p) {
    const Vec3 d = p - centre;
    return std::pair<double, double>{size / 2.0 + Dot(d, right) * scale, size / 2.0 - Dot(d, up) * scale};
  };
  // The most severe finding of each face colours it.
  std::unordered_map<int, int> severityOf;
  for (const Finding& f : report.findings)
    for (int face : f.faces) severityOf[face] = std::max(severityOf.count(face) ? severityOf[face] : -1, f.severity);
  // Facets turned towards the viewer, far ones first.
  std::vector<std::pair<double, std::size_t>> order;
  for (std::size_t t = 0; t < part.mesh.triangles.size(); ++t)
    if (Dot(part.mesh.AreaNormal(t), view) > 0) order.push_back({Dot(part.mesh.Centroid(t), view), t});
  std::sort(order.begin(), order.end());
  std::string svg =
      fmt::format(R"(<svg xmlns="http://www.w3.org/2000/svg" width="{0}" height="{0}" viewBox="0 0 {0} {0}">)", size);
  svg += fmt::format(R"(<rect width="{0}" height="{0}" fill="#fafafa"/>)", size);
  const Vec3 light = Normalized(view + up * 0.5 + right * 0.3);
  for (const auto& [depth, t] : order) {
    const double shade = 0.35 + 0.65 * std::fabs(Dot(Normalized(part.mesh.AreaNormal(t)), light));
    const auto found = severityOf.find(part.mesh.faceOf[t]);
    int r = 190, g = 195, b = 200;
    if (found != severityOf.end()) std::sscanf(ColourOf(found->second), "#%02x%02x%02x", &r, &g, &b);
    const auto [x0, y0] = screen(part.mesh.Corner(t, 0));
    const auto [x1, y1] = screen(part.mesh.Corner(t, 1));
    const auto [x2, y2] = screen(part.mesh.Corner(t, 2));
    const std::string fill = fmt::format("#{:02x}{:02x}{:02x}", static_cast<int>(r * shade),
                                         static_cast<int>(g * shade), static_cast<int>(b * shade));
    svg += fmt::format(
        R"(<path d="M{:.1f} {:.1f}L{:.1f} {:.1f}L{:.1f} {:.1f}Z" fill="{}" stroke="{}" stroke-width="0.3"/>)", x0, y0,
        x1, y1, x2, y2, fill, fill);
  }
  // The pull direction from the middle of the part.
  const auto [ax, ay] = screen(centre);
  const auto [bx, by] = screen(centre + report.pull * (0.45 * part.box.Diagonal()));
  svg += R"(<defs><marker id="arrow" markerWidth="8" markerHeight="8" refX="6" refY="4" orient="auto">)"
         R"(<path d="M0,0 L8,4 L0,8 z" fill="#1c7ed6"/></marker></defs>)";
  svg += fmt::format(R"~(<line x1="{:.1f}" y1="{:.1f}" x2="{:.1f}" y2="{:.1f}" stroke="#1c7ed6" stroke-width="3" )~"
                     R"~(marker-end="url(#arrow)"/>)~",
                     ax, ay, bx, by);
  for (std::size_t i = 0; i < report.findings.size(); ++i) {
    const auto [x, y] = screen(report.findings[i].point * report.pointToMm);
    svg += fmt::format(
        R"(<a href="#finding-{0}"><circle cx="{1:.1f}" cy="{2:.1f}" r="7" fill="white" stroke="{3}" stroke-width="2"/>)"
        R"(<text x="{1:.1f}" y="{4:.1f}" font-size="9" text-anchor="middle" font-family="sans-serif">{0}</text></a>)",
        i + 1, x, y, ColourOf(report.findings[i].severity), y + 3);
  }
  svg += "</svg>";
  return svg;
}

namespace {
// A rule's result in the rules table: skipped, not checked (whole rule), its findings, passed, or "-" when the
// checker did not look at it.
std::string RuleResult(const RuleInput& rule, const CheckReport& report, const ReportTexts& texts) {
  for (const NotChecked& n : report.skipped)
    if (n.ruleId == rule.id) return texts(res::kCheckSkipped) + ": " + n.reason;
  for (const NotChecked& n : report.notChecked)
    if (n.ruleId == rule.id && !n.parameter) return texts(res::kCheckNotChecked) + ": " + n.reason;
  const auto count = std::ranges::count_if(report.findings, [&](const Finding& f) { return f.ruleId == rule.id; });
  if (count) return fmt::format("{}: {}", texts(res::kCheckFindings), count);
  if (std::ranges::find(report.passed, rule.id) != report.passed.end()) return texts(res::kCheckPassed);
  return "-";
}

std::string HeaderRow(std::initializer_list<std::string> headings) {
  std::string row = "<tr>";
  for (const std::string& heading : headings) row += "<th>" + Escape(heading) + "</th>";
  return row + "</tr>";
}
}  // namespace

std::string HtmlReport(const Part& part, const CheckReport& report, const std::vector<RuleInput>& rules,
                       const ReportTexts& texts) {
  const std::string title = Escape(texts(res::kCheckTitle) + ": " + part.file);
  std::string html = "<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>" + title +
                     "</title><style>body{font-family:sans-serif;margin:2em}table{border-collapse:collapse}"
                     "td,th{border:1px solid #ccc;padding:3px 8px;text-align:left}.views svg{margin:4px;"
                     "border:1px solid #ddd}.sev{display:inline-block;width:10px;height:10px;margin-right:4px}"
                     "</style></head><body>";
  html += "<h1>" + title + "</h1>";
  html += "<p>" + Escape(PartLine(part, report, texts) + ", " + report.pullNote) + "</p>";
  for (const std::string& warning : part.warnings)
    html += "<p>" + Escape(texts(res::kCheckWarning) + ": " + warning) + "</p>";
  html += "<div class=\"views\">";
  const Vec3 views[] = {{1, -1, 1}, report.pull, {-1, 1, -0.6}};
  for (Vec3 view : views) html += SvgView(part, report, view, 420);
  html += "</div><h2>" + Escape(texts(res::kCheckFindings)) + "</h2><table>" +
          HeaderRow({"#", texts(res::kSeverityLabel), texts(res::kCheckRule), texts(res::kCheckFeature),
                     texts(res::kCheckMeasured), texts(res::kCheckLimit), texts(res::kCheckFaces)});
  for (std::size_t i = 0; i < report.findings.size(); ++i) {
    const Finding& f = report.findings[i];
    html += fmt::format(
        "<tr id=\"finding-{}\"><td>{}</td><td><span class=\"sev\" style=\"background:{}\"></span>{}</td>"
        "<td>{} {}</td><td>{}</td><td>{} {}</td><td>{} {} {}</td><td>{}</td></tr>",
        i + 1, i + 1, ColourOf(f.severity), Escape(texts.Severity(f.severity)), f.ruleId, Escape(f.displayName),
        Escape(f.what), Number(f.measured), Escape(f.unit), Escape(OperatorText(f.op)), Number(f.limit), Escape(f.unit),
        FaceList(f.faces, f.faces.size()));
  }
  html += "</table><h2>" + Escape(texts(res::kCheckRules)) + "</h2><table>" +
          HeaderRow({texts(res::kCheckRule), texts(res::kCheckSummary), texts(res::kCheckResult)});
  for (const RuleInput& rule : rules)
    html += fmt::format("<tr><td>{} {}</td><td>{}</td><td>{}</td></tr>", rule.id, Escape(rule.displayName),
                        Escape(rule.summary), Escape(RuleResult(rule, report, texts)));
  html += "</table></body></html>\n";
  return html;
}

}  // namespace kvx::checker
