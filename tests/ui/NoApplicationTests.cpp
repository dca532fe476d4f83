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
  }
  void TearDown() override {
    SetRecoMoldTolEditor({});
    SetMinRibClearanceEditor({});
    kvx::rules::SetToleranceCollectorSource({});
    ModuleFixture::TearDown();
  }
  // Runs `ask` and expects Cancel, both returned and recorded, with the one message.
  template <typename Ask>
  void ExpectRefused(Ask ask) {
    messages_.messages.clear();
    KvxSetLastDialogResult(KVX_IDOK);
    const int result = ask();
    EXPECT_EQ(result, KVX_IDCANCEL);
    EXPECT_EQ(KvxLastDialogResult(), KVX_IDCANCEL);
    ASSERT_EQ(messages_.messages.size(), 1u);
    EXPECT_EQ(messages_.messages[0].text, L"no user interface is available");
  }
};

TEST_F(NoApplicationTest, EveryDialogIsRefusedAndChangesNothing) {
  CKVXRecoMoldTolRule tolerance(nullptr);
  tolerance.AddMaterialConstraint(L"ABS", true, {{0, 3, 0.1, 0.002}});
  ExpectRefused([&] { return kvx::ui::qt::RunRecoMoldTolDialog(tolerance, L"mm"); });
  EXPECT_EQ(tolerance.Constraints().size(), 1u);
  kvx::test::HandMadeRule rule;
  ExpectRefused([&] { return kvx::ui::qt::RunMinRibClearanceDialog(rule, {}); });
  QtRuleDialogService service;
  ExpectRefused([&] { return service.ConfigureRule(rule, {}); });
  EXPECT_EQ(rule.Values(100), std::vector<double>{2.0});

  kvx::ui::qt::RegisterRuleDialogs();  // the rules' own editors
  ExpectRefused([&] { tolerance.EditRule(); return KvxLastDialogResult(); });
  CKVXIMMinRibClearanceRule clearance;
  ExpectRefused([&] { clearance.EditRule(); return KvxLastDialogResult(); });
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
