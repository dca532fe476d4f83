// Undercuts: a facet is released by the mould half it faces only if nothing of the part lies in its way
// along the pull; facets that are blocked both ways need a side action.
#include <algorithm>
#include <cmath>
#include <map>

#include "Analyses.h"

namespace kvx::checker {

namespace {
constexpr double kVerticalSine = 0.0087;  // facets within half a degree of the pull slide along it
constexpr int kDirections = 18;           // directions across the pull tried for the undercut's depth

// For each triangle: the face that blocks its way out, or -1. Stops at the budget, leaving the rest unblocked.
std::vector<int> BlockingFaces(const Part& part, const TriangleTree& tree, Vec3 pull, const Budget& budget, bool& cutShort) {
  std::vector<int> blocker(part.mesh.triangles.size(), -1);
  const double skip = part.box.Diagonal() * 1e-7;
  // A facet's centre lies up to the deflection inside a convex face, from where a drafted wall would block its
  // own way out; the probe starts this far outside.
  const double lift = 2 * part.deflection;
  for (std::size_t t = 0; t < part.mesh.triangles.size(); ++t) {
    if ((t & 255) == 0 && budget.Expired()) {
      cutShort = true;
      break;
    }
    // The surface's own normals: a facet of a gently drafted curved face can lean the other way.
    const auto& corners = part.mesh.triangles[t];
    Vec3 normal = Normalized(part.normals[corners[0]] + part.normals[corners[1]] + part.normals[corners[2]]);
    if (Length(normal) < 0.5) normal = Normalized(part.mesh.AreaNormal(t));
    const double sine = Dot(normal, pull);
    if (std::fabs(sine) < kVerticalSine) continue;
    const Vec3 release = sine > 0 ? pull : pull * -1.0;
    if (const auto hit = tree.FirstHit(part.mesh.Centroid(t) + normal * lift, release, skip, 1e300))
      blocker[t] = part.mesh.faceOf[hit->triangle];
  }
  return blocker;
}

// The representative of `face`'s group, halving the path on the way.
int GroupOf(std::vector<int>& parent, int face) {
  while (parent[face] != face) face = parent[face] = parent[parent[face]];
  return face;
}

// Whether one of the triangles, seen along the pull, covers `point`.
bool CoversAcross(const Part& part, const std::vector<std::size_t>& triangles, Vec3 point, Vec3 pull) {
  for (std::size_t t : triangles) {
    if (std::fabs(Dot(part.mesh.AreaNormal(t), pull)) < 1e-12) continue;  // seen edge-on
    const Vec3 a = part.mesh.Corner(t, 0), b = part.mesh.Corner(t, 1), c = part.mesh.Corner(t, 2);
    const double ab = Dot(Cross(b - a, point - a), pull), bc = Dot(Cross(c - b, point - b), pull),
                 ca = Dot(Cross(a - c, point - c), pull);
    if ((ab >= 0 && bc >= 0 && ca >= 0) || (ab <= 0 && bc <= 0 && ca <= 0)) return true;
  }
  return false;
}

// How far the blocked facets reach across the pull: the narrowest of their widths in the plane across the
// pull and of their spread around their own centre (a ring-shaped groove is as deep as its ring is wide).
double DepthAcross(const Part& part, const std::vector<std::size_t>& triangles, Vec3 pull) {
  Vec3 u = Normalized(Cross(pull, std::fabs(pull.x) < 0.9 ? Vec3{1, 0, 0} : Vec3{0, 1, 0}));
  const Vec3 v = Cross(pull, u);
  std::vector<Vec3> points;
  Vec3 centre;
  for (std::size_t t : triangles)
    for (int k = 0; k < 3; ++k) {
      points.push_back(part.mesh.Corner(t, k));
      centre = centre + points.back();
    }
  if (points.empty()) return 0;
  centre = centre * (1.0 / static_cast<double>(points.size()));
  double depth = 1e300;
  for (int i = 0; i < kDirections; ++i) {
    const double angle = kPi * i / kDirections;
    const Vec3 direction = u * std::cos(angle) + v * std::sin(angle);
    double low = 1e300, high = -1e300;
    for (Vec3 p : points) {
      low = std::min(low, Dot(p, direction));
      high = std::max(high, Dot(p, direction));
    }
    depth = std::min(depth, high - low);
  }
  // Only a patch that surrounds its centre without covering it is a ring.
  if (CoversAcross(part, triangles, centre, pull)) return depth;
  double near = 1e300, far = 0;
  for (Vec3 p : points) {
    const Vec3 offset = p - centre;
    const double across = Length(offset - pull * Dot(offset, pull));
    near = std::min(near, across);
    far = std::max(far, across);
  }
  return std::min(depth, far - near);
}
}  // namespace

double UndercutArea(const Part& part, Vec3 pull, const Budget& budget) {
  const TriangleTree tree(part.mesh);
  bool cutShort = false;
  const auto blocker = BlockingFaces(part, tree, pull, budget, cutShort);
  double area = 0;
  for (std::size_t t = 0; t < blocker.size(); ++t)
    if (blocker[t] >= 0) area += part.mesh.Area(t);
  return area;
}

std::vector<Undercut> FindUndercuts(const Part& part, const TriangleTree& tree, Vec3 pull, const Budget& budget,
                                    bool& cutShort) {
  const auto blocker = BlockingFaces(part, tree, pull, budget, cutShort);
  // Blocked faces make one undercut with the blocked faces they touch, and with the blocked faces in their way:
  // the top and the bottom of a window trap one core between them, released by one side action.
  std::map<int, std::vector<std::size_t>> byFace;
  for (std::size_t t = 0; t < blocker.size(); ++t)
    if (blocker[t] >= 0) byFace[part.mesh.faceOf[t]].push_back(t);
  std::vector<int> parent(part.faces.size());
  for (std::size_t f = 0; f < parent.size(); ++f) parent[f] = static_cast<int>(f);
  auto join = [&](int a, int b) { parent[GroupOf(parent, a)] = GroupOf(parent, b); };
  for (const auto& [face, triangles] : byFace) {
    for (int next : part.faces[face].neighbours)
      if (byFace.count(next)) join(face, next);
    for (std::size_t t : triangles)
      if (byFace.count(blocker[t])) join(face, blocker[t]);
  }
  std::map<int, Undercut> groups;
  std::map<int, std::vector<std::size_t>> groupTriangles;
  for (const auto& [face, triangles] : byFace) {
    const int group = GroupOf(parent, face);
    Undercut& undercut = groups[group];
    undercut.faces.push_back(face);
    for (std::size_t t : triangles) undercut.area += part.mesh.Area(t);
    auto& all = groupTriangles[group];
    all.insert(all.end(), triangles.begin(), triangles.end());
  }
  std::vector<Undercut> undercuts;
  for (auto& [group, undercut] : groups) {
    const auto& triangles = groupTriangles[group];
    undercut.depth = DepthAcross(part, triangles, pull);
    undercut.point = part.mesh.Centroid(triangles.front());
    undercuts.push_back(std::move(undercut));
  }
  return undercuts;
}

}  // namespace kvx::checker
