// The rule frame: identity, parameters and their defaults, the default constraint, XML, editing.
// The summary is built in KVXIMRuleSummary.cpp, unit changes are in KVXIMRuleUnits.cpp.
#include "kvx/rules/KVXIMRuleFrame.h"

#include <algorithm>

#include "RuleFormat.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/module/RuleRecordXml.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/params/ResourceText.h"
#include "kvx/params/TypedParamStorage.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/res/StringIds.h"

using kvx::params::Module;
using kvx::platform::LoadResString;
using kvx::platform::ResourceScope;
using kvx::rules::ParameterDefinition;
using kvx::rules::UnitKind;

namespace {
// The framework's constraint kind for a material entry.
constexpr int kMaterialConstraintKind = 1;

// Overwrites the leading elements of `target` with `source` and appends what does not fit yet.
template <typename T>
void OverwriteOrAppend(std::vector<T>& target, const std::vector<T>& source) {
  for (size_t i = 0; i < source.size(); ++i) {
    if (i < target.size()) {
      target[i] = source[i];
    } else {
      target.push_back(source[i]);
    }
  }
}

std::vector<std::wstring> EmptyTexts(int count) { return std::vector<std::wstring>(static_cast<size_t>(count)); }

void EmptyValueList(CKvxParamStorage* parameter) {
  if (parameter) parameter->SetValueCount(0);
}

void KeepLimit(CKvxParamStorage* parameter, const ParameterDefinition& definition) {
  std::vector<double>* values = kvx::params::DoubleValues(parameter);
  if (!values) return;
  if (values->empty()) *values = definition.defaults;
  if (!kvx::module::IsWrittenKind(*parameter)) parameter->iParameterType = definition.parameterType;
  if (!kvx::params::WritingDropsRange(parameter->iOperator, values->size())) return;
  const double last = values->back();
  const double upper = definition.defaults.size() > 1 ? definition.defaults[1] : last;
  values->push_back(std::max(last, upper));
}

// The summary a new rule shows until its first build: the format filled with empty texts, or as it stands.
std::wstring PlaceholderSummary(const kvx::rules::RuleDefinition& definition) {
  if (definition.placeholderFormat == 0) return {};
  const std::wstring format = LoadResString(definition.placeholderFormat);
  if (definition.placeholderArguments < 0) return format;
  return kvx::rules::FillFormat(format, EmptyTexts(definition.placeholderArguments));
}
}  // namespace

CKVXIMRuleFrame::CKVXIMRuleFrame(const kvx::rules::RuleDefinition& definition) : m_definition(definition) {
  if (Module().applicationPresent) {
    ResourceScope resources(Module().localizedResources);
    m_csDisplayName = LoadResString(definition.nameId);
    m_csRuleName = kvx::params::LoadDefaultString(definition.keyNameId);
    m_csSummary = PlaceholderSummary(definition);
    m_csModuleName = kvx::rules::kModuleKey;
    m_iRuleId = definition.ruleId;
    m_textList.push_back(LoadResString(kvx::res::kRuleModuleName));
    m_lRuleSeverity = definition.severity;
    m_lRuleStatus = 0;
    SetRuleCategory(KVX_CATEGORY_INJECTION_MOULDING);
  }
  // No rule class overrides InitializeParamStorage, so the call reaches the frame's own even here.
  InitializeParamStorage();
}

CKVXIMRuleFrame::~CKVXIMRuleFrame() = default;

// --- parameters and constraints ---------------------------------------------------------------------

std::unique_ptr<CKvxParamStorage> CKVXIMRuleFrame::CreateParameter(const ParameterDefinition& definition) const {
  return CreateParamStorageObject(KVX_TYPE_DOUBLE, definition.id, definition.op, definition.parameterType,
                                  definition.firstFlag, false);
}

void CKVXIMRuleFrame::SetDefaults(CKvxParamStorage* parameter, const ParameterDefinition& definition) const {
  std::vector<double>* values = kvx::params::DoubleValues(parameter);
  if (!values) return;
  OverwriteOrAppend(*values, definition.defaults);
  if (definition.valueOnly) return;
  OverwriteOrAppend(parameter->operatorOptions, definition.operatorOptions);
  parameter->iDisplay = 1;
  parameter->dSecondField = definition.secondField;
  parameter->csSymbol = definition.symbol;
  parameter->csUnit = definition.unit == UnitKind::None ? definition.fixedUnit : UnitText(definition.unit);
  if (definition.nameId != 0) parameter->csName = LoadResString(definition.nameId);
}

void CKVXIMRuleFrame::InitializeParamStorage() {
  if (!Module().applicationPresent) return;
  ResourceScope resources(Module().localizedResources);
  for (const auto& definition : m_definition.parameters) AddParameter(CreateParameter(definition));
  for (const auto& definition : m_definition.parameters) SetDefaults(FindParameterInArray(definition.id), definition);
  if (UsesMaterialWorkflow()) AddDefaultConstraint();
  if (m_definition.summaryOnInitialise) BuildSummary();
  m_bInitialized = true;
}

// The material entry "Default" with its own copy of the default parameters; all or nothing.
void CKVXIMRuleFrame::AddDefaultConstraint() {
  auto constraint =
      CreateConstraintObject(kMaterialConstraintKind, LoadResString(kvx::res::kDefaultConstraintName), false);
  if (!constraint) return;
  for (const auto& definition : m_definition.parameters) {
    auto parameter = CreateParameter(definition);
    if (!parameter) return;
    SetDefaults(parameter.get(), definition);
    constraint->AddParameter(std::move(parameter));
  }
  AddConstraint(std::move(constraint));
}

std::vector<CKvxParamStorage*> CKVXIMRuleFrame::OwnParameters() const {
  std::vector<CKvxParamStorage*> parameters;
  for (const auto& definition : m_definition.parameters) parameters.push_back(FindParameterInArray(definition.id));
  return parameters;
}

bool CKVXIMRuleFrame::HasAllParameters() const {
  const auto parameters = OwnParameters();
  return std::ranges::none_of(parameters, [](const CKvxParamStorage* p) { return p == nullptr; });
}

std::vector<long> CKVXIMRuleFrame::ParameterIds() const {
  std::vector<long> ids;
  for (const auto& definition : m_definition.parameters) ids.push_back(definition.id);
  return ids;
}

const ParameterDefinition* CKVXIMRuleFrame::ParameterDefinitionOf(long id) const {
  for (const auto& definition : m_definition.parameters) {
    if (definition.id == id) return &definition;
  }
  return nullptr;
}

bool CKVXIMRuleFrame::UsesMaterialWorkflow() const {
  return m_definition.materialWorkflow && Module().materialWorkflow;
}

bool CKVXIMRuleFrame::AllConstraintsComplete() const {
  return std::ranges::all_of(m_constraintArray, [this](const auto& constraint) {
    return std::ranges::all_of(m_definition.parameters, [&](const ParameterDefinition& definition) {
      return constraint->FindParameterInArray(definition.id) != nullptr;
    });
  });
}

std::wstring CKVXIMRuleFrame::UnitText(UnitKind kind) const {
  switch (kind) {
    case UnitKind::Length: return kvx::params::LengthUnitText(m_unitSystem.iLengthUnit);
    case UnitKind::Angle: return kvx::params::AngleUnitText(m_unitSystem.iAngleUnit);
    case UnitKind::None: break;
  }
  return {};
}

// Unit texts are not part of the parameter XML: they follow the units the record was read in, for the
// material entries too (they copied their texts from the rule's own before the units were read).
void CKVXIMRuleFrame::RefreshUnitTexts() {
  for (const auto& definition : m_definition.parameters) {
    if (definition.unit == UnitKind::None) continue;
    if (CKvxParamStorage* parameter = FindParameterInArray(definition.id)) {
      parameter->csUnit = UnitText(definition.unit);
    }
    for (const auto& constraint : m_constraintArray) {
      if (CKvxParamStorage* parameter = constraint->FindParameterInArray(definition.id)) {
        parameter->csUnit = UnitText(definition.unit);
      }
    }
  }
}

// --- XML ---------------------------------------------------------------------------------------------

void CKVXIMRuleFrame::PopulateParametersFromXML(KvxXMLNode* node) {
  ResourceScope resources(Module().localizedResources);
  const bool workflow = UsesMaterialWorkflow();
  if (workflow && m_bKeepDefaultConstraints) {
    ClearConstraints();
    ClearParameterArray();
    InitializeParamStorage();
  }
  if (!HasAllParameters()) return;
  // Checked before anything is emptied, so that such a record leaves the rule exactly as it was.
  if (workflow && m_definition.stopOnIncompleteConstraint && !AllConstraintsComplete()) return;
  for (CKvxParamStorage* parameter : OwnParameters()) EmptyValueList(parameter);
  if (workflow) ReloadConstraints(node);
  kvx::module::ReadRuleRecord(this, node);
  KeepLimitsThatWereRead();
  RefreshUnitTexts();
  BuildSummary();
}

void CKVXIMRuleFrame::ReloadConstraints(KvxXMLNode* node) {
  for (const auto& constraint : m_constraintArray) {
    std::vector<CKvxParamStorage*> parameters;
    for (long id : ParameterIds()) parameters.push_back(constraint->FindParameterInArray(id));
    if (std::ranges::find(parameters, nullptr) != parameters.end()) continue;
    for (CKvxParamStorage* parameter : parameters) EmptyValueList(parameter);
  }
  if (m_bKeepDefaultConstraints) return;
  ClearConstraints();
  InitConstraints(node, ParameterIds());
  // The rule record reads the constraints again right after this (one per "Constraint" element, so the
  // counts always agree): start their value lists empty so that every value is read once.
  for (const auto& constraint : m_constraintArray) {
    for (const auto& parameter : constraint->Parameters()) EmptyValueList(parameter.get());
  }
}

// A record may lack a parameter's element, hold a range with one value or a parameter without its
// "ParameterType": each would make the next save leave the limit out (empty lists, ranges of an odd count
// and kind 0 are not written). The limit is kept instead: the factory value where none was read, the
// rule's own kind, and a range completed by its factory upper value.
void CKVXIMRuleFrame::KeepLimitsThatWereRead() {
  for (const auto& definition : m_definition.parameters) {
    KeepLimit(FindParameterInArray(definition.id), definition);
    for (const auto& constraint : m_constraintArray) {
      KeepLimit(constraint->FindParameterInArray(definition.id), definition);
    }
  }
}

std::unique_ptr<KvxXMLNode> CKVXIMRuleFrame::GetXML() {
  // Written first, rebuilt after: the XML carries the summary as it stood before the call.
  auto node = kvx::module::WriteRuleRecord(this);
  BuildSummary();
  return node;
}

// --- editing and the slots that do nothing -------------------------------------------------------------

void CKVXIMRuleFrame::EditRule() {
  if (!Module().applicationPresent) return;
  ResourceScope resources(Module().localizedResources);
  const kvx::platform::Picture picture =
      m_definition.pictureId != 0 ? kvx::platform::LoadResPicture(m_definition.pictureId) : kvx::platform::Picture{};
  OpenEditor(picture);
  BuildSummary();
}

int CKVXIMRuleFrame::OpenEditor(const kvx::platform::Picture& picture) { return ConfigureRule(picture); }

int CKVXIMRuleFrame::Execute(KVXICadSys* /*cad*/, KVXResultSet*& /*results*/) { return m_definition.executeResult; }

void CKVXIMRuleFrame::RunRule() {}

bool CKVXIMRuleFrame::UpdateRule(CKvxRule* /*other*/) { return true; }

int CKVXIMRuleFrame::Import(KvxXMLDocument* /*document*/, KvxXMLNode* /*node*/, const CKvxData*& /*data*/,
                            KVXICadSys* /*cad*/, KVXResultSet*& /*results*/) {
  return 0;
}

void CKVXIMRuleFrame::SetRuleStatusForAssemblyModel(int status) {
  if (m_definition.ignoresAssemblyStatus) return;
  CKvxRule::SetRuleStatusForAssemblyModel(status);
}

bool CKVXIMRuleFrame::GetMaterialStatus() {
  return m_definition.materialWorkflow ? Module().materialWorkflow : CKvxRule::GetMaterialStatus();
}
