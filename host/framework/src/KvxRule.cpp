#include "kvx/framework/KvxRule.h"

#include <cwchar>

#include "kvx/framework/KvxUiServices.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/platform/Text.h"

CKvxRule::CKvxRule() = default;
CKvxRule::~CKvxRule() = default;

void CKvxRule::InitializeParamStorage() { m_bInitialized = true; }

int CKvxRule::Execute(KVXICadSys* /*cad*/, KVXResultSet*& /*results*/) { return 0; }

void CKvxRule::PopulateParametersFromXML(KvxXMLNode* /*node*/) {}

std::unique_ptr<KvxXMLNode> CKvxRule::GetXML() { return nullptr; }

void CKvxRule::RunRule() {}

void CKvxRule::UpdateRule(const RuleUnitSystemStructure* /*from*/, const RuleUnitSystemStructure* to) {
  if (to) m_unitSystem = *to;
}

bool CKvxRule::UpdateRule(CKvxRule* /*other*/) { return true; }

void CKvxRule::EditRule() { ConfigureRule(kvx::platform::Picture{}); }

int CKvxRule::ConfigureRule(const kvx::platform::Picture& picture) {
  if (!m_pDialogService) {
    m_iLastDialogResult = KVX_DIALOG_UNAVAILABLE;
    KvxMessageBox(L"No rule dialog is available in this host; the rule was not changed.", L"Korvex",
                  KvxMessageIcon::Information);
    return KVX_IDCANCEL;
  }
  m_iLastDialogResult = m_pDialogService->ConfigureRule(*this, picture);
  return m_iLastDialogResult == KVX_IDOK ? KVX_IDOK : KVX_IDCANCEL;
}

void CKvxRule::SetDialogImageInfo(const std::wstring& /*info*/) {}

int CKvxRule::Import(KvxXMLDocument* /*document*/, KvxXMLNode* /*node*/, const CKvxData*& /*data*/,
                     KVXICadSys* /*cad*/, KVXResultSet*& /*results*/) {
  return 0;
}

CKvxRule& CKvxRule::operator=(CKvxRule* other) {
  if (!other || other == this) return *this;
  m_csRuleName = other->m_csRuleName;
  m_csDisplayName = other->m_csDisplayName;
  m_csSummary = other->m_csSummary;
  m_csModuleName = other->m_csModuleName;
  m_csCategoryText = other->m_csCategoryText;
  m_csRuleModule = other->m_csRuleModule;
  m_csRuleModuleFile = other->m_csRuleModuleFile;
  m_textList = other->m_textList;
  m_lRuleStatus = other->m_lRuleStatus;
  m_lRuleSeverity = other->m_lRuleSeverity;
  m_lLifeStatus = other->m_lLifeStatus;
  m_iRuleId = other->m_iRuleId;
  m_category = other->m_category;
  m_unitSystem = other->m_unitSystem;
  return *this;
}

CKvxParamStorage* CKvxRule::FindParameterInArray(long id) const {
  for (const auto& parameter : m_paramArray) {
    if (parameter->lId == id) return parameter.get();
  }
  return nullptr;
}

void CKvxRule::SetRuleStatusForAssemblyModel(int status) { m_lRuleStatus = status; }
bool CKvxRule::ValidateInputData() { return true; }
void CKvxRule::GetRequiredInputData() {}
void CKvxRule::SetInputData() {}
void CKvxRule::SetPreExecutionData() {}
int CKvxRule::GetRuleId() const { return m_iRuleId; }
bool CKvxRule::GetMaterialStatus() { return false; }
void CKvxRule::PostPopulate() {}
bool CKvxRule::GetCutterStatus() { return false; }
void CKvxRule::Heal() {}
bool CKvxRule::IsRuleParametric() { return false; }
bool CKvxRule::ValidateInputParameters() { return true; }

void CKvxRule::InitConstraints(KvxXMLNode* node, const std::vector<long>& ids) {
  if (!node) return;
  const auto list = node->GetNodeList(L"Constraint");
  for (int i = 0; i < list->GetSize(); ++i) {
    const auto constraintNode = list->GetItem(i);
    std::wstring kind, name, status;
    constraintNode->GetAttributeValue(L"Type", kind);
    constraintNode->GetAttributeValue(L"Value", name);
    constraintNode->GetAttributeValue(L"Status", status);
    auto constraint =
        CreateConstraintObject(static_cast<int>(std::wcstol(kind.c_str(), nullptr, 10)), name, status != L"0");
    for (long id : ids) {
      const CKvxParamStorage* model = FindParameterInArray(id);
      if (!model) continue;
      auto parameter = CreateParamStorageObject(model->GetValueType(), id, static_cast<KvxOperator_e>(model->iOperator),
                                                model->iParameterType, model->bFirstFlag, model->bSecondFlag);
      if (!parameter) continue;
      parameter->CopyDefinitionFrom(*model);
      constraint->AddParameter(std::move(parameter));
    }
    for (const auto& parameter : constraint->Parameters()) parameter->PopulateParameterFromXML(constraintNode.get());
    AddConstraint(std::move(constraint));
  }
}

std::vector<CKvxParamStorage*> CKvxRule::GetConstraintParameters(const std::wstring& name) const {
  std::vector<CKvxParamStorage*> parameters;
  for (const auto& constraint : m_constraintArray) {
    if (!kvx::platform::EqualsNoCase(constraint->csName, name)) continue;
    for (const auto& parameter : constraint->Parameters()) parameters.push_back(parameter.get());
    break;
  }
  return parameters;
}

CKvxParamStorage* CKvxRule::FindParameterInConstraintArray(const std::wstring& name, long id) const {
  for (const auto& constraint : m_constraintArray) {
    if (kvx::platform::EqualsNoCase(constraint->csName, name)) return constraint->FindParameterInArray(id);
  }
  return nullptr;
}

std::unique_ptr<CKvxParamStorage> CKvxRule::CreateParamStorageObject(Type_e valueType, long id, KvxOperator_e op,
                                                                     KvxParamType_e paramType, bool firstFlag,
                                                                     bool secondFlag) const {
  return NewParamStorage(valueType, id, op, paramType, firstFlag, secondFlag);
}

std::unique_ptr<CKVXConstraint> CKvxRule::CreateConstraintObject(int kind, const std::wstring& name,
                                                                 bool status) const {
  return std::make_unique<CKVXConstraint>(kind, name, status);
}

void CKvxRule::ClearConstraints() { m_constraintArray.clear(); }
void CKvxRule::ClearParameterArray() { m_paramArray.clear(); }

void CKvxRule::SetRuleCategory(KVXRuleCategory_e category) {
  m_category = category;
  m_csCategoryText = std::to_wstring(static_cast<int>(category));
}

void CKvxRule::AddParameter(std::unique_ptr<CKvxParamStorage> parameter) {
  if (parameter) m_paramArray.push_back(std::move(parameter));
}

void CKvxRule::AddConstraint(std::unique_ptr<CKVXConstraint> constraint) {
  if (constraint) m_constraintArray.push_back(std::move(constraint));
}

std::unique_ptr<CKvxParamStorage> CKvxRule::NewParamStorage(Type_e, long, KvxOperator_e, KvxParamType_e, bool,
                                                            bool) const {
  return nullptr;
}
