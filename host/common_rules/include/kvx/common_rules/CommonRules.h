#pragma once
// KVXCommonRulesu: the ready-made injection-moulding rules that rule modules construct directly and hand
// out under their own module key, plus the library's "SetXMLDoc" export.
//
// Every class is a complete rule: double parameters with defaults, operators, symbols and units, a one-line
// summary, its rule record XML and unit conversion. The classes differ only in the row of the rule table
// they name; the shared behaviour lives in CKVXCommonRuleBase.
#include <memory>
#include <string>

#include "kvx/framework/KvxRule.h"
#include "kvx/framework/KvxTypes.h"

class KvxXMLDocument;
class KvxXMLNode;

#if defined(_WIN32)
#  ifdef KVX_COMMON_RULES_BUILD
#    define KVX_COMMON_RULES_API __declspec(dllexport)
#  else
#    define KVX_COMMON_RULES_API __declspec(dllimport)
#  endif
#else
#  define KVX_COMMON_RULES_API __attribute__((visibility("default")))
#endif

extern "C" {
// Makes `doc` the document in which this library's rules create their XML; null makes GetXML return null.
KVX_COMMON_RULES_API void SetXMLDoc(KvxXMLDocument* doc);
}

// The rows of the rule table, one per class below.
enum class KvxCommonRuleKind {
  BossBaseRadius,
  BossTipRadius,
  DraftAngle,
  RibParameters,
  UndercutDetection,
  MouldWallThickness,
  WallThicknessVariation,
  SuddenWallThicknessVariation,
  UniformThickness,
  CorePinDiameter,
  RibBaseRadius,
  UndercutInterference,
  VariableDraftAngle,
  BossParameters,
};

// The shared rule behind every class of this library.
class KVX_COMMON_RULES_API CKVXCommonRuleBase : public CKvxRule {
 public:
  ~CKVXCommonRuleBase() override;

  // Recreates the parameters with their defaults in the current units and rebuilds the summary.
  void InitializeParamStorage() override;
  // Reads the rule record; a parameter the node lacks keeps its value. Nothing happens for null.
  void PopulateParametersFromXML(KvxXMLNode* node) override;
  // A new "Rule" element in this library's document; null when SetXMLDoc has given none.
  std::unique_ptr<KvxXMLNode> GetXML() override;
  // Converts lengths and angles (values and range limits) between the unit systems; nothing for null.
  void UpdateRule(const RuleUnitSystemStructure* from, const RuleUnitSystemStructure* to) override;
  using CKvxRule::UpdateRule;
  // Opens the framework's rule dialog (no picture), then rebuilds the summary.
  void EditRule() override;

  KvxCommonRuleKind Kind() const { return m_kind; }
  // Rebuilds m_csSummary from the current values; a parameter without values shows as "not set".
  void RebuildSummary();

 protected:
  // Sets identity and defaults from the row of `kind`; reads itself from `ruleNode` when it is given.
  CKVXCommonRuleBase(KvxCommonRuleKind kind, const std::wstring& moduleDisplayName, const std::wstring& moduleKey,
                     KVXRuleCategory_e category, int ruleId, KvxXMLNode* ruleNode);

  std::unique_ptr<CKvxParamStorage> NewParamStorage(Type_e valueType, long id, KvxOperator_e op,
                                                    KvxParamType_e paramType, bool firstFlag,
                                                    bool secondFlag) const override;

 private:
  KvxCommonRuleKind m_kind;
};

// Each constructor below takes the module's display name (appended to the text list), the module key
// (the rule's module name), the category and the rule id; it cannot fail short of running out of memory.
#define KVX_DECLARE_COMMON_RULE(ClassName)                                                                \
  class KVX_COMMON_RULES_API ClassName : public CKVXCommonRuleBase {                                     \
   public:                                                                                               \
    ClassName(const std::wstring& moduleDisplayName, const std::wstring& moduleKey,                      \
              KVXRuleCategory_e category, int ruleId);                                                   \
    ~ClassName() override;                                                                               \
  }

// Classes that may read themselves from the rule node at construction (null: defaults only). The module
// populates them afterwards as well; the second reading replaces the first, it never adds to it.
#define KVX_DECLARE_COMMON_RULE_WITH_NODE(ClassName)                                                      \
  class KVX_COMMON_RULES_API ClassName : public CKVXCommonRuleBase {                                     \
   public:                                                                                               \
    ClassName(const std::wstring& moduleDisplayName, const std::wstring& moduleKey,                      \
              KVXRuleCategory_e category, int ruleId, KvxXMLNode* ruleNode);                             \
    ~ClassName() override;                                                                               \
  }

KVX_DECLARE_COMMON_RULE(CKVXIMBossBaseRadiusRule);
KVX_DECLARE_COMMON_RULE(CKVXIMBossTipRadiusRule);
KVX_DECLARE_COMMON_RULE(CKVXIMDraftAngleRule);
KVX_DECLARE_COMMON_RULE(CKVXIMRibParametersRule);
KVX_DECLARE_COMMON_RULE(CKVXIMUndercutDetectionRule);
KVX_DECLARE_COMMON_RULE(CKVXIMMoldWallThicknessRule);
KVX_DECLARE_COMMON_RULE(CKVXIMWTVariationRule);
KVX_DECLARE_COMMON_RULE(CKVXIMSuddenWTVariationRule);
KVX_DECLARE_COMMON_RULE_WITH_NODE(CKVXIMUniformThicknessRule);
KVX_DECLARE_COMMON_RULE_WITH_NODE(CKVXRecoPinDiameterRule);
KVX_DECLARE_COMMON_RULE(CKVXIMRibBaseRadiusRule);
KVX_DECLARE_COMMON_RULE(CKVXUndercutInterferenceRule);
KVX_DECLARE_COMMON_RULE(CKVXIMVariableDraftAngleRule);
KVX_DECLARE_COMMON_RULE(KVXIMBossParamsRule);

#undef KVX_DECLARE_COMMON_RULE
#undef KVX_DECLARE_COMMON_RULE_WITH_NODE
