#include "kvx/framework/KvxConstraint.h"

#include <cwchar>

#include "kvx/framework/KvxXML.h"

CKVXConstraint::CKVXConstraint(int kind, std::wstring name, bool status)
    : csName(std::move(name)), iType(kind), bStatus(status) {}

CKVXConstraint::~CKVXConstraint() = default;

CKvxParamStorage* CKVXConstraint::FindParameterInArray(long id) const {
  for (const auto& parameter : m_params) {
    if (parameter->lId == id) return parameter.get();
  }
  return nullptr;
}

void CKVXConstraint::AddParameter(std::unique_ptr<CKvxParamStorage> parameter) {
  if (parameter) m_params.push_back(std::move(parameter));
}

std::unique_ptr<KvxXMLNode> CKVXConstraint::GetXMLNode(KvxXMLDocument* document) const {
  if (!document) return nullptr;
  auto node = document->CreateNode(L"Constraint");
  node->AddAttribute(L"Type", std::to_wstring(iType));
  node->AddAttribute(L"Value", csName);
  node->AddAttribute(L"Status", bStatus ? L"1" : L"0");
  for (const auto& parameter : m_params) {
    if (auto child = parameter->GetParameterXML()) node->AppendNode(child.get());
  }
  return node;
}

void CKVXConstraint::PopulateFromXML(KvxXMLNode* node) {
  if (!node) return;
  std::wstring text;
  if (node->GetAttributeValue(L"Type", text)) iType = static_cast<int>(std::wcstol(text.c_str(), nullptr, 10));
  if (node->GetAttributeValue(L"Value", text)) csName = text;
  if (node->GetAttributeValue(L"Status", text)) bStatus = text != L"0";
  for (const auto& parameter : m_params) parameter->PopulateParameterFromXML(node);
}
