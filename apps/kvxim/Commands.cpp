#include "Commands.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <vector>

#include "MaterialsCommand.h"
#include "RuleView.h"
#include "UnitNames.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/framework/RulePointerArray.h"
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

// A rule without a key name could never be loaded again: its name comes from the resource library.
bool AllRulesNamed(const HeldRules& rules, std::ostream& err) {
  const bool named = std::ranges::none_of(rules.All(), [](const CKvxRule* rule) { return rule->m_csRuleName.empty(); });
  if (!named) {
    err << "kvxim: the rules have no names: no resource library was found under "
        << Narrow(CLocationHelper::GetResourceRoot()) << "; nothing was written\n";
  }
  return named;
}

// Writes a factory rule set: "RuleSet" with the current unit codes, then every rule's record.
bool WriteFactoryRuleSet(ModuleHost& host, const std::string& file, std::ostream& out, std::ostream& err) {
  HeldRules rules(host);
  rules.AddFresh();
  if (!AllRulesNamed(rules, err)) return false;
  auto root = host.Document().CreateRootNode(kRuleSet);
  SetAttribute(*root, "Unit", KVX_UNIT_MM);
  SetAttribute(*root, "AngularUnit", KVX_ANGLE_DEGREE);
  for (CKvxRule* rule : rules.All()) {
    if (auto node = rule->GetXML()) root->AppendNode(node.get());
  }
  return SaveRuleSet(host, file, out, err);
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

}  // namespace

std::unique_ptr<kvx::platform::ResourceLibrary> LoadHostResources() {
  const std::wstring name = kvx::platform::LibraryFileName(L"KVXIMRulesResu");
  auto library = kvx::platform::ResourceLibrary::Load(kvx::platform::JoinPath(CLocationHelper::GetLocalizedResPath(), name));
  if (!library) library = kvx::platform::ResourceLibrary::Load(kvx::platform::JoinPath(CLocationHelper::GetDefaultResPath(), name));
  return library;
}

namespace {

std::string JoinedNames(const UnitNameTable& table) {
  std::string names;
  for (const auto& entry : table) names += (names.empty() ? "" : " ") + entry.first;
  return names;
}

// A unit option: a name from `names` (any case) or a code, stored as the code. A value that is neither is
// a usage error naming the units, not the table of codes CLI11 would print.
CLI::Option* AddUnitOption(CLI::App* command, const char* name, int& code, const UnitNameTable& names,
                           const char* description) {
  const CLI::CheckedTransformer toCode(names, CLI::ignore_case);
  const auto check = [toCode, valid = JoinedNames(names)](std::string& value) {
    const std::string given = value;
    if (toCode(value).empty()) return std::string();
    return "unknown unit \"" + given + "\"; valid: " + valid + ", or a code";
  };
  return command->add_option(name, code, description)->transform(CLI::Validator(check, ""));
}
}  // namespace

int RunRules(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream&) {
  const auto texts = LoadHostResources();  // the names shown beside codes
  kvx::platform::ResourceScope scope(texts.get());
  HeldRules rules(host);
  rules.AddFresh();
  if (options.json) {
    JsonRuleArray list(out, texts.get());
    for (CKvxRule* rule : rules.All()) list.Add(rule);
    list.Finish();
    return 0;
  }
  for (CKvxRule* rule : rules.All()) out << RuleToLine(*rule) << "\n";
  return 0;
}

int RunNew(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err) {
  return WriteFactoryRuleSet(host, options.output, out, err) ? 0 : 1;
}

int RunShow(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err) {
  auto root = LoadRuleSet(host, options.input, err);
  if (!root) return 1;
  const auto texts = LoadHostResources();  // the names shown beside codes and the parameters' labels
  kvx::platform::ResourceScope scope(texts.get());
  HeldRules rules(host);
  JsonRuleArray list(out, texts.get());
  const auto nodes = root->GetNodeList(L"Rule");
  for (int i = 0; i < nodes->GetSize(); ++i) {
    const auto node = nodes->GetItem(i);
    CKvxRule* rule = rules.AddFor(node.get());
    if (options.json) {
      list.Add(rule);
      continue;
    }
    std::wstring name;
    node->GetAttributeValue(L"Name", name);
    out << (rule ? RuleToLine(*rule) : "(no rule) " + Narrow(name)) << "\n";
  }
  if (options.json) list.Finish();
  return 0;
}

int RunConvert(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err) {
  if (!ReadsBack(options.lengthUnit) || !ReadsBack(options.angleUnit)) {
    const std::string unit = ReadsBack(options.lengthUnit) ? UnitName(AngleUnitNames(), options.angleUnit)
                                                           : UnitName(LengthUnitNames(), options.lengthUnit);
    err << "kvxim: a rule set in \"" << unit << "\" could not be read back in that unit; nothing was written\n";
    return 1;
  }
  auto root = LoadRuleSet(host, options.input, err);
  if (!root) return 1;
  const RuleUnitSystemStructure from{ReadUnitAttribute(*root, L"Unit"), ReadUnitAttribute(*root, L"AngularUnit")};
  const RuleUnitSystemStructure to{options.lengthUnit, options.angleUnit};

  HeldRules rules(host);
  std::vector<std::string> unconverted;
  std::vector<std::string> overflowing;
  const auto nodes = root->GetNodeList(L"Rule");
  for (int i = 0; i < nodes->GetSize(); ++i) {
    const auto node = nodes->GetItem(i);
    CKvxRule* rule = rules.AddFor(node.get());
    if (!rule) {
      // Rules of other modules, unknown ones and switched-off ones keep their values: they cannot be converted.
      unconverted.push_back(RuleName(*node));
      continue;
    }
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
  return SaveRuleSet(host, target, out, err) ? 0 : 1;
}

int RunDemo(ModuleHost& host, const CommandOptions& options, std::ostream& out, std::ostream& err) {
  CommandOptions listing = options;
  listing.json = false;
  out << "Rules of a fresh rule set:\n";
  RunRules(host, listing, out, err);
  const std::string file = options.output.empty() ? "factory-rules.xml" : options.output;
  out << "\n";
  if (!WriteFactoryRuleSet(host, file, out, err)) return 1;
  out << "loading it again:\n";
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
  kvx::platform::ResourceScope texts(library.get());
  const auto listing = [](const UnitNameTable& names, auto text) {
    ordered_json list = ordered_json::array();
    for (const int code : UnitCodes(names)) {
      ordered_json aliases = ordered_json::array();
      for (const auto& [name, value] : names) {
        if (value == code) aliases.push_back(name);
      }
      list.push_back({{"code", code}, {"name", aliases[0]}, {"text", Narrow(text(code))}, {"names", aliases}});
    }
    return list;
  };
  const ordered_json lengths = listing(LengthUnitNames(), kvx::params::LengthUnitText);
  const ordered_json angles = listing(AngleUnitNames(), kvx::params::AngleUnitText);
  if (options.json) {
    out << ordered_json{{"length", lengths}, {"angle", angles}}.dump(2) << "\n";
    return 0;
  }
  for (const auto& [title, units] : {std::pair{"length units:", &lengths}, std::pair{"angle units:", &angles}}) {
    out << title << "\n";
    for (const auto& unit : *units) {
      out << "  " << unit["code"] << "  " << unit["name"].get<std::string>() << "  " << unit["text"].get<std::string>()
          << "\n";
    }
  }
  return 0;
}

void AddRuleCommands(CLI::App& app, CommandTable& table) {
  auto options = std::make_shared<CommandOptions>();
  const auto withModule = [options](auto run) {
    return [options, run](ModuleHost* host) { return run(*host, *options, std::cout, std::cerr); };
  };
  const auto standalone = [options](auto run) {
    return [options, run](ModuleHost*) { return run(*options, std::cout, std::cerr); };
  };

  auto* rules = app.add_subcommand("rules", "list the rules of a fresh rule set, in order");
  rules->add_flag("--json", options->json, "print a JSON array of rule objects");
  table.push_back({rules, Needs::Module, withModule(RunRules)});

  auto* fresh = app.add_subcommand("new", "write a factory rule set");
  fresh->add_option("-o,--output", options->output, "rule-set file to write (-: standard output)")->required();
  table.push_back({fresh, Needs::Module, withModule(RunNew)});

  auto* show = app.add_subcommand("show", "load a rule set and show each rule");
  show->add_option("file", options->input, "rule-set file")->required();
  show->add_flag("--json", options->json, "print a JSON array, null where no rule was built");
  table.push_back({show, Needs::Module, withModule(RunShow)});

  auto* convert = app.add_subcommand("convert", "convert a rule set to other units");
  convert->add_option("file", options->input, "rule-set file")->required();
  AddUnitOption(convert, "--length", options->lengthUnit, LengthUnitNames(), "length unit: a name or a code")
      ->required()
      ->type_name("UNIT");
  AddUnitOption(convert, "--angle", options->angleUnit, AngleUnitNames(), "angle unit: a name or a code")
      ->required()
      ->type_name("UNIT");
  convert->add_option("-o,--output", options->output, "file to write (default: in place; -: standard output)");
  convert->add_flag("--keep-unconverted", options->keepUnconverted,
                    "convert the rules that can be and leave the others' values as they are (warns per rule)");
  convert->footer("Length units: " + JoinedNames(LengthUnitNames()) + "\nAngle units: " + JoinedNames(AngleUnitNames()));
  table.push_back({convert, Needs::Module, withModule(RunConvert)});

  auto* units = app.add_subcommand("units", "list the unit codes");
  units->add_flag("--json", options->json, "print JSON");
  table.push_back({units, Needs::Nothing, standalone(RunUnits)});

  auto* resource = app.add_subcommand("resource", "print one string of the module's resource library");
  resource->add_option("id", options->resourceId, "string id")->required();
  table.push_back({resource, Needs::Nothing, standalone(RunResource)});

  auto* demo = app.add_subcommand("demo", "list the rules, write a factory rule set and load it again");
  demo->add_option("-o,--output", options->output, "rule-set file to write (default: factory-rules.xml)");
  table.push_back({demo, Needs::Module, withModule(RunDemo)});
}

void AddMaterialsCommand(CLI::App& app, CommandTable& table) {
  auto json = std::make_shared<bool>(false);
  auto* materials = app.add_subcommand("materials", "list the materials of the material database");
  materials->add_flag("--json", *json, "print JSON");
  const auto run = [json](ModuleHost* host) {
    if (!host->Database()) {
      std::cerr << "kvxim: the material database library is not available\n";
      return 1;
    }
    return RunMaterialsCommand(*host->Database(), *json, std::cout, std::cerr);
  };
  table.push_back({materials, Needs::Module, run, /*reportsDatabaseItself=*/true});
}

}  // namespace kvxim
