#pragma once
// The frame every rule class of this module is built on: construction, default parameters and the
// default constraint, reading from and writing to XML, unit changes, editing and the summary. A rule class
// passes its RuleDefinition to the constructor and adds nothing else (an editor of its own at most).
#include <memory>
#include <vector>

#include "kvx/platform/Resources.h"
#include "kvx/rules/KVXIMRuleBase.h"
#include "kvx/rules/KVXIMRuleDefinition.h"

class CKVXIMRuleFrame : public CKVXIMRuleBase {
 public:
  ~CKVXIMRuleFrame() override;

  // Creates the parameters with their defaults (and the default constraint); nothing without the
  // application object.
  void InitializeParamStorage() override;
  // Checks run in the host; returns the rule's fixed result (0 or -3).
  int Execute(KVXICadSys* cad, KVXResultSet*& results) override;
  // Reads the rule from its "Rule" element; nothing is read while the rule lacks one of its parameters.
  void PopulateParametersFromXML(KvxXMLNode* node) override;
  // The rule record (null without a document); the summary is rebuilt after it is written.
  std::unique_ptr<KvxXMLNode> GetXML() override;
  // Checks run in the host; does nothing.
  void RunRule() override;
  // Converts the values the rule's definition says from `from` to `to`; null arguments change nothing.
  void UpdateRule(const RuleUnitSystemStructure* from, const RuleUnitSystemStructure* to) override;
  // Copies nothing; always true.
  bool UpdateRule(CKvxRule* other) override;
  // Opens the rule's editor and rebuilds the summary whatever the editor answers; nothing without the
  // application object.
  void EditRule() override;
  // Does nothing; returns 0.
  int Import(KvxXMLDocument* document, KvxXMLNode* node, const CKvxData*& data, KVXICadSys* cad,
             KVXResultSet*& results) override;
  // Stores `status` as the framework does, unless the rule keeps its status for assembly models.
  void SetRuleStatusForAssemblyModel(int status) override;
  // The material workflow switch for the rules that take part in it; the framework's answer otherwise.
  bool GetMaterialStatus() override;

  // Rebuilds the summary from the current values; keeps the old one where the definition says so.
  void BuildSummary();
  // The description the rule was built from; never fails.
  const kvx::rules::RuleDefinition& Definition() const { return m_definition; }

 protected:
  // Sets the identity from the resource libraries (when the application object exists), then calls
  // InitializeParamStorage. `definition` must outlive the rule.
  explicit CKVXIMRuleFrame(const kvx::rules::RuleDefinition& definition);

  // Opens the rule's editor with its picture and returns KVX_IDOK or KVX_IDCANCEL. The framework's rule
  // dialog by default; a rule with a dialog of its own overrides this.
  virtual int OpenEditor(const kvx::platform::Picture& picture);

 private:
  struct SlotTexts;

  // --- parameters and constraints ---
  std::unique_ptr<CKvxParamStorage> CreateParameter(const kvx::rules::ParameterDefinition& definition) const;
  void SetDefaults(CKvxParamStorage* parameter, const kvx::rules::ParameterDefinition& definition) const;
  void AddDefaultConstraint();
  // The rule's parameters in definition order; null where one is missing.
  std::vector<CKvxParamStorage*> OwnParameters() const;
  bool HasAllParameters() const;
  std::vector<long> ParameterIds() const;
  const kvx::rules::ParameterDefinition* ParameterDefinitionOf(long id) const;
  bool UsesMaterialWorkflow() const;
  bool AllConstraintsComplete() const;
  void ReloadConstraints(KvxXMLNode* node);
  std::wstring UnitText(kvx::rules::UnitKind kind) const;
  void RefreshUnitTexts();
  void KeepLimitsThatWereRead();

  // --- summary ---
  bool FillFromOwnParameters(std::vector<SlotTexts>& texts);
  bool FillFromDefaultConstraints(std::vector<SlotTexts>& texts);
  void Take(SlotTexts& texts, CKvxParamStorage& parameter) const;
  std::wstring ComposeSummary(const std::vector<SlotTexts>& texts) const;
  std::vector<std::wstring> SlotArguments(size_t slot, const SlotTexts& texts) const;

  // --- unit changes ---
  bool ConvertValues(kvx::rules::UnitKind kind, const RuleUnitSystemStructure& from,
                     const RuleUnitSystemStructure& to);
  void ConvertParameter(CKvxParamStorage* parameter, bool values, kvx::rules::UnitKind kind,
                        const RuleUnitSystemStructure& from, const RuleUnitSystemStructure& to) const;

  const kvx::rules::RuleDefinition& m_definition;
};
