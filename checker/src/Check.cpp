// The evaluators: one per rule id, in one table. Each reads its rule's limits, compares the part's facts
// with them and either reports what violates them or says why it could not check.
#include "kvx/checker/Check.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include <fmt/format.h>

#include "kvx/contracts/RuleIds.h"
#include "kvx/framework/KvxUnitConvertor.h"
#include "kvx/framework/KvxUnits.h"
#include "kvx/platform/Text.h"
#include "kvx/res/StringIds.h"

namespace kvx::checker {

namespace {
namespace ids = kvx::rule_ids;
namespace res = kvx::res;
using kvx::platform::Narrow;

constexpr double kFlatDraft = 89.9;  // faces this close to square to the pull need no draft

struct SeverityName_ {
  int code;
  const char* name;
};
// Severity codes as the rule dialogs offer them, least severe first.
constexpr SeverityName_ kSeverities[] = {{0, "very-low"}, {1, "low"}, {2, "medium"}, {3, "high"}, {4, "very-high"}};

// The short name of a unit code, for the findings' units; millimetres and degrees for codes without one.
// Feet-and-inches values are held in feet and degree-minute ones in degrees, so those are named.
std::string LengthUnitText(int code) {
  if (code == KVX_UNIT_FOOT_INCH) code = KVX_UNIT_FOOT;
  const KvxUnit* unit = FindKvxUnit(KVX_QUANTITY_LENGTH, code);
  return unit ? unit->name : "mm";
}
std::string AngleUnitText(int code) {
  if (code == KVX_ANGLE_DEG_MIN || code == KVX_ANGLE_DEG_MIN_SEC) code = KVX_ANGLE_DEGREE;
  const KvxUnit* unit = FindKvxUnit(KVX_QUANTITY_ANGLE, code);
  return unit ? unit->name : "deg";
}

bool Satisfies(double measured, int op, const std::vector<double>& values) {
  if (values.empty()) return true;
  const double v = values[0], slack = 1e-9 * std::max(1.0, std::fabs(v));
  switch (op) {
    case KVX_OP_GREATER_EQUAL: return measured >= v - slack;
    case KVX_OP_GREATER: return measured > v;
    case KVX_OP_LESS_EQUAL: return measured <= v + slack;
    case KVX_OP_LESS: return measured < v;
    case KVX_OP_EQUAL: return std::fabs(measured - v) <= slack;
    case KVX_OP_RANGE: return values.size() < 2 || (measured >= v - slack && measured <= values[1] + slack);
    default: return true;
  }
}

Limit ReadLimit(const CKvxParamStorage& parameter) {
  Limit limit;
  limit.op = parameter.iOperator;
  limit.enabled = parameter.IsEnabled();
  limit.unit = Narrow(parameter.csUnit);
  for (const KvxValueView& value : parameter.DescribeValues())
    if (const double* number = std::get_if<double>(&value)) limit.values.push_back(*number);
  return limit;
}

// Everything an evaluator sees: the facts, the thickness t and the rule set's units.
class Context {
 public:
  Context(const Part& part, const Facts& facts, double t, CheckReport& report)
      : part(part), facts(facts), t(t), report_(report) {}
  const Part& part;
  const Facts& facts;
  const double t;  // mm

  static double ToMm(const RuleInput& rule, double value) {
    return CKVXUnitConvertor::ConversionFromOneUnitToAnother(value, KVX_QUANTITY_LENGTH, rule.units.iLengthUnit,
                                                             KVX_UNIT_MM);
  }
  static double FromMm(const RuleInput& rule, double value) {
    return CKVXUnitConvertor::ConversionFromOneUnitToAnother(value, KVX_QUANTITY_LENGTH, KVX_UNIT_MM,
                                                             rule.units.iLengthUnit);
  }
  static double ToDegrees(const RuleInput& rule, double value) {
    return CKVXUnitConvertor::ConversionFromOneUnitToAnother(value, KVX_QUANTITY_ANGLE, rule.units.iAngleUnit,
                                                             KVX_ANGLE_DEGREE);
  }
  static double FromDegrees(const RuleInput& rule, double value) {
    return CKVXUnitConvertor::ConversionFromOneUnitToAnother(value, KVX_QUANTITY_ANGLE, KVX_ANGLE_DEGREE,
                                                             rule.units.iAngleUnit);
  }

  // The limit `id` when the rule has it switched on.
  static const Limit* Active(const RuleInput& rule, long id) {
    const auto found = rule.limits.find(id);
    return found != rule.limits.end() && found->second.enabled && !found->second.values.empty() ? &found->second
                                                                                                : nullptr;
  }

  // Compares `measured` with the limit; a violation becomes a finding. Both are given in the units shown.
  void Compare(const RuleInput& rule, const Limit& limit, double measured, const std::vector<double>& shownLimit,
               const std::string& unit, const std::string& what, std::vector<int> faces, Vec3 pointMm) {
    if (Satisfies(measured, limit.op, shownLimit)) return;
    Report(
        rule, limit.op, measured,
        limit.op == KVX_OP_RANGE && shownLimit.size() > 1 && measured > shownLimit[1] ? shownLimit[1] : shownLimit[0],
        unit, what, std::move(faces), pointMm);
  }
  void Report(const RuleInput& rule, int op, double measured, double shownLimit, const std::string& unit,
              const std::string& what, std::vector<int> faces, Vec3 pointMm) {
    Finding finding;
    finding.ruleId = rule.id;
    finding.name = rule.name;
    finding.displayName = rule.displayName;
    finding.severity = rule.severity;
    finding.what = what;
    finding.measured = measured;
    finding.limit = shownLimit;
    finding.op = op;
    finding.unit = unit;
    finding.faces = std::move(faces);
    finding.point = pointMm * FromMm(rule, 1.0);
    report_.findings.push_back(std::move(finding));
  }
  void NotCheckedLimit(const RuleInput& rule, long parameter, const std::string& reason) {
    report_.notChecked.push_back({rule.id, rule.name, rule.displayName, reason, parameter});
  }

 private:
  CheckReport& report_;
};

// The result of one evaluator: empty when it checked, else why it could not.
using Verdict = std::string;
using Evaluator = std::function<Verdict(const RuleInput&, Context&)>;

Verdict CheckDraft(const RuleInput& rule, Context& c) {
  const Limit* minimum = c.Active(rule, res::kDraftPerSideParam);
  if (c.Active(rule, res::kDraftTexturedParam))
    c.NotCheckedLimit(rule, res::kDraftTexturedParam, "textured faces: a STEP file carries no texture");
  if (!minimum) return "its draft limit is switched off";
  for (const FaceDraft& draft : c.facts.drafts) {
    if (draft.minDraft >= kFlatDraft) continue;
    c.Compare(rule, *minimum, c.FromDegrees(rule, draft.minDraft), minimum->values,
              AngleUnitText(rule.units.iAngleUnit), "face", {draft.face}, draft.point);
  }
  return {};
}

Verdict CheckVariableDraft(const RuleInput& rule, Context& c) {
  const Limit *shallow = c.Active(rule, res::kShallowFaceDraftParam),
              *depth = c.Active(rule, res::kShallowFaceDepthParam), *deep = c.Active(rule, res::kDeepFaceDraftParam);
  if (!depth || (!shallow && !deep)) return "its depth or both draft limits are switched off";
  const double split = c.ToMm(rule, depth->values[0]);
  for (const FaceDraft& draft : c.facts.drafts) {
    if (draft.minDraft >= kFlatDraft) continue;
    const Limit* limit = draft.depth <= split ? shallow : deep;
    if (!limit) continue;
    c.Compare(rule, *limit, c.FromDegrees(rule, draft.minDraft), limit->values, AngleUnitText(rule.units.iAngleUnit),
              draft.depth <= split ? "shallow face" : "deep face", {draft.face}, draft.point);
  }
  return {};
}

Verdict CheckHoleDepth(const RuleInput& rule, Context& c) {
  if (c.facts.holes.empty()) return "no hole was recognised on the part";
  const Limit *blind = c.Active(rule, res::kBlindHoleDepthParam),
              *through = c.Active(rule, res::kThroughHoleDepthParam);
  for (const Hole& hole : c.facts.holes) {
    const Limit* limit = hole.through ? through : blind;
    if (!limit) continue;
    c.Compare(rule, *limit, hole.depth / hole.diameter, limit->values, "D",
              hole.through ? "through hole" : "blind hole", hole.faces, hole.entry);
  }
  return {};
}

Verdict CheckHoleSpacing(const RuleInput& rule, Context& c) {
  const Limit* spacing = c.Active(rule, res::kHoleSpacingParam);
  if (!spacing) return "its spacing limit is switched off";
  bool anyPair = false;
  for (std::size_t i = 0; i < c.facts.holes.size(); ++i) {
    const Hole& hole = c.facts.holes[i];
    if (hole.neighbour < 0) continue;
    anyPair = true;
    const Hole& other = c.facts.holes[static_cast<std::size_t>(hole.neighbour)];
    if (other.neighbour == static_cast<int>(i) && hole.neighbour < static_cast<int>(i)) continue;  // the pair once
    std::vector<double> limit;
    for (double v : spacing->values) limit.push_back(c.FromMm(rule, v * c.t));
    std::vector<int> faces = hole.faces;
    faces.insert(faces.end(), other.faces.begin(), other.faces.end());
    c.Compare(rule, *spacing, c.FromMm(rule, hole.ligament), limit, LengthUnitText(rule.units.iLengthUnit),
              "hole spacing", faces, (hole.entry + other.entry) * 0.5);
  }
  return anyPair ? Verdict{} : "no two parallel holes were found near each other";
}

Verdict CheckWallThickness(const RuleInput& rule, Context& c) {
  if (c.facts.thickness.faces.empty()) return "no wall could be measured";
  const std::string unit = LengthUnitText(rule.units.iLengthUnit);
  for (long id : {res::kWallThicknessMinParam, res::kWallThicknessMaxParam}) {
    const Limit* limit = c.Active(rule, id);
    if (!limit) continue;
    for (const FaceThickness& face : c.facts.thickness.faces)
      c.Compare(rule, *limit, c.FromMm(rule, face.value), limit->values, unit,
                id == res::kWallThicknessMinParam ? "thin wall" : "thick wall", {face.face}, face.point);
  }
  return {};
}

Verdict CheckUniformThickness(const RuleInput& rule, Context& c) {
  const Limit* deviation = c.Active(rule, res::kThicknessDeviationParam);
  if (!deviation) return "its deviation limit is switched off";
  if (c.facts.thickness.faces.empty() || c.t <= 0) return "no wall could be measured";
  for (const FaceThickness& face : c.facts.thickness.faces)
    c.Compare(rule, *deviation, 100 * std::fabs(face.value - c.t) / c.t, deviation->values, "%", "wall", {face.face},
              face.point);
  return {};
}

Verdict CheckThicknessVariation(const RuleInput& rule, Context& c) {
  const Limit *variation = c.Active(rule, res::kThicknessVariationParam),
              *transition = c.Active(rule, res::kTransitionLengthParam);
  if (!variation) return "its variation limit is switched off";
  if (c.facts.thickness.faces.empty() || c.t <= 0) return "no wall could be measured";
  for (const ThicknessChange& change : c.facts.thickness.changes) {
    // A larger change is accepted when its transition is long enough.
    if (transition && Satisfies(change.length / change.change, transition->op, transition->values)) continue;
    c.Compare(rule, *variation, 100 * change.change / c.t, variation->values, "%", "thickness change",
              {change.from, change.to}, change.point);
  }
  return {};
}

Verdict CheckSuddenVariation(const RuleInput& rule, Context& c) {
  const Limit* sudden = c.Active(rule, res::kSuddenThicknessChangeParam);
  if (!sudden) return "its limit is switched off";
  if (c.facts.thickness.faces.empty() || c.t <= 0) return "no wall could be measured";
  for (const ThicknessChange& change : c.facts.thickness.changes) {
    if (change.length >= change.change) continue;  // gentler than 45 degrees: not sudden
    c.Compare(rule, *sudden, 100 * change.change / c.t, sudden->values, "%", "sudden thickness change",
              {change.from, change.to}, change.point);
  }
  return {};
}

Verdict CheckUndercut(const RuleInput& rule, Context& c) {
  const Limit* detect = c.Active(rule, res::kDetectUndercutsParam);
  if (!detect || detect->values[0] == 0) return "undercut detection is switched off in the rule";
  const Limit* depth = c.Active(rule, res::kUndercutDepthParam);
  for (const Undercut& undercut : c.facts.undercuts) {
    const double measured = c.FromMm(rule, undercut.depth);
    // The limit is a reporting threshold: undercuts at least this deep are reported.
    if (depth && !Satisfies(measured, depth->op, depth->values)) continue;
    c.Report(rule, depth ? depth->op : KVX_OP_GREATER_EQUAL, measured, depth ? depth->values[0] : 0.0,
             LengthUnitText(rule.units.iLengthUnit), "undercut", undercut.faces, undercut.point);
  }
  return {};
}

Verdict CheckCorePin(const RuleInput& rule, Context& c) {
  if (c.facts.holes.empty()) return "no hole (core pin) was recognised on the part";
  const Limit *diameter = c.Active(rule, res::kCorePinDiameterParam),
              *slenderness = c.Active(rule, res::kCorePinLengthParam);
  for (const Hole& hole : c.facts.holes) {
    const std::string what = hole.through ? "core pin (through hole)" : "core pin (blind hole)";
    if (diameter)
      c.Compare(rule, *diameter, c.FromMm(rule, hole.diameter), diameter->values,
                LengthUnitText(rule.units.iLengthUnit), what, hole.faces, hole.entry);
    if (slenderness && !hole.through)
      c.Compare(rule, *slenderness, hole.depth / hole.diameter, slenderness->values, "D", what, hole.faces, hole.entry);
  }
  return {};
}

Verdict NeedBosses(const Context& c) {
  return c.facts.bosses.empty() ? "no boss was recognised on the part" : Verdict{};
}

Verdict CheckBossDraft(const RuleInput& rule, Context& c) {
  if (auto none = NeedBosses(c); !none.empty()) return none;
  const Limit *inner = c.Active(rule, res::kInnerWallDraftParam), *outer = c.Active(rule, res::kOuterWallDraftParam);
  const std::string unit = AngleUnitText(rule.units.iAngleUnit);
  for (const Boss& boss : c.facts.bosses) {
    if (outer)
      c.Compare(rule, *outer, c.FromDegrees(rule, boss.outerDraft), outer->values, unit, "boss outer wall", boss.faces,
                boss.point);
    if (inner && boss.holeDiameter > 0)
      c.Compare(rule, *inner, c.FromDegrees(rule, boss.innerDraft), inner->values, unit, "boss inner wall", boss.faces,
                boss.point);
  }
  return {};
}

Verdict CheckBossParameters(const RuleInput& rule, Context& c) {
  if (auto none = NeedBosses(c); !none.empty()) return none;
  const Limit *ratio = c.Active(rule, res::kBossOuterDiameterParam), *wall = c.Active(rule, res::kBossWallRatioParam),
              *height = c.Active(rule, res::kBossHeightRatioParam);
  for (const Boss& boss : c.facts.bosses) {
    if (ratio && boss.holeDiameter > 0)
      c.Compare(rule, *ratio, boss.outerDiameter / boss.holeDiameter, ratio->values, "d", "boss", boss.faces,
                boss.point);
    if (wall && boss.holeDiameter > 0 && c.t > 0)
      c.Compare(rule, *wall, (boss.outerDiameter - boss.holeDiameter) / 2 / c.t, wall->values, "t", "boss wall",
                boss.faces, boss.point);
    if (height)
      c.Compare(rule, *height, boss.height / boss.outerDiameter, height->values, "OD", "boss height", boss.faces,
                boss.point);
  }
  return {};
}

// Calls `compare` for each boss whose radius (`base` or tip) was measured. A blend with no one radius (variable,
// elliptic) is never read as 0: that boss is listed as not checked for the limit, and the whole rule when no boss
// was measured.
template <typename Compare>
Verdict EachMeasuredBoss(const RuleInput& rule, Context& c, long limit, bool base, Compare compare) {
  std::vector<std::string> unmeasured;
  for (const Boss& boss : c.facts.bosses) {
    if ((base ? boss.baseRadius : boss.tipRadius) != Boss::kUnmeasured) {
      compare(boss);
      continue;
    }
    unmeasured.push_back(
        fmt::format("the {} blend of the boss at ({:.4g}, {:.4g}, {:.4g}) mm is no torus (a variable "
                    "or elliptic blend): its radius is not measured",
                    base ? "base" : "tip", boss.point.x, boss.point.y, boss.point.z));
  }
  if (!unmeasured.empty() && unmeasured.size() == c.facts.bosses.size()) return unmeasured.front();
  for (const std::string& reason : unmeasured) c.NotCheckedLimit(rule, limit, reason);
  return {};
}

Verdict CheckBossBaseRadius(const RuleInput& rule, Context& c) {
  if (auto none = NeedBosses(c); !none.empty()) return none;
  if (c.t <= 0) return "no wall could be measured";
  for (long id : {3010L, 3011L}) {
    const Limit* limit = c.Active(rule, id);
    if (!limit) continue;
    const Verdict verdict = EachMeasuredBoss(rule, c, id, true, [&](const Boss& boss) {
      c.Compare(rule, *limit, boss.baseRadius / c.t, limit->values, "t", "boss base radius", boss.faces, boss.point);
    });
    if (!verdict.empty()) return verdict;
  }
  return {};
}

Verdict CheckBossTipRadius(const RuleInput& rule, Context& c) {
  if (auto none = NeedBosses(c); !none.empty()) return none;
  const Limit* tip = c.Active(rule, res::kBossTipRadiusMinParam);
  if (!tip) return "its limit is switched off";
  return EachMeasuredBoss(rule, c, res::kBossTipRadiusMinParam, false, [&](const Boss& boss) {
    c.Compare(rule, *tip, c.FromMm(rule, boss.tipRadius), tip->values, LengthUnitText(rule.units.iLengthUnit),
              "boss tip radius", boss.faces, boss.point);
  });
}

Verdict NeedRibs(const Context& c) {
  if (!c.facts.ribs.empty()) return {};
  return "no rib was recognised on the part (straight ribs with flat sides and a flat or rounded top, standing on a "
         "flat wall)";
}
Verdict NeedT(const Context& c) { return c.t > 0 ? Verdict{} : "no wall could be measured"; }

Verdict CheckRibParameters(const RuleInput& rule, Context& c) {
  if (auto none = NeedRibs(c); !none.empty()) return none;
  if (auto none = NeedT(c); !none.empty()) return none;
  const Limit *thickness = c.Active(rule, res::kRibThicknessRatioParam),
              *height = c.Active(rule, res::kRibHeightRatioParam), *draft = c.Active(rule, res::kRibDraftParam),
              *spacing = c.Active(rule, res::kRibSpacingRatioParam);
  for (std::size_t i = 0; i < c.facts.ribs.size(); ++i) {
    const Rib& rib = c.facts.ribs[i];
    if (thickness)
      c.Compare(rule, *thickness, rib.thickness / c.t, thickness->values, "t", "rib thickness", rib.faces, rib.point);
    if (height) c.Compare(rule, *height, rib.height / c.t, height->values, "t", "rib height", rib.faces, rib.point);
    if (draft && rib.draft < kFlatDraft)
      c.Compare(rule, *draft, c.FromDegrees(rule, rib.draft), draft->values, AngleUnitText(rule.units.iAngleUnit),
                "rib draft", rib.faces, rib.point);
    const bool pairSeen = rib.neighbour >= 0 && rib.neighbour < static_cast<int>(i) &&
                          c.facts.ribs[static_cast<std::size_t>(rib.neighbour)].neighbour == static_cast<int>(i);
    if (spacing && rib.neighbour >= 0 && !pairSeen) {
      const Rib& other = c.facts.ribs[static_cast<std::size_t>(rib.neighbour)];
      std::vector<int> faces = rib.faces;
      faces.insert(faces.end(), other.faces.begin(), other.faces.end());
      c.Compare(rule, *spacing, rib.spacing / c.t, spacing->values, "t", "rib spacing", faces,
                (rib.point + other.point) * 0.5);
    }
  }
  return {};
}

Verdict CheckRibTip(const RuleInput& rule, Context& c) {
  if (auto none = NeedRibs(c); !none.empty()) return none;
  const Limit* tip = c.Active(rule, res::kRibTipThicknessParam);
  if (!tip) return "its limit is switched off";
  for (const Rib& rib : c.facts.ribs)
    c.Compare(rule, *tip, c.FromMm(rule, rib.tipThickness), tip->values, LengthUnitText(rule.units.iLengthUnit),
              "rib tip", rib.faces, rib.point);
  return {};
}

Verdict CheckRibReinforcement(const RuleInput& rule, Context& c) {
  if (auto none = NeedRibs(c); !none.empty()) return none;
  if (auto none = NeedT(c); !none.empty()) return none;
  const Limit *area = c.Active(rule, res::kRibAreaParam), *height = c.Active(rule, res::kRibHeightParam);
  for (const Rib& rib : c.facts.ribs) {
    // The rib's cross-section (a trapezium between its foot and its tip) per wall thickness: a length.
    const double section = (rib.thickness + rib.tipThickness) / 2 * rib.height;
    if (area)
      c.Compare(rule, *area, c.FromMm(rule, section / c.t), area->values, LengthUnitText(rule.units.iLengthUnit),
                "rib section", rib.faces, rib.point);
    if (height) c.Compare(rule, *height, rib.height / c.t, height->values, "t", "rib height", rib.faces, rib.point);
  }
  return {};
}

Verdict CheckRibBaseRadius(const RuleInput& rule, Context& c) {
  if (auto none = NeedRibs(c); !none.empty()) return none;
  if (auto none = NeedT(c); !none.empty()) return none;
  for (long id : {res::kRibBaseRadiusMinParam, res::kRibBaseRadiusMaxParam}) {
    const Limit* limit = c.Active(rule, id);
    if (!limit) continue;
    for (const Rib& rib : c.facts.ribs)
      c.Compare(rule, *limit, rib.baseRadius / c.t, limit->values, "t", "rib base radius", rib.faces, rib.point);
  }
  return {};
}

Verdict CheckCutoutArea(const RuleInput& rule, Context& c) {
  if (c.facts.cutouts.empty())
    return "no cut-out was recognised on the part (openings through a wall other than round holes)";
  if (auto none = NeedT(c); !none.empty()) return none;
  const Limit* area = c.Active(rule, res::kCutoutAreaParam);
  if (!area) return "its limit is switched off";
  for (const Cutout& cutout : c.facts.cutouts)
    c.Compare(rule, *area, c.FromMm(rule, cutout.area / c.t), area->values, LengthUnitText(rule.units.iLengthUnit),
              "cut-out", cutout.faces, cutout.point);
  return {};
}

struct EvaluatorEntry {
  int ruleId;
  Evaluator evaluate;  // null: not evaluated, for `reason`
  const char* reason;
};

const std::vector<EvaluatorEntry>& Evaluators() {
  static const std::vector<EvaluatorEntry> table = {
      {ids::kDraftAngle, CheckDraft, nullptr},
      {ids::kVariableDraftAngle, CheckVariableDraft, nullptr},
      {ids::kHoleDepth, CheckHoleDepth, nullptr},
      {ids::kSpacingBetweenHoles, CheckHoleSpacing, nullptr},
      {ids::kMouldedWallThickness, CheckWallThickness, nullptr},
      {ids::kUniformThickness, CheckUniformThickness, nullptr},
      {ids::kWallThicknessVariation, CheckThicknessVariation, nullptr},
      {ids::kSuddenWallThicknessVariation, CheckSuddenVariation, nullptr},
      {ids::kUndercutDetection, CheckUndercut, nullptr},
      {ids::kCorePinDiameter, CheckCorePin, nullptr},
      {ids::kBossDraft, CheckBossDraft, nullptr},
      {ids::kBossParameters, CheckBossParameters, nullptr},
      {ids::kBossBaseRadius, CheckBossBaseRadius, nullptr},
      {ids::kBossTipRadius, CheckBossTipRadius, nullptr},
      {ids::kRibParameters, CheckRibParameters, nullptr},
      {ids::kRibTipThickness, CheckRibTip, nullptr},
      {ids::kRibReinforcement, CheckRibReinforcement, nullptr},
      {ids::kRibBaseRadius, CheckRibBaseRadius, nullptr},
      {ids::kMaxCutoutArea, CheckCutoutArea, nullptr},
      {ids::kUndercutInterference, nullptr,
       "interference with the mould's side actions needs the mould, which a part does not carry"},
  };
  return table;
}

// The tolerance rule: the band of each main dimension of the part for the chosen material.
void AddTolerances(const RuleInput& rule, const Part& part, const std::string& wanted, CheckReport& report) {
  std::string material = wanted.empty() ? rule.activeMaterial : wanted;
  auto found = rule.materials.end();
  for (auto it = rule.materials.begin(); it != rule.materials.end(); ++it)
    if (kvx::platform::EqualsNoCase(kvx::platform::Widen(it->first), kvx::platform::Widen(material))) found = it;
  if (found == rule.materials.end()) {
    report.notChecked.push_back(
        {rule.id, rule.name, rule.displayName,
         material.empty() ? "no material chosen (--material)" : "the rule has no table for material " + material, 0});
    return;
  }
  report.toleranceMaterial = found->first;
  const Vec3 size = part.box.Size();
  const std::pair<const char*, double> dimensions[] = {{"x", size.x}, {"y", size.y}, {"z", size.z}};
  for (const auto& [name, mm] : dimensions) {
    const double value = Context::FromMm(rule, mm);
    for (const auto& row : found->second)
      if (value > row[0] && value <= row[1]) report.tolerances.push_back({name, value, row[0], row[1], row[2], row[3]});
  }
  report.passed.push_back(rule.id);
}

bool AllLimitsOff(const RuleInput& rule) {
  return !rule.limits.empty() &&
         std::none_of(rule.limits.begin(), rule.limits.end(), [](const auto& l) { return l.second.enabled; });
}

// The thickness t that ratio limits refer to: the uniform-thickness rule's nominal value when the rule set
// gives one, else the measured nominal thickness.
double ThicknessT(const std::vector<RuleInput>& rules, const Facts& facts) {
  for (const RuleInput& rule : rules) {
    if (rule.id != ids::kUniformThickness || rule.status > 0) continue;
    if (const Limit* nominal = Context::Active(rule, res::kNominalThicknessParam); nominal && nominal->values[0] > 0)
      return Context::ToMm(rule, nominal->values[0]);
  }
  return facts.thickness.nominal;
}

Vec3 ChoosePull(const Part& part, const Budget& budget, std::string& note) {
  const std::pair<const char*, Vec3> axes[] = {{"+Z", {0, 0, 1}}, {"+Y", {0, 1, 0}}, {"+X", {1, 0, 0}}};
  Vec3 best = axes[0].second;
  double least = -1;
  std::string tried;
  for (const auto& [name, axis] : axes) {
    const double area = UndercutArea(part, axis, budget);
    tried += std::string(tried.empty() ? "" : ", ") + name + " " +
             std::to_string(static_cast<long long>(std::llround(area))) + " mm2";
    if (least < 0 || area < least - 1e-9) {
      least = area;
      best = axis;
    }
  }
  note = "chosen automatically: the least undercut area of the axis directions (" + tried +
         "; the opposite directions have the same undercuts)";
  return best;
}
}  // namespace

RuleInput DescribeRule(const CKvxRule& rule) {
  RuleInput input;
  input.id = rule.m_iRuleId;
  input.name = Narrow(rule.m_csRuleName);
  input.displayName = Narrow(rule.m_csDisplayName);
  input.summary = Narrow(rule.m_csSummary);
  input.severity = rule.m_lRuleSeverity;
  input.status = rule.m_lRuleStatus;
  input.units = rule.m_unitSystem;
  for (const auto& parameter : rule.Parameters()) input.limits[parameter->GetId()] = ReadLimit(*parameter);
  // The limits the module shows: those of the (last) "Default" material entry when the rule carries one.
  for (const auto& constraint : rule.Constraints()) {
    if (kvx::platform::EqualsNoCase(constraint->csName, kvx::res::kDefaultConstraintText)) {
      for (const auto& parameter : constraint->Parameters()) input.limits[parameter->GetId()] = ReadLimit(*parameter);
      continue;
    }
    const CKvxParamStorage *over = constraint->FindParameterInArray(res::kToleranceOverParam),
                           *upto = constraint->FindParameterInArray(res::kToleranceUptoParam),
                           *a = constraint->FindParameterInArray(res::kToleranceAValueParam),
                           *b = constraint->FindParameterInArray(res::kToleranceBValueParam);
    if (!over || !upto || !a || !b) continue;
    const Limit o = ReadLimit(*over), u = ReadLimit(*upto), av = ReadLimit(*a), bv = ReadLimit(*b);
    auto& rows = input.materials[Narrow(constraint->csName)];
    for (std::size_t i = 0; i < std::min({o.values.size(), u.values.size(), av.values.size(), bv.values.size()}); ++i)
      rows.push_back({o.values[i], u.values[i], av.values[i], bv.values[i]});
    if (constraint->bStatus) input.activeMaterial = Narrow(constraint->csName);
  }
  return input;
}

std::vector<int> EvaluatedRuleIds() {
  std::vector<int> ids;
  for (const auto& entry : Evaluators())
    if (entry.evaluate) ids.push_back(entry.ruleId);
  ids.push_back(ids::kMouldingTolerance);
  std::sort(ids.begin(), ids.end());
  return ids;
}

std::string SeverityName(int severity) {
  for (const auto& s : kSeverities)
    if (s.code == severity) return s.name;
  return "unknown";
}

int SeverityFromName(const std::string& name) {
  for (const auto& s : kSeverities)
    if (name == s.name || name == std::to_string(s.code)) return s.code;
  return -1;
}

CheckReport CheckRules(const Part& part, const std::vector<RuleInput>& rules, const CheckOptions& options,
                       const Budget& budget) {
  CheckReport report;
  report.pull = options.pull ? Normalized(*options.pull) : ChoosePull(part, budget, report.pullNote);
  if (options.pull) report.pullNote = "given";
  report.facts = BuildFacts(part, report.pull, budget);
  report.nominalThickness = ThicknessT(rules, report.facts);
  if (!rules.empty()) {
    report.lengthUnit = LengthUnitText(rules.front().units.iLengthUnit);
    report.pointToMm = Context::ToMm(rules.front(), 1.0);
  }
  Context context(part, report.facts, report.nominalThickness, report);
  for (const RuleInput& rule : rules) {
    if (rule.status > 0) {
      report.skipped.push_back({rule.id, rule.name, rule.displayName, "the rule's status is off", 0});
      continue;
    }
    if (AllLimitsOff(rule)) {
      report.skipped.push_back({rule.id, rule.name, rule.displayName, "every limit of the rule is switched off", 0});
      continue;
    }
    if (rule.id == ids::kMouldingTolerance) {
      AddTolerances(rule, part, options.material, report);
      continue;
    }
    const auto entry =
        std::find_if(Evaluators().begin(), Evaluators().end(), [&](const auto& e) { return e.ruleId == rule.id; });
    if (entry == Evaluators().end()) {
      report.notChecked.push_back({rule.id, rule.name, rule.displayName, "no evaluator for this rule", 0});
      continue;
    }
    if (!entry->evaluate) {
      report.notChecked.push_back({rule.id, rule.name, rule.displayName, entry->reason, 0});
      continue;
    }
    const std::size_t before = report.findings.size();
    const Verdict verdict = entry->evaluate(rule, context);
    if (!verdict.empty())
      report.notChecked.push_back({rule.id, rule.name, rule.displayName, verdict, 0});
    else if (report.findings.size() == before)
      report.passed.push_back(rule.id);
  }
  return report;
}

namespace {
template <typename Read>
PartCheck ReadAndCheck(const std::vector<RuleInput>& rules, const CheckOptions& options,
                       std::chrono::milliseconds allowance, Read read) {
  const Budget budget(allowance);
  PartCheck result;
  result.read = read(budget);
  if (!result.read.ok) return result;
  try {
    result.report = CheckRules(result.read.part, rules, options, budget);
  } catch (const std::exception& failure) {
    result.read.ok = false;
    result.read.error = std::string("the part could not be checked: ") + failure.what();
  }
  return result;
}
}  // namespace

PartCheck CheckStepFile(const std::string& path, const std::vector<RuleInput>& rules, const CheckOptions& options,
                        std::chrono::milliseconds allowance) {
  return ReadAndCheck(rules, options, allowance, [&](const Budget& budget) { return ReadStepFile(path, budget); });
}

PartCheck CheckStepBytes(std::string_view bytes, const std::vector<RuleInput>& rules, const CheckOptions& options,
                         std::chrono::milliseconds allowance) {
  return ReadAndCheck(rules, options, allowance, [&](const Budget& budget) { return ReadStepBytes(bytes, budget); });
}

}  // namespace kvx::checker
