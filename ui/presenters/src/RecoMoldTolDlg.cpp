#include "kvx/ui/RecoMoldTolDlg.h"

#include <algorithm>

#include "kvx/framework/KvxUiServices.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/params/ResourceText.h"
#include "kvx/params/Spreadsheet.h"
#include "kvx/params/ValueUtils.h"
#include "kvx/platform/Locale.h"
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

// The decimal reader takes the leading digits of any text, so only a whole text of digits with at most one
// point is read as what it says ("-3", "1e3", "3 mm" and "1.2.3" are not).
bool IsPlainNumber(const std::wstring& text) {
  const std::wstring trimmed = Trimmed(text);
  return trimmed.find_first_of(L"0123456789") != std::wstring::npos && kvx::params::IsNumeric(trimmed) &&
         std::count(trimmed.begin(), trimmed.end(), L'.') <= 1;
}

bool IsPositiveNumber(const std::wstring& text) {
  return IsPlainNumber(text) && kvx::params::ToDouble(Trimmed(text)) > 0.0;
}

bool IsComplete(const ToleranceRow& row) {
  return std::ranges::none_of(kFields, [&](auto field) { return row.*field == kMissingValue; });
}

bool SameRows(const std::vector<ToleranceRow>& a, const std::vector<ToleranceRow>& b) {
  return std::ranges::equal(a, b, [](const ToleranceRow& x, const ToleranceRow& y) {
    return std::ranges::all_of(kFields, [&](auto field) { return x.*field == y.*field; });
  });
}

// The material of `map` whose name equals `name` without regard to case, or the end.
CKVXRecoMoldTolDlg::MaterialMap::const_iterator FindNoCase(const CKVXRecoMoldTolDlg::MaterialMap& map,
                                                          const std::wstring& name) {
  return std::ranges::find_if(map, [&](const auto& entry) { return kvx::platform::EqualsNoCase(entry.first, name); });
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
  table_.SetDecimalSeparator(kvx::platform::UserDecimalSeparator());
  materials_.SetRenameHandler([this](const std::wstring& from, const std::wstring& to) { RenameMaterial(from, to); });
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
  nameHeldTwice_.clear();
  std::wstring active;
  for (const auto& constraint : rule_->Constraints()) {
    if (FindNoCase(materialMap_, constraint->csName) != materialMap_.end() && nameHeldTwice_.empty()) {
      nameHeldTwice_ = constraint->csName;
    }
    materialMap_.emplace(constraint->csName, CKVXRecoMoldTolRule::RowsOf(*constraint));
    if (active.empty() && constraint->bStatus) active = constraint->csName;
  }
  // The material that applies by default is the one shown first; without one, the first in name order.
  currentMaterial_ = !active.empty() ? active : materialMap_.empty() ? std::wstring() : materialMap_.begin()->first;
  ShowMaterialList();
  const auto current = materialMap_.find(currentMaterial_);
  ShowTable(current != materialMap_.end() ? current->second : std::vector<ToleranceRow>{});
  materials_.SelectRow(materials_.RowOfMaterial(currentMaterial_));
  openedMap_ = materialMap_;
  openedMaterial_ = currentMaterial_;
}

void CKVXRecoMoldTolDlg::OnMaterialNotification(const std::wstring& material, int code) {
  switch (code) {
    case kAddMaterialCode:
      if (!material.empty()) AddMaterial(material);
      return;
    case kDeleteMaterialCode: DeleteMaterial(material); return;
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
  // Names that differ only in case are one material to the user (and to the rules' lookups).
  if (const auto listed = FindNoCase(materialMap_, material); listed != materialMap_.end()) {
    KvxMessageBox(kvx::params::FormatText(LoadLocalizedString(kvx::res::kMaterialAlreadyListed), listed->first),
                  kMessageCaption, KvxMessageIcon::Exclamation);
    SelectMaterial(listed->first);
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

void CKVXRecoMoldTolDlg::DeleteMaterial(const std::wstring& material) {
  if (materialMap_.erase(material) == 0) return;
  if (material == currentMaterial_) {
    table_.CancelEdit();
    currentMaterial_ = materialMap_.empty() ? std::wstring() : materialMap_.begin()->first;
  }
  ShowCurrentMaterial();
}

void CKVXRecoMoldTolDlg::RenameMaterial(const std::wstring& from, const std::wstring& to) {
  const auto entry = materialMap_.find(from);
  if (entry == materialMap_.end()) return;
  kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);
  const auto taken = FindNoCase(materialMap_, to);
  if (to.empty() || (taken != materialMap_.end() && taken != entry)) {
    if (!to.empty()) {
      KvxMessageBox(kvx::params::FormatText(LoadLocalizedString(kvx::res::kMaterialAlreadyListed), taken->first),
                    kMessageCaption, KvxMessageIcon::Exclamation);
    }
    ShowMaterialList();  // the old name again
    materials_.SelectRow(materials_.RowOfMaterial(currentMaterial_));
    return;
  }
  table_.CommitEdit();
  auto rows = std::move(entry->second);
  materialMap_.erase(entry);
  materialMap_.emplace(to, std::move(rows));
  if (currentMaterial_ == from) currentMaterial_ = to;
  ShowCurrentMaterial();
}

// The material list, and the current material's rows in the table.
void CKVXRecoMoldTolDlg::ShowCurrentMaterial() {
  ShowMaterialList();
  const auto current = materialMap_.find(currentMaterial_);
  ShowTable(current != materialMap_.end() ? current->second : std::vector<ToleranceRow>{});
  materials_.SelectRow(materials_.RowOfMaterial(currentMaterial_));
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

// Every complete band of every material: Up to above Over, A and B above 0, no two bands overlapping.
bool CKVXRecoMoldTolDlg::CheckBands() const {
  using kvx::params::DoubleToShortText;
  using kvx::params::FormatText;
  kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);
  for (const auto& [material, rows] : materialMap_) {
    std::vector<ToleranceRow> bands;
    std::ranges::copy_if(rows, std::back_inserter(bands), IsComplete);
    for (const ToleranceRow& band : bands) {
      if (band.dUpto <= band.dOver) {
        KvxMessageBox(FormatText(LoadLocalizedString(kvx::res::kToleranceBandNotAscending), material,
                                 DoubleToShortText(band.dOver)), kMessageCaption, KvxMessageIcon::Exclamation);
        return false;
      }
      if (band.dAVal <= 0.0 || band.dBVal <= 0.0) {
        KvxMessageBox(LoadLocalizedString(kvx::res::kToleranceValueNotPositive), kMessageCaption,
                      KvxMessageIcon::Exclamation);
        return false;
      }
    }
    std::ranges::sort(bands, {}, &ToleranceRow::dOver);
    for (size_t i = 1; i < bands.size(); ++i) {
      if (bands[i].dOver >= bands[i - 1].dUpto) continue;
      KvxMessageBox(FormatText(LoadLocalizedString(kvx::res::kToleranceBandsOverlap), material,
                               DoubleToShortText(bands[i - 1].dOver), DoubleToShortText(bands[i].dOver)),
                    kMessageCaption, KvxMessageIcon::Exclamation);
      return false;
    }
  }
  return true;
}

bool CKVXRecoMoldTolDlg::Unchanged() const {
  return currentMaterial_ == openedMaterial_ &&
         std::ranges::equal(materialMap_, openedMap_, [](const auto& a, const auto& b) {
           return a.first == b.first && SameRows(a.second, b.second);
         });
}

bool CKVXRecoMoldTolDlg::OnOK() {
  materials_.CommitEdit();
  table_.CommitEdit();
  if (!rule_) return true;
  if (!nameHeldTwice_.empty()) {
    kvx::platform::ResourceScope resources(kvx::params::Module().localizedResources);
    KvxMessageBox(kvx::params::FormatText(LoadLocalizedString(kvx::res::kMaterialNamedTwice), nameHeldTwice_),
                  kMessageCaption, KvxMessageIcon::Exclamation);
    return false;
  }
  if (!CheckTable()) return false;
  if (!Unchanged()) {
    if (!CheckBands()) return false;
    WriteBack();
  }
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
  const SheetCheck check = CheckSheetRows(sheet, LoadLocalizedString(kvx::res::kToleranceValueNotPositive),
                                         LoadLocalizedString(kvx::res::kSheetOverNotANumber));
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
                                              const std::wstring& message, const std::wstring& overFormat) {
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
    if (!IsPlainNumber(Cell(columns, 0, r))) {
      KvxMessageBox(kvx::params::FormatText(overFormat, std::to_wstring(r + 1)));
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
