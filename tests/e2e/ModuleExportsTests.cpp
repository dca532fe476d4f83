// The module as a host sees it: loaded by path, driven only through its seven exports.
#include <cstdio>
#include <set>

#include "ModuleLoader.h"

namespace kvx::test {
namespace {

std::vector<int> Ids(const std::vector<CKvxRule*>& rules) {
  std::vector<int> ids;
  for (const CKvxRule* rule : rules) ids.push_back(rule->m_iRuleId);
  return ids;
}

// Builds the rule of a "Rule" element with the given attributes inside a "RuleSet".
CKvxRule* RuleFor(LoadedModule& module, const std::string& name, const std::string& moduleKey = "KvxIMRulesValidator") {
  std::wstring error;
  const std::string xml = "<RuleSet Unit=\"0\" AngularUnit=\"0\"><Rule Name=\"" + name + "\" Module=\"" + moduleKey +
                          "\"/></RuleSet>";
  EXPECT_TRUE(module.document.LoadText(xml, error));
  auto node = module.document.GetRootNode()->SelectSingleNode(L"Rule");
  CKvxRule* rule = nullptr;
  module.GetRule(node.get(), &rule);
  return rule;
}

const std::vector<int> kFreshOrder = {12010, 12040, 12050, 12060, 12070, 12090, 12100, 12030, 12080, 12110,
                                      12220, 12174, 12210, 12178, 12150, 12176, 12120, 12140, 12160, 12180};

TEST(ModuleExports, OnlyTheSevenEntryPointsAreExported) {
  const std::string command = "nm -D --defined-only " + std::string(KVX_BIN_DIR) + "/libKVXIMRulesu.so";
  FILE* pipe = popen(command.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::set<std::string> exported;
  char line[512];
  while (std::fgets(line, sizeof line, pipe)) {
    char type = 0;
    char name[400] = {};
    if (std::sscanf(line, "%*s %c %399s", &type, name) == 2) exported.insert(name);
  }
  pclose(pipe);
  const std::set<std::string> expected = {"SetXMLDoc",  "SetDBModuleList", "GetModuleName", "GetModuleSummary",
                                          "GetRule",    "GetAllRules",     "DeleteRule"};
  EXPECT_EQ(exported, expected);
}

TEST(ModuleExports, NameAndSummaryComeFromTheLocalizedLibrary) {
  // Each load starts the module afresh, so each language needs a load of its own.
  std::wstring englishName;
  {
    ScopedEnv english("KVX_LANGUAGE", "english");
    LoadedModule module;
    module.GetModuleName(&englishName);
  }
  ScopedEnv language("KVX_LANGUAGE", "german");
  LoadedModule module;
  std::wstring name, summary;
  module.GetModuleName(&name);
  module.GetModuleSummary(&summary);
  EXPECT_FALSE(name.empty());
  EXPECT_FALSE(summary.empty());
  EXPECT_NE(name, englishName);
}

TEST(ModuleExports, FreshRuleSetHasTheFixedOrderAndTheBetaGate) {
  {
    ScopedEnv beta("ZVX_BETA_RULES", nullptr);
    LoadedModule module;
    auto rules = module.AllRules();
    EXPECT_EQ(Ids(rules), kFreshOrder);
    for (const CKvxRule* rule : rules) {
      EXPECT_EQ(rule->m_category, 9) << rule->m_iRuleId;
      EXPECT_EQ(rule->m_csModuleName, L"KvxIMRulesValidator") << rule->m_iRuleId;
    }
    module.Release(rules);
  }
  for (const char* closed : {"true", " 1", "1 ", "0", ""}) {
    ScopedEnv beta("ZVX_BETA_RULES", closed);
    LoadedModule module;
    auto rules = module.AllRules();
    EXPECT_EQ(rules.size(), kFreshOrder.size()) << "ZVX_BETA_RULES=\"" << closed << "\"";
    module.Release(rules);
  }
  LoadedModule module;
  ScopedEnv beta("ZVX_BETA_RULES", "1");  // read afresh at every call, not at start-up
  auto rules = module.AllRules();
  std::vector<int> expected = kFreshOrder;
  expected.insert(expected.end() - 1, 14090);
  EXPECT_EQ(Ids(rules), expected);
  module.Release(rules);
}

TEST(ModuleExports, GetRuleChecksTheModuleKeyIgnoringCase) {
  LoadedModule module;
  CKvxRule* rule = RuleFor(module, "Hole Depth to Diameter Ratio", "kvximrulesvalidator");
  ASSERT_NE(rule, nullptr);
  EXPECT_EQ(rule->m_iRuleId, 12150);
  module.DeleteRule(&rule);
  EXPECT_EQ(rule, nullptr);
  EXPECT_EQ(RuleFor(module, "Hole Depth to Diameter Ratio", ""), nullptr);
  EXPECT_EQ(RuleFor(module, "Hole Depth to Diameter Ratio", "KvxSheetMetalValidator"), nullptr);
  EXPECT_EQ(RuleFor(module, "No Such Rule"), nullptr);
  CKvxRule* none = nullptr;
  module.GetRule(nullptr, &none);
  EXPECT_EQ(none, nullptr);
  module.DeleteRule(&none);  // a null rule is left alone
  EXPECT_EQ(none, nullptr);
}

TEST(ModuleExports, NamesMatchIgnoringCaseAndBothNamesOfTwoNameRowsLoad) {
  LoadedModule module;
  for (const char* name : {"Spacing Between Holes", "Hole Spacing", "hole spacing"}) {
    CKvxRule* rule = RuleFor(module, name);
    ASSERT_NE(rule, nullptr) << name;
    EXPECT_EQ(rule->m_iRuleId, 12160);
    module.DeleteRule(&rule);
  }
  ScopedEnv closed("ZVX_BETA_RULES", nullptr);
  EXPECT_EQ(RuleFor(module, "Undercut Interference Check"), nullptr);
  ScopedEnv open("ZVX_BETA_RULES", "1");
  for (const char* name : {"Undercut Interference", "Undercut Interference Check"}) {
    CKvxRule* rule = RuleFor(module, name);
    ASSERT_NE(rule, nullptr) << name;
    EXPECT_EQ(rule->m_iRuleId, 14090);
    module.DeleteRule(&rule);
  }
}

TEST(ModuleExports, AFreshSpacingRuleWritesItsOlderKeyName) {
  LoadedModule module;
  auto rules = module.AllRules();
  for (const CKvxRule* rule : rules) {
    if (rule->m_iRuleId == 12160) {
      EXPECT_EQ(rule->m_csRuleName, L"Spacing Between Holes");
    }
  }
  module.Release(rules);
}

TEST(ModuleExports, RulesOutsideTheCatalogueAreNeverBuilt) {
  LoadedModule module;
  EXPECT_EQ(RuleFor(module, "Lip Bottom Radius"), nullptr);
  EXPECT_EQ(RuleFor(module, "Minimum Rib Clearance"), nullptr);
  auto rules = module.AllRules();
  for (const CKvxRule* rule : rules) {
    EXPECT_NE(rule->m_iRuleId, 12172);
    EXPECT_NE(rule->m_iRuleId, 12020);
  }
  module.Release(rules);
}

TEST(ModuleExports, GetRuleWithARuleAlreadyInPlacePopulatesThatRule) {
  LoadedModule module;
  auto rules = module.AllRules();
  CKvxRule* hole = nullptr;
  for (CKvxRule*& rule : rules) {
    if (rule->m_iRuleId == 12150) std::swap(hole, rule);
  }
  ASSERT_NE(hole, nullptr);
  std::wstring error;
  ASSERT_TRUE(module.document.LoadText(
      "<RuleSet><Rule Name=\"Boss Draft Angle\" Module=\"KvxIMRulesValidator\" Status=\"7\"/></RuleSet>", error));
  auto node = module.document.GetRootNode()->SelectSingleNode(L"Rule");
  CKvxRule* passed = hole;
  module.GetRule(node.get(), &passed);
  EXPECT_EQ(passed, hole);                       // no new rule was built...
  EXPECT_EQ(hole->m_lRuleStatus, 7);             // ...but the one handed in read the node
  EXPECT_EQ(hole->m_csRuleName, L"Boss Draft Angle");
  module.DeleteRule(&hole);
  module.Release(rules);
}

TEST(ModuleExports, NamesStayEnglishInEveryLanguage) {
  ScopedEnv language("KVX_LANGUAGE", "german");
  LoadedModule module;
  auto rules = module.AllRules();
  for (const CKvxRule* rule : rules) {
    if (rule->m_iRuleId == 12150) {
      EXPECT_EQ(rule->m_csRuleName, L"Hole Depth to Diameter Ratio");
      EXPECT_NE(rule->m_csDisplayName, rule->m_csRuleName);
    }
  }
  module.Release(rules);
  CKvxRule* rule = RuleFor(module, "Hole Depth to Diameter Ratio");
  ASSERT_NE(rule, nullptr);
  module.DeleteRule(&rule);
}

TEST(ModuleExports, EveryRuleRoundTripsThroughTheDocument) {
  LoadedModule module;
  auto rules = module.AllRules();
  auto root = module.document.CreateRootNode(L"RuleSet");
  root->AddAttribute(L"Unit", L"0");
  root->AddAttribute(L"AngularUnit", L"0");
  for (CKvxRule* rule : rules) {
    auto node = rule->GetXML();
    ASSERT_NE(node, nullptr) << rule->m_iRuleId;
    root->AppendNode(node.get());
  }
  const std::string saved = module.document.ToText();
  std::wstring error;
  ASSERT_TRUE(module.document.LoadText(saved, error));
  const auto nodes = module.document.GetRootNode()->GetNodeList(L"Rule");
  ASSERT_EQ(nodes->GetSize(), static_cast<int>(rules.size()));
  for (int i = 0; i < nodes->GetSize(); ++i) {
    const CKvxRule* original = rules[static_cast<size_t>(i)];
    CKvxRule* loaded = nullptr;
    module.GetRule(nodes->GetItem(i).get(), &loaded);
    ASSERT_NE(loaded, nullptr) << original->m_iRuleId;
    EXPECT_EQ(loaded->m_iRuleId, original->m_iRuleId);
    EXPECT_EQ(loaded->m_csRuleName, original->m_csRuleName);
    ASSERT_EQ(loaded->Parameters().size(), original->Parameters().size()) << original->m_iRuleId;
    for (size_t p = 0; p < loaded->Parameters().size(); ++p) {
      EXPECT_EQ(loaded->Parameters()[p]->lId, original->Parameters()[p]->lId);
      EXPECT_EQ(loaded->Parameters()[p]->iOperator, original->Parameters()[p]->iOperator);
      EXPECT_EQ(loaded->Parameters()[p]->DescribeValues(), original->Parameters()[p]->DescribeValues())
          << original->m_iRuleId << " parameter " << loaded->Parameters()[p]->lId;
    }
    ASSERT_EQ(loaded->Constraints().size(), original->Constraints().size()) << original->m_iRuleId;
    module.DeleteRule(&loaded);
  }
  module.Release(rules);
}

TEST(ModuleExports, SetDBModuleListAndSetXMLDocAcceptEdgeValues) {
  LoadedModule module;
  module.SetDBModuleList(nullptr);
  const KvxStringList modules{L"a", L"b"};
  module.SetDBModuleList(&modules);
  module.SetXMLDoc(nullptr);
  auto rules = module.AllRules();
  ASSERT_FALSE(rules.empty());
  EXPECT_EQ(rules.front()->GetXML(), nullptr);  // no document: the writer makes no node
  module.Release(rules);
  module.SetXMLDoc(&module.document);
}

}  // namespace
}  // namespace kvx::test
