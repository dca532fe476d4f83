#pragma once
// One rule parameter: identity, operator, values, status, result criteria and display fields.
// The framework keeps the fields; how values are stored and turned into XML is the job of the
// typed storage that a rule library derives from this class.
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "kvx/framework/FrameworkExport.h"
#include "kvx/framework/KvxTypes.h"

class KvxXMLNode;

// A deviation pair of one criticality level.
struct CriticalityPair {
  double dValue1 = 0.0;
  double dValue2 = 0.0;
};
// Criticality level (0 "Unknown", 1 "Warning", 2 "Info") -> deviation pair, in ascending level order.
using CriticalityMap = std::map<std::int32_t, CriticalityPair>;

// One value as a host sees it: nothing (a value with no text form, a null list), a number, a flag, a text or
// a list of texts.
using KvxValueView = std::variant<std::monostate, double, bool, std::wstring, std::vector<std::wstring>>;

class KVX_FRAMEWORK_API CKvxParamStorage {
 public:
  CKvxParamStorage(Type_e valueType, long id, KvxOperator_e op, KvxParamType_e paramType, bool firstFlag,
                   bool secondFlag);
  virtual ~CKvxParamStorage();
  CKvxParamStorage(const CKvxParamStorage&) = delete;
  CKvxParamStorage& operator=(const CKvxParamStorage&) = delete;

  Type_e GetValueType() const { return m_valueType; }
  long GetId() const { return lId; }

  virtual int GetValueCount() const = 0;
  // Keeps the first `count` values (or pads with zero values); a negative count empties the list.
  virtual void SetValueCount(int count) = 0;
  // Empties the values and gives the list its initial capacity again.
  virtual void ResetValues() = 0;
  // The values of a double parameter; null for every other value type.
  virtual std::vector<double>* GetDoubleValues() { return nullptr; }
  // Every value in order, as a host shows it.
  virtual std::vector<KvxValueView> DescribeValues() const = 0;
  // A new "Parameter" element for this parameter, or null when no element can be made.
  virtual std::unique_ptr<KvxXMLNode> GetParameterXML() = 0;
  // Fills this parameter from its "Parameter" child of `ruleNode`; unchanged when there is none.
  virtual void PopulateParameterFromXML(KvxXMLNode* ruleNode) = 0;

  // Copies the descriptive fields (options, texts, flags, range; not the values or the criteria).
  void CopyDefinitionFrom(const CKvxParamStorage& other);

  // --- fields ---
  std::wstring csName;
  long lId;
  std::int32_t iOperator;
  KvxParamType_e iParameterType;
  std::wstring csRemarks;
  std::vector<long> operatorOptions;
  bool bStatus = true;  // also the "enabled" flag: whether the limit is switched on
  long csCriteriaType = 0;
  bool bResultCriteriaStatus = true;
  CriticalityMap csPercentDeviation;
  CriticalityMap csAbsoluteDeviation;
  CriticalityMap csAbsoluteValue;
  std::wstring csSymbol;  // short symbol shown before the operator ("H", "A/t")
  std::wstring csUnit;    // text shown after the value ("D", a length unit)
  int iDisplay = 0;       // display flag
  double dSecondField = 0.0;
  double dRangeMin = 0.0;  // permitted range, in the parameter's unit (0..0: no range)
  double dRangeMax = 0.0;
  bool bFirstFlag;
  bool bSecondFlag;

  bool IsEnabled() const { return bStatus; }

 private:
  Type_e m_valueType;
};
