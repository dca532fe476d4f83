#include "Commands.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "RuleView.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/framework/KvxUnits.h"
#include "kvx/framework/RulePointerArray.h"
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

// Writes a factory rule set: "RuleSet" with the current unit codes, then every rule's record.
bool WriteFactoryRuleSet(ModuleHost& host, const std::string& file, std::ostream& err) {
  OwnedRules rules(host);
  CollectAllRules(host, rules);
  auto root = host.Document().CreateRootNode(kRuleSet);
  SetAttribute(*root, "Unit", KVX_UNIT_MM);
  SetAttribute(*root, "AngularUnit", KVX_ANGLE_DEGREE);
  for (CKvxRule* rule : rules.All()) {
    if (auto node = rule->GetXML()) root->AppendNode(node.get());
  }
  return Save(host, file, err);
}

// Loads the host's resource library for the language the module would pick, as the module does.
std::unique_ptr<kvx::platform::ResourceLibrary> LoadHostResources() {
  const std::wstring name = kvx::platform::LibraryFileName(L"KVXIMRulesResu");
  auto library = kvx::platform::ResourceLibrary::Load(kvx::platform::JoinPath(CLocationHelper::GetLocalizedResPath(), name));
  if (!library) library = kvx::platform::ResourceLibrary::Load(kvx::platform::JoinPath(CLocationHelper::GetDefaultResPath(), name));
  return library;
}

// A unit's code, or the code of the unit called `text`; -1 when there is none.
int ParseUnit(const std::string& text, int kind) {
  for (const KvxUnit& unit : KvxUnitsOf(kind)) {
    if (text == unit.name || text == std::to_string(unit.code)) return unit.code;
  }
  return -1;
}

// Every unit of `kind` with its code, name and text from `library` (empty without one).
ordered_json UnitsToJson(int kind, const kvx::platform::ResourceLibrary* library) {
  ordered_json units = ordered_json::array();
  for (const KvxUnit& unit : KvxUnitsOf(kind)) {
    const std::wstring text = library && unit.textId != 0 ? library->String(unit.textId).value_or(L"") : L"";
    units.push_back({{"code", unit.code}, {"name", unit.name}, {"text", Narrow(text)}});
  }
  return units;
}
}  // namespace

int ParseLengthUnit(const std::string& text) { return ParseUnit(text, KVX_QUANTITY_LENGTH); }
int ParseAngleUnit(const std::string& text) { return ParseUnit(text, KVX_QUANTITY_ANGLE); }

int RunRules(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream&) {
  OwnedRules rules(host);
  CollectAllRules(host, rules);
  if (options.json) {
    ordered_json list = ordered_json::array();
    for (CKvxRule* rule : rules.All()) list.push_back(RuleToJson(rule));
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
  ordered_json list = ordered_json::array();
  const auto nodes = root->GetNodeList(L"Rule");
  for (int i = 0; i < nodes->GetSize(); ++i) {
    const auto node = nodes->GetItem(i);
    CKvxRule* rule = nullptr;
    host.GetRule(node.get(), &rule);
    rules.Add(rule);
    if (options.json) {
      list.push_back(RuleToJson(rule));
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
  auto root = LoadRuleSet(host, options.input, err);
  if (!root) return 1;
  const RuleUnitSystemStructure from{ReadUnitAttribute(*root, L"Unit"), ReadUnitAttribute(*root, L"AngularUnit")};
  const RuleUnitSystemStructure to{length, angle};

  OwnedRules rules(host);
  const auto nodes = root->GetNodeList(L"Rule");
  for (int i = 0; i < nodes->GetSize(); ++i) {
    const auto node = nodes->GetItem(i);
    CKvxRule* rule = nullptr;
    host.GetRule(node.get(), &rule);
    if (!rule) continue;  // rules of other modules, or unknown ones, stay as they are
    rules.Add(rule);
    rule->UpdateRule(&from, &to);
    if (auto converted = rule->GetXML()) root->ReplaceChild(converted.get(), node.get());
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
  const ordered_json lengths = UnitsToJson(KVX_QUANTITY_LENGTH, library.get());
  const ordered_json angles = UnitsToJson(KVX_QUANTITY_ANGLE, library.get());
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
