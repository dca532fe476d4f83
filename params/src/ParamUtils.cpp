#include "kvx/params/ParamUtils.h"

#include <cstdlib>

#include "kvx/framework/KvxParamStorage.h"
#include "kvx/framework/KvxUiServices.h"
#include "kvx/framework/KvxUnitConvertor.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/params/ResourceText.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Environment.h"
#include "kvx/platform/Text.h"
#include "kvx/res/StringIds.h"

namespace kvx::params {

namespace {
int ReadParentCode(const KvxXMLNode* node, const wchar_t* attribute) {
  if (!node) return 0;
  const auto parent = node->GetParentNode();
  if (!parent) return 0;
  std::wstring text;
  parent->GetAttributeValue(attribute, text);
  // The narrow integer conversion of the first character only: "12" reads as 1. Kept, the codes are digits.
  const std::string first = kvx::platform::Narrow(text.substr(0, 1));
  return std::atoi(first.c_str());
}
}  // namespace

void NormaliseLegacyValues(CKvxParamStorage* parameter) {
  std::vector<double>* values = parameter ? parameter->GetDoubleValues() : nullptr;
  if (!values || (values->size() != 2 && values->size() != 3)) return;
  parameter->bStatus = values->front() == 1.0;
  values->erase(values->begin());
}

int ReadUnitFromDocument(const KvxXMLNode* node) { return ReadParentCode(node, L"Unit"); }

int ReadAngularUnitFromDocument(const KvxXMLNode* node) { return ReadParentCode(node, L"AngularUnit"); }

void ConvertRangeLimits(CKvxParamStorage* parameter, int kind, int fromUnit, int toUnit) {
  if (!parameter) return;
  parameter->dRangeMin = CKVXUnitConvertor::ConversionFromOneUnitToAnother(parameter->dRangeMin, kind, fromUnit, toUnit);
  parameter->dRangeMax = CKVXUnitConvertor::ConversionFromOneUnitToAnother(parameter->dRangeMax, kind, fromUnit, toUnit);
}

bool CheckDatabaseDirectory(bool report) {
  // The check exists to tell the user; unasked it does nothing, since the directory probe creates folders.
  if (!report) return false;
  std::wstring folder = kvx::platform::GetEnvWide(L"KORVEX_DATABASE_DIR").value_or(std::wstring());
  while (!folder.empty() && folder.back() == L'\\') folder.pop_back();
  const bool usable = IsDirectoryUsable(folder) && IsFileWritable(folder);
  const int message = usable ? kvx::res::kDatabaseDirUsable : kvx::res::kDatabaseDirNotUsable;
  KvxMessageBox(LoadLocalizedString(message), L"Korvex", KvxMessageIcon::Exclamation);
  return usable;
}

}  // namespace kvx::params
