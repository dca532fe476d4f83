#include "kvx/checker/Output.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <unordered_map>

#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Text.h"

namespace kvx::checker {

namespace {
using nlohmann::ordered_json;

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

std::string Where(const Finding& finding) {
  std::string faces;
  for (std::size_t i = 0; i < finding.faces.size() && i < 6; ++i) faces += (i ? "," : "") + std::to_string(finding.faces[i]);
  if (finding.faces.size() > 6) faces += ",...";
  return fmt::format("{} on {} {} at ({}, {}, {})", finding.what, finding.faces.size() == 1 ? "face" : "faces", faces, Number(finding.point.x), Number(finding.point.y),
                     Number(finding.point.z));
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
    tolerances.push_back({{"dimension", band.dimension}, {"size", band.size}, {"over", band.over}, {"upto", band.upto}, {"a", band.a}, {"b", band.b}});
  json["tolerances"] = {{"material", report.toleranceMaterial}, {"bands", tolerances}};
  json["analysesCutShort"] = report.facts.skipped;
  return json;
}

void WriteTextReport(const Part& part, const CheckReport& report, std::ostream& out) {
  out << fmt::format("{}: {} solid(s), {} faces, nominal wall {} mm, pull ({}, {}, {}) {}\n", part.file, part.solids,
                     part.faces.size(), Number(report.facts.thickness.nominal), Number(report.pull.x), Number(report.pull.y),
                     Number(report.pull.z), report.pullNote);
  for (const std::string& warning : part.warnings) out << "warning: " << warning << "\n";
  for (const std::string& skipped : report.facts.skipped) out << "cut short: " << skipped << "\n";
  std::map<int, int> bySeverity;
  for (const Finding& f : report.findings) {
    ++bySeverity[f.severity];
    out << fmt::format("{:<9} {} {}: measured {} {}, limit {} {} {}; {}\n", SeverityName(f.severity), f.ruleId, f.name, Number(f.measured),
                       f.unit, OperatorText(f.op), Number(f.limit), f.unit, Where(f));
  }
  for (const NotChecked& n : report.notChecked)
    out << fmt::format("not checked {} {}{}: {}\n", n.ruleId, n.name, n.parameter ? fmt::format(" (limit {})", n.parameter) : "", n.reason);
  for (const NotChecked& n : report.skipped) out << fmt::format("skipped {} {}: {}\n", n.ruleId, n.name, n.reason);
  for (const ToleranceBand& b : report.tolerances)
    out << fmt::format("tolerance {} {} {}: band over {} up to {}, A {} B {}\n", report.toleranceMaterial, b.dimension, Number(b.size),
                       Number(b.over), Number(b.upto), Number(b.a), Number(b.b));
  out << fmt::format("{} finding(s)", report.findings.size());
  for (auto it = bySeverity.rbegin(); it != bySeverity.rend(); ++it) out << fmt::format(", {} {}", it->second, SeverityName(it->first));
  out << fmt::format("; {} rule(s) passed, {} not checked, {} skipped\n", report.passed.size(), report.notChecked.size(),
                     report.skipped.size());
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
  std::string svg = fmt::format(R"(<svg xmlns="http://www.w3.org/2000/svg" width="{0}" height="{0}" viewBox="0 0 {0} {0}">)", size);
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
    const std::string fill = fmt::format("#{:02x}{:02x}{:02x}", static_cast<int>(r * shade), static_cast<int>(g * shade), static_cast<int>(b * shade));
    svg += fmt::format(R"(<path d="M{:.1f} {:.1f}L{:.1f} {:.1f}L{:.1f} {:.1f}Z" fill="{}" stroke="{}" stroke-width="0.3"/>)", x0, y0, x1, y1, x2, y2, fill, fill);
  }
  // The pull direction from the middle of the part.
  const auto [ax, ay] = screen(centre);
  const auto [bx, by] = screen(centre + report.pull * (0.45 * part.box.Diagonal()));
  svg += R"(<defs><marker id="arrow" markerWidth="8" markerHeight="8" refX="6" refY="4" orient="auto"><path d="M0,0 L8,4 L0,8 z" fill="#1c7ed6"/></marker></defs>)";
  svg += fmt::format(R"~(<line x1="{:.1f}" y1="{:.1f}" x2="{:.1f}" y2="{:.1f}" stroke="#1c7ed6" stroke-width="3" marker-end="url(#arrow)"/>)~", ax, ay, bx, by);
  for (std::size_t i = 0; i < report.findings.size(); ++i) {
    const auto [x, y] = screen(report.findings[i].point * report.pointToMm);
    svg += fmt::format(R"(<a href="#finding-{0}"><circle cx="{1:.1f}" cy="{2:.1f}" r="7" fill="white" stroke="{3}" stroke-width="2"/><text x="{1:.1f}" y="{4:.1f}" font-size="9" text-anchor="middle" font-family="sans-serif">{0}</text></a>)",
                       i + 1, x, y, ColourOf(report.findings[i].severity), y + 3);
  }
  svg += "</svg>";
  return svg;
}

std::string HtmlReport(const Part& part, const CheckReport& report, const std::vector<RuleInput>& rules) {
  std::string html = "<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>Check of " + Escape(part.file) +
                     "</title><style>body{font-family:sans-serif;margin:2em}table{border-collapse:collapse}td,th{border:1px solid #ccc;"
                     "padding:3px 8px;text-align:left}.views svg{margin:4px;border:1px solid #ddd}.sev{display:inline-block;width:10px;"
                     "height:10px;margin-right:4px}</style></head><body>";
  html += "<h1>Check of " + Escape(part.file) + "</h1>";
  html += fmt::format("<p>{} solid(s), {} faces; nominal wall thickness {} mm; pull ({}, {}, {}), {}.</p>", part.solids, part.faces.size(),
                      Number(report.facts.thickness.nominal), Number(report.pull.x), Number(report.pull.y), Number(report.pull.z),
                      Escape(report.pullNote));
  for (const std::string& warning : part.warnings) html += "<p>Warning: " + Escape(warning) + "</p>";
  html += "<div class=\"views\">";
  const Vec3 views[] = {{1, -1, 1}, report.pull, {-1, 1, -0.6}};
  for (Vec3 view : views) html += SvgView(part, report, view, 420);
  html += "</div><h2>Findings</h2><table><tr><th>#</th><th>Severity</th><th>Rule</th><th>Feature</th><th>Measured</th><th>Limit</th><th>Faces</th></tr>";
  for (std::size_t i = 0; i < report.findings.size(); ++i) {
    const Finding& f = report.findings[i];
    std::string faces;
    for (int face : f.faces) faces += (faces.empty() ? "" : ", ") + std::to_string(face);
    html += fmt::format("<tr id=\"finding-{}\"><td>{}</td><td><span class=\"sev\" style=\"background:{}\"></span>{}</td><td>{} {}</td><td>{}</td>"
                        "<td>{} {}</td><td>{} {} {}</td><td>{}</td></tr>",
                        i + 1, i + 1, ColourOf(f.severity), SeverityName(f.severity), f.ruleId, Escape(f.displayName), Escape(f.what),
                        Number(f.measured), Escape(f.unit), Escape(OperatorText(f.op)), Number(f.limit), Escape(f.unit), faces);
  }
  html += "</table><h2>Rules</h2><table><tr><th>Rule</th><th>Summary</th><th>Result</th></tr>";
  for (const RuleInput& rule : rules) {
    std::string result = "passed";
    const auto count = std::count_if(report.findings.begin(), report.findings.end(), [&](const Finding& f) { return f.ruleId == rule.id; });
    if (count) result = fmt::format("{} finding(s)", count);
    for (const NotChecked& n : report.notChecked)
      if (n.ruleId == rule.id && !n.parameter) result = "not checked: " + n.reason;
    for (const NotChecked& n : report.skipped)
      if (n.ruleId == rule.id) result = "skipped: " + n.reason;
    if (!count && std::find(report.passed.begin(), report.passed.end(), rule.id) == report.passed.end() && result == "passed") result = "-";
    html += fmt::format("<tr><td>{} {}</td><td>{}</td><td>{}</td></tr>", rule.id, Escape(rule.displayName), Escape(rule.summary), Escape(result));
  }
  html += "</table></body></html>\n";
  return html;
}

}  // namespace kvx::checker
