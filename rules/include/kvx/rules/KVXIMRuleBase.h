#pragma once
// What every rule class of this module has in common at the bottom: its parameters are stored with the
// module's typed storage (so they read and write the module's "Parameter" elements).
#include "kvx/framework/KvxRule.h"

class CKVXIMRuleBase : public CKvxRule {
 protected:
  std::unique_ptr<CKvxParamStorage> NewParamStorage(Type_e valueType, long id, KvxOperator_e op,
                                                    KvxParamType_e paramType, bool firstFlag,
                                                    bool secondFlag) const override;
};
