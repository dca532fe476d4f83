#pragma once
// The typed parameter storage and its "Parameter" element: one template, instantiated for each value
// type, that differs only in how one value becomes text and back.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kvx/framework/KvxParamStorage.h"
#include "kvx/framework/KvxTypes.h"

class KvxXMLNode;
namespace pugi {
class xml_node;
}

namespace kvx::params {

// The C++ value held for each value type.
template <Type_e kType> struct ValueOf;
template <> struct ValueOf<KVX_TYPE_INT> { using type = std::int32_t; };
template <> struct ValueOf<KVX_TYPE_LONG> { using type = std::int32_t; };
template <> struct ValueOf<KVX_TYPE_BOOL> { using type = bool; };
template <> struct ValueOf<KVX_TYPE_DOUBLE> { using type = double; };
template <> struct ValueOf<KVX_TYPE_STRING> { using type = std::wstring; };
template <> struct ValueOf<KVX_TYPE_OPAQUE> { using type = std::intptr_t; };
template <> struct ValueOf<KVX_TYPE_UNSIGNED> { using type = std::uint32_t; };
// A list value may be null (an entry read from an element that carries no list).
template <> struct ValueOf<KVX_TYPE_STRING_LIST> { using type = std::optional<std::vector<std::wstring>>; };

template <Type_e kType>
class CTypedParamStorage final : public CKvxParamStorage {
 public:
  using Value = typename ValueOf<kType>::type;

  CTypedParamStorage(long id, KvxOperator_e op, KvxParamType_e paramType, bool firstFlag, bool secondFlag);

  int GetValueCount() const override { return static_cast<int>(m_values.size()); }
  void SetValueCount(int count) override { m_values.resize(count < 0 ? 0 : static_cast<size_t>(count)); }
  void ResetValues() override;
  std::vector<double>* GetDoubleValues() override;
  std::vector<KvxValueView> DescribeValues() const override;
  // Null when the module has no XML document.
  std::unique_ptr<KvxXMLNode> GetParameterXML() override;
  void PopulateParameterFromXML(KvxXMLNode* ruleNode) override;

  std::vector<Value>& Values() { return m_values; }
  const std::vector<Value>& Values() const { return m_values; }

 private:
  void CleanUpBeforeWriting();
  void WriteValues(KvxXMLNode& element) const;
  void ReadValues(pugi::xml_node element);
  std::vector<Value> m_values;
};

using CDoubleParamStorage = CTypedParamStorage<KVX_TYPE_DOUBLE>;

// A new storage of `valueType`; null for a code outside 1 to 8.
std::unique_ptr<CKvxParamStorage> MakeParamStorage(Type_e valueType, long id, KvxOperator_e op,
                                                   KvxParamType_e paramType, bool firstFlag, bool secondFlag);

// The double values of `parameter`, or null when it holds another type (or is null).
std::vector<double>* DoubleValues(CKvxParamStorage* parameter);

// True when a parameter with operator `op` and `count` values loses them on writing: a range operator with
// 1, 5, 7, 11, ... values. An odd test, kept exactly, because stored rule sets were written by it.
bool WritingDropsRange(int op, size_t count);

}  // namespace kvx::params
