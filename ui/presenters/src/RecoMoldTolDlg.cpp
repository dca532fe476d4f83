#include "kvx/ui/RecoMoldTolDlg.h"

#include <algorithm>

#include "kvx/framework/KvxUiServices.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/params/ResourceText.h"
#include "kvx/params/Spreadsheet.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Text.h"
#include "kvx/res/PictureIds.h"
#include "kvx/res/StringIds.h"

namespace kvx::ui {

namespace {

using kvx::params::LoadLocalizedString;
using Row = CKVXListCtrl::Row;

constexpr int kColumns = 4;
constexpr double kMissingValue = -1.0;
constexpr double ToleranceRow::*kFields[kColumns] = {&ToleranceRow::dOver, &ToleranceRow::dUpto,
                                                     &ToleranceRow::dAVal, &ToleranceRow::dBVal};

std::wstring Trimmed(const std::wstring& text) {
  const auto first = text.find_first_not_of(L" \t");
  if (first == std::wstring::npos) return {};
  const auto last = text.find_last_not_of(L" \t");
  return text.substr(first, last - first + 1);
}

// The decimal reader takes the leading digits of any text, so a value counts as greater than 0 only when
// its whole text is a plain decimal number ("-3" or "3 mm" do not).
bool IsPositiveNumber(const std::wstring& text) {
  const std::wstring trimmed = Trimmed(text);
  return !trimmed.empty() && kvx::params::IsNumeric(trimmed) && kvx::params::ToDouble(trimmed) > 0.0;
}

std::wstring Cell(const std::vector<std::vector<std::wstring>>& columns, size_t column, size_t row) {
  if (column >= columns.size() || row >= columns[column].size()) return {};
  return Trimmed(columns[column][row]);
}

KVXRecMoldTolListCtrl MakeMaterialList() {
  return KVXRecMoldTolListCtrl(KVXRecMoldTolListCtrl::Kind::MaterialList, CKVXRecoMoldTolDlg::kMaterialListId,
                               {LoadLocalizedString(kvx::res::kMaterialColumn),
                                LoadLocalizedString(kvx::res::kMaterialRowsColumn)},
                               {CKVXRecoMoldTolDlg::kMaterialColumnWidth, CKVXRecoMoldTolDlg::kColumnWidth},
                               LoadLocalizedString(kvx::res::kPlaceholderRow),
                               LoadLocalizedString(kvx::res::kAddMaterialRow));
}

KVXRecMoldTolListCtrl MakeToleranceTable() {
  constexpr int width = CKVXRecoMoldTolDlg::kColumnWidth;
  return KVXRecMoldTolListCtrl(KVXRecMoldTolListCtrl::Kind::ToleranceTable, CKVXRecoMoldTolDlg::kToleranceTableId,
                               {LoadLocalizedString(kvx::res::kToleranceOverParam),
                                LoadLocalizedString(kvx::res::kToleranceUptoParam),
                                LoadLocalizedString(kvx::res::kToleranceAValueParam),
                                LoadLocalizedString(kvx::res::kToleranceBValueParam)},
                               {width, width, width, width}, LoadLocalizedString(kvx::res::kPlaceholderRow),
                               LoadLocalizedString(kvx::res::kAddMaterialRow));
}

}  // namespace

IRecoMoldTolDlgView::~IRecoMoldTolDlgView() = default;

CKVXRecoMoldTolDlg::CKVXRecoMoldTolDlg(CKVXRecoMoldTolRule* rule, IFileDialog& files)
    : rule_(rule), files_(files), materials_(MakeMaterialList()), table_(MakeToleranceTable()) {
  const auto notify = [this](const std::wstring& material, int code) { OnMaterialNotification(material, code); };
  materials_.SetNotification(notify);
  table_.SetNotification(notify);
  table_.SetEditGuard([this] { return RefuseTableEdit(); });
}

void CKVXRecoMoldTolDlg::Open() {
  kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);
  nominalCaption_ = LoadLocalizedString(kvx::res::kNominalDimensionCaption) + L"(" + unitText_ + L")";
  toleranceCaption_ = LoadLocalizedString(kvx::res::kToleranceCaption) + L"(" + unitText_ + L")";
  severityLabel_ = LoadLocalizedString(kvx::res::kSeverityLabel);
  importLabel_ = LoadLocalizedString(kvx::res::kImportSpreadsheetButton);
  severityNames_ = SeverityChoices();
  picture_ = kvx::platform::LoadResPicture(kvx::res::kMouldingToleranceDialogPicture);
  if (!rule_) {
    ShowMaterialList();
    ShowTable({});
    return;
  }
  title_ = rule_->m_csDisplayName;
  selectedSeverity_ = SeverityIndexOf(rule_->m_lRuleSeverity);
  if (view_) view_->ShowSeverity(selectedSeverity_);

  materialMap_.clear();
  std::wstring active;
  for (const auto& constraint : rule_->Constraints()) {
    materialMap_.emplace(constraint->csName, CKVXRecoMoldTolRule::RowsOf(*constraint));
    if (active.empty() && constraint->bStatus) active = constraint->csName;
  }
  // The material that applies by default is the one shown first; without one, the first in name order.
  currentMaterial_ = !active.empty() ? active : materialMap_.empty() ? std::wstring() : materialMap_.begin()->first;
  ShowMaterialList();
  const auto current = materialMap_.find(currentMaterial_);
  ShowTable(current != materialMap_.end() ? current->second : std::vector<ToleranceRow>{});
  materials_.SelectRow(materials_.RowOfMaterial(currentMaterial_));
}

void CKVXRecoMoldTolDlg::OnMaterialNotification(const std::wstring& material, int code) {
  switch (code) {
    case kAddMaterialCode:
      if (!material.empty()) AddMaterial(material);
      return;
    case kMaterialListId:
    case kSelectMaterialCode: SelectMaterial(material); return;
    case kToleranceTableId:
    case kCopyTableCode:
      CopyTableToMaterial();
      table_.AppendBlankRowsIfShort(kBlankRowThreshold, kBlankRowThreshold);
      return;
    default: return;
  }
}

void CKVXRecoMoldTolDlg::SelectSeverity(int index) {
  if (index >= -1 && index < static_cast<int>(severityNames_.size())) selectedSeverity_ = index;
}

void CKVXRecoMoldTolDlg::AddMaterial(const std::wstring& material) {
  kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);
  if (materialMap_.contains(material)) {
    KvxMessageBox(kvx::params::FormatText(LoadLocalizedString(kvx::res::kMaterialAlreadyListed), material),
                  kMessageCaption, KvxMessageIcon::Exclamation);
    SelectMaterial(material);
    return;
  }
  table_.CommitEdit();
  currentMaterial_ = material;
  materialMap_.emplace(material, std::vector<ToleranceRow>{});
  ShowTable({});
  ShowMaterialList();
  materials_.SelectRow(materials_.RowOfMaterial(material));
  table_.AppendBlankRowsIfShort(kBlankRowThreshold, kBlankRowThreshold);
}

void CKVXRecoMoldTolDlg::SelectMaterial(const std::wstring& material) {
  if (!materialMap_.contains(material)) return;
  const int row = materials_.RowOfMaterial(material);
  // The table always shows the current material, so selecting it again only moves the selection (which
  // is also how the list's own report of the selection below comes back here).
  if (material == currentMaterial_) {
    materials_.SelectRow(row);
    return;
  }
  // An edit in progress belongs to the material shown so far: it is finished before the table changes.
  table_.CommitEdit();
  currentMaterial_ = material;
  ShowTable(materialMap_[material]);
  materials_.SelectRow(row);
}

void CKVXRecoMoldTolDlg::CopyTableToMaterial() {
  const auto current = materialMap_.find(currentMaterial_);
  if (current == materialMap_.end()) return;
  kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);
  std::vector<ToleranceRow> rows;
  bool warned = false;
  for (int r = 0; r < table_.RowCount(); ++r) {
    if (table_.IsPlaceholderRow(r) || table_.IsRowEmpty(r)) continue;
    // A band is stored once it has its lower bound; until then the row stays in the table as typed (and
    // the check before OK refuses it while it is incomplete).
    if (table_.CellText(r, 0).empty()) continue;
    bool complete = true;
    bool positive = true;
    ToleranceRow row{kMissingValue, kMissingValue, kMissingValue, kMissingValue};
    for (int c = 0; c < kColumns; ++c) {
      const std::wstring text = table_.CellText(r, c);
      if (text.empty()) {
        complete = false;
        continue;
      }
      row.*kFields[c] = kvx::params::ToDouble(text);
      if (c > 0 && row.*kFields[c] <= 0.0) positive = false;
    }
    // One message for the copy, not one per row: every finished edit copies the whole table again.
    // The row is stored as typed, so the table keeps showing what will be saved.
    if (complete && !positive && !warned) {
      KvxMessageBox(LoadLocalizedString(kvx::res::kToleranceValueNotPositive));
      warned = true;
    }
    rows.push_back(row);
  }
  current->second = std::move(rows);
  const int listRow = materials_.RowOfMaterial(currentMaterial_);
  materials_.SetCellText(listRow, 1, std::to_wstring(current->second.size()));
}

bool CKVXRecoMoldTolDlg::CheckTable() const {
  kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);
  for (int r = 0; r < table_.RowCount(); ++r) {
    if (table_.IsPlaceholderRow(r) || table_.IsRowEmpty(r)) continue;
    for (int c = 0; c < kColumns; ++c) {
      if (!table_.CellText(r, c).empty()) continue;
      KvxMessageBox(LoadLocalizedString(kvx::res::kIncompleteToleranceRow));
      return false;
    }
  }
  const bool anyRows = std::any_of(materialMap_.begin(), materialMap_.end(),
                                   [](const auto& material) { return !material.second.empty(); });
  if (!anyRows) {
    // Kept as it is: the warning has no text. Users know it from the dialog they have used for years.
    KvxMessageBox(std::wstring(), kMessageCaption, KvxMessageIcon::Exclamation);
    return false;
  }
  return true;
}

bool CKVXRecoMoldTolDlg::OnOK() {
  materials_.CommitEdit();
  table_.CommitEdit();
  if (!rule_) return true;
  if (!CheckTable()) return false;
  WriteBack();
  const int shown = ApplySeverityChoice(*rule_, severityNames_, selectedSeverity_);
  if (shown != selectedSeverity_) {
    selectedSeverity_ = shown;
    if (view_) view_->ShowSeverity(selectedSeverity_);
  }
  return true;
}

void CKVXRecoMoldTolDlg::WriteBack() {
  rule_->ClearConstraints();
  for (const auto& [material, rows] : materialMap_) {
    if (material.empty()) continue;
    // The material selected when OK is pressed becomes the one that applies by default.
    rule_->AddMaterialConstraint(material, kvx::platform::EqualsNoCase(material, currentMaterial_), rows);
  }
}

ImportResult CKVXRecoMoldTolDlg::ImportSpreadsheet() {
  kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);
  table_.CommitEdit();
  const auto current = materialMap_.find(currentMaterial_);
  if (current == materialMap_.end()) {
    KvxMessageBox(LoadLocalizedString(kvx::res::kSelectMaterialFirst));
    return ImportResult::NoMaterial;
  }
  const auto path = files_.AskOpenFile(kvx::params::kSpreadsheetFileFilter, kOpenFileOptions);
  if (!path) return ImportResult::Cancelled;

  const std::vector<kvx::params::ColumnRequest> requests{{L"A", 0}, {L"B", 0}, {L"C", 0}, {L"D", 0}};
  kvx::params::SpreadsheetTable sheet;
  std::wstring error;
  if (!kvx::params::ReadSpreadsheet(*path, requests, sheet, error) ||
      !kvx::params::CheckSpreadsheetTable(sheet, error)) {
    // A reader that could not even be loaded leaves the error empty.
    KvxMessageBox(error.empty() ? LoadLocalizedString(kvx::res::kSpreadsheetAppMissing) : error);
    return ImportResult::ReadFailed;
  }
  const SheetCheck check = CheckSheetRows(sheet, LoadLocalizedString(kvx::res::kToleranceValueNotPositive));
  if (!check.passed) return ImportResult::Refused;

  // The table ends at the first row without Over, as a sheet's table ends at its first blank line; what
  // follows it (notes, a second table) is not imported.
  std::vector<ToleranceRow> rows;
  for (size_t r = 1; r < check.endRow; ++r) {
    ToleranceRow row;
    for (int c = 0; c < kColumns; ++c) row.*kFields[c] = kvx::params::ToDouble(Cell(sheet, c, r));
    rows.push_back(row);
  }
  if (rows.empty()) return ImportResult::NothingToImport;
  current->second = rows;
  ShowTable(rows);
  table_.AppendBlankRowsIfShort(kBlankRowThreshold, kBlankRowThreshold);
  materials_.SetCellText(materials_.RowOfMaterial(currentMaterial_), 1, std::to_wstring(rows.size()));
  return ImportResult::Imported;
}

SheetCheck CKVXRecoMoldTolDlg::CheckSheetRows(const std::vector<std::vector<std::wstring>>& columns,
                                              const std::wstring& message) {
  size_t rowCount = 0;
  for (const auto& column : columns) rowCount = std::max(rowCount, column.size());
  SheetCheck check;
  for (size_t r = 1; r < rowCount; ++r) {
    if (Cell(columns, 0, r).empty()) {
      check.passed = true;
      check.stoppedEarly = true;
      check.endRow = r;
      return check;
    }
    for (size_t c = 1; c < kColumns; ++c) {
      if (IsPositiveNumber(Cell(columns, c, r))) continue;
      KvxMessageBox(message);
      check.endRow = r;
      return check;
    }
  }
  check.passed = true;
  check.endRow = std::max<size_t>(rowCount, 1);
  return check;
}

CKVXListCtrl::Row CKVXRecoMoldTolDlg::RowTexts(const ToleranceRow& row) {
  Row texts;
  for (int c = 0; c < kColumns; ++c) {
    std::wstring text = kvx::params::DoubleToShortText(row.*kFields[c]);
    // -1.0 marks a missing value; Over always shows its number.
    if (c > 0 && kvx::platform::EqualsNoCase(text, L"-1.0")) text.clear();
    texts.push_back(text);
  }
  return texts;
}

void CKVXRecoMoldTolDlg::ShowMaterialList() {
  std::vector<std::pair<std::wstring, size_t>> materials;
  for (const auto& [name, rows] : materialMap_) materials.emplace_back(name, rows.size());
  materials_.ShowMaterials(materials);
}

void CKVXRecoMoldTolDlg::ShowTable(const std::vector<ToleranceRow>& rows) {
  std::vector<Row> texts;
  for (const ToleranceRow& row : rows) texts.push_back(RowTexts(row));
  table_.ShowRows(texts);
}

bool CKVXRecoMoldTolDlg::RefuseTableEdit() {
  if (materialMap_.contains(currentMaterial_)) return false;
  kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);
  KvxMessageBox(LoadLocalizedString(kvx::res::kSelectMaterialFirst));
  return true;
}

}  // namespace kvx::ui
