#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "CommonRuleTable.h"
#include "LibraryContext.h"
#include "kvx/common_rules/CommonRules.h"
#include "kvx/framework/KvxUnitConvertor.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/module/RuleRecordXml.h"
#include "kvx/params/ParamUtils.h"
#include "kvx/params/ResourceText.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Resources.h"
#include "kvx/res/StringIds.h"

using kvx::common_rules::LibraryContext;
using kvx::common_rules::ParamRow;
using kvx::common_rules::Quantity;
using kvx::common_rules::RowOf;
using kvx::common_rules::RuleRow;

namespace {

// Defaults and range limits in the table are in these units.
constexpr RuleUnitSystemStructure kTableUnits{KVX_UNIT_MM, KVX_ANGLE_DEGREE};
constexpr KvxParamType_e kPlainParameter = 1;

// Unit texts in the user's language. Feet-and-inches values are held in feet and the degree-minute
// forms in degrees, so those show the unit the numbers are really in.
std::wstring LengthUnitText(int code) {
  namespace res = kvx::res;
  static constexpr int kTexts[] = {res::kUnitMillimetre, res::kUnitCentimetre, res::kUnitMetre,  res::kUnitInch,
                                   res::kUnitFoot,       res::kUnitFoot,       res::kUnitAngstrom, res::kUnitNanometre,
                                   res::kUnitMicrometre, res::kUnitMil,        res::kUnitMicroinch};
  if (code < 0 || code >= static_cast<int>(std::size(kTexts))) return {};
  return kvx::platform::LoadResString(kTexts[code]);
}

std::wstring AngleUnitText(int code) {
  if (code == KVX_ANGLE_RADIAN) return kvx::platform::LoadResString(kvx::res::kUnitRadian);
  if (code == KVX_ANGLE_DEGREE || code == KVX_ANGLE_DEG_MIN || code == KVX_ANGLE_DEG_MIN_SEC) {
    return kvx::platform::LoadResString(kvx::res::kUnitDegree);
  }
  return {};
}

std::wstring UnitTextOf(const ParamRow& row, const RuleUnitSystemStructure& units) {
  switch (row.quantity) {
    case Quantity::Length: return LengthUnitText(units.iLengthUnit);
    case Quantity::Angle: return AngleUnitText(units.iAngleUnit);
    case Quantity::Percent: return L"%";
    case Quantity::Ratio: return row.ratioBase;
    case Quantity::Switch: return {};
  }
  return {};
}

// How a value of `quantity` converts between two unit systems; nothing when it does not.
struct Conversion {
  int kind;
  int from;
  int to;
  double Apply(double value) const { return CKVXUnitConvertor::ConversionFromOneUnitToAnother(value, kind, from, to); }
};

std::optional<Conversion> ConversionOf(Quantity quantity, const RuleUnitSystemStructure& from,
                                       const RuleUnitSystemStructure& to) {
  if (quantity == Quantity::Length && from.iLengthUnit != to.iLengthUnit)
    return Conversion{KVX_QUANTITY_LENGTH, from.iLengthUnit, to.iLengthUnit};
  if (quantity == Quantity::Angle && from.iAngleUnit != to.iAngleUnit)
    return Conversion{KVX_QUANTITY_ANGLE, from.iAngleUnit, to.iAngleUnit};
  return std::nullopt;
}

void ConvertValues(CKvxParamStorage& parameter, const Conversion& conversion) {
  if (std::vector<double>* values = kvx::params::DoubleValues(&parameter)) {
    for (double& value : *values) value = conversion.Apply(value);
  }
}

void ConvertRange(CKvxParamStorage& parameter, const Conversion& conversion) {
  kvx::params::ConvertRangeLimits(&parameter, conversion.kind, conversion.from, conversion.to);
}

void ApplyDefaults(CKvxParamStorage& parameter, const ParamRow& row, const RuleUnitSystemStructure& units) {
  parameter.csName = kvx::platform::LoadResString(static_cast<int>(row.id));
  parameter.iOperator = row.limit.op;
  parameter.operatorOptions = {row.limit.op};
  if (row.limit.alternative != KVX_OP_NONE) parameter.operatorOptions.push_back(row.limit.alternative);
  parameter.csSymbol = row.symbol;
  parameter.csUnit = UnitTextOf(row, units);
  parameter.iDisplay = 1;
  parameter.dSecondField = 0.0;
  parameter.bStatus = true;
  parameter.dRangeMin = row.rangeMin;
  parameter.dRangeMax = row.rangeMax;
  double value = row.defaultValue;
  if (const auto conversion = ConversionOf(row.quantity, kTableUnits, units)) {
    value = conversion->Apply(value);
    ConvertRange(parameter, *conversion);
  }
  if (std::vector<double>* values = kvx::params::DoubleValues(&parameter)) *values = {value};
}

// The resource format of a limit: "at least %s".
int LimitFormatId(int op) {
  switch (op) {
    case KVX_OP_LESS: return kvx::res::kLimitLessThan;
    case KVX_OP_LESS_EQUAL: return kvx::res::kLimitAtMost;
    case KVX_OP_GREATER: return kvx::res::kLimitMoreThan;
    case KVX_OP_GREATER_EQUAL: return kvx::res::kLimitAtLeast;
    default: return 0;
  }
}

std::wstring Text(int id) { return kvx::platform::LoadResString(id); }

std::wstring ValueWithUnit(double value, const ParamRow& row, const std::wstring& unitText) {
  std::wstring text = kvx::params::DoubleToShortText(value);
  if (row.quantity == Quantity::Length || row.quantity == Quantity::Angle) return text + L" " + unitText;
  if (row.quantity == Quantity::Percent) return text + unitText;
  return text;  // ratios: the summary format names what they multiply
}

// One parameter as the summary shows it.
std::wstring ClauseOf(CKvxParamStorage* parameter, const ParamRow& row) {
  const std::vector<double>* values = kvx::params::DoubleValues(parameter);
  using kvx::params::FormatText;
  if (!values || values->empty()) return Text(kvx::res::kLimitNotSet);
  if (row.quantity == Quantity::Switch) return Text(values->front() != 0.0 ? kvx::res::kSwitchOn : kvx::res::kSwitchOff);
  if (parameter->iOperator == KVX_OP_RANGE && values->size() >= 2) {
    return FormatText(Text(kvx::res::kLimitBetween), ValueWithUnit((*values)[0], row, parameter->csUnit),
                      ValueWithUnit((*values)[1], row, parameter->csUnit));
  }
  const std::wstring value = ValueWithUnit(values->front(), row, parameter->csUnit);
  const int format = LimitFormatId(parameter->iOperator);
  return format ? FormatText(Text(format), value) : value;
}

// The format filled with one clause per parameter; a row whose format does not fit its parameters gives
// the readable fallback text rather than a broken one.
std::wstring FillFormat(const std::wstring& format, const std::vector<std::wstring>& c) {
  using kvx::params::FormatText;
  switch (c.size()) {
    case 1: return FormatText(format, c[0]);
    case 2: return FormatText(format, c[0], c[1]);
    case 3: return FormatText(format, c[0], c[1], c[2]);
    case 4: return FormatText(format, c[0], c[1], c[2], c[3]);
    default: return kvx::params::FormatFallback(format, {});
  }
}

// The table row of parameter `id`, or null.
const ParamRow* ParamRowOf(const RuleRow& rule, long id) {
  for (const ParamRow& row : rule.params) {
    if (row.id == id) return &row;
  }
  return nullptr;
}

// The rule's name in the language of the current resource library; the English key name when no
// library is current or it lacks the text.
std::wstring DisplayNameOf(const RuleRow& row) {
  std::wstring text = kvx::platform::LoadResString(row.nameId);
  return text.empty() ? std::wstring(row.keyName) : text;
}

}  // namespace

CKVXCommonRuleBase::CKVXCommonRuleBase(KvxCommonRuleKind kind, const std::wstring& moduleDisplayName,
                                       const std::wstring& moduleKey, KVXRuleCategory_e category, int ruleId,
                                       KvxXMLNode* ruleNode)
    : m_kind(kind) {
  const RuleRow& row = RowOf(kind);
  m_csRuleName = row.keyName;
  m_csDisplayName = DisplayNameOf(row);
  m_csModuleName = moduleKey;
  m_iRuleId = ruleId;
  m_textList.push_back(moduleDisplayName);
  m_lRuleSeverity = row.severity;
  m_lRuleStatus = 0;
  SetRuleCategory(category);
  CKVXCommonRuleBase::InitializeParamStorage();
  if (ruleNode) CKVXCommonRuleBase::PopulateParametersFromXML(ruleNode);
}

CKVXCommonRuleBase::~CKVXCommonRuleBase() = default;

void CKVXCommonRuleBase::InitializeParamStorage() {
  ClearParameterArray();
  for (const ParamRow& row : RowOf(m_kind).params) {
    auto parameter = CreateParamStorageObject(KVX_TYPE_DOUBLE, row.id, row.limit.op, kPlainParameter, true, false);
    if (!parameter) continue;
    ApplyDefaults(*parameter, row, m_unitSystem);
    AddParameter(std::move(parameter));
  }
  RebuildSummary();
  m_bInitialized = true;
}

void CKVXCommonRuleBase::PopulateParametersFromXML(KvxXMLNode* node) {
  if (!node) return;
  const kvx::params::ModuleContextScope context(LibraryContext());
  const RuleUnitSystemStructure before = m_unitSystem;
  // The reader appends what it finds, so the lists are emptied first: reading the same node twice gives
  // the same values. A parameter the node does not carry gets its previous values back.
  std::vector<std::vector<double>> previous;
  for (const auto& parameter : m_paramArray) {
    std::vector<double>* values = kvx::params::DoubleValues(parameter.get());
    previous.push_back(values ? std::exchange(*values, {}) : std::vector<double>{});
  }
  kvx::module::ReadRuleRecord(this, node);

  for (size_t i = 0; i < m_paramArray.size(); ++i) {
    CKvxParamStorage& parameter = *m_paramArray[i];
    const ParamRow* row = ParamRowOf(RowOf(m_kind), parameter.lId);
    if (!row) continue;
    const auto conversion = ConversionOf(row->quantity, before, m_unitSystem);
    std::vector<double>* values = kvx::params::DoubleValues(&parameter);
    if (values && values->empty()) {
      *values = std::move(previous[i]);
      if (conversion) ConvertValues(parameter, *conversion);
    }
    // A kind the writer leaves out (0, 12) would drop the limit from the next save: every limit of these
    // rules is a plain one.
    if (!kvx::module::IsWrittenKind(parameter)) parameter.iParameterType = kPlainParameter;
    // The record states the units of its values; ranges and unit texts follow them.
    if (conversion) ConvertRange(parameter, *conversion);
    parameter.csUnit = UnitTextOf(*row, m_unitSystem);
  }
  RebuildSummary();
}

std::unique_ptr<KvxXMLNode> CKVXCommonRuleBase::GetXML() {
  RebuildSummary();
  const kvx::params::ModuleContextScope context(LibraryContext());
  return kvx::module::WriteRuleRecord(this);
}

void CKVXCommonRuleBase::UpdateRule(const RuleUnitSystemStructure* from, const RuleUnitSystemStructure* to) {
  if (!from || !to) return;
  for (const auto& parameter : m_paramArray) {
    const ParamRow* row = ParamRowOf(RowOf(m_kind), parameter->lId);
    if (!row) continue;
    if (const auto conversion = ConversionOf(row->quantity, *from, *to)) {
      ConvertValues(*parameter, *conversion);
      ConvertRange(*parameter, *conversion);
    }
    parameter->csUnit = UnitTextOf(*row, *to);
  }
  m_unitSystem = *to;
  RebuildSummary();
}

void CKVXCommonRuleBase::EditRule() {
  ConfigureRule(kvx::platform::Picture{});
  RebuildSummary();
}

void CKVXCommonRuleBase::RebuildSummary() {
  const RuleRow& row = RowOf(m_kind);
  std::vector<std::wstring> clauses;
  for (const ParamRow& parameterRow : row.params) {
    CKvxParamStorage* parameter = FindParameterInArray(parameterRow.id);
    clauses.push_back(parameter ? ClauseOf(parameter, parameterRow) : Text(kvx::res::kLimitNotSet));
  }
  m_csSummary = FillFormat(Text(row.summaryId), clauses);
}

std::unique_ptr<CKvxParamStorage> CKVXCommonRuleBase::NewParamStorage(Type_e valueType, long id, KvxOperator_e op,
                                                                      KvxParamType_e paramType, bool firstFlag,
                                                                      bool secondFlag) const {
  return kvx::params::MakeParamStorage(valueType, id, op, paramType, firstFlag, secondFlag);
}
