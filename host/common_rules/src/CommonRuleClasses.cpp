// The classes rule modules construct by name, each one row of the rule table, and the library's export.
#include "LibraryContext.h"
#include "kvx/common_rules/CommonRules.h"

namespace kvx::common_rules {

// Library-wide because SetXMLDoc, a C export without a rule to hand, sets the document for every rule
// of the library at once. It has no resource libraries: this library has no application object.
kvx::params::ModuleContext& LibraryContext() {
  static kvx::params::ModuleContext context;
  return context;
}

}  // namespace kvx::common_rules

// How a rule module shares its document with the rules of this library.
extern "C" KVX_COMMON_RULES_API void SetXMLDoc(KvxXMLDocument* doc) {
  kvx::common_rules::LibraryContext().xmlDocument = doc;
}

#define KVX_DEFINE_COMMON_RULE(ClassName, Kind)                                                             \
  ClassName::ClassName(const std::wstring& moduleDisplayName, const std::wstring& moduleKey,               \
                       KVXRuleCategory_e category, int ruleId)                                             \
      : CKVXCommonRuleBase(KvxCommonRuleKind::Kind, moduleDisplayName, moduleKey, category, ruleId,        \
                           nullptr) {}                                                                     \
  ClassName::~ClassName() = default

#define KVX_DEFINE_COMMON_RULE_WITH_NODE(ClassName, Kind)                                                   \
  ClassName::ClassName(const std::wstring& moduleDisplayName, const std::wstring& moduleKey,               \
                       KVXRuleCategory_e category, int ruleId, KvxXMLNode* ruleNode)                        \
      : CKVXCommonRuleBase(KvxCommonRuleKind::Kind, moduleDisplayName, moduleKey, category, ruleId,        \
                           ruleNode) {}                                                                    \
  ClassName::~ClassName() = default

KVX_DEFINE_COMMON_RULE(CKVXIMBossBaseRadiusRule, BossBaseRadius);
KVX_DEFINE_COMMON_RULE(CKVXIMBossTipRadiusRule, BossTipRadius);
KVX_DEFINE_COMMON_RULE(CKVXIMDraftAngleRule, DraftAngle);
KVX_DEFINE_COMMON_RULE(CKVXIMRibParametersRule, RibParameters);
KVX_DEFINE_COMMON_RULE(CKVXIMUndercutDetectionRule, UndercutDetection);
KVX_DEFINE_COMMON_RULE(CKVXIMMoldWallThicknessRule, MouldWallThickness);
KVX_DEFINE_COMMON_RULE(CKVXIMWTVariationRule, WallThicknessVariation);
KVX_DEFINE_COMMON_RULE(CKVXIMSuddenWTVariationRule, SuddenWallThicknessVariation);
KVX_DEFINE_COMMON_RULE_WITH_NODE(CKVXIMUniformThicknessRule, UniformThickness);
KVX_DEFINE_COMMON_RULE_WITH_NODE(CKVXRecoPinDiameterRule, CorePinDiameter);
KVX_DEFINE_COMMON_RULE(CKVXIMRibBaseRadiusRule, RibBaseRadius);
KVX_DEFINE_COMMON_RULE(CKVXUndercutInterferenceRule, UndercutInterference);
KVX_DEFINE_COMMON_RULE(CKVXIMVariableDraftAngleRule, VariableDraftAngle);
KVX_DEFINE_COMMON_RULE(KVXIMBossParamsRule, BossParameters);
