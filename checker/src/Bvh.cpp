#include "Bvh.h"

#include <algorithm>
#include <cmath>

namespace kvx::checker {

namespace {
constexpr std::uint32_t kLeafSize = 4;
constexpr int kMaxDepth = 60;

double Axis(Vec3 v, int axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }

// Slab test: the entry distance of the ray into the box, or a negative value when it misses.
double EnterBox(const Box& box, Vec3 origin, Vec3 inverse, double maxDistance) {
  double near = 0, far = maxDistance;
  for (int axis = 0; axis < 3; ++axis) {
    const double o = Axis(origin, axis), inv = Axis(inverse, axis);
    double t1 = (Axis(box.min, axis) - o) * inv, t2 = (Axis(box.max, axis) - o) * inv;
    if (t1 > t2) std::swap(t1, t2);
    near = std::max(near, t1);
    far = std::min(far, t2);
    if (near > far) return -1;
  }
  return near;
}

double DistanceToBox(const Box& box, Vec3 p) {
  const double dx = std::max({box.min.x - p.x, 0.0, p.x - box.max.x});
  const double dy = std::max({box.min.y - p.y, 0.0, p.y - box.max.y});
  const double dz = std::max({box.min.z - p.z, 0.0, p.z - box.max.z});
  return std::sqrt(dx * dx + dy * dy + dz * dz);
}

// Moller-Trumbore; both sides count.
double RayTriangle(Vec3 origin, Vec3 direction, Vec3 a, Vec3 b, Vec3 c) {
  const Vec3 e1 = b - a, e2 = c - a, p = Cross(direction, e2);
  const double det = Dot(e1, p);
  if (std::fabs(det) < 1e-300) return -1;
  const double inv = 1.0 / det;
  const Vec3 s = origin - a;
  const double u = Dot(s, p) * inv;
  if (u < 0 || u > 1) return -1;
  const Vec3 q = Cross(s, e1);
  const double v = Dot(direction, q) * inv;
  if (v < 0 || u + v > 1) return -1;
  return Dot(e2, q) * inv;
}
}  // namespace

Vec3 ClosestPointOnTriangle(Vec3 p, Vec3 a, Vec3 b, Vec3 c) {
  const Vec3 ab = b - a, ac = c - a, ap = p - a;
  const double d1 = Dot(ab, ap), d2 = Dot(ac, ap);
  if (d1 <= 0 && d2 <= 0) return a;
  const Vec3 bp = p - b;
  const double d3 = Dot(ab, bp), d4 = Dot(ac, bp);
  if (d3 >= 0 && d4 <= d3) return b;
  const double vc = d1 * d4 - d3 * d2;
  if (vc <= 0 && d1 >= 0 && d3 <= 0) return a + ab * (d1 / (d1 - d3));
  const Vec3 cp = p - c;
  const double d5 = Dot(ab, cp), d6 = Dot(ac, cp);
  if (d6 >= 0 && d5 <= d6) return c;
  const double vb = d5 * d2 - d1 * d6;
  if (vb <= 0 && d2 >= 0 && d6 <= 0) return a + ac * (d2 / (d2 - d6));
  const double va = d3 * d6 - d5 * d4;
  if (va <= 0 && (d4 - d3) >= 0 && (d5 - d6) >= 0) return b + (c - b) * ((d4 - d3) / ((d4 - d3) + (d5 - d6)));
  const double denominator = 1.0 / (va + vb + vc);
  return a + ab * (vb * denominator) + ac * (vc * denominator);
}

TriangleTree::TriangleTree(const Mesh& mesh) : mesh_(mesh) {
  const auto count = static_cast<std::uint32_t>(mesh.triangles.size());
  centroids_.reserve(count);
  order_.resize(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    centroids_.push_back(mesh.Centroid(i));
    order_[i] = i;
  }
  nodes_.reserve(2 * count / kLeafSize + 2);
  if (count > 0) Build(0, count, 0);
}

std::uint32_t TriangleTree::Build(std::uint32_t first, std::uint32_t count, int depth) {
  const auto index = static_cast<std::uint32_t>(nodes_.size());
  nodes_.push_back({});
  Box box, centres;
  for (std::uint32_t i = first; i < first + count; ++i) {
    for (int k = 0; k < 3; ++k) box.Add(mesh_.Corner(order_[i], k));
    centres.Add(centroids_[order_[i]]);
  }
  nodes_[index].box = box;
  if (count <= kLeafSize || depth >= kMaxDepth) {
    nodes_[index].first = first;
    nodes_[index].count = count;
    return index;
  }
  const Vec3 size = centres.Size();
  const int axis = size.x >= size.y && size.x >= size.z ? 0 : size.y >= size.z ? 1 : 2;
  const std::uint32_t half = count / 2;
  std::nth_element(order_.begin() + first, order_.begin() + first + half, order_.begin() + first + count,
                   [&](std::uint32_t l, std::uint32_t r) { return Axis(centroids_[l], axis) < Axis(centroids_[r], axis); });
  const std::uint32_t left = Build(first, half, depth + 1);
  const std::uint32_t right = Build(first + half, count - half, depth + 1);
  nodes_[index].left = left;
  nodes_[index].right = right;
  return index;
}

std::optional<RayHit> TriangleTree::FirstHit(Vec3 origin, Vec3 direction, double minDistance,
                                             double maxDistance) const {
  if (nodes_.empty()) return std::nullopt;
  const Vec3 inverse{1.0 / direction.x, 1.0 / direction.y, 1.0 / direction.z};
  std::optional<RayHit> best;
  double limit = maxDistance;
  std::vector<std::uint32_t> stack{0};
  stack.reserve(64);
  while (!stack.empty()) {
    const Node& node = nodes_[stack.back()];
    stack.pop_back();
    if (EnterBox(node.box, origin, inverse, limit) < 0) continue;
    if (node.count == 0) {
      stack.push_back(node.left);
      stack.push_back(node.right);
      continue;
    }
    for (std::uint32_t i = node.first; i < node.first + node.count; ++i) {
      const std::uint32_t t = order_[i];
      const double d = RayTriangle(origin, direction, mesh_.Corner(t, 0), mesh_.Corner(t, 1), mesh_.Corner(t, 2));
      if (d > minDistance && d < limit) {
        limit = d;
        best = RayHit{d, t};
      }
    }
  }
  return best;
}

std::optional<Vec3> TriangleTree::NearestPoint(Vec3 point, double maxDistance) const {
  if (nodes_.empty()) return std::nullopt;
  std::optional<Vec3> best;
  double limit = maxDistance;
  std::vector<std::uint32_t> stack{0};
  stack.reserve(64);
  while (!stack.empty()) {
    const Node& node = nodes_[stack.back()];
    stack.pop_back();
    if (DistanceToBox(node.box, point) >= limit) continue;
    if (node.count == 0) {
      // Nearer child last, so that it is searched first and shrinks the limit for the other.
      const bool leftNearer = DistanceToBox(nodes_[node.left].box, point) <= DistanceToBox(nodes_[node.right].box, point);
      stack.push_back(leftNearer ? node.right : node.left);
      stack.push_back(leftNearer ? node.left : node.right);
      continue;
    }
    for (std::uint32_t i = node.first; i < node.first + node.count; ++i) {
      const std::uint32_t t = order_[i];
      const Vec3 q = ClosestPointOnTriangle(point, mesh_.Corner(t, 0), mesh_.Corner(t, 1), mesh_.Corner(t, 2));
      const double d = Length(q - point);
      if (d < limit) {
        limit = d;
        best = q;
      }
    }
  }
  return best;
}

}  // namespace kvx::checker
