#include "kvx/rules/KVXIMRuleBase.h"

#include "kvx/params/TypedParamStorage.h"

std::unique_ptr<CKvxParamStorage> CKVXIMRuleBase::NewParamStorage(Type_e valueType, long id, KvxOperator_e op,
                                                                  KvxParamType_e paramType, bool firstFlag,
                                                                  bool secondFlag) const {
  return kvx::params::MakeParamStorage(valueType, id, op, paramType, firstFlag, secondFlag);
}
