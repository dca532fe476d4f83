// The places a new rule must be added to (docs/adding-a-rule.md), checked for every catalogue row: its names
// have a text in every language, it builds, a saved rule of it loads back as the same rule, and an own
// rule's picture exists in every language.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "../support/ModuleFixture.h"
#include "../support/ScopedEnv.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/module/RuleCatalogue.h"
#include "kvx/rules/KVXIMRuleFrame.h"

namespace kvx::test {
namespace {

class Catalogue : public ModuleFixture {};

// Every language that has a string table in resources/ is checked: a new language needs no change here.
TEST_F(Catalogue, EveryRowIsNamedInEveryLanguageAndLoadsBackAsItself) {
  std::vector<std::unique_ptr<kvx::platform::ResourceLibrary>> libraries;
  for (const auto& entry : std::filesystem::directory_iterator(KVX_SOURCE_DIR "/resources")) {
    if (!std::filesystem::exists(entry.path() / "strings.txt")) continue;
    libraries.push_back(kvx::platform::ResourceLibrary::Load(ResourceLibraryPath(entry.path().filename().string())));
    ASSERT_TRUE(libraries.back()) << "the " << entry.path().filename() << " resource library is not built";
  }
  ASSERT_GE(libraries.size(), 2u);
  ScopedEnv beta("ZVX_BETA_RULES", "1");  // beta-only rows are found by name only then
  const std::wstring moduleName = L"Module";
  std::set<int> ruleIds;
  for (const kvx::module::CatalogueRow& row : kvx::module::CatalogueRows()) {
    SCOPED_TRACE("row of name id " + std::to_string(row.nameId));
    for (const auto& library : libraries) {
      EXPECT_FALSE(library->String(row.nameId).value_or(L"").empty());
      EXPECT_TRUE(row.otherNameId == 0 || !library->String(row.otherNameId).value_or(L"").empty());
    }
    std::unique_ptr<CKvxRule> rule(row.build({moduleName, nullptr}));
    ASSERT_NE(rule, nullptr);
    EXPECT_TRUE(ruleIds.insert(rule->m_iRuleId).second) << "rule id " << rule->m_iRuleId << " twice";

    // A rule set stores the key name; loading it must find this row's class again.
    CKvxRule* loaded = nullptr;
    kvx::module::BuildRuleByName(rule->m_csRuleName, moduleName, nullptr, &loaded);
    std::unique_ptr<CKvxRule> owned(loaded);
    ASSERT_NE(loaded, nullptr) << "no row is found by " << kvx::platform::Narrow(rule->m_csRuleName);
    EXPECT_EQ(loaded->m_iRuleId, rule->m_iRuleId);

    if (const auto* own = dynamic_cast<const CKVXIMRuleFrame*>(rule.get()); own && own->Definition().pictureId) {
      for (const auto& library : libraries) EXPECT_FALSE(library->PictureById(own->Definition().pictureId).empty());
    }
  }
}

}  // namespace
}  // namespace kvx::test
