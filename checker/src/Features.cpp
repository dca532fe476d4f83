// Draft per face, holes and bosses: read from the faces' surfaces and checked against the triangulation.
#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>
#include <unordered_map>

#include "Analyses.h"

namespace kvx::checker {

namespace {
constexpr double kVerticalSine = 1e-9;
constexpr double kMaxHoleTaper = 5.0;         // degrees; steeper cones are not holes
constexpr double kParallelCosine = 0.99985;   // within about 1 degree
constexpr double kAxisTolerance = 1e-3;       // mm, for grouping coaxial faces
constexpr double kBossShare = 0.5;            // a boss is narrower than half the part across the pull

double Clamp1(double v) { return std::max(-1.0, std::min(1.0, v)); }

// Axis direction with a fixed sign, so that both senses of one axis compare equal.
Vec3 CanonicalAxis(Vec3 a) {
  a = Normalized(a);
  const double lead = std::fabs(a.x) > 1e-9 ? a.x : std::fabs(a.y) > 1e-9 ? a.y : a.z;
  return lead < 0 ? a * -1.0 : a;
}
// The point of the axis line nearest the origin.
Vec3 AxisFoot(Vec3 origin, Vec3 axis) { return origin - axis * Dot(origin, axis); }

double Project(Vec3 p, Vec3 axis) { return Dot(p, axis); }

struct AxialRange {
  double low = 1e300, high = -1e300;
  double meanRadius = 0;
};
AxialRange RangeOf(const Part& part, const FaceInfo& face, Vec3 foot, Vec3 axis) {
  AxialRange range;
  double radiusSum = 0;
  for (std::size_t n = face.firstNode; n < face.firstNode + face.nodeCount; ++n) {
    const Vec3 p = part.mesh.nodes[n];
    const double s = Project(p - foot, axis);
    range.low = std::min(range.low, s);
    range.high = std::max(range.high, s);
    radiusSum += Length((p - foot) - axis * s);
  }
  range.meanRadius = face.nodeCount ? radiusSum / static_cast<double>(face.nodeCount) : 0;
  return range;
}

// +1 when the face's outward normal points away from its axis (a boss), -1 towards it (a hole).
int Facing(const Part& part, const FaceInfo& face, Vec3 foot, Vec3 axis) {
  double sum = 0;
  for (std::size_t n = face.firstNode; n < face.firstNode + face.nodeCount; ++n) {
    const Vec3 p = part.mesh.nodes[n];
    const Vec3 radial = (p - foot) - axis * Project(p - foot, axis);
    sum += Dot(part.normals[n], radial);
  }
  return sum > 0 ? 1 : -1;
}

bool IsRevolvedWall(const FaceInfo& face) {
  return face.kind == SurfaceKind::Cylinder || (face.kind == SurfaceKind::Cone && Degrees(std::fabs(face.semiAngle)) <= kMaxHoleTaper);
}

// Coaxial faces of one radius: the walls of one hole or one boss.
struct RevolvedGroup {
  Vec3 axis, foot;
  std::vector<int> faces;
  AxialRange range;
  int facing = 0;
};

std::vector<RevolvedGroup> GroupRevolvedWalls(const Part& part) {
  using Key = std::tuple<long long, long long, long long, long long, long long, long long, long long, int>;
  std::map<Key, RevolvedGroup> groups;
  auto q = [](double v, double step) { return static_cast<long long>(std::llround(v / step)); };
  for (std::size_t i = 0; i < part.faces.size(); ++i) {
    const FaceInfo& face = part.faces[i];
    if (!IsRevolvedWall(face) || face.nodeCount == 0) continue;
    const Vec3 axis = CanonicalAxis(face.direction);
    const Vec3 foot = AxisFoot(face.origin, axis);
    const AxialRange range = RangeOf(part, face, foot, axis);
    const int facing = Facing(part, face, foot, axis);
    const Key key{q(axis.x, 1e-4), q(axis.y, 1e-4), q(axis.z, 1e-4), q(foot.x, kAxisTolerance),
                  q(foot.y, kAxisTolerance), q(foot.z, kAxisTolerance), q(range.meanRadius, 10 * kAxisTolerance), facing};
    RevolvedGroup& group = groups[key];
    if (group.faces.empty()) {
      group.axis = axis;
      group.foot = foot;
      group.facing = facing;
    }
    group.faces.push_back(static_cast<int>(i));
    const double weight = static_cast<double>(group.faces.size());
    group.range.meanRadius += (range.meanRadius - group.range.meanRadius) / weight;
    group.range.low = std::min(group.range.low, range.low);
    group.range.high = std::max(group.range.high, range.high);
  }
  std::vector<RevolvedGroup> result;
  for (auto& [key, group] : groups) result.push_back(std::move(group));
  return result;
}

// The way a boss points, from its base to its tip: a drafted outer wall leans towards the tip; a straight
// one is taken to point away from the middle of the part.
Vec3 TipDirection(const Part& part, const RevolvedGroup& outer) {
  double lean = 0;
  for (int f : outer.faces) {
    const FaceInfo& face = part.faces[f];
    for (std::size_t n = face.firstNode; n < face.firstNode + face.nodeCount; ++n) lean += Dot(part.normals[n], outer.axis);
  }
  if (std::fabs(lean) < 1e-6) {
    const Vec3 middle = outer.foot + outer.axis * (0.5 * (outer.range.low + outer.range.high));
    const Vec3 centre = (part.box.min + part.box.max) * 0.5;
    lean = Dot(middle - centre, outer.axis);
  }
  return lean >= 0 ? outer.axis : outer.axis * -1.0;
}

// Whether something closes the hole within reach of its end, looking along `direction` from mid-depth.
bool ClosedTowards(const TriangleTree& tree, Vec3 start, Vec3 direction, double toEnd, double radius, double deflection) {
  const double reach = toEnd + 0.7 * radius + 2 * deflection;
  return tree.FirstHit(start, direction, 1e-9, reach).has_value();
}
}  // namespace

std::vector<FaceDraft> MeasureDrafts(const Part& part, Vec3 pull) {
  std::vector<FaceDraft> drafts;
  drafts.reserve(part.faces.size());
  for (std::size_t i = 0; i < part.faces.size(); ++i) {
    const FaceInfo& face = part.faces[i];
    if (face.nodeCount == 0) continue;
    FaceDraft draft;
    draft.face = static_cast<int>(i);
    double low = 1e300, high = -1e300;
    bool along = false, against = false;
    for (std::size_t n = face.firstNode; n < face.firstNode + face.nodeCount; ++n) {
      const double sine = Dot(part.normals[n], pull);
      const double angle = Degrees(std::asin(Clamp1(std::fabs(sine))));
      if (angle < draft.minDraft) {
        draft.minDraft = angle;
        draft.point = part.mesh.nodes[n];
      }
      along = along || sine > kVerticalSine;
      against = against || sine < -kVerticalSine;
      const double s = Dot(part.mesh.nodes[n], pull);
      low = std::min(low, s);
      high = std::max(high, s);
    }
    draft.side = along == against ? 0 : along ? 1 : -1;
    draft.depth = high - low;
    drafts.push_back(draft);
  }
  return drafts;
}

std::vector<Hole> FindHoles(const Part& part, const TriangleTree& tree) {
  std::vector<Hole> holes;
  for (const RevolvedGroup& group : GroupRevolvedWalls(part)) {
    if (group.facing > 0) continue;
    const double depth = group.range.high - group.range.low;
    const double radius = group.range.meanRadius;
    if (depth <= 0 || radius <= 0) continue;
    const Vec3 middle = group.foot + group.axis * (0.5 * (group.range.low + group.range.high));
    const bool closedHigh = ClosedTowards(tree, middle, group.axis, depth / 2, radius, part.deflection);
    const bool closedLow = ClosedTowards(tree, middle, group.axis * -1.0, depth / 2, radius, part.deflection);
    if (closedHigh && closedLow) continue;  // a closed void inside the part, not a hole
    Hole hole;
    hole.faces = group.faces;
    hole.diameter = 2 * radius;
    hole.depth = depth;
    hole.through = !closedHigh && !closedLow;
    hole.axis = closedHigh ? group.axis * -1.0 : group.axis;  // pointing out of the open end
    hole.entry = middle + hole.axis * (depth / 2);
    for (int f : group.faces)
      if (part.faces[f].kind == SurfaceKind::Cone) hole.draft = std::max(hole.draft, Degrees(std::fabs(part.faces[f].semiAngle)));
    holes.push_back(std::move(hole));
  }
  MeasureLigaments(holes);
  return holes;
}

// Each hole's nearest parallel neighbour, edge to edge, found through a grid over the holes' positions
// across their axes so that the cost grows with the number of holes, not with its square.
void MeasureLigaments(std::vector<Hole>& holes) {
  if (holes.size() < 2) return;
  double largest = 0;
  for (const Hole& hole : holes) largest = std::max(largest, hole.diameter);
  const double cell = 3 * largest;
  using CellKey = std::tuple<long long, long long, long long, long long, long long, long long>;
  std::map<CellKey, std::vector<std::size_t>> grid;
  auto keyOf = [&](const Hole& hole, int dx, int dy, int dz) {
    const Vec3 axis = CanonicalAxis(hole.axis);
    const Vec3 foot = AxisFoot(hole.entry, axis);
    auto q = [](double v, double step) { return static_cast<long long>(std::floor(v / step)); };
    return CellKey{std::llround(axis.x * 1e3), std::llround(axis.y * 1e3), std::llround(axis.z * 1e3),
                   q(foot.x, cell) + dx, q(foot.y, cell) + dy, q(foot.z, cell) + dz};
  };
  for (std::size_t i = 0; i < holes.size(); ++i) grid[keyOf(holes[i], 0, 0, 0)].push_back(i);
  for (std::size_t i = 0; i < holes.size(); ++i) {
    Hole& hole = holes[i];
    const Vec3 axis = CanonicalAxis(hole.axis);
    for (int dx = -1; dx <= 1; ++dx)
      for (int dy = -1; dy <= 1; ++dy)
        for (int dz = -1; dz <= 1; ++dz) {
          const auto found = grid.find(keyOf(hole, dx, dy, dz));
          if (found == grid.end()) continue;
          for (std::size_t j : found->second) {
            if (j == i) continue;
            const Hole& other = holes[j];
            const Vec3 offset = other.entry - hole.entry;
            const Vec3 across = offset - axis * Dot(offset, axis);
            const double ligament = Length(across) - (hole.diameter + other.diameter) / 2;
            if (hole.ligament < 0 || ligament < hole.ligament) {
              hole.ligament = std::max(0.0, ligament);
              hole.neighbour = static_cast<int>(j);
            }
          }
        }
  }
}

// True when a face next to the boss's outer wall that is neither a plane (a sharp edge) nor one of its own
// faces runs on beyond `level` (its base going down, -1, or its tip going up, +1): a blend with no one
// radius, such as a variable or elliptic one, whose radius is then left unmeasured rather than read as 0.
bool BlendBeyond(const Part& part, const RevolvedGroup& outer, Vec3 axis, double level, int way) {
  for (int f : outer.faces)
    for (int next : part.faces[f].neighbours) {
      const FaceInfo& face = part.faces[next];
      if (face.kind == SurfaceKind::Plane || std::ranges::find(outer.faces, next) != outer.faces.end()) continue;
      const AxialRange range = RangeOf(part, face, outer.foot, axis);
      const double near = way < 0 ? range.high : range.low, far = way < 0 ? range.low : range.high;
      if (std::fabs(near - level) <= part.deflection + kAxisTolerance && (far - level) * way > part.deflection)
        return true;
    }
  return false;
}

std::vector<Boss> FindBosses(const Part& part, Vec3 pull, const std::vector<FaceDraft>& drafts) {
  std::vector<Boss> bosses;
  std::unordered_map<int, double> draftOf;
  for (const FaceDraft& draft : drafts) draftOf[draft.face] = draft.minDraft;
  const Vec3 size = part.box.Size();
  const double across = std::max({std::fabs(Length(Cross(pull, {size.x, 0, 0}))), std::fabs(Length(Cross(pull, {0, size.y, 0}))),
                                  std::fabs(Length(Cross(pull, {0, 0, size.z})))});
  const auto groups = GroupRevolvedWalls(part);
  for (const RevolvedGroup& outer : groups) {
    if (outer.facing < 0 || std::fabs(Dot(outer.axis, pull)) < kParallelCosine) continue;
    const double outerDiameter = 2 * outer.range.meanRadius;
    if (outerDiameter > kBossShare * across) continue;
    Boss boss;
    boss.faces = outer.faces;
    boss.outerDiameter = outerDiameter;
    boss.height = outer.range.high - outer.range.low;
    boss.outerDraft = 90;
    for (int f : outer.faces) boss.outerDraft = std::min(boss.outerDraft, draftOf[f]);
    const Vec3 axis = TipDirection(part, outer);
    for (const RevolvedGroup& inner : groups) {
      if (inner.facing > 0 || std::fabs(Dot(inner.axis, outer.axis)) < kParallelCosine) continue;
      if (Length(Cross(inner.foot - outer.foot, outer.axis)) > kAxisTolerance) continue;
      if (inner.range.meanRadius >= outer.range.meanRadius) continue;
      boss.holeDiameter = std::max(boss.holeDiameter, 2 * inner.range.meanRadius);
      boss.innerDraft = 90;
      for (int f : inner.faces) boss.innerDraft = std::min(boss.innerDraft, draftOf[f]);
      boss.faces.insert(boss.faces.end(), inner.faces.begin(), inner.faces.end());
    }
    double tipLevel = -1e300, baseLevel = 1e300;
    for (int f : outer.faces) {
      const AxialRange range = RangeOf(part, part.faces[f], outer.foot, axis);
      tipLevel = std::max(tipLevel, range.high);
      baseLevel = std::min(baseLevel, range.low);
    }
    for (std::size_t i = 0; i < part.faces.size(); ++i) {
      const FaceInfo& face = part.faces[i];
      if (face.kind != SurfaceKind::Torus || std::fabs(Dot(CanonicalAxis(face.direction), outer.axis)) < kParallelCosine) continue;
      if (Length(Cross(face.origin - outer.foot, outer.axis)) > kAxisTolerance) continue;
      const double level = Dot(face.origin - outer.foot, axis);
      const double r = outer.range.meanRadius;
      if (std::fabs(face.radius - (r + face.minorRadius)) < 1e-3 * r + kAxisTolerance && std::fabs(level - baseLevel) <= face.minorRadius + kAxisTolerance) {
        boss.baseRadius = face.minorRadius;
        boss.faces.push_back(static_cast<int>(i));
      } else if (std::fabs(face.radius - (r - face.minorRadius)) < 1e-3 * r + kAxisTolerance && std::fabs(level - tipLevel) <= face.minorRadius + kAxisTolerance) {
        boss.tipRadius = face.minorRadius;
        boss.faces.push_back(static_cast<int>(i));
      }
    }
    if (boss.baseRadius == 0 && BlendBeyond(part, outer, axis, baseLevel, -1)) boss.baseRadius = Boss::kUnmeasured;
    if (boss.tipRadius == 0 && BlendBeyond(part, outer, axis, tipLevel, +1)) boss.tipRadius = Boss::kUnmeasured;
    boss.point = outer.foot + axis * tipLevel;
    bosses.push_back(std::move(boss));
  }
  return bosses;
}

}  // namespace kvx::checker
