// Ribs and cut-outs, recognised from how faces meet. Only shapes that are recognised with confidence are
// reported: a rule about a feature that was not found says so instead of passing.
#include <algorithm>
#include <cmath>
#include <set>
#include <unordered_map>

#include "Analyses.h"

namespace kvx::checker {

namespace {
constexpr double kOppositeCosine = -0.98;  // rib sides: opposite within about 11 degrees (both drafted)
constexpr double kSameWayCosine = 0.9;     // a rib's top faces the way its wall does
constexpr double kAcrossSine = 0.2;        // a rib's sides stand across its top
constexpr double kWallShare = 3;           // the wall reaches this many rib thicknesses across the rib
constexpr double kThroughSine = 0.5;       // a cut-out's faces run through the wall, not along it
constexpr double kParallelCosine = 0.99985;

double Extent(const Part& part, const FaceInfo& face, Vec3 direction, double& low) {
  low = 1e300;
  double high = -1e300;
  for (std::size_t n = face.firstNode; n < face.firstNode + face.nodeCount; ++n) {
    const double s = Dot(part.mesh.nodes[n], direction);
    low = std::min(low, s);
    high = std::max(high, s);
  }
  return high - low;
}

Vec3 MeanNode(const Part& part, const std::vector<int>& faces) {
  Vec3 sum;
  std::size_t count = 0;
  for (int f : faces)
    for (std::size_t n = part.faces[f].firstNode; n < part.faces[f].firstNode + part.faces[f].nodeCount; ++n, ++count)
      sum = sum + part.mesh.nodes[n];
  return count ? sum * (1.0 / static_cast<double>(count)) : sum;
}

// Each face's outward normal: exact for planes, the mean of its nodes' normals otherwise; none (zero) for a face
// that turns too far to have one side (a whole cylinder).
std::vector<Vec3> MeanNormals(const Part& part) {
  std::vector<Vec3> normals(part.faces.size());
  for (std::size_t f = 0; f < part.faces.size(); ++f) {
    const FaceInfo& face = part.faces[f];
    if (face.kind == SurfaceKind::Plane) {
      normals[f] = face.direction;
      continue;
    }
    Vec3 sum;
    for (std::size_t n = face.firstNode; n < face.firstNode + face.nodeCount; ++n) sum = sum + part.normals[n];
    if (Length(sum) > 0.5 * static_cast<double>(face.nodeCount)) normals[f] = Normalized(sum);
  }
  return normals;
}

bool IsPlane(const Part& part, int face) {
  return part.faces[face].kind == SurfaceKind::Plane && part.faces[face].nodeCount > 0;
}

// The planar walls a rib side stands on: its planar neighbours, and the planar neighbours of a cylindrical
// fillet between them, with the fillet's face and radius.
struct Foot {
  int wall = -1, fillet = -1;
  double radius = 0;
};
// A fillet in a corner is hollow: its surface faces its axis (a bend's outside faces away).
bool IsHollow(const Part& part, const FaceInfo& face) {
  double sum = 0;
  for (std::size_t n = face.firstNode; n < face.firstNode + face.nodeCount; ++n) {
    const Vec3 offset = part.mesh.nodes[n] - face.origin;
    sum += Dot(part.normals[n], offset - face.direction * Dot(offset, face.direction));
  }
  return sum < 0;
}

std::vector<Foot> FeetOf(const Part& part, int side) {
  std::vector<Foot> feet;
  for (int next : part.faces[side].neighbours) {
    if (IsPlane(part, next)) feet.push_back({next, -1, 0});
    if (part.faces[next].kind != SurfaceKind::Cylinder || !IsHollow(part, part.faces[next])) continue;
    for (int beyond : part.faces[next].neighbours)
      if (beyond != side && IsPlane(part, beyond)) feet.push_back({beyond, next, part.faces[next].radius});
  }
  return feet;
}

// Where a planar side lies across the rib (along `across`) at height `s` above the wall, the sides being
// extended: a drafted side moves across as it rises.
double AcrossAt(const FaceInfo& side, Vec3 across, Vec3 up, Vec3 wallOrigin, double s) {
  const double a = Dot(side.direction, across), h = Dot(side.direction, up);
  const double s0 = Dot(side.origin - wallOrigin, up);
  return Dot(side.origin, across) - (h / a) * (s - s0);
}

// A rib's top: a flat face, a convex half-cylinder, or a flat face between two convex fillets, and the way it
// faces. Its sides are the planar faces it meets, directly or through one of its fillets.
struct Cap {
  std::vector<int> faces;
  Vec3 up;
};
struct CapSide {
  int side = -1, fillet = -1;
};

bool IsConvexCylinder(const Part& part, int face) {
  return part.faces[face].kind == SurfaceKind::Cylinder && part.faces[face].nodeCount > 0 &&
         !IsHollow(part, part.faces[face]);
}

// The planar faces standing across `up` next to `top`, directly or beyond one convex cylinder along the top.
std::vector<CapSide> SidesOf(const Part& part, int top, Vec3 up) {
  const auto across = [&](int face) {
    return IsPlane(part, face) && std::fabs(Dot(part.faces[face].direction, up)) <= kAcrossSine;
  };
  std::vector<CapSide> sides;
  for (int next : part.faces[top].neighbours) {
    if (across(next)) sides.push_back({next, -1});
    if (!IsPlane(part, top) || !IsConvexCylinder(part, next)) continue;
    if (std::fabs(Dot(part.faces[next].direction, up)) > kAcrossSine) continue;  // a fillet runs along the top
    for (int beyond : part.faces[next].neighbours)
      if (beyond != top && across(beyond)) sides.push_back({beyond, next});
  }
  return sides;
}

// The highest point of the cap above the wall.
double HeightAbove(const Part& part, const Cap& cap, Vec3 wallOrigin) {
  double height = -1e300;
  for (int f : cap.faces)
    for (std::size_t n = part.faces[f].firstNode; n < part.faces[f].firstNode + part.faces[f].nodeCount; ++n)
      height = std::max(height, Dot(part.mesh.nodes[n] - wallOrigin, cap.up));
  return height;
}

// A rib with `cap`, sides `a` and `b` standing on a common wall, or none.
bool MakeRib(const Part& part, const Cap& cap, int a, int b, const std::vector<Foot>& feetA,
             const std::vector<Foot>& feetB, Rib& rib) {
  const FaceInfo &sideA = part.faces[a], &sideB = part.faces[b];
  for (const Foot& footA : feetA) {
    const FaceInfo& wall = part.faces[footA.wall];
    if (footA.wall == cap.faces[0] || Dot(wall.direction, cap.up) < kSameWayCosine) continue;
    // Each side has its own fillet: one shared by both sides is a bend, not a foot.
    const auto footB = std::find_if(feetB.begin(), feetB.end(), [&](const Foot& f) {
      return f.wall == footA.wall && (f.fillet < 0 || f.fillet != footA.fillet);
    });
    if (footB == feetB.end()) continue;
    const Vec3 up = wall.direction;
    const Vec3 across = Normalized(sideA.direction - up * Dot(sideA.direction, up));
    if (Length(across) < 0.5) continue;
    // A rounded top counts to its highest point, its sides extended to there for the thickness at the top.
    const double height = HeightAbove(part, cap, wall.origin);
    const double base = AcrossAt(sideA, across, up, wall.origin, 0) - AcrossAt(sideB, across, up, wall.origin, 0);
    const double tip =
        AcrossAt(sideA, across, up, wall.origin, height) - AcrossAt(sideB, across, up, wall.origin, height);
    double low = 0;
    const Vec3 along = Normalized(Cross(up, across));
    const double length = Extent(part, sideA, along, low);
    // A thin wall: thinner than it is high and than half its length, on a wall reaching well beyond it.
    if (height <= 0 || base <= 0 || tip <= 0 || base > height || 2 * base > length) continue;
    if (Extent(part, wall, across, low) < kWallShare * base) continue;
    rib.faces = {a, b};
    rib.faces.insert(rib.faces.end(), cap.faces.begin(), cap.faces.end());
    for (int fillet : {footA.fillet, footB->fillet})
      if (fillet >= 0) rib.faces.push_back(fillet);
    rib.base = footA.wall;
    rib.thickness = base;
    rib.tipThickness = tip;
    rib.height = height;
    rib.length = length;
    rib.baseRadius = std::min(footA.radius, footB->radius);
    rib.point = MeanNode(part, cap.faces);
    return true;
  }
  return false;
}

// Each rib's nearest parallel neighbour on the same wall whose length overlaps its own, clear distance at the foot.
void MeasureRibSpacing(const Part& part, std::vector<Rib>& ribs) {
  for (std::size_t i = 0; i < ribs.size(); ++i) {
    const FaceInfo& wall = part.faces[ribs[i].base];
    const FaceInfo& side = part.faces[ribs[i].faces[0]];
    const Vec3 across = Normalized(side.direction - wall.direction * Dot(side.direction, wall.direction));
    const Vec3 along = Normalized(Cross(wall.direction, across));
    double lowI = 0;
    const double lengthI = Extent(part, side, along, lowI);
    for (std::size_t j = 0; j < ribs.size(); ++j) {
      if (j == i || ribs[j].base != ribs[i].base) continue;
      const FaceInfo& other = part.faces[ribs[j].faces[0]];
      if (std::fabs(Dot(other.direction, side.direction)) < kParallelCosine) continue;
      double lowJ = 0;
      const double lengthJ = Extent(part, other, along, lowJ);
      if (lowJ > lowI + lengthI || lowI > lowJ + lengthJ) continue;
      const double centres = std::fabs(Dot(ribs[j].point - ribs[i].point, across));
      const double gap = std::max(0.0, centres - (ribs[i].thickness + ribs[j].thickness) / 2);
      if (ribs[i].spacing < 0 || gap < ribs[i].spacing) {
        ribs[i].spacing = gap;
        ribs[i].neighbour = static_cast<int>(j);
      }
    }
  }
}

// Area of the convex outline of `points` seen along `axis`.
double ConvexArea(const std::vector<Vec3>& points, Vec3 axis) {
  const Vec3 u = Normalized(Cross(axis, std::fabs(axis.x) < 0.9 ? Vec3{1, 0, 0} : Vec3{0, 1, 0}));
  const Vec3 v = Cross(axis, u);
  std::vector<std::pair<double, double>> flat;
  for (Vec3 p : points) flat.emplace_back(Dot(p, u), Dot(p, v));
  std::sort(flat.begin(), flat.end());
  flat.erase(std::unique(flat.begin(), flat.end()), flat.end());
  if (flat.size() < 3) return 0;
  auto turn = [](auto o, auto a, auto b) {
    return (a.first - o.first) * (b.second - o.second) - (a.second - o.second) * (b.first - o.first);
  };
  std::vector<std::pair<double, double>> hull(2 * flat.size());
  std::size_t k = 0;
  for (std::size_t i = 0; i < flat.size(); ++i) {  // lower, then upper outline
    while (k >= 2 && turn(hull[k - 2], hull[k - 1], flat[i]) <= 0) --k;
    hull[k++] = flat[i];
  }
  for (std::size_t i = flat.size() - 1, lower = k + 1; i-- > 0;) {
    while (k >= lower && turn(hull[k - 2], hull[k - 1], flat[i]) <= 0) --k;
    hull[k++] = flat[i];
  }
  double area = 0;
  for (std::size_t i = 0; i + 1 < k; ++i)
    area += hull[i].first * hull[i + 1].second - hull[i + 1].first * hull[i].second;
  return std::fabs(area) / 2;
}

// Every face of `ring` faces its middle: an opening, not the outside of a plate's rim or of a rib.
bool FacesItsMiddle(const Part& part, const std::vector<int>& ring) {
  constexpr double kFacingCosine = 0.1;  // on average over the face's nodes
  const Vec3 middle = MeanNode(part, ring);
  return std::all_of(ring.begin(), ring.end(), [&](int f) {
    double sum = 0;
    for (std::size_t n = part.faces[f].firstNode; n < part.faces[f].firstNode + part.faces[f].nodeCount; ++n)
      sum += Dot(part.normals[n], Normalized(middle - part.mesh.nodes[n]));
    return sum > kFacingCosine * static_cast<double>(part.faces[f].nodeCount);
  });
}
}  // namespace

std::vector<Rib> FindRibs(const Part& part, const std::vector<FaceDraft>& drafts, const Budget& budget,
                          bool& cutShort) {
  std::unordered_map<int, double> draftOf;
  for (const FaceDraft& draft : drafts) draftOf[draft.face] = draft.minDraft;
  std::unordered_map<int, std::vector<Foot>> feet;  // each side's, found once
  auto feetOf = [&](int side) -> const std::vector<Foot>& {
    auto found = feet.find(side);
    return found != feet.end() ? found->second : feet.emplace(side, FeetOf(part, side)).first->second;
  };
  const std::vector<Vec3> normals = MeanNormals(part);
  std::vector<Rib> ribs;
  std::size_t pairs = 0;
  for (std::size_t t = 0; t < part.faces.size() && !cutShort; ++t) {
    const int top = static_cast<int>(t);
    if ((!IsPlane(part, top) && !IsConvexCylinder(part, top)) || Length(normals[t]) == 0) continue;
    const Vec3 up = normals[t];
    const std::vector<CapSide> sides = SidesOf(part, top, up);
    for (std::size_t i = 0; i < sides.size() && !cutShort; ++i) {
      for (std::size_t j = i + 1; j < sides.size(); ++j) {
        const int a = sides[i].side, b = sides[j].side;
        const FaceInfo &sideA = part.faces[a], &sideB = part.faces[b];
        if (a == b || Dot(sideA.direction, sideB.direction) > kOppositeCosine) continue;
        if (Dot(sideA.origin - sideB.origin, sideA.direction) <= 0) continue;  // facing each other: a slot, not a rib
        if ((++pairs & 4095) == 0 && budget.Expired()) {
          cutShort = true;
          break;
        }
        Cap cap{{top}, up};
        for (int fillet : {sides[i].fillet, sides[j].fillet})
          if (fillet >= 0) cap.faces.push_back(fillet);
        Rib rib;
        if (!MakeRib(part, cap, a, b, feetOf(a), feetOf(b), rib)) continue;
        rib.draft = std::min(draftOf.count(a) ? draftOf[a] : 90.0, draftOf.count(b) ? draftOf[b] : 90.0);
        ribs.push_back(std::move(rib));
      }
    }
  }
  // A side that belongs to several tops or partners is no straight rib's (a bent tab, a stepped wall): none of them is.
  std::unordered_map<int, int> uses;
  for (const Rib& rib : ribs) ++uses[rib.faces[0]], ++uses[rib.faces[1]];
  std::erase_if(ribs, [&](const Rib& rib) { return uses[rib.faces[0]] > 1 || uses[rib.faces[1]] > 1; });
  MeasureRibSpacing(part, ribs);
  return ribs;
}

std::vector<Cutout> FindCutouts(const Part& part, const std::vector<Hole>& holes) {
  std::set<int> holeFaces;
  for (const Hole& hole : holes) holeFaces.insert(hole.faces.begin(), hole.faces.end());
  const std::vector<Vec3> normals = MeanNormals(part);
  std::set<std::vector<int>> seen;
  std::vector<Cutout> cutouts;
  for (std::size_t w = 0; w < part.faces.size(); ++w) {
    const FaceInfo& wall = part.faces[w];
    const Vec3 normal = normals[w];
    if (wall.nodeCount == 0 || Length(normal) == 0) continue;
    const std::set<int> around(wall.neighbours.begin(), wall.neighbours.end());
    std::set<int> done;
    // The wall's neighbours that run through it, in groups that touch.
    for (int first : wall.neighbours) {
      if (done.count(first)) continue;
      std::vector<int> ring, stack{first};
      done.insert(first);
      while (!stack.empty()) {
        const int face = stack.back();
        stack.pop_back();
        if (Length(normals[face]) == 0 || std::fabs(Dot(normals[face], normal)) > kThroughSine) continue;
        ring.push_back(face);
        for (int next : part.faces[face].neighbours)
          if (around.count(next) && done.insert(next).second) stack.push_back(next);
      }
      if (ring.empty() || std::all_of(ring.begin(), ring.end(), [&](int f) { return holeFaces.count(f); })) continue;
      std::sort(ring.begin(), ring.end());
      if (seen.count(ring) || !FacesItsMiddle(part, ring)) continue;
      // The wall's other side: a face every face of the ring meets, facing the other way.
      bool through = false;
      for (int other : part.faces[ring[0]].neighbours) {
        if (other == static_cast<int>(w) || std::binary_search(ring.begin(), ring.end(), other)) continue;
        if (Dot(normals[other], normal) > -kSameWayCosine) continue;
        const auto& n0 = part.faces[other].neighbours;
        through =
            std::all_of(ring.begin(), ring.end(), [&](int f) { return std::binary_search(n0.begin(), n0.end(), f); });
        if (through) break;
      }
      if (!through) continue;
      seen.insert(ring);
      Cutout cutout;
      cutout.faces = ring;
      std::vector<Vec3> points;
      for (int f : ring)
        for (std::size_t n = part.faces[f].firstNode; n < part.faces[f].firstNode + part.faces[f].nodeCount; ++n)
          points.push_back(part.mesh.nodes[n]);
      cutout.area = ConvexArea(points, normal);
      double low = 1e300, high = -1e300;
      for (Vec3 p : points) {
        low = std::min(low, Dot(p, normal));
        high = std::max(high, Dot(p, normal));
      }
      cutout.depth = high - low;
      cutout.point = MeanNode(part, ring);
      cutouts.push_back(std::move(cutout));
    }
  }
  return cutouts;
}

}  // namespace kvx::checker
