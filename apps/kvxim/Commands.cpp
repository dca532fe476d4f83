#include "Commands.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "RuleView.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/framework/RulePointerArray.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Paths.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"
#include "kvx/utility/LocationHelper.h"

namespace kvxim {

namespace {
using kvx::platform::Narrow;
using kvx::platform::Widen;
using nlohmann::ordered_json;

constexpr const wchar_t* kRuleSet = L"RuleSet";

// Rules the host owns until it hands them back to the module.
class OwnedRules {
 public:
  explicit OwnedRules(ModuleHost& host) : host_(host) {}
  ~OwnedRules() {
    for (CKvxRule*& rule : rules_) host_.DeleteRule(&rule);
  }
  void Add(CKvxRule* rule) { rules_.push_back(rule); }
  const std::vector<CKvxRule*>& All() const { return rules_; }

 private:
  ModuleHost& host_;
  std::vector<CKvxRule*> rules_;
};

std::unique_ptr<kvx::platform::ResourceLibrary> LoadHostResources();

void CollectAllRules(ModuleHost& host, OwnedRules& owned) {
  RulePointerArray array;
  host.GetAllRules(&array);
  for (int i = 0; i < array.GetSize(); ++i) owned.Add(array.GetAt(i));
}

int ReadUnitAttribute(KvxXMLNode& root, const wchar_t* name) {
  std::wstring text;
  root.GetAttributeValue(name, text);
  return static_cast<int>(std::wcstol(text.c_str(), nullptr, 10));
}

void SetAttribute(KvxXMLNode& node, const char* name, int value) {
  pugi::xml_node raw = node.Raw();
  pugi::xml_attribute attribute = raw.attribute(name);
  if (!attribute) attribute = raw.append_attribute(name);
  attribute.set_value(value);
}

bool Save(ModuleHost& host, const std::string& file, std::ostream& err) {
  std::wstring error;
  if (host.Document().SaveFile(Widen(file), error)) return true;
  err << "kvxim: " << Narrow(error) << "\n";
  return false;
}

// A rule without a key name could never be loaded again: its name comes from the resource library.
bool AllRulesNamed(const OwnedRules& rules, std::ostream& err) {
  const bool named = std::ranges::none_of(rules.All(), [](const CKvxRule* rule) { return rule->m_csRuleName.empty(); });
  if (!named) {
    err << "kvxim: the rules have no names: no resource library was found under "
        << Narrow(CLocationHelper::GetResourceRoot()) << "; nothing was written\n";
  }
  return named;
}

// Writes a factory rule set: "RuleSet" with the current unit codes, then every rule's record.
bool WriteFactoryRuleSet(ModuleHost& host, const std::string& file, std::ostream& err) {
  OwnedRules rules(host);
  CollectAllRules(host, rules);
  if (!AllRulesNamed(rules, err)) return false;
  auto root = host.Document().CreateRootNode(kRuleSet);
  SetAttribute(*root, "Unit", KVX_UNIT_MM);
  SetAttribute(*root, "AngularUnit", KVX_ANGLE_DEGREE);
  for (CKvxRule* rule : rules.All()) {
    if (auto node = rule->GetXML()) root->AppendNode(node.get());
  }
  return Save(host, file, err);
}

// Rule records keep one character of a unit code, so only one-digit codes read back as they were written.
bool ReadsBack(int unitCode) { return unitCode >= 0 && unitCode <= 9; }

bool AllValuesFinite(const std::vector<std::unique_ptr<CKvxParamStorage>>& parameters) {
  return std::ranges::all_of(parameters, [](const auto& parameter) {
    const std::vector<double>* values = parameter->GetDoubleValues();
    return !values || std::ranges::all_of(*values, [](double value) { return std::isfinite(value); });
  });
}

// False when a value of the rule, its own or a material entry's, no longer fits a number.
bool AllValuesFinite(const CKvxRule& rule) {
  return AllValuesFinite(rule.Parameters()) &&
         std::ranges::all_of(rule.Constraints(), [](const auto& c) { return AllValuesFinite(c->Parameters()); });
}

std::string RuleName(KvxXMLNode& node) {
  std::wstring name;
  node.GetAttributeValue(L"Name", name);
  return "\"" + Narrow(name) + "\"";
}

// Loads the host's resource library for the language the module would pick, as the module does.
std::unique_ptr<kvx::platform::ResourceLibrary> LoadHostResources() {
  const std::wstring name = kvx::platform::LibraryFileName(L"KVXIMRulesResu");
  auto library = kvx::platform::ResourceLibrary::Load(kvx::platform::JoinPath(CLocationHelper::GetLocalizedResPath(), name));
  if (!library) library = kvx::platform::ResourceLibrary::Load(kvx::platform::JoinPath(CLocationHelper::GetDefaultResPath(), name));
  return library;
}

struct UnitName {
  const char* name;
  int code;
};
constexpr UnitName kLengthUnits[] = {{"mm", 0}, {"cm", 1}, {"m", 2},   {"in", 3},  {"ft", 4},   {"ft-in", 5},
                                     {"angstrom", 6}, {"nm", 7}, {"um", 8}, {"mil", 9}, {"uin", 10}};
constexpr UnitName kAngleUnits[] = {{"deg", 0}, {"rad", 1}, {"deg-min", 2}, {"deg-min-sec", 3}};

template <size_t N>
int ParseUnit(const std::string& text, const UnitName (&table)[N]) {
  for (const auto& unit : table) {
    if (text == unit.name || text == std::to_string(unit.code)) return unit.code;
  }
  return -1;
}
}  // namespace

int ParseLengthUnit(const std::string& text) { return ParseUnit(text, kLengthUnits); }
int ParseAngleUnit(const std::string& text) { return ParseUnit(text, kAngleUnits); }

int RunRules(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream&) {
  OwnedRules rules(host);
  CollectAllRules(host, rules);
  if (options.json) {
    const auto texts = LoadHostResources();
    ordered_json list = ordered_json::array();
    for (CKvxRule* rule : rules.All()) list.push_back(RuleToJson(rule, texts.get()));
    out << list.dump(2) << "\n";
    return 0;
  }
  for (CKvxRule* rule : rules.All()) out << RuleToLine(*rule) << "\n";
  return 0;
}

int RunNew(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err) {
  if (!WriteFactoryRuleSet(host, options.output, err)) return 1;
  out << "wrote " << options.output << "\n";
  return 0;
}

int RunShow(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err) {
  auto root = LoadRuleSet(host, options.input, err);
  if (!root) return 1;
  OwnedRules rules(host);
  const auto texts = options.json ? LoadHostResources() : nullptr;
  ordered_json list = ordered_json::array();
  const auto nodes = root->GetNodeList(L"Rule");
  for (int i = 0; i < nodes->GetSize(); ++i) {
    const auto node = nodes->GetItem(i);
    CKvxRule* rule = nullptr;
    host.GetRule(node.get(), &rule);
    rules.Add(rule);
    if (options.json) {
      list.push_back(RuleToJson(rule, texts.get()));
      continue;
    }
    std::wstring name;
    node->GetAttributeValue(L"Name", name);
    out << (rule ? RuleToLine(*rule) : "(no rule) " + Narrow(name)) << "\n";
  }
  if (options.json) out << list.dump(2) << "\n";
  return 0;
}

int RunConvert(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err) {
  const int length = ParseLengthUnit(options.lengthUnit);
  const int angle = ParseAngleUnit(options.angleUnit);
  if (length < 0 || angle < 0) {
    err << "kvxim: unknown unit \"" << (length < 0 ? options.lengthUnit : options.angleUnit) << "\"\n";
    return 1;
  }
  if (!ReadsBack(length) || !ReadsBack(angle)) {
    err << "kvxim: a rule set in \"" << (ReadsBack(length) ? options.angleUnit : options.lengthUnit)
        << "\" could not be read back in that unit; nothing was written\n";
    return 1;
  }
  auto root = LoadRuleSet(host, options.input, err);
  if (!root) return 1;
  const RuleUnitSystemStructure from{ReadUnitAttribute(*root, L"Unit"), ReadUnitAttribute(*root, L"AngularUnit")};
  const RuleUnitSystemStructure to{length, angle};

  OwnedRules rules(host);
  std::vector<std::string> unconverted;
  std::vector<std::string> overflowing;
  const auto nodes = root->GetNodeList(L"Rule");
  for (int i = 0; i < nodes->GetSize(); ++i) {
    const auto node = nodes->GetItem(i);
    CKvxRule* rule = nullptr;
    host.GetRule(node.get(), &rule);
    if (!rule) {
      // Rules of other modules, unknown ones and switched-off ones keep their values: they cannot be converted.
      unconverted.push_back(RuleName(*node));
      continue;
    }
    rules.Add(rule);
    rule->UpdateRule(&from, &to);
    if (!AllValuesFinite(*rule)) overflowing.push_back(RuleName(*node));
    if (auto converted = rule->GetXML()) root->ReplaceChild(converted.get(), node.get());
  }
  for (const std::string& name : overflowing) {
    err << "kvxim: the values of rule " << name << " are too large for the new units\n";
  }
  if (!overflowing.empty()) {
    err << "kvxim: nothing was written\n";
    return 1;
  }
  for (const std::string& name : unconverted) {
    err << "kvxim: " << (options.keepUnconverted ? "warning: " : "") << "rule " << name
        << " could not be converted: this module cannot build it"
        << (options.keepUnconverted ? "; its values are kept as they were" : "") << "\n";
  }
  if (!unconverted.empty() && !options.keepUnconverted) {
    err << "kvxim: nothing was written (--keep-unconverted converts the other rules)\n";
    return 1;
  }
  SetAttribute(*root, "Unit", to.iLengthUnit);
  SetAttribute(*root, "AngularUnit", to.iAngleUnit);
  const std::string target = options.output.empty() ? options.input : options.output;
  if (!Save(host, target, err)) return 1;
  out << "wrote " << target << "\n";
  return 0;
}

int RunDemo(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err) {
  CommandOptions listing = options;
  listing.json = false;
  out << "Rules of a fresh rule set:\n";
  RunRules(host, listing, out, err);
  const std::string file = options.output.empty() ? "factory-rules.xml" : options.output;
  if (!WriteFactoryRuleSet(host, file, err)) return 1;
  out << "\nWrote " << file << "; loading it again:\n";
  CommandOptions reload = listing;
  reload.input = file;
  return RunShow(host, reload, out, err);
}

int RunResource(const CommandOptions& options, std::ostream& out, std::ostream& err) {
  const auto library = LoadHostResources();
  if (!library) {
    err << "kvxim: no resource library found under " << Narrow(CLocationHelper::GetResourceRoot()) << "\n";
    return 1;
  }
  const auto text = library->String(options.resourceId);
  if (!text) {
    err << "kvxim: the resource library has no string " << options.resourceId << "\n";
    return 1;
  }
  out << Narrow(*text) << "\n";
  return 0;
}

int RunUnits(const CommandOptions& options, std::ostream& out, std::ostream&) {
  const auto library = LoadHostResources();
  kvx::params::Module().localizedResources = library.get();
  ordered_json lengths = ordered_json::array();
  for (const auto& unit : kLengthUnits) {
    lengths.push_back({{"code", unit.code}, {"name", unit.name}, {"text", Narrow(kvx::params::LengthUnitText(unit.code))}});
  }
  ordered_json angles = ordered_json::array();
  for (const auto& unit : kAngleUnits) {
    angles.push_back({{"code", unit.code}, {"name", unit.name}, {"text", Narrow(kvx::params::AngleUnitText(unit.code))}});
  }
  kvx::params::Module().localizedResources = nullptr;
  if (options.json) {
    out << ordered_json{{"length", lengths}, {"angle", angles}}.dump(2) << "\n";
    return 0;
  }
  out << "length units:\n";
  for (const auto& unit : lengths) out << "  " << unit["code"] << "  " << unit["name"].get<std::string>() << "  " << unit["text"].get<std::string>() << "\n";
  out << "angle units:\n";
  for (const auto& unit : angles) out << "  " << unit["code"] << "  " << unit["name"].get<std::string>() << "  " << unit["text"].get<std::string>() << "\n";
  return 0;
}

}  // namespace kvxim
