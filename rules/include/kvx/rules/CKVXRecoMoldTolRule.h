#pragma once
// The recommended moulding tolerance rule: a table of tolerance bands per material and nothing to check on
// the model. The table is the rule's constraint list, one constraint per material in name order, each with
// four array parameters (Over, Up to, A value, B value); row i of a material is element i of each array.
#include <memory>
#include <string>
#include <vector>

#include "kvx/contracts/RuleIds.h"
#include "kvx/res/StringIds.h"
#include "kvx/rules/KVXIMRuleBase.h"

class KvxXMLNode;

// One band of the tolerance table, in the rule's length unit.
struct ToleranceRow {
  double dOver = 0.0;
  double dUpto = 0.0;
  double dAVal = 0.0;
  double dBVal = 0.0;
};

class CKVXRecoMoldTolRule : public CKVXIMRuleBase {
 public:
  static constexpr int kRuleId = kvx::rule_ids::kMouldingTolerance;
  static constexpr long kOverParam = kvx::res::kToleranceOverParam;
  static constexpr long kUptoParam = kvx::res::kToleranceUptoParam;
  static constexpr long kAValParam = kvx::res::kToleranceAValueParam;
  static constexpr long kBValParam = kvx::res::kToleranceBValueParam;
  static constexpr int kMaterialConstraintKind = 1;

  // Reads the table from the "Constraint" children of `ruleNode`, or from the material database when it is
  // null. A database that cannot be reached leaves the table empty, silently.
  explicit CKVXRecoMoldTolRule(KvxXMLNode* ruleNode);
  ~CKVXRecoMoldTolRule() override;

  // Builds the table from the material database's text; an empty table when there is none.
  void InitializeParamStorage() override;
  // Checks nothing; always 0.
  int Execute(KVXICadSys* cad, KVXResultSet*& results) override;
  // Refills the table's values from the rule record `node`; nothing for null.
  void PopulateParametersFromXML(KvxXMLNode* node) override;
  // The rule record; null without the module's XML document.
  std::unique_ptr<KvxXMLNode> GetXML() override;
  // Checks nothing.
  void RunRule() override;
  // Converts every table value from the length unit of `from` to that of `to`; nothing without both.
  void UpdateRule(const RuleUnitSystemStructure* from, const RuleUnitSystemStructure* to) override;
  // Copies nothing; always true.
  bool UpdateRule(CKvxRule* other) override;
  // Opens the tolerance dialog, or the framework's rule dialog (which may report that there is none).
  void EditRule() override;
  // Imports nothing; always -3.
  int Import(KvxXMLDocument* document, KvxXMLNode* node, const CKvxData*& data, KVXICadSys* cad,
             KVXResultSet*& results) override;
  // The table does not depend on the material workflow; always false.
  bool GetMaterialStatus() override;

  // Appends a material constraint with its four columns (first flag `firstFlag`) filled from `rows`.
  // Null, and nothing appended, when an object cannot be created.
  CKVXConstraint* AddMaterialConstraint(const std::wstring& material, bool status,
                                        const std::vector<ToleranceRow>& rows, bool firstFlag = true);
  // The rows of a material constraint, one per Over value; a value missing in another column reads -1.0
  // (the table's mark for a missing value). Empty when the constraint has no Over column.
  static std::vector<ToleranceRow> RowsOf(const CKVXConstraint& constraint);
  // True when `constraint` holds all four columns.
  static bool HasAllColumns(const CKVXConstraint& constraint);

 private:
  void ReadConstraintsFromXML(KvxXMLNode* node);
};
