#pragma once
// The two lists of the moulding tolerance dialog (KVXRecMoldTolListCtrl): the material list and the
// tolerance table, each with its own rules on the shared editable list.
//
// Material list: one row per material (name, number of rows), then the row that shows the add-material
// text. Only name cells can be edited. The last row's edit starts empty and the name typed there is
// reported with code 102; a new name typed over a material's goes to the rename handler. Selecting a
// material row reports its name with the list's id; Delete removes a material row (never the last row) and
// reports its name with code 103.
//
// Tolerance table: the current material's rows (Over, Up to, A value, B value), then the placeholder row
// that shows the add-row text in its first cell, then any blank rows. Every cell takes only a plain decimal
// number. Typing into the placeholder row makes it a row of the table and puts a new placeholder below.
// Delete removes the selected row unless it is the placeholder. Finished edits and deletions are reported
// with the list's id.
#include <functional>
#include <string>
#include <vector>

#include "kvx/ui/ListCtrl.h"

namespace kvx::ui {

class KVXRecMoldTolListCtrl : public CKVXListCtrl {
 public:
  enum class Kind { MaterialList, ToleranceTable };
  static constexpr int kAddMaterialCode = 102;
  static constexpr int kDeleteMaterialCode = 103;
  using RenameHandler = std::function<void(const std::wstring& from, const std::wstring& to)>;

  // `placeholderText` is the add-row text (string 2523), `addMaterialText` the add-material text (2219).
  KVXRecMoldTolListCtrl(Kind kind, int id, std::vector<std::wstring> headers, std::vector<int> widths,
                        std::wstring placeholderText, std::wstring addMaterialText);

  Kind GetKind() const { return kind_; }

  // Material list: shows the materials (name and row count) and the add-material row.
  void ShowMaterials(const std::vector<std::pair<std::wstring, size_t>>& materials);
  // Material list: the row of `material`, or -1.
  int RowOfMaterial(const std::wstring& material) const;
  bool IsAddMaterialRow(int row) const;

  // Tolerance table: shows `rows` and the placeholder row after them.
  void ShowRows(const std::vector<Row>& rows);
  bool IsPlaceholderRow(int row) const;

  // Tolerance table: called before an edit starts; returning true refuses it (the dialog tells the user).
  void SetEditGuard(std::function<bool()> refuse) { refuse_ = std::move(refuse); }
  // Tolerance table: the user's decimal separator, taken for the point ("1,5" is 1.5, never 15 or 1).
  void SetDecimalSeparator(std::wstring separator) { decimalSeparator_ = std::move(separator); }
  // Material list: where a material's new name goes.
  void SetRenameHandler(RenameHandler rename) { rename_ = std::move(rename); }

  // Tolerance table cells take plain decimal numbers (digits and "." or the user's decimal separator, kept
  // as ".") only; the material name any text.
  bool AcceptsText(int column, const std::wstring& text) const override;

 protected:
  bool CanEdit(int row, int column) const override;
  bool RefuseEdit(int row, int column) override;
  std::wstring InitialEditText(int row, int column) const override;
  bool IsProtectedRow(int row) const override;
  void OnEditFinished(int row, int column, const std::wstring& text) override;
  void OnRowSelected(int row) override;
  void OnRowDeleted(int row, const Row& removed) override;

 private:
  Row PlaceholderRow() const;
  std::wstring WithPoint(const std::wstring& text) const;

  Kind kind_;
  std::wstring placeholderText_;
  std::wstring addMaterialText_;
  std::function<bool()> refuse_;
  std::wstring decimalSeparator_ = L".";
  RenameHandler rename_;
};

}  // namespace kvx::ui
