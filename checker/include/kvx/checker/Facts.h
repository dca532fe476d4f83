#pragma once
// What the rules need to know about a part for one pull direction. Lengths in millimetres, angles in degrees.
#include <string>
#include <vector>

#include "kvx/checker/Part.h"

namespace kvx::checker {

struct FaceDraft {
  int face = 0;
  double minDraft = 90;  // smallest angle between the face and the pull direction over its samples
  int side = 0;          // +1 released by the half moving along the pull, -1 by the other, 0 both
  double depth = 0;      // extent of the face along the pull
  Vec3 point;            // where the smallest draft was seen
};

struct Hole {
  std::vector<int> faces;
  double diameter = 0;
  double depth = 0;
  bool through = false;
  Vec3 axis;
  Vec3 entry;            // centre of the open end (of the first end for through holes)
  double ligament = -1;  // edge to edge to the nearest parallel hole; -1 when there is none near
  int neighbour = -1;
  double draft = 0;      // taper of a slightly conical hole
};

struct Boss {
  std::vector<int> faces;
  double outerDiameter = 0;
  double holeDiameter = 0;  // 0 without a coaxial hole
  double height = 0;
  double outerDraft = 0;
  double innerDraft = 0;
  double baseRadius = 0;    // 0 when no fillet was found at the base; kUnmeasured for a blend that is no torus
  double tipRadius = 0;     // 0 when no rounding was found at the tip; kUnmeasured as above
  Vec3 point;               // on the axis at the tip
  static constexpr double kUnmeasured = -1;
};

struct FaceThickness {
  int face = 0;
  double value = 0;  // area-weighted median over the face's samples
  Vec3 point;        // a sample near the face's centre
};

// A change of wall thickness between two faces of the same side, directly or across one face between them.
struct ThicknessChange {
  int from = 0, to = 0;
  double change = 0;  // absolute
  double length = 0;  // length of the transition along the wall; 0 for a step
  Vec3 point;
};

struct Thickness {
  double nominal = 0;  // the dominant measured thickness
  std::vector<FaceThickness> faces;
  std::vector<ThicknessChange> changes;
  std::size_t samples = 0;
};

struct Undercut {
  std::vector<int> faces;
  double area = 0;
  double depth = 0;  // how far a side action must travel to release it
  Vec3 point;
};

// A straight rib: two nearly parallel planar sides close together, standing on one planar wall and joined by a
// flat top. Its sides are extended to the wall, so that a fillet at its foot does not change its thickness.
struct Rib {
  std::vector<int> faces;    // sides, top and fillets at the foot
  int base = -1;             // the wall it stands on
  double thickness = 0;      // at the foot
  double tipThickness = 0;   // at the top
  double height = 0;         // from the wall to the top
  double length = 0;
  double draft = 90;         // the smaller draft of its sides against the pull
  double baseRadius = 0;     // the smaller fillet at its foot; 0 when a side meets the wall at a sharp edge
  double spacing = -1;       // clear distance to the nearest parallel rib on the same wall; -1 when none
  int neighbour = -1;
  Vec3 point;                // the middle of its top
};

// An opening through a wall: a ring of faces running from one side of the wall to the other, facing the
// opening's middle. Round holes are holes, not cut-outs.
struct Cutout {
  std::vector<int> faces;
  double area = 0;   // inside its outline, seen through the wall (the convex outline)
  double depth = 0;  // through the wall
  Vec3 point;        // its middle
};

struct Facts {
  Vec3 pull;
  std::vector<FaceDraft> drafts;
  std::vector<Hole> holes;
  std::vector<Boss> bosses;
  std::vector<Rib> ribs;
  std::vector<Cutout> cutouts;
  Thickness thickness;
  std::vector<Undercut> undercuts;
  double undercutArea = 0;
  std::vector<std::string> skipped;  // analyses cut short by the budget
};

class TriangleTree;

// Builds every fact for `pull` (a unit vector). Each analysis stops when the budget runs out and says so.
Facts BuildFacts(const Part& part, Vec3 pull, const Budget& budget);

// The area that neither mould half can release along ±pull; used to choose a pull direction.
double UndercutArea(const Part& part, Vec3 pull, const Budget& budget);

}  // namespace kvx::checker
