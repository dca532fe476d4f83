// The editable list without a toolkit: what each key does while a cell is edited, Delete and its
// protected rows. Escape, the blank rows and what the view is told are checked through the dialogs.
#include <gtest/gtest.h>

#include <vector>

#include "kvx/ui/ListCtrl.h"

namespace {

using kvx::ui::CellPosition;
using kvx::ui::CKVXListCtrl;
using kvx::ui::EditKey;

// A list whose column 1 of row 0 is read-only and whose rows starting with "keep" resist Delete; it records
// what it reports.
class TestList final : public CKVXListCtrl {
 public:
  TestList() : CKVXListCtrl(7, {L"a", L"b", L"c"}, {10, 20}) {
    SetRows({{L"1", L"2", L"3"}, {L"4", L"5", L"6"}, {L"keep", L"", L""}, {L"7"}});
    SetNotification([this](const std::wstring& text, int code) { reports.emplace_back(text, code); });
  }
  std::vector<std::pair<std::wstring, int>> reports;

 protected:
  bool CanEdit(int row, int column) const override { return !(row == 0 && column == 1); }
  bool IsProtectedRow(int row) const override { return CellText(row, 0) == L"keep"; }
};

// An edit starts only on an editable cell and cuts its text to 260 characters; Tab and Enter commit and move
// to the next editable cell, the arrows one cell, and a read-only cell or the end ends the edit.
TEST(ListCtrl, EditsStartOnEditableCellsAndTheKeysMoveThem) {
  TestList list;
  EXPECT_EQ(list.CellText(3, 2), L"") << "a short row is padded";
  EXPECT_FALSE(list.BeginEdit(0, 1)) << "a read-only cell";
  EXPECT_FALSE(list.BeginEdit(8, 0)) << "out of range";
  ASSERT_TRUE(list.BeginEdit(1, 2));
  EXPECT_EQ(list.EditText(), L"6");
  EXPECT_EQ(list.SelectedRow(), 1);
  list.UpdateEditText(std::wstring(300, L'9'));
  EXPECT_EQ(list.EditText().size(), 260u);
  EXPECT_FALSE(list.AcceptsText(0, std::wstring(261, L'9')));

  list.CancelEdit();
  list.reports.clear();
  ASSERT_TRUE(list.BeginEdit(0, 0));
  list.UpdateEditText(L"10");
  list.HandleEditKey(EditKey::Tab);
  EXPECT_EQ(list.CellText(0, 0), L"10");
  EXPECT_EQ(list.EditCell(), (CellPosition{0, 2})) << "column 1 of row 0 is skipped";
  ASSERT_EQ(list.reports.size(), 1u);
  EXPECT_EQ(list.reports[0].second, 7) << "a finished edit is reported with the list's id";
  list.HandleEditKey(EditKey::Enter);
  EXPECT_EQ(list.EditCell(), (CellPosition{1, 0})) << "the move wraps to the next row";
  const std::pair<EditKey, CellPosition> moves[] = {{EditKey::Right, {1, 1}},
                                                    {EditKey::Left, {1, 0}},
                                                    {EditKey::Right, {1, 1}},
                                                    {EditKey::Down, {2, 1}},
                                                    {EditKey::Up, {1, 1}}};
  for (const auto& [key, cell] : moves) {
    list.HandleEditKey(key);
    EXPECT_EQ(list.EditCell(), cell);
  }
  list.HandleEditKey(EditKey::Up);
  EXPECT_FALSE(list.IsEditing()) << "the cell above is read-only";
  EXPECT_EQ(list.reports.size(), 8u) << "every move finished an edit";

  ASSERT_TRUE(list.BeginEdit(1, 0));
  list.UpdateEditText(L"11");
  ASSERT_TRUE(list.BeginEdit(3, 2));
  EXPECT_EQ(list.CellText(1, 0), L"11") << "starting another edit finishes the one in progress";
  list.HandleEditKey(EditKey::Tab);
  EXPECT_FALSE(list.IsEditing()) << "moving past the last cell ends the edit";
}

TEST(ListCtrl, DeleteRemovesTheSelectedRowUnlessItIsProtected) {
  TestList list;
  ASSERT_TRUE(list.BeginEdit(2, 1));
  list.HandleEditKey(EditKey::Delete);
  EXPECT_EQ(list.RowCount(), 4) << "the protected row stays";
  EXPECT_TRUE(list.IsEditing()) << "and its edit goes on";
  ASSERT_TRUE(list.BeginEdit(1, 0));
  list.HandleEditKey(EditKey::Delete);
  EXPECT_EQ(list.RowCount(), 3);
  EXPECT_EQ(list.CellText(1, 0), L"keep");
  EXPECT_FALSE(list.IsEditing());
  EXPECT_EQ(list.SelectedRow(), -1);
}

}  // namespace
