#pragma once
// The part as triangles: the one triangulation every analysis shares, with each triangle's face.
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace kvx::checker {

struct Vec3 {
  double x = 0, y = 0, z = 0;
};
inline Vec3 operator+(Vec3 a, Vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vec3 operator-(Vec3 a, Vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vec3 operator*(Vec3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
inline double Dot(Vec3 a, Vec3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Vec3 Cross(Vec3 a, Vec3 b) { return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x}; }
inline double Length(Vec3 a) { return std::sqrt(Dot(a, a)); }
inline Vec3 Normalized(Vec3 a) {
  const double length = Length(a);
  return length > 0 ? a * (1.0 / length) : Vec3{};
}

struct Box {
  Vec3 min{1e300, 1e300, 1e300};
  Vec3 max{-1e300, -1e300, -1e300};
  void Add(Vec3 p) {
    min = {std::fmin(min.x, p.x), std::fmin(min.y, p.y), std::fmin(min.z, p.z)};
    max = {std::fmax(max.x, p.x), std::fmax(max.y, p.y), std::fmax(max.z, p.z)};
  }
  bool Empty() const { return min.x > max.x; }
  Vec3 Size() const { return Empty() ? Vec3{} : max - min; }
  double Diagonal() const { return Length(Size()); }
};

struct Mesh {
  std::vector<Vec3> nodes;
  std::vector<std::array<std::uint32_t, 3>> triangles;  // counter-clockwise seen from outside the material
  std::vector<int> faceOf;                              // face index (0-based) of each triangle

  Vec3 Corner(std::size_t triangle, int k) const { return nodes[triangles[triangle][k]]; }
  Vec3 Centroid(std::size_t triangle) const {
    return (Corner(triangle, 0) + Corner(triangle, 1) + Corner(triangle, 2)) * (1.0 / 3.0);
  }
  // Twice the area times the outward unit normal.
  Vec3 AreaNormal(std::size_t triangle) const {
    return Cross(Corner(triangle, 1) - Corner(triangle, 0), Corner(triangle, 2) - Corner(triangle, 0));
  }
  double Area(std::size_t triangle) const { return 0.5 * Length(AreaNormal(triangle)); }
};

}  // namespace kvx::checker
