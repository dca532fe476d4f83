#include "kvx/ui/MinRibClearanceDlg.h"

#include "kvx/framework/KvxRule.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/params/ResourceText.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/res/StringIds.h"
#include "kvx/ui/DialogSupport.h"

namespace kvx::ui {

namespace {
constexpr int kOperatorCodes[] = {KVX_OP_GREATER, KVX_OP_GREATER_EQUAL};

int IndexOfText(const std::vector<std::wstring>& texts, const std::wstring& text) {
  for (size_t i = 0; i < texts.size(); ++i) {
    if (texts[i] == text) return static_cast<int>(i);
  }
  return -1;
}
}  // namespace

IMinRibClearanceDlgView::~IMinRibClearanceDlgView() = default;

CKVXIMMinRibClearanceDlg::CKVXIMMinRibClearanceDlg(CKvxRule* rule, kvx::platform::Picture picture,
                                                   std::wstring decimalSeparator)
    : rule_(rule), picture_(std::move(picture)), decimalSeparator_(std::move(decimalSeparator)) {}

void CKVXIMMinRibClearanceDlg::Open() {
  if (!rule_) return;
  kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);
  title_ = rule_->m_csDisplayName;
  valueLabel_ = kvx::params::LoadLocalizedString(kvx::res::kRibClearanceParam);
  severityLabel_ = kvx::params::LoadLocalizedString(kvx::res::kSeverityLabel);
  operatorTexts_.clear();
  for (int code : kOperatorCodes) operatorTexts_.push_back(kvx::params::OperatorToText(code));
  severityNames_ = SeverityChoices();

  CKvxParamStorage* parameter = rule_->FindParameterInArray(kClearanceParameter);
  if (!parameter) return;
  selectedOperator_ = IndexOfText(operatorTexts_, kvx::params::OperatorToText(parameter->iOperator));
  const std::vector<double>* values = kvx::params::DoubleValues(parameter);
  valueText_ = values && !values->empty() ? kvx::params::DoubleToShortText((*values)[0]) : std::wstring();
  selectedSeverity_ = SeverityIndexOf(rule_->m_lRuleSeverity);
  if (view_) {
    view_->ShowOperator(selectedOperator_);
    view_->ShowSeverity(selectedSeverity_);
  }
}

void CKVXIMMinRibClearanceDlg::SelectOperator(int index) {
  if (index >= -1 && index < static_cast<int>(operatorTexts_.size())) selectedOperator_ = index;
}

void CKVXIMMinRibClearanceDlg::SelectSeverity(int index) {
  if (index >= -1 && index < static_cast<int>(severityNames_.size())) selectedSeverity_ = index;
}

bool CKVXIMMinRibClearanceDlg::AcceptsValueText(const std::wstring& text, const std::wstring& decimalSeparator) {
  return kvx::params::IsNumeric(WithDecimalPoint(text, decimalSeparator));
}

void CKVXIMMinRibClearanceDlg::SetValueText(const std::wstring& text) {
  valueText_ = WithDecimalPoint(text, decimalSeparator_);
}

void CKVXIMMinRibClearanceDlg::OnOK() {
  if (!rule_) return;
  CKvxParamStorage* parameter = rule_->FindParameterInArray(kClearanceParameter);
  if (!parameter) return;
  kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);

  const int shown = ApplySeverityChoice(*rule_, severityNames_, selectedSeverity_);
  if (shown != selectedSeverity_) {
    selectedSeverity_ = shown;
    if (view_) view_->ShowSeverity(selectedSeverity_);
  }

  if (selectedOperator_ >= 0) {
    parameter->iOperator = kvx::params::TextToOperator(operatorTexts_[selectedOperator_]);
  } else {
    selectedOperator_ = IndexOfText(operatorTexts_, kvx::params::OperatorToText(parameter->iOperator));
    if (view_) view_->ShowOperator(selectedOperator_);
  }

  if (std::vector<double>* values = kvx::params::DoubleValues(parameter)) {
    const double value = kvx::params::ToDouble(valueText_);
    if (values->empty()) values->push_back(value);
    else (*values)[0] = value;
  }
}

}  // namespace kvx::ui
