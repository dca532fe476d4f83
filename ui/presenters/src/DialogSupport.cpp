#include "kvx/ui/DialogSupport.h"

#include "kvx/framework/KvxRule.h"

#include "kvx/params/ValueUtils.h"

namespace kvx::ui {

IFileDialog::~IFileDialog() = default;

std::vector<std::wstring> SeverityChoices() { return kvx::params::SeverityNames(); }

int SeverityIndexOf(int severity) {
  return kvx::params::SeverityCodeToName(severity).empty() ? -1 : severity;
}

int SeverityOfIndex(const std::vector<std::wstring>& names, int index) {
  if (index < 0 || index >= static_cast<int>(names.size())) return -1;
  // The name, not the position, gives the code, as the combo box's text is what the user chose.
  return kvx::params::SeverityIndexToCode(kvx::params::SeverityNameToIndex(names[index]));
}

int ApplySeverityChoice(CKvxRule& rule, const std::vector<std::wstring>& names, int selected) {
  const int severity = SeverityOfIndex(names, selected);
  if (severity < 0) return SeverityIndexOf(rule.m_lRuleSeverity);
  rule.m_lRuleSeverity = severity;
  return selected;
}

std::wstring WithDecimalPoint(const std::wstring& text, const std::wstring& separator) {
  if (separator.empty() || separator == L"." || text.find(L'.') != std::wstring::npos) return text;
  std::wstring result = text;
  if (const size_t at = result.find(separator); at != std::wstring::npos) result.replace(at, separator.size(), L".");
  return result;
}

}  // namespace kvx::ui
