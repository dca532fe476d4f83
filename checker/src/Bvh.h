#pragma once
// A bounding-volume tree over the part's triangles: first hit of a ray and the nearest surface point, each in
// logarithmic time, so that thickness and undercut probes stay linear in the number of samples.
#include <cstdint>
#include <optional>
#include <vector>

#include "kvx/checker/Mesh.h"

namespace kvx::checker {

struct RayHit {
  double distance = 0;
  std::uint32_t triangle = 0;
};

class TriangleTree {
 public:
  explicit TriangleTree(const Mesh& mesh);

  // The nearest triangle that the ray from `origin` along unit `direction` crosses beyond `minDistance`.
  std::optional<RayHit> FirstHit(Vec3 origin, Vec3 direction, double minDistance, double maxDistance) const;
  // The surface point nearest to `point` and its distance, searched up to `maxDistance`.
  std::optional<Vec3> NearestPoint(Vec3 point, double maxDistance) const;

 private:
  struct Node {
    Box box;
    std::uint32_t first = 0;  // leaf: first entry in order_
    std::uint32_t count = 0;  // leaf: number of triangles; 0 for an inner node
    std::uint32_t left = 0, right = 0;
  };
  std::uint32_t Build(std::uint32_t first, std::uint32_t count, int depth);

  const Mesh& mesh_;
  std::vector<Vec3> centroids_;
  std::vector<std::uint32_t> order_;
  std::vector<Node> nodes_;
};

// The point of triangle (a, b, c) nearest to p.
Vec3 ClosestPointOnTriangle(Vec3 p, Vec3 a, Vec3 b, Vec3 c);

}  // namespace kvx::checker
