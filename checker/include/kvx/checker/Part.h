#pragma once
// A part read from a STEP file: its faces with what their surfaces are, and one triangulation of it.
#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "kvx/checker/Mesh.h"

namespace kvx::checker {

// Wall-clock allowance of one check; every analysis looks at it and reports what it had to skip.
class Budget {
 public:
  explicit Budget(std::chrono::milliseconds allowance) : deadline_(std::chrono::steady_clock::now() + allowance) {}
  bool Expired() const { return std::chrono::steady_clock::now() >= deadline_; }
  std::chrono::steady_clock::time_point Deadline() const { return deadline_; }

 private:
  std::chrono::steady_clock::time_point deadline_;
};

enum class SurfaceKind { Plane, Cylinder, Cone, Sphere, Torus, Other };

struct FaceInfo {
  SurfaceKind kind = SurfaceKind::Other;
  bool recognised = false;  // a free-form surface that turned out to be an analytic one
  double area = 0;
  // Plane: a point and the outward normal. Cylinder, cone, torus: a point on the axis and its direction.
  Vec3 origin;
  Vec3 direction;
  double radius = 0;      // cylinder, sphere; torus: major radius; cone: radius at `origin`
  double minorRadius = 0; // torus
  double semiAngle = 0;   // cone, radians
  std::vector<int> neighbours;  // faces sharing an edge, ascending
  std::size_t firstNode = 0, nodeCount = 0;  // this face's nodes in the mesh
  Box box;
};

struct Part {
  std::string file;
  std::string fileUnit;  // the length unit the file was written in ("millimetre", "inch", ...)
  int solids = 0;
  int openEdges = 0;  // edges with one face only: the shell is not closed
  std::vector<FaceInfo> faces;
  Mesh mesh;
  std::vector<Vec3> normals;  // exact outward surface normal at each mesh node
  Box box;
  double deflection = 0;
  std::vector<std::string> warnings;  // what could be read only in part
};

struct ReadResult {
  bool ok = false;
  std::string error;  // one line when !ok
  Part part;
};

// The triangulation's deflection as a fraction of the part's bounding-box diagonal, and the largest angle
// (radians) between neighbouring facets of a curved face.
inline constexpr double kRelativeDeflection = 0.001;
inline constexpr double kMeshAngle = 0.3;

// Reads a STEP file (lengths in millimetres whatever the file's unit), repairs it as the reader does,
// and triangulates it once. Never throws.
ReadResult ReadStepFile(const std::string& path, const Budget& budget);
// The same from the bytes of a STEP file held in memory.
ReadResult ReadStepBytes(std::string_view bytes, const Budget& budget);

}  // namespace kvx::checker
