#include "kvx/framework/KvxParamStorage.h"

CKvxParamStorage::CKvxParamStorage(Type_e valueType, long id, KvxOperator_e op, KvxParamType_e paramType,
                                   bool firstFlag, bool secondFlag)
    : lId(id),
      iOperator(op),
      iParameterType(paramType),
      bFirstFlag(firstFlag),
      bSecondFlag(secondFlag),
      m_valueType(valueType) {}

CKvxParamStorage::~CKvxParamStorage() = default;

void CKvxParamStorage::CopyDefinitionFrom(const CKvxParamStorage& other) {
  // Name and remarks are never read back from a "Parameter" element, so a copy must carry them.
  csName = other.csName;
  csRemarks = other.csRemarks;
  operatorOptions = other.operatorOptions;
  csSymbol = other.csSymbol;
  csUnit = other.csUnit;
  iDisplay = other.iDisplay;
  dSecondField = other.dSecondField;
  dRangeMin = other.dRangeMin;
  dRangeMax = other.dRangeMax;
}
