#pragma once
// Support of the dialog tests: a rule that needs no resource library (its parameters are made by hand with
// the module's typed storage, so every kind the generic dialog shows is there), a file dialog that answers
// with a file of data/, and a tolerance rule kept away from the user's material database.
#include <memory>
#include <optional>
#include <string>

#include "kvx/framework/KvxRule.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/platform/Text.h"
#include "kvx/rules/RecoMoldTolDatabase.h"
#include "kvx/ui/DialogSupport.h"

namespace kvx::test {

class HandMadeRule final : public CKvxRule {
 public:
  // `limits` double parameters: 100 ("Depth", "<" or "<=", 2.0, "H", unit "D"), 101 (a range 1.0 to 3.0 in
  // "mm", switched off), then 102, a text parameter.
  explicit HandMadeRule(int limits = 3) {
    m_csDisplayName = L"Hand-made rule";
    m_csRuleName = L"HandMadeRule";
    m_lRuleSeverity = 2;
    if (limits >= 1)
      Add(100, KVX_TYPE_DOUBLE, KVX_OP_LESS, {KVX_OP_LESS, KVX_OP_LESS_EQUAL}, {2.0}, L"Depth", L"H", L"D");
    if (limits >= 2) {
      Add(101, KVX_TYPE_DOUBLE, KVX_OP_RANGE, {KVX_OP_RANGE, KVX_OP_GREATER_EQUAL, KVX_OP_LESS_EQUAL}, {1.0, 3.0}, L"",
          L"T", L"mm");
      FindParameterInArray(101)->bStatus = false;
    }
    if (limits >= 3) Add(102, KVX_TYPE_STRING, KVX_OP_EQUAL, {}, {}, L"Note", L"", L"");
  }

  std::vector<double>& Values(long id) { return *FindParameterInArray(id)->GetDoubleValues(); }

 protected:
  std::unique_ptr<CKvxParamStorage> NewParamStorage(Type_e valueType, long id, KvxOperator_e op,
                                                    KvxParamType_e paramType, bool firstFlag,
                                                    bool secondFlag) const override {
    return kvx::params::MakeParamStorage(valueType, id, op, paramType, firstFlag, secondFlag);
  }

 private:
  void Add(long id, Type_e type, KvxOperator_e op, std::vector<long> options, std::vector<double> values,
           const std::wstring& name, const std::wstring& symbol, const std::wstring& unit) {
    auto parameter = CreateParamStorageObject(type, id, op, 1, true, false);
    parameter->operatorOptions = std::move(options);
    if (auto* stored = parameter->GetDoubleValues()) *stored = std::move(values);
    parameter->csName = name;
    parameter->csSymbol = symbol;
    parameter->csUnit = unit;
    AddParameter(std::move(parameter));
  }
};

// Answers the open-file question with `answer`, a file of tests/ui/data (an empty name: a cancel), and counts
// the questions.
class FakeFileDialog final : public kvx::ui::IFileDialog {
 public:
  std::optional<std::wstring> AskOpenFile(const std::wstring&, unsigned) override {
    ++asked;
    if (answer.empty()) return std::nullopt;
    return kvx::platform::Widen(std::string(KVX_SOURCE_DIR) + "/tests/ui/data/" + answer);
  }
  std::string answer;
  int asked = 0;
};

// While it lives, the tolerance rule finds no material database.
class NoMaterialDatabase {
 public:
  NoMaterialDatabase()
      : previous_(kvx::rules::SetToleranceCollectorSource([] { return kvx::rules::ToleranceCollector{}; })) {}
  ~NoMaterialDatabase() { kvx::rules::SetToleranceCollectorSource(previous_); }

 private:
  kvx::rules::ToleranceCollectorSource previous_;
};

}  // namespace kvx::test
