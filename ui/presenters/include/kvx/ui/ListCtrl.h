#pragma once
// The editable list control without a toolkit (the shared CKVXListCtrl): rows of cell texts, one selected
// row, and the in-place edit of one cell with what each key does while it is edited. A list derived from
// it says which cells may be edited, what an edit starts with, which rows are protected from Delete and
// what a finished edit means; the view only shows the rows and forwards the user's input.
#include <functional>
#include <string>
#include <vector>

namespace kvx::ui {

// The keys a list handles while a cell is edited.
enum class EditKey { Tab, Enter, Escape, Left, Right, Up, Down, Delete };

struct CellPosition {
  int row = -1;
  int column = -1;
  bool operator==(const CellPosition&) const = default;
};

// What a list tells its view. A change of rows is announced before (Begin...) and after (End...) the
// list's rows change; the other calls come after the change.
class IListCtrlObserver {
 public:
  virtual ~IListCtrlObserver();
  virtual void BeginReset() = 0;
  virtual void EndReset() = 0;
  virtual void BeginInsertRows(int first, int count) = 0;
  virtual void EndInsertRows() = 0;
  virtual void BeginRemoveRows(int first, int count) = 0;
  virtual void EndRemoveRows() = 0;
  virtual void RowChanged(int row) = 0;
  // Open the editor on `cell`; its text is the list's EditText().
  virtual void EditStarted(CellPosition cell) = 0;
  // Close the editor without taking its text (the list has already taken or dropped it).
  virtual void EditEnded() = 0;
  virtual void SelectionChanged(int row) = 0;
};

// A finished edit or a selection reported to the dialog: a material name (empty where the list has none
// to give) and the notification code.
using ListNotification = std::function<void(const std::wstring& material, int code)>;

class CKVXListCtrl {
 public:
  static constexpr int kMaxEditLength = 260;  // characters an edit box takes
  using Row = std::vector<std::wstring>;

  // `headers` and `widths` (pixels) give the columns; `id` is the code of the list's finished edits.
  CKVXListCtrl(int id, std::vector<std::wstring> headers, std::vector<int> widths);
  virtual ~CKVXListCtrl();
  CKVXListCtrl(const CKVXListCtrl&) = delete;
  CKVXListCtrl& operator=(const CKVXListCtrl&) = delete;

  int Id() const { return id_; }
  // The view that follows the list (null: none).
  void SetObserver(IListCtrlObserver* observer) { observer_ = observer; }
  // Where finished edits and selections go (empty: nowhere).
  void SetNotification(ListNotification notify) { notify_ = std::move(notify); }

  int ColumnCount() const { return static_cast<int>(headers_.size()); }
  // Header text and width of `column`; empty text and 0 out of range.
  std::wstring Header(int column) const;
  int ColumnWidth(int column) const;

  int RowCount() const { return static_cast<int>(rows_.size()); }
  // Whether `cell` may be edited at all (an edit may still be refused when it starts).
  bool IsCellEditable(int row, int column) const { return CanEdit(row, column); }
  // The text of a cell; empty out of range.
  std::wstring CellText(int row, int column) const;
  // Replaces every row (each padded or cut to the column count); ends an edit and clears the selection.
  void SetRows(std::vector<Row> rows);
  void InsertRow(int at, Row row);
  // Sets one cell; ignored out of range.
  void SetCellText(int row, int column, const std::wstring& text);
  // Removes a row; ignored out of range.
  void RemoveRow(int row);
  // Appends `count` empty rows when the list holds fewer than `threshold` rows, so there is always room to
  // type; a longer list is left alone.
  void AppendBlankRowsIfShort(int threshold = 200, int count = 200);
  bool IsRowEmpty(int row) const;

  int SelectedRow() const { return selected_; }
  // Selects `row` (-1: none) and tells the derived list; out-of-range rows select nothing.
  void SelectRow(int row);

  // Starts editing `cell` after finishing an edit in progress; false (no edit) when the cell may not be
  // edited now.
  bool BeginEdit(int row, int column);
  bool IsEditing() const { return editing_; }
  CellPosition EditCell() const { return editing_ ? editCell_ : CellPosition{}; }
  const std::wstring& EditText() const { return editText_; }
  // The editor's text as the user changes it; cut to kMaxEditLength characters.
  void UpdateEditText(const std::wstring& text);
  // Whether the editor of `column` takes `text` (a view asks this before it lets a keystroke in).
  virtual bool AcceptsText(int column, const std::wstring& text) const;
  // Ends the edit with the editor's text (a finished edit); nothing when no edit is in progress.
  void CommitEdit();
  // Ends the edit and drops the editor's text.
  void CancelEdit();
  // A key pressed while a cell is edited: Tab and Enter commit and move to the next editable cell, Left
  // and Right commit and move one editable cell back or on, Up and Down commit and move one row in the
  // same column, Escape cancels, Delete removes the selected row unless it is protected. Ignored when no
  // edit is in progress.
  void HandleEditKey(EditKey key);
  // Removes the selected row unless it is protected; false when nothing was removed.
  bool DeleteSelectedRow();

 protected:
  // Whether `cell` may be edited at all; every cell by default.
  virtual bool CanEdit(int row, int column) const;
  // Called before an edit starts on a cell that may be edited; true refuses it (after telling the user).
  virtual bool RefuseEdit(int row, int column);
  // The text an edit starts with; the cell's text by default.
  virtual std::wstring InitialEditText(int row, int column) const;
  // Whether Delete leaves `row` alone.
  virtual bool IsProtectedRow(int row) const;
  // A finished edit: by default the text goes into the cell and the list's id is reported.
  virtual void OnEditFinished(int row, int column, const std::wstring& text);
  // The selection moved to `row` (-1: none).
  virtual void OnRowSelected(int row);
  // `row`, which held `removed`, was removed by Delete.
  virtual void OnRowDeleted(int row, const Row& removed);

  void Notify(const std::wstring& material, int code) const;
  IListCtrlObserver* Observer() const { return observer_; }

 private:
  CellPosition NextEditableCell(CellPosition from, int step) const;
  CellPosition VerticalNeighbour(CellPosition from, int step) const;
  Row Fitted(Row row) const;

  int id_;
  std::vector<std::wstring> headers_;
  std::vector<int> widths_;
  std::vector<Row> rows_;
  int selected_ = -1;
  bool editing_ = false;
  CellPosition editCell_;
  std::wstring editText_;
  unsigned generation_ = 0;  // grows whenever rows are replaced, so a move after a rebuild is dropped
  IListCtrlObserver* observer_ = nullptr;
  ListNotification notify_;
};

}  // namespace kvx::ui
