#pragma once
// The rule table behind the classes of this library: one row per rule, with its parameters.
// Internal to the library; nothing here is exported.
#include <array>
#include <string>
#include <vector>

#include "kvx/common_rules/CommonRules.h"
#include "kvx/framework/KvxTypes.h"

namespace kvx::common_rules {

// What a parameter value measures; decides its unit text and whether a unit change converts it.
enum class Quantity {
  Ratio,    // a multiple of another dimension of the part (unit text names that dimension)
  Length,   // in the rule's length unit
  Angle,    // in the rule's angle unit
  Percent,  // a share of a thickness, in percent
  Switch,   // 1.0 on, 0.0 off
};

struct ParamRow {
  long id;  // also the resource string of the parameter's name
  Quantity quantity;
  double defaultValue;  // lengths in millimetres, angles in degrees
  KvxOperator_e op;
  std::array<KvxOperator_e, 2> options;  // KVX_OP_NONE where a rule offers only one
  const wchar_t* symbol;
  const wchar_t* ratioBase;  // unit text of a ratio ("t" wall thickness, "D" diameter); unused otherwise
  double rangeMin;           // permitted range, in the same units as the default
  double rangeMax;
};

struct RuleRow {
  KvxCommonRuleKind kind;
  int nameId;             // resource string of the rule's name
  const wchar_t* keyName; // the English text of nameId: the key by which rule modules find the class
  int severity;
  int summaryId;          // resource format of the summary: one %s per parameter, in parameter order
  std::vector<ParamRow> params;
};

// The row of `kind`.
const RuleRow& RowOf(KvxCommonRuleKind kind);
// Every row.
const std::vector<RuleRow>& AllRows();

}  // namespace kvx::common_rules
