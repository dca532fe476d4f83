#include "kvx/checker/Facts.h"

#include "Analyses.h"

namespace kvx::checker {

Facts BuildFacts(const Part& part, Vec3 pull, const Budget& budget) {
  Facts facts;
  facts.pull = Normalized(pull);
  const TriangleTree tree(part.mesh);
  facts.drafts = MeasureDrafts(part, facts.pull);
  facts.holes = FindHoles(part, tree);
  facts.bosses = FindBosses(part, facts.pull, facts.drafts);
  bool ribsCutShort = false;
  facts.ribs = FindRibs(part, facts.drafts, budget, ribsCutShort);
  if (ribsCutShort) facts.skipped.push_back("ribs: the budget ran out before every pair of faces was tried");
  facts.cutouts = FindCutouts(part, facts.holes);

  bool cutShort = false;
  facts.undercuts = FindUndercuts(part, tree, facts.pull, budget, cutShort);
  for (const Undercut& undercut : facts.undercuts) facts.undercutArea += undercut.area;
  if (cutShort) facts.skipped.push_back("undercuts: the budget ran out before every facet was probed");

  cutShort = false;
  facts.thickness = MeasureThickness(part, tree, budget, cutShort);
  if (cutShort) facts.skipped.push_back("wall thickness: the budget ran out; measured from part of the samples");
  return facts;
}

}  // namespace kvx::checker
