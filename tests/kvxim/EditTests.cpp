// `kvxim edit`: the command as a process (rules it cannot find, a machine without a display, a build
// without Qt), and, with Qt, the command in this process with its dialogs driven offscreen: accepted
// untouched it writes the rule set unchanged, an edited limit is what `kvxim show` then shows, and Cancel
// writes nothing. (Typing into the tolerance dialog's table is the dialog tests' business.)
#include "../support/KvximProcess.h"
#include "../support/ScopedEnv.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#ifdef KVXIM_WITH_QT
#include <QApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <QTimer>
#include <clocale>
#include <functional>

#include "EditCommand.h"
#include "ModuleHost.h"
#include "kvx/platform/Text.h"
#endif

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

using Result = kvx::test::ProcessResult;
using kvx::test::ReadTextFile;

// Each test starts from a fresh rule set, rules.xml.
class EditCommand : public kvx::test::KvximFolder {
 protected:
  void SetUp() override {
    KvximFolder::SetUp();
    const Result made = Run("new -o '" + Path("rules.xml") + "'");
    ASSERT_EQ(made.exitCode, 0) << made.err;
    original_ = ReadTextFile(Path("rules.xml"));
  }
  std::string original_;
};

constexpr char kNoDisplay[] = "env -u QT_QPA_PLATFORM -u DISPLAY -u WAYLAND_DISPLAY";

// Errors exit non-zero, say why and write nothing; without a display the module says so itself.
TEST_F(EditCommand, ErrorsSayWhyAndWriteNothing) {
  const std::string edit = "edit '" + Path("rules.xml") + "' ";
  const struct {
    std::string args;
    const char* environment;
    std::vector<std::string> mentions;
  } cases[] = {
      {edit + "--rule 'No such rule' -o '" + Path("out.xml") + "'", "", {"has no rule \"No such rule\""}},
      {"edit '" + Path("missing.xml") + "' --rule 12150", "", {}},
      {edit, "", {}},  // --rule is required
      {edit + "--rule 12150", kNoDisplay, {"Korvex: ", "nothing was written"}},
      {edit + "--rule 'recommended moulding tolerance'", kNoDisplay, {"Korvex: ", "nothing was written"}},
  };
  for (const auto& entry : cases) {
    const Result result = Run(entry.args, entry.environment);
    EXPECT_NE(result.exitCode, 0) << entry.args;
    EXPECT_FALSE(result.err.empty()) << entry.args;
    for (const std::string& text : entry.mentions) EXPECT_NE(result.err.find(text), std::string::npos) << result.err;
  }
  EXPECT_FALSE(fs::exists(Path("out.xml")));
  EXPECT_EQ(ReadTextFile(Path("rules.xml")), original_);
}

#ifdef KVXIM_WITH_QT

// The command in this process: the module is loaded from the build's bin folder, and `script` is played
// on the dialog that EditRule opens. Message boxes that show up meanwhile are counted and closed.
class EditInProcess : public EditCommand {
 protected:
  void SetUp() override {
    EditCommand::SetUp();
    materials_.emplace("KVX_MATERIAL_DB", Path("materials.sqlite"));
  }

  int Edit(const std::string& rule, const std::string& output, const std::function<void(QDialog&)>& script) {
    std::wstring error, warning;
    auto host = kvxim::ModuleHost::Load(L"", error, warning);
    EXPECT_TRUE(host) << kvx::platform::Narrow(error);
    if (!host) return -1;
    bool played = false;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
      QWidget* modal = QApplication::activeModalWidget();
      if (auto* box = qobject_cast<QMessageBox*>(modal)) {
        ++messageBoxes_;
        box->accept();
      } else if (auto* dialog = qobject_cast<QDialog*>(modal); dialog && !played) {
        played = true;
        script(*dialog);
      }
    });
    timer.start(20);
    std::ostringstream out, err;
    const int code = kvxim::RunEdit(*host, {Path("rules.xml"), rule, output.empty() ? "" : Path(output)}, out, err);
    EXPECT_TRUE(played) << "no dialog was shown: " << err.str();
    errors_ = err.str();
    return code;
  }

  // Rule `id` as `kvxim show` gives it from rules.xml.
  json Shown(int id) {
    for (const auto& rule : Json("show --json '" + Path("rules.xml") + "'")) {
      if (!rule.is_null() && rule["id"] == id) return rule;
    }
    return json::object();
  }

  kvx::test::ScopedEnv moduleDir_{"KVX_MODULE_DIR", KVX_BIN_DIR};
  std::optional<kvx::test::ScopedEnv> materials_;
  int messageBoxes_ = 0;
  std::string errors_;
};

TEST_F(EditInProcess, AcceptedUntouchedTheRuleSetIsWrittenUnchangedAndCancelWritesNothing) {
  for (const char* rule : {"12150", "12220", "12174"}) {
    const auto ok = [rule](QDialog& dialog) {
      // The tolerance rule opens its own table dialog, the others the generic one.
      EXPECT_EQ(dialog.findChild<QTableView*>(QStringLiteral("toleranceTable")) != nullptr, rule == std::string("12174"));
      dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    };
    ASSERT_EQ(Edit(rule, "out.xml", ok), kvxim::kEditSaved) << errors_;
    EXPECT_EQ(ReadTextFile(Path("out.xml")), original_) << rule;
    ASSERT_EQ(Edit(rule, "", ok), kvxim::kEditSaved) << errors_;
    EXPECT_EQ(ReadTextFile(Path("rules.xml")), original_) << rule;
  }
  EXPECT_EQ(messageBoxes_, 0);
  fs::remove(Path("out.xml"));
  EXPECT_EQ(Edit("Recommended Moulding TOLERANCE", "out.xml", [](QDialog& dialog) { dialog.reject(); }),
            kvxim::kEditCancelled);
  EXPECT_FALSE(fs::exists(Path("out.xml")));
  EXPECT_EQ(ReadTextFile(Path("rules.xml")), original_);
}

// The generic dialog edits the values the summary and the checks read (the "Default" entry's), labelled with
// the parameters' names; `show` then prints the new limit in the summary, the rule and its entry alike.
TEST_F(EditInProcess, AnEditedLimitIsWhatTheSummaryTheEntryAndTheFileHold) {
  QStringList labels;
  const int code = Edit("12150", "", [&](QDialog& dialog) {
    for (const QLabel* label : dialog.findChildren<QLabel*>()) labels << label->text();
    QLineEdit* blind = dialog.findChildren<QLineEdit*>().value(0);
    ASSERT_NE(blind, nullptr);
    blind->selectAll();
    QTest::keyClicks(blind, "3.5");
    dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
  });
  ASSERT_EQ(code, kvxim::kEditSaved) << errors_;
  EXPECT_TRUE(labels.contains(QStringLiteral("Blind hole depth / diameter"))) << labels.join(", ").toStdString();

  json rule = Shown(12150);
  ASSERT_TRUE(rule["summary"].is_string());
  EXPECT_NE(rule["summary"].get<std::string>().find("3.5"), std::string::npos) << rule["summary"];
  EXPECT_EQ(rule["parameters"][0]["values"], json::array({3.5}));
  EXPECT_EQ(rule["parameters"][0]["label"], "Blind hole depth / diameter");
  EXPECT_EQ(rule["constraints"][0]["name"], "Default");
  EXPECT_EQ(rule["constraints"][0]["parameters"][0]["values"], json::array({3.5}));
  EXPECT_EQ(rule["constraints"][0]["parameters"][1]["values"], json::array({4.0})) << "an untouched limit";
}

#endif

}  // namespace

#ifdef KVXIM_WITH_QT
// The in-process tests run in an offscreen Qt application that the command finds and keeps.
int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  ::testing::InitGoogleTest(&argc, argv);
  QApplication application(argc, argv);
  std::setlocale(LC_NUMERIC, "C");
  return RUN_ALL_TESTS();
}
#endif
