// Wall thickness: at samples spread over the surface, a ray along the inward normal and the largest sphere that
// touches the sample inside the material. Rays read corners as thick (they run along the other wall), spheres
// read samples near convex edges as thin; where the two disagree the sphere wins, and faces that are only ever
// read across their own wall's end (the top of a rib, the edge of a plate) are left out.
#include <algorithm>
#include <cmath>
#include <map>
#include <unordered_map>

#include "Analyses.h"

namespace kvx::checker {

namespace {
constexpr std::size_t kMaxSamples = 200000;
constexpr double kSpacingShare = 1.0 / 150;      // the densest sample spacing, as a share of the part's diagonal
constexpr double kPilotSpacingShare = 1.0 / 40;  // the coarsest, and that of the first pass
constexpr double kAgreement = 1.5;           // a ray longer than this many sphere diameters ran along a wall
constexpr double kEndFaceRatio = 2.0;        // faces read this much thicker by rays than overall are wall ends
constexpr int kSphereSteps = 16;
constexpr double kTransitionSpread = 0.25;  // of the face's median thickness

struct Sample {
  int face;
  Vec3 point;
  double weight;  // area it stands for
  double ray;
  double value;
};

double SphereDiameter(const TriangleTree& tree, Vec3 p, Vec3 n, double start) {
  double r = start / 2;
  for (int step = 0; step < kSphereSteps && r > 1e-9; ++step) {
    const Vec3 centre = p - n * r;
    const auto nearest = tree.NearestPoint(centre, r * (1 - 1e-4));
    if (!nearest) break;
    const Vec3 toSample = p - *nearest;
    const double along = Dot(n, toSample);
    if (along <= 1e-12) break;
    const double smaller = Dot(toSample, toSample) / (2 * along);
    if (smaller >= r) break;
    r = smaller;
  }
  return 2 * r;
}

// The value below which `share` of the weight lies.
double WeightedPercentile(std::vector<std::pair<double, double>>& values, double share) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  double total = 0;
  for (const auto& v : values) total += v.second;
  double running = 0;
  for (const auto& v : values) {
    running += v.second;
    if (running >= total * share) return v.first;
  }
  return values.back().first;
}
double WeightedMedian(std::vector<std::pair<double, double>>& values) { return WeightedPercentile(values, 0.5); }

Vec3 MeanNormal(const Part& part, const FaceInfo& face) {
  Vec3 sum;
  for (std::size_t n = face.firstNode; n < face.firstNode + face.nodeCount; ++n) sum = sum + part.normals[n];
  return Normalized(sum);
}

// Changes of thickness between faces that face the same way, next to each other or across one face between
// them (the riser of a step, the slope of a taper), with the run of that face as the transition's length.
std::vector<ThicknessChange> FindChanges(const Part& part, const Thickness& thickness,
                                         const std::unordered_map<int, Vec3>& centreOf) {
  constexpr double kSameSide = 0.8;  // cosine between the faces' mean normals
  std::unordered_map<int, double> valueOf;
  for (const FaceThickness& face : thickness.faces) valueOf[face.face] = face.value;
  // Each face's mean normal once: a plate's face meets every hole through it.
  std::unordered_map<int, Vec3> normalOf;
  for (const FaceThickness& face : thickness.faces) normalOf[face.face] = MeanNormal(part, part.faces[face.face]);
  std::vector<ThicknessChange> changes;
  std::map<std::pair<int, int>, std::size_t> changeOf;
  auto consider = [&](int a, int b, int between) {
    if (b <= a || !valueOf.count(b)) return;
    const Vec3 na = normalOf.at(a), nb = normalOf.at(b);
    if (Dot(na, nb) < kSameSide) return;
    const double change = std::fabs(valueOf[a] - valueOf[b]);
    if (change <= std::max(2 * part.deflection, 0.02 * std::min(valueOf[a], valueOf[b]))) return;
    double length = 0;
    const Vec3 ca = centreOf.at(a), cb = centreOf.at(b);
    if (between >= 0) {
      Vec3 run = cb - ca;
      run = Normalized(run - na * Dot(run, na));
      double low = 1e300, high = -1e300;
      const FaceInfo& face = part.faces[between];
      for (std::size_t n = face.firstNode; n < face.firstNode + face.nodeCount; ++n) {
        const double s = Dot(part.mesh.nodes[n], run);
        low = std::min(low, s);
        high = std::max(high, s);
      }
      length = high > low ? high - low : 0;
    }
    // Found across several faces (the riser of a step, and the plate's side that also joins both walls), the
    // shortest run is the transition.
    const auto [known, added] = changeOf.emplace(std::pair{a, b}, changes.size());
    if (!added) {
      changes[known->second].length = std::min(changes[known->second].length, length);
      return;
    }
    changes.push_back({a, b, change, length, (ca + cb) * 0.5});
  };
  for (const FaceThickness& face : thickness.faces) {
    for (int neighbour : part.faces[face.face].neighbours) {
      consider(face.face, neighbour, -1);
      if (valueOf.count(neighbour)) continue;  // only faces left out of the thickness lie between two walls
      for (int next : part.faces[neighbour].neighbours) consider(face.face, next, neighbour);
    }
  }
  return changes;
}

Vec3 SampleNormal(const Part& part, std::size_t triangle) {
  const auto& c = part.mesh.triangles[triangle];
  const Vec3 n = part.normals[c[0]] + part.normals[c[1]] + part.normals[c[2]];
  return Length(n) > 1e-9 ? Normalized(n) : Normalized(part.mesh.AreaNormal(triangle));
}

// Samples about `spacing` apart, measured: a large triangle carries several, runs of small ones (a fine fan
// around a hole) share one, so that the count follows the area, not the triangles. Every face gets at least one.
std::vector<Sample> MeasureSamples(const Part& part, const TriangleTree& tree, double spacing, const Budget& budget,
                                   bool& cutShort) {
  const double diagonal = part.box.Diagonal();
  std::vector<Sample> samples;
  std::vector<std::size_t> triangleOf;
  const double cellArea = spacing * spacing;
  std::size_t open = 0;  // the sample that small triangles of the current run add their area to
  double pending = 0;
  int runFace = -1;
  for (std::size_t t = 0; t < part.mesh.triangles.size(); ++t) {
    const double area = part.mesh.Area(t);
    if (area <= 0) continue;
    const int face = part.mesh.faceOf[t];
    if (face != runFace) {
      runFace = face;
      pending = 0;
    }
    if (area < cellArea) {
      if (pending > 0) {
        samples[open].weight += area;
      } else {
        open = samples.size();
        samples.push_back({face, part.mesh.Centroid(t), area, 0, 0});
        triangleOf.push_back(t);
      }
      pending += area;
      if (pending >= cellArea) pending = 0;
      continue;
    }
    const int k = std::clamp(static_cast<int>(std::ceil(std::sqrt(area / cellArea))), 1, 4);
    const auto& c = part.mesh.triangles[t];
    for (int i = 0; i < k; ++i)
      for (int j = 0; i + j < k; ++j) {
        const double a = (i + 1.0 / 3) / k, b = (j + 1.0 / 3) / k;
        const Vec3 p = part.mesh.nodes[c[0]] * (1 - a - b) + part.mesh.nodes[c[1]] * a + part.mesh.nodes[c[2]] * b;
        samples.push_back({face, p, area / (k * (k + 1) / 2), 0, 0});
        triangleOf.push_back(t);
      }
  }

  const double skip = diagonal * 1e-7;
  std::size_t measured = 0;
  for (; measured < samples.size(); ++measured) {
    if ((measured & 255) == 0 && budget.Expired()) {
      cutShort = true;
      break;
    }
    Sample& sample = samples[measured];
    const Vec3 n = SampleNormal(part, triangleOf[measured]);
    const auto hit = tree.FirstHit(sample.point, n * -1.0, skip, 2 * diagonal);
    sample.ray = hit ? hit->distance : 0;
    if (!hit) continue;  // an open shell seen from outside
    const double sphere = SphereDiameter(tree, sample.point, n, sample.ray);
    sample.value = sample.ray <= kAgreement * sphere ? sample.ray : sphere;
  }
  samples.resize(measured);
  return samples;
}

// The sample spacing: about the nominal wall thickness, which a coarse first pass estimates (samples as far
// apart as the wall is thick give the same statistics as much denser ones), within fixed shares of the diagonal
// and the sample cap.
double SampleSpacing(const Part& part, const TriangleTree& tree, const Budget& budget, bool& cutShort) {
  const double diagonal = part.box.Diagonal();
  double total = 0;
  for (const FaceInfo& face : part.faces) total += face.area;
  const double densest = std::max(diagonal * kSpacingShare, std::sqrt(total / kMaxSamples));
  const double coarsest = diagonal * kPilotSpacingShare;
  std::vector<std::pair<double, double>> values;
  for (const Sample& s : MeasureSamples(part, tree, std::max(coarsest, densest), budget, cutShort))
    if (s.value > 0) values.push_back({s.value, s.weight});
  const double wall = WeightedMedian(values);
  return std::clamp(wall, densest, std::max(coarsest, densest));
}
}  // namespace

Thickness MeasureThickness(const Part& part, const TriangleTree& tree, const Budget& budget, bool& cutShort) {
  Thickness result;
  const std::vector<Sample> samples = MeasureSamples(part, tree, SampleSpacing(part, tree, budget, cutShort), budget, cutShort);
  result.samples = samples.size();

  // Per face: median of the combined values and of the rays alone.
  std::unordered_map<int, std::vector<std::pair<double, double>>> values, rays;
  std::unordered_map<int, Vec3> centreOf;
  std::unordered_map<int, double> weightOf;
  for (const Sample& s : samples) {
    if (s.value <= 0) continue;
    values[s.face].push_back({s.value, s.weight});
    rays[s.face].push_back({s.ray, s.weight});
    centreOf[s.face] = centreOf[s.face] + s.point * s.weight;
    weightOf[s.face] += s.weight;
  }
  std::vector<std::pair<double, double>> wall;  // values of the faces kept, for the nominal thickness
  for (auto& [face, list] : values) {
    const double value = WeightedMedian(list);
    const double ray = WeightedMedian(rays[face]);
    if (ray > kEndFaceRatio * value) continue;
    // A face whose thickness runs from one value to another is a transition between walls, not a wall. The
    // rays tell: the combined values also dip near every convex edge, where the spheres are squeezed.
    const double spread = WeightedPercentile(rays[face], 0.9) - WeightedPercentile(rays[face], 0.1);
    if (spread > std::max(4 * part.deflection, kTransitionSpread * value)) continue;
    centreOf[face] = centreOf[face] * (1.0 / weightOf[face]);
    result.faces.push_back({face, value, centreOf[face]});
    for (const auto& v : list) wall.push_back(v);
  }
  // The reported point of a face: its sample nearest the face's area centre.
  std::unordered_map<int, double> bestDistance;
  std::unordered_map<int, Vec3> pointOf;
  for (const Sample& s : samples) {
    const auto centre = centreOf.find(s.face);
    if (centre == centreOf.end() || s.value <= 0) continue;
    const double d = Length(s.point - centre->second);
    const auto best = bestDistance.find(s.face);
    if (best == bestDistance.end() || d < best->second) {
      bestDistance[s.face] = d;
      pointOf[s.face] = s.point;
    }
  }
  for (FaceThickness& face : result.faces) face.point = pointOf[face.face];
  std::sort(result.faces.begin(), result.faces.end(), [](const FaceThickness& a, const FaceThickness& b) { return a.face < b.face; });

  // Nominal: the most common value, in bins a little wider than the triangulation's error.
  if (!wall.empty()) {
    const double median = WeightedMedian(wall);
    const double bin = std::max(2 * part.deflection, 0.02 * median);
    std::unordered_map<long long, double> histogram;
    for (const auto& [value, weight] : wall) histogram[std::llround(value / bin)] += weight;
    long long mode = 0;
    double most = -1;
    for (const auto& [key, weight] : histogram)
      if (weight > most || (weight == most && key < mode)) {
        most = weight;
        mode = key;
      }
    std::vector<std::pair<double, double>> near;
    for (const auto& v : wall)
      if (std::llabs(std::llround(v.first / bin) - mode) <= 1) near.push_back(v);
    result.nominal = WeightedMedian(near);
  }
  result.changes = FindChanges(part, result, centreOf);
  return result;
}

}  // namespace kvx::checker
