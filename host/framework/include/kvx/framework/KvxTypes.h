#pragma once
// Enumerations and small value types shared by the framework, the rule modules and the host.
#include <cstdint>
#include <list>
#include <string>

// Value type of a parameter; fixes how its values are stored and turned into text.
enum Type_e : std::int32_t {
  KVX_TYPE_INT = 1,
  KVX_TYPE_LONG = 2,
  KVX_TYPE_BOOL = 3,
  KVX_TYPE_DOUBLE = 4,
  KVX_TYPE_STRING = 5,
  KVX_TYPE_OPAQUE = 6,  // a value with no text form
  KVX_TYPE_UNSIGNED = 7,
  KVX_TYPE_STRING_LIST = 8,
};

// Comparison operators of a parameter limit.
enum KvxOperator_e : std::int32_t {
  KVX_OP_NONE = 0,
  KVX_OP_RANGE = 1,
  KVX_OP_EQUAL = 3,
  KVX_OP_LESS = 5,
  KVX_OP_GREATER = 6,
  KVX_OP_GREATER_EQUAL = 7,
  KVX_OP_LESS_EQUAL = 8,
};

// Kind of a parameter as the framework presents it; 24 marks values written as attribute sets.
using KvxParamType_e = std::int32_t;
inline constexpr KvxParamType_e KVX_PARAM_MULTI_ATTRIBUTE = 24;

// Rule categories; 9 is the category of the injection-moulding rules.
enum KVXRuleCategory_e : std::int32_t {
  KVX_CATEGORY_UNKNOWN = -1,
  KVX_CATEGORY_INJECTION_MOULDING = 9,
};

// Length unit codes.
enum KvxLengthUnit_e : std::int32_t {
  KVX_UNIT_MM = 0,
  KVX_UNIT_CM = 1,
  KVX_UNIT_M = 2,
  KVX_UNIT_INCH = 3,
  KVX_UNIT_FOOT = 4,
  KVX_UNIT_FOOT_INCH = 5,  // shown as feet and inches; values are held in feet and it has no text of its own
  KVX_UNIT_ANGSTROM = 6,
  KVX_UNIT_NM = 7,
  KVX_UNIT_MICROMETRE = 8,
  KVX_UNIT_MIL = 9,
  KVX_UNIT_MICROINCH = 10,
};

// Angle unit codes; the degree-minute forms hold their values in degrees.
enum KvxAngleUnit_e : std::int32_t {
  KVX_ANGLE_DEGREE = 0,
  KVX_ANGLE_RADIAN = 1,
  KVX_ANGLE_DEG_MIN = 2,
  KVX_ANGLE_DEG_MIN_SEC = 3,
};

// Quantity kinds for unit conversion.
enum KvxQuantityKind_e : std::int32_t {
  KVX_QUANTITY_LENGTH = 1,
  KVX_QUANTITY_ANGLE = 2,
};

// A unit system: a length unit code followed by an angle unit code.
struct RuleUnitSystemStructure {
  std::int32_t iLengthUnit = KVX_UNIT_MM;
  std::int32_t iAngleUnit = KVX_ANGLE_DEGREE;
};

// A list of texts, such as the material-database module names a host hands to a rule module.
using KvxStringList = std::list<std::wstring>;

// Dialog results.
inline constexpr int KVX_IDOK = 1;
inline constexpr int KVX_IDCANCEL = 2;
// A dialog that could not be shown (no dialog library, no display); a cancel to whoever asked for it.
inline constexpr int KVX_DIALOG_UNAVAILABLE = -1;

// Opaque host types that rule operations pass along without looking inside.
class KVXICadSys;
class KVXResultSet;
class CKvxData;
