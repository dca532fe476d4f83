// A host without a Qt application asks for dialogs: every dialog says that no user interface is available,
// reports Cancel and changes nothing; nothing crashes.
#include <gtest/gtest.h>

#include <QCoreApplication>

#include "../support/ModuleFixture.h"
#include "RuleTestSupport.h"
#include "kvx/framework/gui/QtUiServices.h"
#include "kvx/rules/CKVXIMMinRibClearanceRule.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/rules/RecoMoldTolDatabase.h"
#include "kvx/ui/qt/RuleDialogs.h"

namespace {

class NoApplicationTest : public kvx::test::ModuleFixture {
 protected:
  void SetUp() override {
    ModuleFixture::SetUp();
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
    kvx::rules::SetToleranceCollectorSource([] { return kvx::rules::ToleranceCollector{}; });
    KvxSetLastDialogResult(KVX_IDOK);
  }
  void TearDown() override {
    SetRecoMoldTolEditor({});
    kvx::rules::SetToleranceCollectorSource({});
    ModuleFixture::TearDown();
  }
  void ExpectRefused(int result) {
    EXPECT_EQ(result, KVX_IDCANCEL);
    EXPECT_EQ(KvxLastDialogResult(), KVX_IDCANCEL);
    ASSERT_EQ(messages_.messages.size(), 1u);
    EXPECT_EQ(messages_.messages[0].text, L"no user interface is available");
  }
};

TEST_F(NoApplicationTest, TheToleranceDialogIsRefused) {
  CKVXRecoMoldTolRule rule(nullptr);
  rule.AddMaterialConstraint(L"ABS", true, {{0, 3, 0.1, 0.002}});
  ExpectRefused(kvx::ui::qt::RunRecoMoldTolDialog(rule, L"mm"));
  EXPECT_EQ(rule.Constraints().size(), 1u);
}

TEST_F(NoApplicationTest, TheRegisteredEditorsOfTheRulesAreRefused) {
  kvx::ui::qt::RegisterRuleDialogs();
  CKVXRecoMoldTolRule tolerance(nullptr);
  tolerance.EditRule();
  EXPECT_EQ(KvxLastDialogResult(), KVX_IDCANCEL);
  CKVXIMMinRibClearanceRule clearance;
  KvxSetLastDialogResult(KVX_IDOK);
  clearance.EditRule();
  EXPECT_EQ(KvxLastDialogResult(), KVX_IDCANCEL);
  ASSERT_EQ(messages_.messages.size(), 2u);
  for (const auto& message : messages_.messages) EXPECT_EQ(message.text, L"no user interface is available");
  SetMinRibClearanceEditor({});
}

TEST_F(NoApplicationTest, TheRibClearanceAndGenericDialogsAreRefused) {
  kvx::test::HandMadeRule rule;
  ExpectRefused(kvx::ui::qt::RunMinRibClearanceDialog(rule, {}));
  messages_.messages.clear();
  QtRuleDialogService service;
  ExpectRefused(service.ConfigureRule(rule, {}));
  EXPECT_EQ(rule.Values(100), std::vector<double>{2.0});
}

TEST_F(NoApplicationTest, QtMessageBoxesFallBackToTheConsole) {
  QtMessageBoxService service;
  testing::internal::CaptureStderr();
  EXPECT_EQ(service.Show(L"text", L"Korvex", KvxMessageIcon::Exclamation), KVX_IDOK);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Korvex: text\n");
}

TEST(QtFileDialogFilter, TurnsTheFileFilterIntoQtsForm) {
  EXPECT_EQ(kvx::ui::qt::QtFileDialog::QtFilter(L"XLS Files (*.xls;*.xlsx)|*.xls; *.xlsx|"),
            QStringLiteral("XLS Files (*.xls *.xlsx)"));
  EXPECT_EQ(kvx::ui::qt::QtFileDialog::QtFilter(L"(*.prt.*;*.prt)|*.prt.*;*.prt |(*.asm.*;*.asm)|*.asm.*;*.asm||"),
            QStringLiteral("*.prt.* *.prt (*.prt.* *.prt);;*.asm.* *.asm (*.asm.* *.asm)"));
  EXPECT_EQ(kvx::ui::qt::QtFileDialog::QtFilter(L""), QString());
}

}  // namespace
