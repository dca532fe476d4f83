// The module as a host sees it: loaded by path, driven only through its seven exports.
#include <set>
#include <sstream>

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
                          "\" Status=\"7\"/></RuleSet>";
  EXPECT_TRUE(module.document.LoadText(xml, error));
  auto node = module.document.GetRootNode()->SelectSingleNode(L"Rule");
  CKvxRule* rule = nullptr;
  module.GetRule(node.get(), &rule);
  return rule;
}

// Rules 12172 and 12020 are outside the catalogue: never in a fresh set.
const std::vector<int> kFreshOrder = {12010, 12040, 12050, 12060, 12070, 12090, 12100, 12030, 12080, 12110,
                                      12220, 12174, 12210, 12178, 12150, 12176, 12120, 12140, 12160, 12180};

TEST(ModuleExports, OnlyTheSevenEntryPointsAreExported) {
  std::istringstream listing(CommandOutput("nm -D --defined-only " KVX_BIN_DIR "/libKVXIMRulesu.so"));
  std::set<std::string> exported;
  for (std::string address, type, name; listing >> address >> type >> name;) exported.insert(name);
  EXPECT_EQ(exported, (std::set<std::string>{"SetXMLDoc", "SetDBModuleList", "GetModuleName", "GetModuleSummary",
                                             "GetRule", "GetAllRules", "DeleteRule"}));
}

// Each load starts the module afresh, so each language needs a load of its own. Texts are the localized
// library's; names, the keys saved rule sets store, stay English.
TEST(ModuleExports, TextsComeFromTheLocalizedLibraryAndNamesStayEnglish) {
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
  auto rules = module.AllRules();
  for (const CKvxRule* rule : rules) {
    if (rule->m_iRuleId == 12150) {
      EXPECT_EQ(rule->m_csRuleName, L"Hole Depth to Diameter Ratio");
      EXPECT_NE(rule->m_csDisplayName, rule->m_csRuleName);
    }
    // A fresh spacing rule writes its older key name.
    if (rule->m_iRuleId == 12160) {
      EXPECT_EQ(rule->m_csRuleName, L"Spacing Between Holes");
    }
  }
  module.Release(rules);
}

TEST(ModuleExports, FreshRuleSetHasTheFixedOrderAndTheBetaGate) {
  for (const char* closed : {static_cast<const char*>(nullptr), "true", " 1", "1 ", "0", ""}) {
    ScopedEnv beta("ZVX_BETA_RULES", closed);
    LoadedModule module;
    auto rules = module.AllRules();
    EXPECT_EQ(Ids(rules), kFreshOrder) << "ZVX_BETA_RULES=\"" << (closed ? closed : "(unset)") << "\"";
    for (const CKvxRule* rule : rules) {
      EXPECT_EQ(rule->m_category, 9) << rule->m_iRuleId;
      EXPECT_EQ(rule->m_csModuleName, L"KvxIMRulesValidator") << rule->m_iRuleId;
    }
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

// Names and module keys match ignoring case; both names of a two-name row load; rules outside the
// catalogue, other modules' rules and beta rules with the gate closed are never built.
TEST(ModuleExports, GetRuleBuildsOnlyTheModulesOwnCatalogueRules) {
  const struct {
    const char* name;
    const char* moduleKey;
    const char* beta;
    int id;  // 0: no rule
  } cases[] = {
      {"Hole Depth to Diameter Ratio", "kvximrulesvalidator", nullptr, 12150},
      {"Hole Depth to Diameter Ratio", "", nullptr, 0},
      {"Hole Depth to Diameter Ratio", "KvxSheetMetalValidator", nullptr, 0},
      {"No Such Rule", "KvxIMRulesValidator", nullptr, 0},
      {"Lip Bottom Radius", "KvxIMRulesValidator", nullptr, 0},
      {"Minimum Rib Clearance", "KvxIMRulesValidator", nullptr, 0},
      {"Spacing Between Holes", "KvxIMRulesValidator", nullptr, 12160},
      {"hole spacing", "KvxIMRulesValidator", nullptr, 12160},
      {"Undercut Interference Check", "KvxIMRulesValidator", nullptr, 0},
      {"Undercut Interference", "KvxIMRulesValidator", "1", 14090},
      {"Undercut Interference Check", "KvxIMRulesValidator", "1", 14090},
  };
  LoadedModule module;
  for (const auto& entry : cases) {
    ScopedEnv beta("ZVX_BETA_RULES", entry.beta);
    CKvxRule* rule = RuleFor(module, entry.name, entry.moduleKey);
    EXPECT_EQ(rule ? rule->m_iRuleId : 0, entry.id) << entry.name << " in " << entry.moduleKey;
    module.DeleteRule(&rule);
    EXPECT_EQ(rule, nullptr);
  }
  CKvxRule* none = nullptr;
  module.GetRule(nullptr, &none);
  EXPECT_EQ(none, nullptr);
  module.DeleteRule(&none);  // a null rule is left alone
}

TEST(ModuleExports, GetRuleWithARuleAlreadyInPlacePopulatesThatRuleAndEdgeValuesAreTaken) {
  LoadedModule module;
  auto rules = module.AllRules();
  CKvxRule* hole = nullptr;
  for (CKvxRule*& rule : rules) {
    if (rule->m_iRuleId == 12150) std::swap(hole, rule);
  }
  ASSERT_NE(hole, nullptr);
  CKvxRule* built = RuleFor(module, "Boss Draft Angle");  // loads the node
  module.DeleteRule(&built);
  CKvxRule* passed = hole;
  module.GetRule(module.document.GetRootNode()->SelectSingleNode(L"Rule").get(), &passed);
  EXPECT_EQ(passed, hole);                       // no new rule was built...
  EXPECT_EQ(hole->m_lRuleStatus, 7);             // ...but the one handed in read the node
  EXPECT_EQ(hole->m_csRuleName, L"Boss Draft Angle");
  // Edge values: no module list, and no document, where the writer makes no node.
  module.SetDBModuleList(nullptr);
  const KvxStringList modules{L"a", L"b"};
  module.SetDBModuleList(&modules);
  module.SetXMLDoc(nullptr);
  EXPECT_EQ(hole->GetXML(), nullptr);
  module.SetXMLDoc(&module.document);
  module.DeleteRule(&hole);
  module.Release(rules);
}

}  // namespace
}  // namespace kvx::test
