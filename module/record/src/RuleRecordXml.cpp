#include "kvx/module/RuleRecordXml.h"

#include <cwchar>

#include "kvx/framework/KvxRule.h"
#include "kvx/framework/KvxUiServices.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/params/ParamUtils.h"
#include "kvx/params/ResourceText.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Resources.h"
#include "kvx/res/StringIds.h"

namespace kvx::module {

namespace {

bool IsKnownValueType(const CKvxParamStorage& parameter) {
  const int type = parameter.GetValueType();
  return type >= KVX_TYPE_INT && type <= KVX_TYPE_STRING_LIST;
}

// Loaded from the localized library itself: the reader and the single-parameter writer run without the
// writer's resource switch, and the current library may then be none at all (an empty message box).
void ReportIllegalParameterType() {
  KvxMessageBox(kvx::params::LoadLocalizedString(kvx::res::kIllegalParameterDataType));
}

// Reads a "%ld" integer attribute; -1 when it is absent or does not parse.
int ReadIntAttribute(const KvxXMLNode& element, const wchar_t* name) {
  std::wstring text;
  element.GetAttributeValue(name, text);
  long value = 0;
  if (std::swscanf(text.c_str(), L"%ld", &value) != 1) return -1;
  return static_cast<int>(value);
}

std::wstring ReadTextAttribute(const KvxXMLNode& element, const wchar_t* name) {
  std::wstring text;
  element.GetAttributeValue(name, text);
  return text;
}

// Only what follows the last backslash is written; a value without one is written whole.
std::wstring FileNameAfterBackslash(const std::wstring& path) {
  const auto pos = path.find_last_of(L'\\');
  return pos == std::wstring::npos ? path : path.substr(pos + 1);
}
}  // namespace

bool IsWrittenKind(const CKvxParamStorage& parameter) {
  return parameter.iParameterType != 0 && parameter.iParameterType != 12;
}

std::unique_ptr<KvxXMLNode> WriteRuleParameter(CKvxRule* rule, int index) {
  if (!rule || index < 0 || index >= static_cast<int>(rule->Parameters().size())) return nullptr;
  CKvxParamStorage& parameter = *rule->Parameters()[static_cast<size_t>(index)];
  if (!IsKnownValueType(parameter)) {
    ReportIllegalParameterType();
    return nullptr;
  }
  return parameter.GetParameterXML();
}

std::unique_ptr<KvxXMLNode> WriteRuleRecord(CKvxRule* rule) {
  if (!rule) return nullptr;
  auto& module = kvx::params::Module();
  kvx::platform::ResourceScope resources(module.localizedResources);
  if (!module.xmlDocument) return nullptr;

  auto element = module.xmlDocument->CreateNode(L"Rule");
  element->AddAttribute(L"Name", rule->m_csRuleName);
  element->AddAttribute(L"Status", std::to_wstring(rule->m_lRuleStatus));
  element->AddAttribute(L"LifeStatus", std::to_wstring(rule->m_lLifeStatus));
  element->AddAttribute(L"Summary", rule->m_csSummary);
  element->AddAttribute(L"Module", rule->m_csModuleName);
  element->AddAttribute(L"RuleModule", rule->m_csRuleModule);
  element->AddAttribute(L"RuleModuleFileName", FileNameAfterBackslash(rule->m_csRuleModuleFile));
  element->AddAttribute(L"Severity", std::to_wstring(rule->m_lRuleSeverity));
  element->AddAttribute(L"RuleCategory", rule->m_csCategoryText);

  for (int i = 0; i < static_cast<int>(rule->Parameters().size()); ++i) {
    if (!IsWrittenKind(*rule->Parameters()[static_cast<size_t>(i)])) continue;
    if (auto child = WriteRuleParameter(rule, i)) element->AppendNode(child.get());
  }
  for (const auto& constraint : rule->Constraints()) {
    if (auto child = constraint->GetXMLNode(module.xmlDocument)) element->AppendNode(child.get());
  }
  return element;
}

void ReadRuleRecord(CKvxRule* rule, KvxXMLNode* element) {
  if (!rule || !element) return;
  // "Summary" and "RuleCategory" are written but not read, kept so: the rule keeps the texts its
  // constructor took from the resources, so a corrected translation also shows on saved rule sets.
  rule->m_csRuleName = ReadTextAttribute(*element, L"Name");
  rule->m_csModuleName = ReadTextAttribute(*element, L"Module");
  rule->m_csRuleModule = ReadTextAttribute(*element, L"RuleModule");
  rule->m_csRuleModuleFile = ReadTextAttribute(*element, L"RuleModuleFileName");
  rule->m_lRuleStatus = ReadIntAttribute(*element, L"Status");
  rule->m_lLifeStatus = ReadIntAttribute(*element, L"LifeStatus");
  rule->m_lRuleSeverity = ReadIntAttribute(*element, L"Severity");

  for (const auto& parameter : rule->Parameters()) {
    if (!IsKnownValueType(*parameter)) {
      ReportIllegalParameterType();
      return;
    }
    parameter->PopulateParameterFromXML(element);
  }

  // Constraints are matched by position, and only when the counts agree; otherwise all keep their defaults.
  const auto children = element->GetNodeList(L"Constraint");
  if (children->GetSize() == static_cast<int>(rule->Constraints().size())) {
    for (int i = 0; i < children->GetSize(); ++i) {
      rule->Constraints()[static_cast<size_t>(i)]->PopulateFromXML(children->GetItem(i).get());
    }
  }

  rule->m_unitSystem.iLengthUnit = kvx::params::ReadUnitFromDocument(element);
  rule->m_unitSystem.iAngleUnit = kvx::params::ReadAngularUnitFromDocument(element);
  rule->m_bPopulated = true;
  rule->PostPopulate();
}

void ReadRuleConstraints(CKvxRule* rule, KvxXMLNode* element) {
  if (!rule || !element) return;
  for (const auto& constraint : rule->Constraints()) constraint->PopulateFromXML(element);
}

}  // namespace kvx::module
