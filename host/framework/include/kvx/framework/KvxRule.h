#pragma once
// The framework's rule base class. Every rule, of any rule module, derives from it; the host drives a
// rule through the virtual operations below (declared in the order of their slots).
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "kvx/framework/FrameworkExport.h"
#include "kvx/framework/KvxConstraint.h"
#include "kvx/framework/KvxParamStorage.h"
#include "kvx/framework/KvxTypes.h"
#include "kvx/platform/Resources.h"

class IKvxRuleDialogService;
class KvxXMLDocument;
class KvxXMLNode;

class KVX_FRAMEWORK_API CKvxRule {
 public:
  CKvxRule();
  virtual ~CKvxRule();
  CKvxRule(const CKvxRule&) = delete;
  CKvxRule& operator=(const CKvxRule&) = delete;

  // --- virtual operations, in slot order ---
  virtual void InitializeParamStorage();
  virtual int Execute(KVXICadSys* cad, KVXResultSet*& results);
  virtual void PopulateParametersFromXML(KvxXMLNode* node);
  // The rule as a new "Rule" element, or null.
  virtual std::unique_ptr<KvxXMLNode> GetXML();
  virtual void RunRule();
  virtual void UpdateRule(const RuleUnitSystemStructure* from, const RuleUnitSystemStructure* to);
  virtual bool UpdateRule(CKvxRule* other);
  virtual void EditRule();
  // Opens the rule's dialog through its dialog service: KVX_IDOK when the user accepted, KVX_IDCANCEL
  // otherwise; without a service it tells the user that no dialog is available.
  virtual int ConfigureRule(const kvx::platform::Picture& picture);
  virtual void SetDialogImageInfo(const std::wstring& info);
  virtual int Import(KvxXMLDocument* document, KvxXMLNode* node, const CKvxData*& data, KVXICadSys* cad,
                     KVXResultSet*& results);
  // Copies the identity, state and texts of `other` (not its parameters or constraints); null is ignored.
  virtual CKvxRule& operator=(CKvxRule* other);
  virtual CKvxParamStorage* FindParameterInArray(long id) const;
  virtual void SetRuleStatusForAssemblyModel(int status);
  virtual bool ValidateInputData();
  virtual void GetRequiredInputData();
  virtual void SetInputData();
  virtual void SetPreExecutionData();
  virtual int GetRuleId() const;
  virtual bool GetMaterialStatus();
  virtual void PostPopulate();
  virtual bool GetCutterStatus();
  virtual void Heal();
  virtual bool IsRuleParametric();
  virtual bool ValidateInputParameters();
  // Rebuilds the constraints from the "Constraint" children of `node`: each gets a parameter for every id
  // in `ids` that the rule itself has, read from the constraint's "Parameter" children.
  virtual void InitConstraints(KvxXMLNode* node, const std::vector<long>& ids);
  // The parameters of the constraint called `name` (ignoring case); empty when there is none.
  virtual std::vector<CKvxParamStorage*> GetConstraintParameters(const std::wstring& name) const;
  // Parameter `id` of the constraint called `name` (ignoring case), or null.
  virtual CKvxParamStorage* FindParameterInConstraintArray(const std::wstring& name, long id) const;

  // --- construction helpers ---
  // A new parameter of `valueType`, or null when this rule cannot store that type.
  std::unique_ptr<CKvxParamStorage> CreateParamStorageObject(Type_e valueType, long id, KvxOperator_e op,
                                                             KvxParamType_e paramType, bool firstFlag,
                                                             bool secondFlag) const;
  std::unique_ptr<CKVXConstraint> CreateConstraintObject(int kind, const std::wstring& name, bool status) const;
  void ClearConstraints();
  void ClearParameterArray();
  // Sets the category and its text form.
  void SetRuleCategory(KVXRuleCategory_e category);

  // --- dialogs ---
  // The service that opens this rule's dialogs, set by whoever hands the rule out (the rule module);
  // null: none, ConfigureRule then says so. Not owned; it must outlive the rule's dialogs.
  void SetDialogService(IKvxRuleDialogService* service) { m_pDialogService = service; }
  IKvxRuleDialogService* DialogService() const { return m_pDialogService; }
  // How the rule's last dialog ended: KVX_IDOK, KVX_IDCANCEL, or KVX_DIALOG_UNAVAILABLE when none could be
  // shown (also before any dialog was asked for). A host reads it after EditRule.
  int LastDialogResult() const { return m_iLastDialogResult; }

  const std::vector<std::unique_ptr<CKvxParamStorage>>& Parameters() const { return m_paramArray; }
  const std::vector<std::unique_ptr<CKVXConstraint>>& Constraints() const { return m_constraintArray; }
  void AddParameter(std::unique_ptr<CKvxParamStorage> parameter);
  void AddConstraint(std::unique_ptr<CKVXConstraint> constraint);

  // --- fields ---
  std::wstring m_csRuleName;     // key name: the English name written to XML
  std::wstring m_csDisplayName;  // the name in the user's language
  std::wstring m_csSummary;
  std::wstring m_csModuleName;
  std::wstring m_csCategoryText;
  std::wstring m_csRuleModule;
  std::wstring m_csRuleModuleFile;
  std::list<std::wstring> m_textList;
  int m_lRuleStatus = -1;
  int m_lRuleSeverity = -1;
  int m_lLifeStatus = -1;
  int m_iRuleId = 0;
  KVXRuleCategory_e m_category = KVX_CATEGORY_UNKNOWN;
  RuleUnitSystemStructure m_unitSystem;  // the units the values are expressed in
  bool m_bInitialized = false;
  bool m_bKeepDefaultConstraints = false;
  bool m_bPopulated = false;

 protected:
  // The typed storage behind CreateParamStorageObject; the framework's own rule stores nothing.
  virtual std::unique_ptr<CKvxParamStorage> NewParamStorage(Type_e valueType, long id, KvxOperator_e op,
                                                            KvxParamType_e paramType, bool firstFlag,
                                                            bool secondFlag) const;

  std::vector<std::unique_ptr<CKvxParamStorage>> m_paramArray;
  std::vector<std::unique_ptr<CKVXConstraint>> m_constraintArray;

 private:
  IKvxRuleDialogService* m_pDialogService = nullptr;
  int m_iLastDialogResult = KVX_DIALOG_UNAVAILABLE;
};
