#include "kvx/rules/CKVXRecoMoldTolRule.h"

#include <cwchar>
#include <map>
#include <tuple>
#include <utility>

#include "kvx/framework/KvxUiServices.h"
#include "kvx/framework/KvxUnitConvertor.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/module/RuleRecordXml.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/params/ResourceText.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"
#include "kvx/res/PictureIds.h"
#include "kvx/res/StringIds.h"
#include "kvx/rules/RecoMoldTolDatabase.h"

namespace {

constexpr int kSeverity = 3;
constexpr int kRulePicture = kvx::res::kMouldingToleranceDialogPicture;
constexpr KvxParamType_e kColumnParamType = 1;
constexpr double kMissingValue = -1.0;

// The four columns of the table, in row order.
struct Column {
  long id;
  KvxOperator_e op;
  double ToleranceRow::*value;
};
constexpr Column kColumns[] = {
    {CKVXRecoMoldTolRule::kOverParam, KVX_OP_EQUAL, &ToleranceRow::dOver},
    {CKVXRecoMoldTolRule::kUptoParam, KVX_OP_LESS_EQUAL, &ToleranceRow::dUpto},
    {CKVXRecoMoldTolRule::kAValParam, KVX_OP_LESS_EQUAL, &ToleranceRow::dAVal},
    {CKVXRecoMoldTolRule::kBValParam, KVX_OP_LESS_EQUAL, &ToleranceRow::dBVal},
};

// Material name -> its rows, ordered by the names' characters (case-sensitive).
using MaterialTolerances = std::map<std::wstring, std::vector<ToleranceRow>>;

std::vector<double>* ColumnValues(const CKVXConstraint& constraint, long id) {
  return kvx::params::DoubleValues(constraint.FindParameterInArray(id));
}

std::wstring FieldOrEmpty(const std::vector<std::wstring>& fields, size_t index) {
  return index < fields.size() ? fields[index] : std::wstring();
}

// The database marks a band without a lower bound with -1. The decimal reader ignores signs, so the mark is
// recognised on the field's text.
bool IsOverMissing(const std::wstring& overText) {
  const auto first = overText.find_first_not_of(L" \t");
  if (first == std::wstring::npos) return true;
  wchar_t* end = nullptr;
  const double value = std::wcstod(overText.c_str() + first, &end);
  return end != overText.c_str() + first && value == kMissingValue;
}

bool IsIgnoredMaterial(const std::wstring& material) {
  return material.empty() || kvx::platform::EqualsNoCase(material, L"-1");
}

bool IsDefaultMaterial(const std::wstring& material) { return kvx::platform::EqualsNoCase(material, L"AISI_304"); }

// Records "material,over,upto,a,b" joined by ";", grouped by material with their rows in record order.
MaterialTolerances GroupToleranceRecords(const std::wstring& table) {
  MaterialTolerances materialTolerances;
  std::vector<std::wstring> records;
  kvx::params::SplitText(table, L";", records);
  for (const std::wstring& record : records) {
    std::vector<std::wstring> fields;
    kvx::params::SplitText(record, L",", fields);
    const std::wstring material = FieldOrEmpty(fields, 0);
    if (IsIgnoredMaterial(material)) continue;
    const std::wstring overText = FieldOrEmpty(fields, 1);
    const ToleranceRow row{kvx::params::ToDouble(overText), kvx::params::ToDouble(FieldOrEmpty(fields, 2)),
                           kvx::params::ToDouble(FieldOrEmpty(fields, 3)),
                           kvx::params::ToDouble(FieldOrEmpty(fields, 4))};
    const bool overMissing = IsOverMissing(overText);
    if (overMissing) KvxMessageBox(L"Over is empty");

    const auto known = materialTolerances.find(material);
    if (known == materialTolerances.end()) {
      materialTolerances[material] = overMissing ? std::vector<ToleranceRow>{} : std::vector<ToleranceRow>{row};
      continue;
    }
    // Kept as it is: only a material's first row is dropped when its Over is missing, a later row is kept.
    // Tables stored from such databases were read this way and must come out the same.
    known->second.push_back(row);
  }
  return materialTolerances;
}

// Writes row i into element i of each column, overwriting an existing element or appending.
void FillColumns(const CKVXConstraint& constraint, const std::vector<ToleranceRow>& rows) {
  for (const Column& column : kColumns) {
    std::vector<double>* values = ColumnValues(constraint, column.id);
    if (!values) continue;
    for (size_t i = 0; i < rows.size(); ++i) {
      const double value = rows[i].*column.value;
      if (i < values->size()) (*values)[i] = value;
      else values->push_back(value);
    }
  }
}

}  // namespace

CKVXRecoMoldTolRule::CKVXRecoMoldTolRule(KvxXMLNode* ruleNode) {
  const auto& module = kvx::params::Module();
  kvx::platform::ResourceScope resources(module.localizedResources);
  if (module.applicationPresent) {
    m_csDisplayName = kvx::params::LoadLocalizedString(kvx::res::kMouldingToleranceRuleName);
    m_csRuleName = kvx::params::LoadDefaultString(kvx::res::kMouldingToleranceRuleName);
    m_csSummary = kvx::params::FormatText(kvx::params::LoadLocalizedString(kvx::res::kMouldingToleranceSummary));
    m_csModuleName = kvx::rules::kModuleKey;
    m_textList.push_back(kvx::params::LoadLocalizedString(kvx::res::kRuleModuleName));
    m_iRuleId = kRuleId;
    m_lRuleSeverity = kSeverity;
    m_lRuleStatus = 0;
    SetRuleCategory(KVX_CATEGORY_INJECTION_MOULDING);
  }
  if (ruleNode) ReadConstraintsFromXML(ruleNode);
  else InitializeParamStorage();
  // The summary is loaded a second time; the text is the same, so this is harmless and left in place.
  if (module.applicationPresent) {
    m_csSummary = kvx::params::FormatText(kvx::params::LoadLocalizedString(kvx::res::kMouldingToleranceSummary));
  }
}

CKVXRecoMoldTolRule::~CKVXRecoMoldTolRule() = default;

void CKVXRecoMoldTolRule::InitializeParamStorage() {
  const auto& module = kvx::params::Module();
  if (!module.applicationPresent) return;
  kvx::platform::ResourceScope resources(module.localizedResources);
  const std::wstring table = kvx::rules::QueryToleranceTableText();
  if (table.empty()) return;

  bool firstMaterial = true;
  for (const auto& [material, rows] : GroupToleranceRecords(table)) {
    CKVXConstraint* constraint = AddMaterialConstraint(material, IsDefaultMaterial(material), rows);
    // The first material in name order carries the constraint's second flag; the framework reads it.
    if (constraint && firstMaterial) constraint->bSecondFlag = true;
    firstMaterial = false;
  }
  m_bInitialized = true;
}

int CKVXRecoMoldTolRule::Execute(KVXICadSys* /*cad*/, KVXResultSet*& /*results*/) { return 0; }

void CKVXRecoMoldTolRule::ReadConstraintsFromXML(KvxXMLNode* node) {
  const auto children = node->GetNodeList(L"Constraint");
  for (int i = 0; i < children->GetSize(); ++i) {
    const auto child = children->GetItem(i);
    std::wstring kind, material, status;
    const bool hasKind = child->GetAttributeValue(L"Type", kind);
    const bool hasMaterial = child->GetAttributeValue(L"Value", material);
    const bool statusRead = child->GetAttributeValue(L"Status", status);
    if (!hasKind || !hasMaterial || !statusRead) continue;
    // Kept as it is: the status and the first flag are whether "Status" could be read, not what it says,
    // and the "Type" text is not used, so every material of a rule record starts active. Rule sets in use
    // were saved and reloaded this way.
    AddMaterialConstraint(material, statusRead, {}, statusRead);
  }
  m_bInitialized = true;
}

void CKVXRecoMoldTolRule::PopulateParametersFromXML(KvxXMLNode* node) {
  if (!node) return;
  kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);
  if (m_bKeepDefaultConstraints) {
    ClearConstraints();
    ReadConstraintsFromXML(node);
  }
  for (const auto& constraint : m_constraintArray) {
    if (!HasAllColumns(*constraint)) continue;
    for (const Column& column : kColumns) constraint->FindParameterInArray(column.id)->SetValueCount(0);
  }

  // The record reader lets each constraint take "Type" and "Status" from its element as well; the table's
  // constraints keep the kind and status they were given above (see ReadConstraintsFromXML).
  std::vector<std::pair<int, bool>> kept;
  for (const auto& constraint : m_constraintArray) kept.emplace_back(constraint->iType, constraint->bStatus);
  kvx::module::ReadRuleRecord(this, node);
  for (size_t i = 0; i < kept.size() && i < m_constraintArray.size(); ++i) {
    std::tie(m_constraintArray[i]->iType, m_constraintArray[i]->bStatus) = kept[i];
  }
}

std::unique_ptr<KvxXMLNode> CKVXRecoMoldTolRule::GetXML() { return kvx::module::WriteRuleRecord(this); }

void CKVXRecoMoldTolRule::RunRule() {
  // Deliberately empty: the rule carries a table and checks no model shape.
}

void CKVXRecoMoldTolRule::UpdateRule(const RuleUnitSystemStructure* from, const RuleUnitSystemStructure* to) {
  if (!from || !to) return;
  m_unitSystem = *to;
  if (from->iLengthUnit == to->iLengthUnit) return;
  for (const auto& constraint : m_constraintArray) {
    if (!HasAllColumns(*constraint)) continue;
    // All four columns are converted as lengths, the coefficients A and B included: they are tolerances
    // given in the table's length unit.
    for (const Column& column : kColumns) {
      for (double& value : *ColumnValues(*constraint, column.id)) {
        value = CKVXUnitConvertor::ConversionFromOneUnitToAnother(value, KVX_QUANTITY_LENGTH, from->iLengthUnit,
                                                                  to->iLengthUnit);
      }
    }
  }
}

bool CKVXRecoMoldTolRule::UpdateRule(CKvxRule* /*other*/) {
  // Deliberately copies nothing: the table belongs to this rule.
  return true;
}

void CKVXRecoMoldTolRule::EditRule() {
  const auto& module = kvx::params::Module();
  if (!module.applicationPresent) return;
  kvx::platform::ResourceScope resources(module.localizedResources);
  // The rule's dialog service (the module's dialog library) opens the tolerance table dialog for it.
  ConfigureRule(kvx::platform::LoadResPicture(kRulePicture));
}

int CKVXRecoMoldTolRule::Import(KvxXMLDocument* /*document*/, KvxXMLNode* /*node*/, const CKvxData*& /*data*/,
                                KVXICadSys* /*cad*/, KVXResultSet*& /*results*/) {
  // Deliberately refuses: a tolerance table is not imported from a model.
  return -3;
}

bool CKVXRecoMoldTolRule::GetMaterialStatus() { return false; }

CKVXConstraint* CKVXRecoMoldTolRule::AddMaterialConstraint(const std::wstring& material, bool status,
                                                           const std::vector<ToleranceRow>& rows, bool firstFlag) {
  auto constraint = CreateConstraintObject(kMaterialConstraintKind, material, status);
  if (!constraint) return nullptr;
  for (const Column& column : kColumns) {
    auto parameter =
        CreateParamStorageObject(KVX_TYPE_DOUBLE, column.id, column.op, kColumnParamType, firstFlag, false);
    if (!parameter) return nullptr;
    constraint->AddParameter(std::move(parameter));
  }
  FillColumns(*constraint, rows);
  CKVXConstraint* added = constraint.get();
  AddConstraint(std::move(constraint));
  return added;
}

std::vector<ToleranceRow> CKVXRecoMoldTolRule::RowsOf(const CKVXConstraint& constraint) {
  std::vector<ToleranceRow> rows;
  const std::vector<double>* over = ColumnValues(constraint, kOverParam);
  if (!over) return rows;
  rows.resize(over->size(), ToleranceRow{kMissingValue, kMissingValue, kMissingValue, kMissingValue});
  for (const Column& column : kColumns) {
    const std::vector<double>* values = ColumnValues(constraint, column.id);
    if (!values) continue;
    for (size_t i = 0; i < rows.size() && i < values->size(); ++i) rows[i].*column.value = (*values)[i];
  }
  return rows;
}

bool CKVXRecoMoldTolRule::HasAllColumns(const CKVXConstraint& constraint) {
  for (const Column& column : kColumns) {
    if (!ColumnValues(constraint, column.id)) return false;
  }
  return true;
}
