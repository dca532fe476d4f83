// The editable list without a toolkit: what each key does while a cell is edited, Delete and its
// protected rows. Escape, the blank rows and what the view is told are checked through the dialogs.
#include <gtest/gtest.h>

#include <vector>

#include "kvx/ui/ListCtrl.h"

namespace {

using kvx::ui::CellPosition;
using kvx::ui::CKVXListCtrl;
using kvx::ui::EditKey;

// A list whose column 1 of row 0 is read-only and whose rows starting with "keep" resist Delete.
class TestList final : public CKVXListCtrl {
 public:
  TestList() : CKVXListCtrl(7, {L"a", L"b", L"c"}, {10, 20}) {}
  std::vector<std::pair<std::wstring, int>> reports;

 protected:
  bool CanEdit(int row, int column) const override { return !(row == 0 && column == 1); }
  bool IsProtectedRow(int row) const override { return CellText(row, 0) == L"keep"; }
};

class ListCtrlTest : public ::testing::Test {
 protected:
  void SetUp() override {
    list_.SetRows({{L"1", L"2", L"3"}, {L"4", L"5", L"6"}, {L"keep", L"", L""}, {L"7"}});
    list_.SetNotification([this](const std::wstring& text, int code) { list_.reports.emplace_back(text, code); });
  }
  TestList list_;
};

TEST_F(ListCtrlTest, AnEditStartsOnlyOnAnEditableCellAndCutsItsTextTo260Characters) {
  EXPECT_EQ(list_.CellText(3, 2), L"") << "a short row is padded";
  EXPECT_FALSE(list_.BeginEdit(0, 1)) << "a read-only cell";
  EXPECT_FALSE(list_.BeginEdit(8, 0)) << "out of range";
  ASSERT_TRUE(list_.BeginEdit(1, 2));
  EXPECT_EQ(list_.EditText(), L"6");
  EXPECT_EQ(list_.SelectedRow(), 1);
  list_.UpdateEditText(std::wstring(300, L'9'));
  EXPECT_EQ(list_.EditText().size(), 260u);
  EXPECT_FALSE(list_.AcceptsText(0, std::wstring(261, L'9')));
}

TEST_F(ListCtrlTest, TabAndEnterCommitAndMoveToTheNextEditableCell) {
  ASSERT_TRUE(list_.BeginEdit(0, 0));
  list_.UpdateEditText(L"10");
  list_.HandleEditKey(EditKey::Tab);
  EXPECT_EQ(list_.CellText(0, 0), L"10");
  EXPECT_EQ(list_.EditCell(), (CellPosition{0, 2})) << "column 1 of row 0 is skipped";
  ASSERT_EQ(list_.reports.size(), 1u);
  EXPECT_EQ(list_.reports[0].second, 7) << "a finished edit is reported with the list's id";
  list_.HandleEditKey(EditKey::Enter);
  EXPECT_EQ(list_.EditCell(), (CellPosition{1, 0})) << "the move wraps to the next row";
  list_.UpdateEditText(L"11");
  ASSERT_TRUE(list_.BeginEdit(3, 2));
  EXPECT_EQ(list_.CellText(1, 0), L"11") << "starting another edit finishes the one in progress";
  list_.HandleEditKey(EditKey::Tab);
  EXPECT_FALSE(list_.IsEditing()) << "moving past the last cell ends the edit";
}

TEST_F(ListCtrlTest, ArrowsMoveOneCellAndEndTheEditAtAReadOnlyCell) {
  ASSERT_TRUE(list_.BeginEdit(1, 1));
  const std::vector<std::pair<EditKey, CellPosition>> moves{
      {EditKey::Left, {1, 0}}, {EditKey::Right, {1, 1}}, {EditKey::Down, {2, 1}}, {EditKey::Up, {1, 1}}};
  for (const auto& [key, cell] : moves) {
    list_.HandleEditKey(key);
    EXPECT_EQ(list_.EditCell(), cell);
  }
  list_.HandleEditKey(EditKey::Up);
  EXPECT_FALSE(list_.IsEditing()) << "the cell above is read-only";
  EXPECT_EQ(list_.reports.size(), 5u) << "every move finished an edit";
}

TEST_F(ListCtrlTest, DeleteRemovesTheSelectedRowUnlessItIsProtected) {
  ASSERT_TRUE(list_.BeginEdit(2, 1));
  list_.HandleEditKey(EditKey::Delete);
  EXPECT_EQ(list_.RowCount(), 4) << "the protected row stays";
  EXPECT_TRUE(list_.IsEditing()) << "and its edit goes on";
  ASSERT_TRUE(list_.BeginEdit(1, 0));
  list_.HandleEditKey(EditKey::Delete);
  EXPECT_EQ(list_.RowCount(), 3);
  EXPECT_EQ(list_.CellText(1, 0), L"keep");
  EXPECT_FALSE(list_.IsEditing());
  EXPECT_EQ(list_.SelectedRow(), -1);
}

}  // namespace
