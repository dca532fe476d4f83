#pragma once
// The moulding tolerance table dialog without a toolkit (CKVXRecoMoldTolDlg): the material map and the
// current material, the two lists, the severity choice, the spreadsheet import, the check before OK and
// writing the table back into the rule. The Qt view shows it and forwards the user's input.
#include <map>
#include <string>
#include <vector>

#include "kvx/platform/Resources.h"
#include "kvx/rules/CKVXRecoMoldTolRule.h"
#include "kvx/ui/DialogSupport.h"
#include "kvx/ui/RecMoldTolListCtrl.h"

namespace kvx::ui {

// What the dialog tells its view beyond the lists.
class IRecoMoldTolDlgView {
 public:
  virtual ~IRecoMoldTolDlgView();
  // Show combo box entry `index` (-1: none) as selected.
  virtual void ShowSeverity(int index) = 0;
};

// How a spreadsheet import ended.
enum class ImportResult {
  Imported,         // the current material's rows were replaced by the sheet's
  NoMaterial,       // no material is selected: message 2215, no file asked for
  Cancelled,        // the file dialog was cancelled
  ReadFailed,       // the file could not be read, or a column is empty: the reader's message
  Refused,          // a row's Up to, A value or B value is not greater than 0: message 2455
  NothingToImport,  // no row under the header: nothing changed
};

// The result of checking a sheet's rows from the second on.
struct SheetCheck {
  bool passed = false;
  bool stoppedEarly = false;  // a row without Over ended the check
  size_t endRow = 0;          // index of the first row not taken (the stop, or the end of the sheet)
};

class CKVXRecoMoldTolDlg {
 public:
  // Controls and codes of the dialog.
  static constexpr int kDialogTemplate = 2502;
  static constexpr int kMaterialListId = 2509;
  static constexpr int kToleranceTableId = 2510;
  static constexpr int kSeverityComboId = 2505;
  static constexpr int kPictureId = 2506;
  static constexpr int kNominalCaptionId = 2527;
  static constexpr int kToleranceCaptionId = 2528;
  static constexpr int kAddMaterialCode = 102;
  static constexpr int kDeleteMaterialCode = 103;
  static constexpr int kSelectMaterialCode = 100;
  static constexpr int kCopyTableCode = 101;
  static constexpr unsigned kOpenFileOptions = IFileDialog::kFileMustExist | IFileDialog::kHideReadOnly;  // 4100
  static constexpr int kColumnWidth = 77;
  static constexpr int kMaterialColumnWidth = 115;
  static constexpr int kBlankRowThreshold = 200;

  using MaterialMap = std::map<std::wstring, std::vector<ToleranceRow>>;

  // `rule` may be null (nothing is filled and OK only closes); `files` asks for the spreadsheet.
  CKVXRecoMoldTolDlg(CKVXRecoMoldTolRule* rule, IFileDialog& files);

  // The display text of the rule's length unit, set before the dialog opens.
  void SetUnitText(const std::wstring& unitText) { unitText_ = unitText; }
  void SetView(IRecoMoldTolDlgView* view) { view_ = view; }

  // Fills everything the dialog shows from the rule (texts from the localized library).
  void Open();

  const std::wstring& Title() const { return title_; }
  const std::wstring& NominalCaption() const { return nominalCaption_; }
  const std::wstring& ToleranceCaption() const { return toleranceCaption_; }
  const std::wstring& SeverityLabel() const { return severityLabel_; }
  const std::wstring& ImportLabel() const { return importLabel_; }
  const std::vector<std::wstring>& SeverityNames() const { return severityNames_; }
  int SelectedSeverity() const { return selectedSeverity_; }
  const kvx::platform::Picture& Picture() const { return picture_; }
  KVXRecMoldTolListCtrl& MaterialList() { return materials_; }
  KVXRecMoldTolListCtrl& ToleranceTable() { return table_; }
  const std::wstring& CurrentMaterial() const { return currentMaterial_; }
  const MaterialMap& Materials() const { return materialMap_; }

  // One handler for the lists' notifications: 102 adds `material`, 103 removes it with its rows, 2509 and
  // 100 select it and show its rows, 2510 and 101 copy the table into the current material.
  void OnMaterialNotification(const std::wstring& material, int code);
  // A material's new name: refused with a message when it is empty or another material's (in any case).
  void RenameMaterial(const std::wstring& from, const std::wstring& to);
  void SelectSeverity(int index);

  // OK: finishes an edit in progress, checks the table and, when it passes, writes the map and the severity
  // into the rule; true when the dialog may close with OK. False keeps it open with the user's text. The
  // check refuses incomplete rows, bands whose Up to is not above Over, A or B values not above 0,
  // overlapping bands and a rule that holds one material name twice. A table left as it opened (the same
  // rows and the same current material) is not written back, so the rule stays exactly as it was.
  bool OnOK();

  // Ctrl+I: asks for a spreadsheet and replaces the current material's rows with its table (columns A to D
  // give Over, Up to, A value, B value; the first row is a header). All or nothing: a sheet that fails the
  // check changes nothing.
  ImportResult ImportSpreadsheet();

  // The check of a sheet's rows from the second on: a row without Over ends it early; in every other row
  // Over must be a plain number of 0 or more (else `overFormat`, filled with the row's number, is shown)
  // and Up to, A value and B value must each be a number greater than 0 (else `message` is shown). A
  // message box without caption tells of the first row that breaks this, and the check fails.
  static SheetCheck CheckSheetRows(const std::vector<std::vector<std::wstring>>& columns,
                                   const std::wstring& message, const std::wstring& overFormat);

  // The table's texts of a row: numbers as the value utilities write them, -1.0 shown empty except Over.
  static CKVXListCtrl::Row RowTexts(const ToleranceRow& row);

 private:
  void AddMaterial(const std::wstring& material);
  void DeleteMaterial(const std::wstring& material);
  void ShowCurrentMaterial();
  void SelectMaterial(const std::wstring& material);
  void CopyTableToMaterial();
  bool CheckTable() const;
  bool CheckBands() const;
  bool Unchanged() const;
  void WriteBack();
  void ShowMaterialList();
  void ShowTable(const std::vector<ToleranceRow>& rows);
  bool RefuseTableEdit();

  CKVXRecoMoldTolRule* rule_;
  IFileDialog& files_;
  IRecoMoldTolDlgView* view_ = nullptr;
  std::wstring unitText_;
  std::wstring title_;
  std::wstring nominalCaption_;
  std::wstring toleranceCaption_;
  std::wstring severityLabel_;
  std::wstring importLabel_;
  std::vector<std::wstring> severityNames_;
  int selectedSeverity_ = -1;
  kvx::platform::Picture picture_;
  KVXRecMoldTolListCtrl materials_;
  KVXRecMoldTolListCtrl table_;
  std::wstring currentMaterial_;
  MaterialMap materialMap_;
  std::wstring openedMaterial_;  // the table as it opened
  MaterialMap openedMap_;
  std::wstring nameHeldTwice_;   // a material the rule holds twice (ignoring case): never written back
};

}  // namespace kvx::ui
