#pragma once
// The analyses that BuildFacts runs, one per kind of fact.
#include "Bvh.h"
#include "kvx/checker/Facts.h"

namespace kvx::checker {

inline constexpr double kPi = 3.14159265358979323846;
inline double Degrees(double radians) { return radians * 180.0 / kPi; }

std::vector<FaceDraft> MeasureDrafts(const Part& part, Vec3 pull);
std::vector<Hole> FindHoles(const Part& part, const TriangleTree& tree);
void MeasureLigaments(std::vector<Hole>& holes);
std::vector<Boss> FindBosses(const Part& part, Vec3 pull, const std::vector<FaceDraft>& drafts);
std::vector<Rib> FindRibs(const Part& part, const std::vector<FaceDraft>& drafts, const Budget& budget, bool& cutShort);
std::vector<Cutout> FindCutouts(const Part& part, const std::vector<Hole>& holes);
Thickness MeasureThickness(const Part& part, const TriangleTree& tree, const Budget& budget, bool& cutShort);
std::vector<Undercut> FindUndercuts(const Part& part, const TriangleTree& tree, Vec3 pull, const Budget& budget,
                                    bool& cutShort);

}  // namespace kvx::checker
