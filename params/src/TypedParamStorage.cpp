#include "kvx/params/TypedParamStorage.h"

#include <fmt/printf.h>
#include <fmt/xchar.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <pugixml.hpp>

#include "ReadDouble.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/platform/Text.h"

namespace kvx::params {

namespace {
constexpr size_t kInitialCapacity = 10;
const char* const kDeviationKinds[] = {"PercentDeviation", "AbsoluteDeviation", "AbsoluteValue"};

// Numbers are written as the document's own (ASCII) texts, straight into pugixml's nodes: through wide
// texts, a handle per element and the wrapper's checks they took most of writing a rule set. Digits, signs,
// points and the letters of "inf" and "nan" are characters every XML document holds. Texts that come from
// users (names, remarks, text values) still go through the wrapper, which replaces what XML cannot hold.

// The "%f" text (fixed, six decimals) without the printf formatter, which took a tenth of a rule set's
// round trip; the formatter stays for what no buffer here can hold.
std::string FixedText(double v) {
  char buffer[400];
  const auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, v, std::chars_format::fixed, 6);
  if (error != std::errc()) return fmt::sprintf("%f", v);
  return std::string(buffer, end);
}

// The decimal text of an integer, without the printf behind std::to_string.
std::string IntText(long long v) {
  char buffer[24];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, v).ptr;
  return std::string(buffer, end);
}

// --- one value's number text, per value type (empty: no text form) ---
std::string ToText(std::int32_t v) { return IntText(v); }
std::string ToText(bool v) { return v ? "1" : "0"; }
std::string ToText(double v) { return FixedText(v); }
std::string ToText(std::intptr_t) { return {}; }
std::string ToText(std::uint32_t v) { return IntText(v); }
std::string ToText(const std::optional<std::vector<std::wstring>>&) { return {}; }

// Reading walks pugixml's nodes and the UTF-8 texts as the document holds them: a handle, a node list and a
// wide copy of every text looked at made reading the parameters the largest part of loading a rule set.

// Reads "%ld" the way the scanner does (white space, a sign, decimal digits, clamped): 0 when nothing matches.
long ScanLong(const char* text) { return std::strtol(text, nullptr, 10); }

template <Type_e kType>
typename ValueOf<kType>::type FromText(const char* text) {
  if constexpr (kType == KVX_TYPE_INT) {
    try {
      return static_cast<std::int32_t>(std::stoi(text, nullptr, 10));
    } catch (const std::exception&) {
      return 0;
    }
  } else if constexpr (kType == KVX_TYPE_LONG) {
    return static_cast<std::int32_t>(ScanLong(text));
  } else if constexpr (kType == KVX_TYPE_BOOL) {
    return std::strcmp(text, "0") != 0;
  } else if constexpr (kType == KVX_TYPE_DOUBLE) {
    return ReadDouble(std::string_view(text));
  } else if constexpr (kType == KVX_TYPE_STRING) {
    return kvx::platform::Widen(text);
  } else {
    // Opaque, unsigned and list values are not read back: a zero (or null) value stands in. Unsigned
    // values are written but come back as 0; kept so, saved rule sets were made that way.
    return typename ValueOf<kType>::type{};
  }
}

// Only list values have attribute sets; every other value gives an empty list.
template <typename V>
std::vector<std::wstring> ToList(const V& value) {
  if constexpr (std::is_same_v<V, std::optional<std::vector<std::wstring>>>) {
    return value ? *value : std::vector<std::wstring>{};
  } else {
    return {};
  }
}

template <typename V>
V FromList(std::vector<std::wstring> list) {
  if constexpr (std::is_same_v<V, std::optional<std::vector<std::wstring>>>) {
    return V(std::move(list));
  } else {
    return V{};
  }
}

// An empty text is not set: an empty text node makes the element mixed content, and the saved file then
// loses its indentation from that element down.
std::unique_ptr<KvxXMLNode> AppendChild(KvxXMLNode& parent, const wchar_t* name, const std::wstring& text) {
  return parent.AppendElement(name, text);
}

// A child element holding a number text (or nothing, for an empty text) under `parent`.
pugi::xml_node AppendNumber(pugi::xml_node parent, const char* name, std::string_view text) {
  pugi::xml_node child = parent.append_child(name);
  if (!text.empty()) child.text().set(text.data(), text.size());
  return child;
}

void AppendNumberAttribute(pugi::xml_node element, const char* name, std::string_view text) {
  element.append_attribute(name).set_value(text.data(), text.size());
}

bool StatusFromAttribute(pugi::xml_node element) {
  const pugi::xml_attribute status = element.attribute("Status");
  return !status || std::strcmp(status.value(), "0") != 0;
}

const char* LevelName(std::int32_t level) {
  switch (level) {
    case 1: return "Warning";
    case 2: return "Info";
    default: return "Unknown";
  }
}

void WriteDeviation(pugi::xml_node criteria, const char* kind, const CriticalityMap& map) {
  pugi::xml_node deviation = criteria.append_child(kind);
  for (const auto& [level, pair] : map) {
    pugi::xml_node levelNode = deviation.append_child(LevelName(level));
    AppendNumber(levelNode, "Value", FixedText(pair.dValue1));
    if (pair.dValue2 > 0.0) AppendNumber(levelNode, "Value", FixedText(pair.dValue2));
  }
}

// Reads one level of a deviation element. Three or more values leave both texts empty, so the pair
// comes back as (0, 0); kept as it is.
void ReadCriticalityNode(pugi::xml_node deviation, const char* name, std::int32_t level, CriticalityMap& map) {
  const pugi::xml_node levelNode = deviation.child(name);
  if (!levelNode) return;
  std::vector<const char*> texts;
  for (pugi::xml_node value : levelNode.children("Value")) texts.push_back(value.text().get());
  if (texts.empty()) return;
  const char* value1 = texts.size() <= 2 ? texts[0] : "";
  const char* value2 = texts.size() == 2 ? texts[1] : "";
  map[level] = CriticalityPair{ReadDouble(std::string_view(value1)), ReadDouble(std::string_view(value2))};
}

pugi::xml_node FindParameterElement(pugi::xml_node ruleNode, long id) {
  for (pugi::xml_node element : ruleNode.children("Parameter")) {
    const pugi::xml_attribute type = element.attribute("Type");
    if (type && ScanLong(type.value()) == id) return element;
  }
  return {};
}

// An element's text read as a base-10 integer; 0 when it is not one.
int IntOf(pugi::xml_node element) { return static_cast<int>(std::strtol(element.text().get(), nullptr, 10)); }

int ChildInt(pugi::xml_node element, const char* name) {
  const pugi::xml_node child = element.child(name);
  return child ? IntOf(child) : 0;
}
}  // namespace

template <Type_e kType>
CTypedParamStorage<kType>::CTypedParamStorage(long id, KvxOperator_e op, KvxParamType_e paramType, bool firstFlag,
                                              bool secondFlag)
    : CKvxParamStorage(kType, id, op, paramType, firstFlag, secondFlag) {
  m_values.reserve(kInitialCapacity);
}

template <Type_e kType>
void CTypedParamStorage<kType>::ResetValues() {
  std::vector<Value> fresh;
  fresh.reserve(kInitialCapacity);
  m_values.swap(fresh);
}

template <Type_e kType>
std::vector<double>* CTypedParamStorage<kType>::GetDoubleValues() {
  if constexpr (kType == KVX_TYPE_DOUBLE) {
    return &m_values;
  } else {
    return nullptr;
  }
}

template <Type_e kType>
std::vector<KvxValueView> CTypedParamStorage<kType>::DescribeValues() const {
  std::vector<KvxValueView> views;
  for (const auto& value : m_values) {
    if constexpr (kType == KVX_TYPE_BOOL) {
      views.emplace_back(static_cast<bool>(value));
    } else if constexpr (kType == KVX_TYPE_STRING) {
      views.emplace_back(value);
    } else if constexpr (kType == KVX_TYPE_OPAQUE) {
      views.emplace_back(std::monostate{});
    } else if constexpr (kType == KVX_TYPE_STRING_LIST) {
      if (value) views.emplace_back(*value); else views.emplace_back(std::monostate{});
    } else {
      views.emplace_back(static_cast<double>(value));
    }
  }
  return views;
}

template <Type_e kType>
void CTypedParamStorage<kType>::CleanUpBeforeWriting() {
  // The values are lost in memory too.
  const size_t n = m_values.size();
  const bool emptyAndNoRemarks = n == 0 && csRemarks.empty();
  if (emptyAndNoRemarks || WritingDropsRange(iOperator, n)) ResetValues();
}

template <Type_e kType>
void CTypedParamStorage<kType>::WriteValues(KvxXMLNode& element) const {
  if (iParameterType != KVX_PARAM_MULTI_ATTRIBUTE) {
    for (const auto& value : m_values) {
      if constexpr (kType == KVX_TYPE_STRING) {
        AppendChild(element, L"Value", value);
      } else {
        AppendNumber(element.Raw(), "Value", ToText(value));
      }
    }
    return;
  }
  for (const auto& value : m_values) {
    const std::vector<std::wstring> list = ToList(value);
    if (list.empty()) continue;
    auto valueNode = AppendChild(element, L"Value", L"");
    for (size_t i = 0; i < list.size(); ++i) valueNode->AddAttribute(fmt::sprintf(L"Attribute%d", i + 1), list[i]);
  }
}

template <Type_e kType>
std::unique_ptr<KvxXMLNode> CTypedParamStorage<kType>::GetParameterXML() {
  KvxXMLDocument* document = Module().xmlDocument;
  if (!document) return nullptr;
  CleanUpBeforeWriting();
  auto element = document->CreateNode(L"Parameter");
  element->AddAttribute(L"Name", csName);
  pugi::xml_node raw = element->Raw();
  AppendNumberAttribute(raw, "Type", IntText(lId));
  AppendNumberAttribute(raw, "Status", ToText(bStatus));
  AppendNumber(raw, "Operator", IntText(iOperator));
  for (long option : operatorOptions) AppendNumber(raw, "OperatorOption", IntText(option));
  AppendNumber(raw, "ParameterType", IntText(static_cast<int>(iParameterType)));
  WriteValues(*element);
  pugi::xml_node criteria = raw.append_child("ResultCriteria");
  AppendNumberAttribute(criteria, "Status", ToText(bResultCriteriaStatus));
  AppendNumberAttribute(criteria, "CriteriaType", IntText(csCriteriaType));
  WriteDeviation(criteria, kDeviationKinds[0], csPercentDeviation);
  WriteDeviation(criteria, kDeviationKinds[1], csAbsoluteDeviation);
  WriteDeviation(criteria, kDeviationKinds[2], csAbsoluteValue);
  AppendChild(*element, L"Remarks", csRemarks);
  return element;
}

template <Type_e kType>
void CTypedParamStorage<kType>::ReadValues(pugi::xml_node element) {
  for (pugi::xml_node valueNode : element.children("Value")) {
    if (iParameterType != KVX_PARAM_MULTI_ATTRIBUTE) {
      m_values.push_back(FromText<kType>(valueNode.text().get()));
      continue;
    }
    // At most five attributes are read back although any number are written; kept as it is.
    std::vector<std::wstring> list;
    for (const char* name : {"Attribute1", "Attribute2", "Attribute3", "Attribute4", "Attribute5"}) {
      if (const pugi::xml_attribute attribute = valueNode.attribute(name)) {
        list.push_back(kvx::platform::Widen(attribute.value()));
      }
    }
    m_values.push_back(FromList<Value>(std::move(list)));
  }
}

template <Type_e kType>
void CTypedParamStorage<kType>::PopulateParameterFromXML(KvxXMLNode* ruleNode) {
  if (!ruleNode) return;
  const pugi::xml_node element = FindParameterElement(ruleNode->Raw(), lId);
  if (!element) return;
  iOperator = ChildInt(element, "Operator");
  if (element.child("OperatorOption")) {
    operatorOptions.clear();
    for (pugi::xml_node option : element.children("OperatorOption")) operatorOptions.push_back(IntOf(option));
  }
  iParameterType = ChildInt(element, "ParameterType");
  bStatus = StatusFromAttribute(element);
  ReadValues(element);

  const pugi::xml_node criteria = element.child("ResultCriteria");
  if (!criteria) return;
  bResultCriteriaStatus = StatusFromAttribute(criteria);
  const pugi::xml_attribute criteriaType = criteria.attribute("CriteriaType");
  csCriteriaType = criteriaType ? ScanLong(criteriaType.value()) : 0;
  CriticalityMap* maps[] = {&csPercentDeviation, &csAbsoluteDeviation, &csAbsoluteValue};
  for (int k = 0; k < 3; ++k) {
    maps[k]->clear();
    const pugi::xml_node deviation = criteria.child(kDeviationKinds[k]);
    if (!deviation) continue;
    // "Unknown" levels are never read back, so a level-0 entry is lost on reload; kept as it is.
    ReadCriticalityNode(deviation, "Warning", 1, *maps[k]);
    ReadCriticalityNode(deviation, "Info", 2, *maps[k]);
  }
}

template class CTypedParamStorage<KVX_TYPE_INT>;
template class CTypedParamStorage<KVX_TYPE_LONG>;
template class CTypedParamStorage<KVX_TYPE_BOOL>;
template class CTypedParamStorage<KVX_TYPE_DOUBLE>;
template class CTypedParamStorage<KVX_TYPE_STRING>;
template class CTypedParamStorage<KVX_TYPE_OPAQUE>;
template class CTypedParamStorage<KVX_TYPE_UNSIGNED>;
template class CTypedParamStorage<KVX_TYPE_STRING_LIST>;

std::unique_ptr<CKvxParamStorage> MakeParamStorage(Type_e valueType, long id, KvxOperator_e op,
                                                   KvxParamType_e paramType, bool firstFlag, bool secondFlag) {
  switch (valueType) {
    case KVX_TYPE_INT: return std::make_unique<CTypedParamStorage<KVX_TYPE_INT>>(id, op, paramType, firstFlag, secondFlag);
    case KVX_TYPE_LONG: return std::make_unique<CTypedParamStorage<KVX_TYPE_LONG>>(id, op, paramType, firstFlag, secondFlag);
    case KVX_TYPE_BOOL: return std::make_unique<CTypedParamStorage<KVX_TYPE_BOOL>>(id, op, paramType, firstFlag, secondFlag);
    case KVX_TYPE_DOUBLE: return std::make_unique<CTypedParamStorage<KVX_TYPE_DOUBLE>>(id, op, paramType, firstFlag, secondFlag);
    case KVX_TYPE_STRING: return std::make_unique<CTypedParamStorage<KVX_TYPE_STRING>>(id, op, paramType, firstFlag, secondFlag);
    case KVX_TYPE_OPAQUE: return std::make_unique<CTypedParamStorage<KVX_TYPE_OPAQUE>>(id, op, paramType, firstFlag, secondFlag);
    case KVX_TYPE_UNSIGNED: return std::make_unique<CTypedParamStorage<KVX_TYPE_UNSIGNED>>(id, op, paramType, firstFlag, secondFlag);
    case KVX_TYPE_STRING_LIST: return std::make_unique<CTypedParamStorage<KVX_TYPE_STRING_LIST>>(id, op, paramType, firstFlag, secondFlag);
  }
  return nullptr;
}

std::vector<double>* DoubleValues(CKvxParamStorage* parameter) {
  return parameter ? parameter->GetDoubleValues() : nullptr;
}

bool WritingDropsRange(int op, size_t count) { return op == KVX_OP_RANGE && count % 3 != 0 && count % 2 == 1; }

}  // namespace kvx::params
