#include "RuleView.h"

#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string_view>
#include <vector>

#include "UnitNames.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"

namespace kvxim {

namespace {
using kvx::platform::Narrow;

// Appends JSON laid out as nlohmann's dump(2) lays out a tree: every element of a non-empty object or array
// on a line of its own, two spaces deeper than its container; empty ones as "{}" and "[]". Numbers and
// texts that need more than copying go through nlohmann's own serializer, so they come out as before.
class PrettyJson {
 public:
  PrettyJson(std::string& out, int depth) : out_(out), depth_(depth) {}

  void BeginObject() { Open('{'); }
  void EndObject() { Close('}'); }
  void BeginArray() { Open('['); }
  void EndArray() { Close(']'); }
  // The key of the next value; `key` is plain ASCII needing no escape.
  PrettyJson& Key(std::string_view key) {
    NextElement();
    out_ += '"';
    out_ += key;
    out_ += "\": ";
    afterKey_ = true;
    return *this;
  }
  void Null() { Scalar("null"); }
  void Bool(bool value) { Scalar(value ? "true" : "false"); }
  void Int(long long value) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    Scalar(std::string_view(digits, static_cast<size_t>(end - digits)));
  }
  // The digits nlohmann's serializer writes for a number (its own shortest round-trip conversion), without
  // building a value and a serializer for each: that took most of writing a rule.
  void Double(double value) {
    if (!std::isfinite(value)) return Null();
    char digits[64];
    const char* end = nlohmann::detail::to_chars(digits, digits + sizeof digits, value);
    Scalar(std::string_view(digits, static_cast<size_t>(end - digits)));
  }
  void Text(const std::string& utf8) {
    if (!NeedsSerializer(utf8)) {
      NextElement();
      out_ += '"';
      out_ += utf8;
      out_ += '"';
      return;
    }
    Scalar(nlohmann::json(utf8).dump());  // escapes, and refuses a text that is not UTF-8 as before
  }
  void Text(const std::wstring& wide) { Text(Narrow(wide)); }

 private:
  // Printable ASCII without quote or backslash is written as it is.
  static bool NeedsSerializer(std::string_view text) {
    for (const char c : text) {
      if (c < 0x20 || c > 0x7e || c == '"' || c == '\\') return true;
    }
    return false;
  }
  void Scalar(std::string_view text) {
    NextElement();
    out_ += text;
  }
  void Open(char bracket) {
    NextElement();
    out_ += bracket;
    open_.push_back(true);
  }
  void Close(char bracket) {
    const bool empty = open_.back();
    open_.pop_back();
    if (!empty) NewLine();
    out_ += bracket;
  }
  // Before a value: nothing after its key, else the separator and the new line of the next element.
  void NextElement() {
    if (afterKey_) {
      afterKey_ = false;
      return;
    }
    if (open_.empty()) return;
    if (!open_.back()) out_ += ',';
    open_.back() = false;
    NewLine();
  }
  void NewLine() {
    out_ += '\n';
    out_.append(2 * (static_cast<size_t>(depth_) + open_.size()), ' ');
  }

  std::string& out_;
  int depth_;               // levels of the enclosing document around what is written here
  std::vector<bool> open_;  // per open container: still empty
  bool afterKey_ = false;
};

void WriteValue(PrettyJson& json, const KvxValueView& value) {
  std::visit(
      [&json](const auto& v) {
        using V = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<V, std::monostate>) {
          json.Null();
        } else if constexpr (std::is_same_v<V, std::wstring>) {
          json.Text(v);
        } else if constexpr (std::is_same_v<V, std::vector<std::wstring>>) {
          json.BeginArray();
          for (const auto& text : v) json.Text(text);
          json.EndArray();
        } else if constexpr (std::is_same_v<V, bool>) {
          json.Bool(v);
        } else {
          json.Double(v);
        }
      },
      value);
}

std::wstring OperatorSymbol(long op) { return kvx::params::OperatorToText(static_cast<int>(op)); }

// The rule modules name their parameters by resource strings of the same number, as the rule dialog shows them.
std::wstring Label(const CKvxParamStorage& parameter, const kvx::platform::ResourceLibrary* texts) {
  if (!parameter.csName.empty() || !texts) return parameter.csName;
  return texts->String(static_cast<int>(parameter.lId)).value_or(std::wstring());
}

void WriteParameter(PrettyJson& json, const CKvxParamStorage& parameter, const kvx::platform::ResourceLibrary* texts) {
  json.BeginObject();
  json.Key("id").Int(parameter.lId);
  json.Key("name").Text(parameter.csName);
  json.Key("label").Text(Label(parameter, texts));
  json.Key("valueType").Int(static_cast<int>(parameter.GetValueType()));
  json.Key("operator").Int(parameter.iOperator);
  json.Key("operatorSymbol").Text(OperatorSymbol(parameter.iOperator));
  json.Key("operatorOptions").BeginArray();
  for (const long op : parameter.operatorOptions) json.Int(op);
  json.EndArray();
  json.Key("operatorOptionSymbols").BeginArray();
  for (const long op : parameter.operatorOptions) json.Text(OperatorSymbol(op));
  json.EndArray();
  json.Key("parameterType").Int(parameter.iParameterType);
  json.Key("values").BeginArray();
  for (const auto& value : parameter.DescribeValues()) WriteValue(json, value);
  json.EndArray();
  json.Key("status").Bool(parameter.bStatus);
  json.Key("enabled").Bool(parameter.IsEnabled());
  json.Key("remarks").Text(parameter.csRemarks);
  json.Key("symbol").Text(parameter.csSymbol);
  json.Key("unit").Text(parameter.csUnit);
  json.EndObject();
}

template <typename Parameters>
void WriteParameters(PrettyJson& json, const Parameters& parameters, const kvx::platform::ResourceLibrary* texts) {
  json.BeginArray();
  for (const auto& parameter : parameters) WriteParameter(json, *parameter, texts);
  json.EndArray();
}

void WriteRule(PrettyJson& json, const CKvxRule& rule, const kvx::platform::ResourceLibrary* texts) {
  json.BeginObject();
  json.Key("name").Text(rule.m_csRuleName);
  json.Key("displayName").Text(rule.m_csDisplayName);
  json.Key("id").Int(rule.m_iRuleId);
  json.Key("category").Int(static_cast<int>(rule.m_category));
  json.Key("severity").Int(rule.m_lRuleSeverity);
  json.Key("severityName").Text(kvx::params::SeverityCodeToName(rule.m_lRuleSeverity));
  json.Key("status").Int(rule.m_lRuleStatus);
  json.Key("lifeStatus").Int(rule.m_lLifeStatus);
  json.Key("module").Text(rule.m_csModuleName);
  json.Key("summary").Text(rule.m_csSummary);
  json.Key("units").BeginObject();
  json.Key("length").Int(rule.m_unitSystem.iLengthUnit);
  json.Key("angle").Int(rule.m_unitSystem.iAngleUnit);
  json.Key("lengthName").Text(UnitName(LengthUnitNames(), rule.m_unitSystem.iLengthUnit));
  json.Key("angleName").Text(UnitName(AngleUnitNames(), rule.m_unitSystem.iAngleUnit));
  json.EndObject();
  json.Key("parameters");
  WriteParameters(json, rule.Parameters(), texts);
  json.Key("constraints").BeginArray();
  for (const auto& constraint : rule.Constraints()) {
    json.BeginObject();
    json.Key("name").Text(constraint->csName);
    json.Key("kind").Int(constraint->iType);
    json.Key("status").Bool(constraint->bStatus);
    json.Key("secondFlag").Bool(constraint->bSecondFlag);
    json.Key("parameters");
    WriteParameters(json, constraint->Parameters(), texts);
    json.EndObject();
  }
  json.EndArray();
  json.EndObject();
}
}  // namespace

void JsonRuleArray::Add(const CKvxRule* rule) {
  buffer_ = empty_ ? "[\n  " : ",\n  ";
  empty_ = false;
  PrettyJson json(buffer_, 1);
  if (rule) {
    WriteRule(json, *rule, texts_);
  } else {
    json.Null();
  }
  out_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
}

void JsonRuleArray::Finish() { out_ << (empty_ ? "[]\n" : "\n]\n"); }

std::string RuleToLine(const CKvxRule& rule) {
  return std::to_string(rule.m_iRuleId) + "  " + Narrow(rule.m_csDisplayName) + ": " + Narrow(rule.m_csSummary);
}

}  // namespace kvxim
