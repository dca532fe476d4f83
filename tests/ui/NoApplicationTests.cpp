// A host without a Qt application asks for dialogs: every dialog says that no user interface is available,
// reports Cancel and changes nothing; nothing crashes.
#include <gtest/gtest.h>

#include <QCoreApplication>

#include "../support/ModuleFixture.h"
#include "../support/ScopedEnv.h"
#include "RuleTestSupport.h"
#include "kvx/framework/gui/QtUiServices.h"
#include "kvx/rules/CKVXIMMinRibClearanceRule.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/ui/qt/RuleDialogs.h"

namespace {

class NoApplicationTest : public kvx::test::ModuleFixture {
 protected:
  void SetUp() override {
    ModuleFixture::SetUp();
    ASSERT_EQ(QCoreApplication::instance(), nullptr);
  }
  // Runs `ask` and expects `refusal` with the one message.
  template <typename Ask>
  void ExpectRefused(Ask ask, int refusal = KVX_IDCANCEL) {
    messages_.messages.clear();
    EXPECT_EQ(ask(), refusal);
    ASSERT_EQ(messages_.messages.size(), 1u);
    EXPECT_EQ(messages_.messages[0].text, L"no user interface is available");
  }
  // Without a display the dialog service makes no Qt application either.
  kvx::test::ScopedEnv noPlatform_{"QT_QPA_PLATFORM", nullptr};
  kvx::test::ScopedEnv noDisplay_{"DISPLAY", nullptr};
  kvx::test::ScopedEnv noWayland_{"WAYLAND_DISPLAY", nullptr};
  kvx::test::NoMaterialDatabase noDatabase_;
};

// Every dialog is refused and changes nothing; message boxes fall back to the console.
TEST_F(NoApplicationTest, EveryDialogIsRefusedAndMessageBoxesFallBackToTheConsole) {
  CKVXRecoMoldTolRule tolerance(nullptr);
  tolerance.AddMaterialConstraint(L"ABS", true, {{0, 3, 0.1, 0.002}});
  ExpectRefused([&] { return kvx::ui::qt::RunRecoMoldTolDialog(tolerance, L"mm"); });
  EXPECT_EQ(tolerance.Constraints().size(), 1u);
  kvx::test::HandMadeRule rule;
  ExpectRefused([&] { return kvx::ui::qt::RunMinRibClearanceDialog(rule, {}); });
  QtRuleDialogService service;
  ExpectRefused([&] { return service.ConfigureRule(rule, {}); });
  EXPECT_EQ(rule.Values(100), std::vector<double>{2.0});

  // The dialog library's service, as the module hands it to its rules.
  kvx::ui::qt::RuleDialogService dialogs(kvx::params::Module(), L"german");
  tolerance.SetDialogService(&dialogs);
  ExpectRefused([&] { tolerance.EditRule(); return tolerance.LastDialogResult(); }, KVX_DIALOG_UNAVAILABLE);
  CKVXIMMinRibClearanceRule clearance;
  clearance.SetDialogService(&dialogs);
  ExpectRefused([&] { clearance.EditRule(); return clearance.LastDialogResult(); }, KVX_DIALOG_UNAVAILABLE);
  EXPECT_EQ(QCoreApplication::instance(), nullptr);

  QtMessageBoxService boxes;
  testing::internal::CaptureStderr();
  EXPECT_EQ(boxes.Show(L"text", L"Korvex", KvxMessageIcon::Exclamation), KVX_IDOK);
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
