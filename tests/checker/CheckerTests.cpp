// The checker on parts written by gmsh: what the reader makes of good and bad files, the facts measured on
// parts of known shape (within the tolerances promised to users), and what the evaluators make of them.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>

#include "kvx/checker/Check.h"
#include "kvx/checker/Facts.h"

namespace {

using namespace kvx::checker;
using namespace std::chrono_literals;

constexpr double kDraftTolerance = 0.05;  // degrees
constexpr double kSizeShare = 0.01;       // diameters and depths
constexpr double kThicknessShare = 0.05;
constexpr Vec3 kUp{0, 0, 1};

std::string PartPath(const std::string& name) { return std::string(KVX_CHECKER_PARTS) + "/" + name + ".step"; }

// Each part is read once for the whole program.
const Part& Read(const std::string& name) {
  static std::map<std::string, ReadResult> cache;
  auto found = cache.find(name);
  if (found == cache.end()) found = cache.emplace(name, ReadStepFile(PartPath(name), Budget(60s))).first;
  EXPECT_TRUE(found->second.ok) << name << ": " << found->second.error;
  return found->second.part;
}

Facts FactsOf(const std::string& name, Vec3 pull = kUp) { return BuildFacts(Read(name), pull, Budget(60s)); }

void ExpectNear(double expected, double measured, double tolerance, const std::string& what) {
  EXPECT_NEAR(measured, expected, tolerance) << what;
}

TEST(CheckerReader, GoodPartsKeepTheirSizeSolidsAndWarnings) {
  struct Case {
    const char* part;
    int solids;
    Vec3 size;
    const char* warning;  // a word of the expected warning, or "" for none
  };
  const Case cases[] = {
      {"plate", 1, {100, 60, 4}, ""},
      {"plate_in_metres", 1, {100, 60, 4}, ""},  // the file's unit honoured
      {"two_solids", 2, {30, 10, 10}, "2 solids"},
      {"sheet", 0, {30, 20, 0}, "no solid"},
  };
  for (const Case& c : cases) {
    const Part& part = Read(c.part);
    EXPECT_EQ(part.solids, c.solids) << c.part;
    for (double Vec3::*axis : {&Vec3::x, &Vec3::y, &Vec3::z})
      ExpectNear(c.size.*axis, part.box.Size().*axis, 1e-3, c.part);
    std::string warnings;
    for (const auto& w : part.warnings) warnings += w + "\n";
    EXPECT_EQ(warnings.empty(), !*c.warning) << c.part << ": " << warnings;
    EXPECT_NE(warnings.find(c.warning), std::string::npos) << c.part << ": " << warnings;
  }
  EXPECT_EQ(Read("plate_in_metres").fileUnit, "metre");
  EXPECT_GT(Read("sheet").openEdges, 0);
}

TEST(CheckerReader, BadFilesAndBudgetsGiveAClearErrorNeverACrash) {
  const std::pair<std::string, const char*> cases[] = {
      {PartPath("empty"), "empty"},
      {PartPath("garbage"), ""},
      {PartPath("truncated"), ""},
      {PartPath("missing"), "cannot open"},
      {std::string(KVX_CHECKER_PARTS) + "/../CTestTestfile.cmake", "not a STEP file"},
      {std::string(KVX_FUZZ_FINDINGS) + "/step-line-without-vector.step", "the part cannot be read: #"},
      {PartPath("boss"), "out of time"},  // a budget that runs out stops the read
  };
  for (const auto& [path, word] : cases) {
    const ReadResult result = ReadStepFile(path, Budget(word == std::string("out of time") ? 0ms : 60s));
    EXPECT_FALSE(result.ok) << path;
    EXPECT_FALSE(result.error.empty()) << path;
    EXPECT_NE(result.error.find(word), std::string::npos) << path << ": " << result.error;
  }
  // The same bytes held in memory, and every prefix length class of a real file.
  std::ifstream in(PartPath("plate"), std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  for (std::size_t length : {std::size_t{0}, std::size_t{20}, text.size() / 3, text.size() - 10}) {
    const PartCheck check = CheckStepBytes(std::string_view(text).substr(0, length), {}, {}, 30s);
    EXPECT_TRUE(check.read.ok || !check.read.error.empty()) << length;
  }
}

TEST(CheckerFacts, DraftPerFaceAgainstThePull) {
  struct Case {
    const char* part;
    double draft;  // a draft of faces standing along the pull (the boss's hole at 0.5 degree, its outside at 1)
    int faces;     // how many faces have it
  };
  const Case cases[] = {{"drafted", 2.0, 4}, {"plate", 0.0, 8}, {"boss", 0.5, 1}, {"boss", 1.0, 1}};
  for (const Case& c : cases) {
    const Facts facts = FactsOf(c.part);
    int count = 0;
    for (const FaceDraft& d : facts.drafts)
      if (std::fabs(d.minDraft - c.draft) <= kDraftTolerance) ++count;
    EXPECT_EQ(count, c.faces) << c.part;
  }
  std::map<int, int> sides;
  for (const FaceDraft& d : FactsOf("drafted").drafts) ++sides[d.side];
  EXPECT_EQ(sides[1], 5);  // the top and the four drafted sides face the half moving along the pull
  EXPECT_EQ(sides[-1], 1);
}

TEST(CheckerFacts, HolesWithDiameterDepthKindAndLigament) {
  struct Expected {
    double diameter, depth;
    bool through;
  };
  const Expected expected[] = {{6, 3, false}, {5, 4, true}, {4, 4, true}, {4, 4, true}};
  const Facts facts = FactsOf("plate");
  ASSERT_EQ(facts.holes.size(), std::size(expected));
  std::vector<Hole> holes = facts.holes;
  std::sort(holes.begin(), holes.end(), [](const Hole& a, const Hole& b) { return a.diameter > b.diameter; });
  for (std::size_t i = 0; i < holes.size(); ++i) {
    ExpectNear(expected[i].diameter, holes[i].diameter, kSizeShare * expected[i].diameter, "diameter");
    ExpectNear(expected[i].depth, holes[i].depth, kSizeShare * expected[i].depth, "depth");
    EXPECT_EQ(holes[i].through, expected[i].through) << i;
    EXPECT_NEAR(std::fabs(holes[i].axis.z), 1.0, 1e-6);
  }
  for (int i : {2, 3}) ExpectNear(2.0, holes[i].ligament, kSizeShare * 2, "ligament of the close pair");
  EXPECT_GT(holes[1].ligament, 20);
  // The blind hole opens at the top.
  EXPECT_GT(holes[0].axis.z, 0);
  ExpectNear(4.0, holes[0].entry.z, 1e-3, "blind hole entry");
}

TEST(CheckerFacts, BossWithCoaxialHole) {
  const Facts facts = FactsOf("boss");
  ASSERT_EQ(facts.bosses.size(), 1u);
  const Boss& boss = facts.bosses[0];
  const double tipRadius = 5 - 12 * std::tan(1.0 * 3.14159265358979 / 180);
  ExpectNear(5 + tipRadius, boss.outerDiameter, kSizeShare * 10, "outer diameter (mean over the height)");
  ExpectNear(12, boss.height, kSizeShare * 12, "height");
  ExpectNear(1.0, boss.outerDraft, kDraftTolerance, "outer draft");
  ExpectNear(0.5, boss.innerDraft, kDraftTolerance, "inner draft");
  ExpectNear(3.95, boss.holeDiameter, 0.05 + kSizeShare * 4, "hole diameter (between its ends' 3.9 and 4)");
  ExpectNear(15, boss.point.z, 1e-3, "tip");
  // The boss's hole is also a blind hole 10 deep.
  ASSERT_EQ(facts.holes.size(), 1u);
  EXPECT_FALSE(facts.holes[0].through);
  ExpectNear(10, facts.holes[0].depth, kSizeShare * 10, "boss hole depth");
}

double ThicknessOfFaceAt(const Facts& facts, const Part& part, Vec3 point) {
  for (const FaceThickness& face : facts.thickness.faces) {
    const Box& box = part.faces[face.face].box;
    if (point.x >= box.min.x - 1e-6 && point.x <= box.max.x + 1e-6 && point.y >= box.min.y - 1e-6 &&
        point.y <= box.max.y + 1e-6 && box.Size().z < 1e-6 && std::fabs(point.z - box.min.z) < 1e-6)
      return face.value;
  }
  return -1;
}

TEST(CheckerFacts, WallThicknessNominalThickAndThin) {
  struct Case {
    const char* part;
    double nominal, value;  // the part's nominal thickness, and that of the face at `at`
    Vec3 at;                // a point of a face square to the pull whose wall is measured
  };
  const Case cases[] = {
      {"plate", 4, 4, {50, 50, 4}},
      {"thick", 4, 10, {40, 20, 10}},  // the thick section
      {"rib", 3, 3, {20, 10, 3}},
      {"window", 2, 2, {20, 20, 2}},
  };
  for (const Case& c : cases) {
    const Facts facts = FactsOf(c.part);
    ExpectNear(c.nominal, facts.thickness.nominal, kThicknessShare * c.nominal, std::string(c.part) + " nominal");
    ExpectNear(c.value, ThicknessOfFaceAt(facts, Read(c.part), c.at), kThicknessShare * c.value, std::string(c.part) + " face");
  }
  // The ribs' drafted sides (1.5 at the foot, 1.33 at the top) are read across the ribs, not along them.
  const Facts rib = FactsOf("rib");
  int ribSides = 0;
  for (const FaceThickness& face : rib.thickness.faces)
    if (face.value > 1.33 * (1 - kThicknessShare) && face.value < 1.5 * (1 + kThicknessShare)) ++ribSides;
  EXPECT_EQ(ribSides, 4);
  // The step from 4 to 10 is one sudden change.
  const Facts thick = FactsOf("thick");
  ASSERT_FALSE(thick.thickness.changes.empty());
  const auto biggest = std::max_element(thick.thickness.changes.begin(), thick.thickness.changes.end(),
                                        [](const auto& a, const auto& b) { return a.change < b.change; });
  ExpectNear(6, biggest->change, kThicknessShare * 6, "change");
  EXPECT_LT(biggest->length, biggest->change);
}

TEST(CheckerFacts, UndercutsAndTheAutomaticPull) {
  // The window's top and bottom trap one core: one undercut, as deep as the wall.
  const Facts window = FactsOf("window");
  ASSERT_EQ(window.undercuts.size(), 1u);
  ExpectNear(40, window.undercutArea, 40 * kThicknessShare, "window undercut area (its top and bottom)");
  ExpectNear(2, window.undercuts[0].depth, kThicknessShare * 2, "through the 2 mm wall");
  for (const char* part : {"plate", "drafted", "boss", "thick", "rib"}) {
    const Facts facts = FactsOf(part);
    EXPECT_TRUE(facts.undercuts.empty() && facts.cutouts.empty()) << part << ": round holes, ribs, steps";
    EXPECT_TRUE(facts.ribs.empty() == (part != std::string("rib"))) << part << ": blocks and steps are no ribs";
  }
  // Seen along X, the plate's holes cannot be released.
  EXPECT_FALSE(FactsOf("plate", {1, 0, 0}).undercuts.empty());

  const CheckReport report = CheckRules(Read("plate"), {}, {}, Budget(60s));
  EXPECT_NEAR(std::fabs(report.pull.z), 1.0, 1e-9) << report.pullNote;
  EXPECT_NE(report.pullNote.find("automatically"), std::string::npos);
}

TEST(CheckerFacts, RibsAndCutouts) {
  struct Case {
    const char* part;
    double thickness, tip, height, draft, radii[2], spacing;  // of both ribs; radii by rising y
  };
  const Case cases[] = {
      {"rib", 1.5, 1.5 - 2 * 10 * std::tan(0.5 * 3.14159265358979 / 180), 10, 0.5, {0.6, 0}, 10.5},
      {"rounded_ribs", 2, 2, 10, 0, {0, 0}, 10},  // a rounded top counts to its highest point
  };
  for (const Case& c : cases) {
    std::vector<Rib> ribs = FactsOf(c.part).ribs;
    ASSERT_EQ(ribs.size(), 2u) << c.part;
    std::sort(ribs.begin(), ribs.end(), [](const Rib& a, const Rib& b) { return a.point.y < b.point.y; });
    for (std::size_t i = 0; i < ribs.size(); ++i) {
      const Rib& r = ribs[i];
      const std::string rib = c.part + std::string(" ") + std::to_string(i) + ": ";
      ExpectNear(c.thickness, r.thickness, kSizeShare * c.thickness, rib + "thickness at the foot");
      ExpectNear(c.tip, r.tipThickness, kSizeShare * c.tip, rib + "thickness at the top");
      ExpectNear(c.height, r.height, kSizeShare * c.height, rib + "height");
      ExpectNear(c.draft, r.draft, kDraftTolerance, rib + "draft");
      ExpectNear(c.radii[i], r.baseRadius, kSizeShare, rib + "base radius");
      ExpectNear(c.spacing, r.spacing, kSizeShare * c.spacing, rib + "clear gap between the ribs");
    }
  }
  const Facts window = FactsOf("window");
  ASSERT_EQ(window.cutouts.size(), 1u);
  ExpectNear(60, window.cutouts[0].area, kSizeShare * 60, "window area");
  ExpectNear(2, window.cutouts[0].depth, kSizeShare * 2, "through the wall");
  EXPECT_TRUE(window.ribs.empty()) << "the box's walls are walls";
}

// Rules as the module hands them out, built by hand: millimetres and degrees unless a case says otherwise.
RuleInput Rule(int id, std::map<long, Limit> limits, int lengthUnit = 0, int status = 0) {
  RuleInput rule;
  rule.status = status;
  rule.id = id;
  rule.name = "rule " + std::to_string(id);
  rule.severity = 2;
  rule.units.iLengthUnit = lengthUnit;
  rule.limits = std::move(limits);
  return rule;
}
constexpr int kAtLeast = 7, kAtMost = 8, kLess = 5;
Limit L(int op, double value, bool enabled = true) {
  Limit limit;
  limit.enabled = enabled;
  limit.op = op;
  limit.values = {value};
  return limit;
}

struct EvaluatorCase {
  const char *name, *part;
  RuleInput rule;
  std::size_t findings;
  double measured;  // of every finding
  const char* verdict;  // "passed", "not checked", "skipped" or "findings"
};

TEST(CheckerEvaluators, CompareFactsWithTheRulesLimits) {
  const EvaluatorCase cases[] = {
      {"drafted sides satisfy 1 degree", "drafted", Rule(12090, {{3030, L(kAtLeast, 1.0)}}), 0, 0, "passed"},
      {"drafted sides miss 3 degrees", "drafted", Rule(12090, {{3030, L(kAtLeast, 3.0)}}), 4, 2.0, "findings"},
      {"blind hole deeper than 0.4 D", "plate", Rule(12150, {{2347, L(kLess, 0.4)}}), 1, 0.5, "findings"},
      {"through holes at most 1 D", "plate", Rule(12150, {{2348, L(kAtMost, 0.9)}}), 2, 1.0, "findings"},
      {"holes 2 mm apart, 1 t needed", "plate", Rule(12160, {{2374, L(kAtLeast, 1.0)}}), 1, 2.0, "findings"},
      {"the same in inches", "plate", Rule(12160, {{2374, L(kAtLeast, 1.0)}}, 3), 1, 2.0 / 25.4, "findings"},
      {"holes 2 mm apart, 0.4 t needed", "plate", Rule(12160, {{2374, L(kAtLeast, 0.4)}}), 0, 0, "passed"},
      {"thick section above 6 mm", "thick", Rule(12080, {{3061, L(kAtMost, 6.0)}}), 1, 10, "findings"},
      {"two sudden steps above 25 %", "thick", Rule(12120, {{3080, L(kAtMost, 25.0)}}), 2, 150, "findings"},
      {"window undercut, once", "window", Rule(12100, {{3050, L(3, 1.0)}, {3051, L(kAtLeast, 0.1)}}), 1, 2.0, "findings"},
      {"undercuts only from 3 mm", "window", Rule(12100, {{3050, L(3, 1.0)}, {3051, L(kAtLeast, 3.0)}}), 0, 0, "passed"},
      {"boss outer draft", "boss", Rule(12176, {{2469, L(kAtLeast, 1.5)}}), 1, 1.0, "findings"},
      {"elliptic base blend, no radius", "blended_boss", Rule(12010, {{3010, L(kAtLeast, 0.1)}}), 0, 0, "not checked"},
      {"no hole on the block", "drafted", Rule(12150, {{2347, L(kLess, 0.4)}}), 0, 0, "not checked"},
      {"ribs thicker than 0.4 t", "rib", Rule(12070, {{3040, L(kAtMost, 0.4)}}), 2, 0.5, "findings"},
      {"ribs drafted less than 1 degree", "rib", Rule(12070, {{3042, L(kAtLeast, 1.0)}}), 2, 0.5, "findings"},
      {"ribs closer than 4 t, the pair once", "rib", Rule(12070, {{3043, L(kAtLeast, 4.0)}}), 1, 3.5, "findings"},
      {"rib tips under 1.4 mm", "rib", Rule(12220, {{2730, L(kAtLeast, 1.4)}}), 2, 1.325, "findings"},
      {"rib sections above 4 mm", "rib", Rule(12050, {{2077, L(kAtMost, 4.0)}}), 2, 4.71, "findings"},
      {"rib base radius above 0.1 t", "rib", Rule(12140, {{3111, L(kAtMost, 0.1)}}), 1, 0.2, "findings"},
      {"no rib on the plate", "plate", Rule(12070, {{3040, L(kAtMost, 0.6)}}), 0, 0, "not checked"},
      {"window larger than 20 t", "window", Rule(12060, {{2081, L(kAtMost, 20.0)}}), 1, 30, "findings"},
      {"rule without an evaluator", "plate", Rule(99999, {{1, L(kAtMost, 1.0)}}), 0, 0, "not checked"},
      {"status off", "drafted", Rule(12090, {{3030, L(kAtLeast, 3.0)}}, 0, 1), 0, 0, "skipped"},
      {"every limit off", "drafted", Rule(12150, {{2347, L(kAtLeast, 3.0, false)}}), 0, 0, "skipped"},
  };
  for (const EvaluatorCase& c : cases) {
    const CheckReport report = CheckRules(Read(c.part), {c.rule}, {kUp, ""}, Budget(60s));
    EXPECT_EQ(report.findings.size(), c.findings) << c.name;
    for (const Finding& f : report.findings) {
      EXPECT_NEAR(f.measured, c.measured, std::max(kThicknessShare * c.measured, kDraftTolerance)) << c.name;
      EXPECT_FALSE(f.faces.empty()) << c.name;
    }
    const bool passed = std::count(report.passed.begin(), report.passed.end(), c.rule.id) == 1;
    const bool notChecked = report.notChecked.size() == 1 && !report.notChecked[0].reason.empty();
    const bool skipped = report.skipped.size() == 1 && report.skipped[0].ruleId == c.rule.id;
    const char* verdict = passed ? "passed" : notChecked ? "not checked" : skipped ? "skipped" : "findings";
    EXPECT_EQ(std::string(c.verdict), verdict) << c.name;
  }
}

TEST(CheckerEvaluators, UniformThicknessNominalBecomesT) {
  // With a nominal of 2 mm the plate's 4 mm walls deviate by 100 %, and the spacing limit follows t.
  const RuleInput uniform = Rule(12030, {{3090, L(kAtMost, 10.0)}, {3091, L(3, 2.0)}});
  const RuleInput spacing = Rule(12160, {{2374, L(kAtLeast, 0.8)}});
  const CheckReport report = CheckRules(Read("plate"), {uniform, spacing}, {kUp, ""}, Budget(60s));
  EXPECT_DOUBLE_EQ(report.nominalThickness, 2.0);
  EXPECT_TRUE(std::ranges::any_of(
      report.findings, [](const Finding& f) { return f.ruleId == 12030 && std::fabs(f.measured - 100) < 5; }));
  EXPECT_EQ(std::count(report.passed.begin(), report.passed.end(), 12160), 1);  // 2 mm >= 0.8 x 2 mm
}

// Real parts written by other CAD systems, as Debian ships them (occt-misc, and the component bodies of
// freecad-common): checked within the budget, nothing cut short, and what a person sees on them found. The
// components' lengths and widths are their packages' nominal sizes.
TEST(CheckerSamples, DebianStepSamplesAreCheckedPlausibly) {
  struct Case {
    const char* path;
    int solids;
    double length, height;  // along X and Z, mm
    int throughHoles;       // -1: not counted
    bool undercuts;
  };
  const std::string occt = "/usr/share/opencascade/data/step/", components = "/usr/share/freecad/Mod/Idf/Idflibs/";
  const Case cases[] = {
      {"linkrods.step", 1, 5.02, 2.0, 2, false},
      {"screw.step", 1, 19.84, 42.3, 0, false},
      {"0603_SMD.stp", 1, 1.6, 0.3, -1, false},
      {"1206_SMD.stp", 1, 3.2, 1.0, -1, false},
      {"2512_SMD.stp", 1, 6.35, 1.6, -1, false},
      {"TSM_104_01_L_DV_A.stp", 1, 10.16, 10.92, -1, true},  // 552 faces; a header's pins
      {"SOT23.stp", 0, 2.92, 1.02, -1, true},                 // surfaces only: checked with a warning
  };
  int checked = 0;
  for (const Case& c : cases) {
    const std::string path = (std::string(c.path).ends_with(".step") ? occt : components) + c.path;
    if (!std::ifstream(path)) {
      std::cout << "[ SKIPPED  ] " << c.path << ": its package (occt-misc or freecad-common) is not installed\n";
      continue;
    }
    ++checked;
    const PartCheck check = CheckStepFile(path, {}, {}, 60s);
    ASSERT_TRUE(check.read.ok) << c.path << ": " << check.read.error;
    EXPECT_EQ(check.read.part.solids, c.solids) << c.path;
    EXPECT_EQ(check.read.part.warnings.empty(), c.solids == 1) << c.path;
    EXPECT_NEAR(check.read.part.box.Size().x, c.length, 0.01 * c.length) << c.path;
    EXPECT_NEAR(check.read.part.box.Size().z, c.height, 0.01 * c.height) << c.path;
    EXPECT_TRUE(check.report.facts.skipped.empty()) << c.path;
    const auto& holes = check.report.facts.holes;
    const auto through = std::count_if(holes.begin(), holes.end(), [](const Hole& h) { return h.through; });
    EXPECT_TRUE(c.throughHoles < 0 || through == c.throughHoles) << c.path << ": " << through << " through holes";
    EXPECT_TRUE(c.undercuts || check.report.facts.undercutArea == 0) << c.path << ": " << check.report.pullNote;
  }
  if (checked == 0) GTEST_SKIP() << "neither occt-misc nor freecad-common is installed";
}

}  // namespace
