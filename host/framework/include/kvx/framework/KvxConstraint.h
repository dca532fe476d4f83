#pragma once
// A named set of parameters with a status, e.g. one material's limits.
// Its XML is a "Constraint" element with "Type", "Value" (the name) and "Status" attributes that
// holds one "Parameter" child per parameter.
#include <memory>
#include <string>
#include <vector>

#include "kvx/framework/FrameworkExport.h"
#include "kvx/framework/KvxParamStorage.h"

class KvxXMLDocument;
class KvxXMLNode;

// The material entry whose limits apply when no material is chosen. Rule modules with the material workflow
// keep one and read their limits from it; saved rule sets store this word in every language.
inline constexpr wchar_t kKvxDefaultConstraintName[] = L"Default";

class KVX_FRAMEWORK_API CKVXConstraint {
 public:
  CKVXConstraint(int kind, std::wstring name, bool status);
  ~CKVXConstraint();

  // The parameter with `id`, or null.
  CKvxParamStorage* FindParameterInArray(long id) const;
  // Appends a parameter (ignored when null).
  void AddParameter(std::unique_ptr<CKvxParamStorage> parameter);
  const std::vector<std::unique_ptr<CKvxParamStorage>>& Parameters() const { return m_params; }

  // A new "Constraint" element in `document` with one "Parameter" child per parameter; null without a document.
  std::unique_ptr<KvxXMLNode> GetXMLNode(KvxXMLDocument* document) const;
  // Reads the attributes that are present and lets each parameter read its "Parameter" child; nothing for null.
  void PopulateFromXML(KvxXMLNode* node);

  std::wstring csName;
  int iType;
  bool bStatus;
  bool bSecondFlag = false;  // kept beside the status; the tolerance rule marks its first material with it

 private:
  std::vector<std::unique_ptr<CKvxParamStorage>> m_params;
};
