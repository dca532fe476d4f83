#pragma once
// What every rule class of this module has in common at the bottom: its parameters are stored with the
// module's typed storage (so they read and write the module's "Parameter" elements).
#include "kvx/framework/KvxRule.h"

namespace kvx::rules {
// The key that marks a "Rule" element as one of this module's: its "Module" attribute, matched ignoring case.
inline constexpr const wchar_t* kModuleKey = L"KvxIMRulesValidator";
}  // namespace kvx::rules

class CKVXIMRuleBase : public CKvxRule {
 protected:
  std::unique_ptr<CKvxParamStorage> NewParamStorage(Type_e valueType, long id, KvxOperator_e op,
                                                    KvxParamType_e paramType, bool firstFlag,
                                                    bool secondFlag) const override;
};
