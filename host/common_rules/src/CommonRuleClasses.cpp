// The classes rule modules construct by name, each one row of the rule table, and the library's export.
#include "kvx/common_rules/CommonRules.h"
#include "kvx/params/ModuleContext.h"

namespace {
// Each library that links the parameter code keeps its own module context. This library has no application
// object: its context, with no resource libraries, is installed for as long as the library is loaded.
kvx::params::ModuleContext& LibraryContext() {
  static kvx::params::ModuleContext context;
  return context;
}
const kvx::params::ModuleContextScope theContextScope(LibraryContext());
}  // namespace

// How a rule module shares its document with the rules of this library.
extern "C" KVX_COMMON_RULES_API void SetXMLDoc(KvxXMLDocument* doc) { LibraryContext().xmlDocument = doc; }

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
