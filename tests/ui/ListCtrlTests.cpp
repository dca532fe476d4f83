// The editable list without a toolkit: what each key does while a cell is edited, Delete and its
// protected rows, the blank rows, and what the view is told.
#include <gtest/gtest.h>

#include <string>
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

// Records what the view is told, in order.
class Recorder final : public kvx::ui::IListCtrlObserver {
 public:
  std::vector<std::string> calls;
  void BeginReset() override { calls.push_back("begin-reset"); }
  void EndReset() override { calls.push_back("end-reset"); }
  void BeginInsertRows(int first, int count) override {
    calls.push_back("begin-insert " + std::to_string(first) + "+" + std::to_string(count));
  }
  void EndInsertRows() override { calls.push_back("end-insert"); }
  void BeginRemoveRows(int first, int count) override {
    calls.push_back("begin-remove " + std::to_string(first) + "+" + std::to_string(count));
  }
  void EndRemoveRows() override { calls.push_back("end-remove"); }
  void RowChanged(int row) override { calls.push_back("changed " + std::to_string(row)); }
  void EditStarted(CellPosition cell) override {
    calls.push_back("edit " + std::to_string(cell.row) + "," + std::to_string(cell.column));
  }
  void EditEnded() override { calls.push_back("edit-ended"); }
  void SelectionChanged(int row) override { calls.push_back("select " + std::to_string(row)); }
};

class ListCtrlTest : public ::testing::Test {
 protected:
  void SetUp() override {
    list_.SetRows({{L"1", L"2", L"3"}, {L"4", L"5", L"6"}, {L"keep", L"", L""}, {L"7"}});
    list_.SetNotification([this](const std::wstring& material, int code) { list_.reports.emplace_back(material, code); });
  }
  TestList list_;
};

TEST_F(ListCtrlTest, ColumnsAndRowsAreFittedToTheHeaders) {
  EXPECT_EQ(list_.ColumnCount(), 3);
  EXPECT_EQ(list_.ColumnWidth(1), 20);
  EXPECT_EQ(list_.ColumnWidth(2), 0);  // a missing width reads 0
  EXPECT_EQ(list_.CellText(3, 2), L"");  // a short row is padded
  EXPECT_EQ(list_.CellText(9, 0), L"");  // out of range reads empty
  EXPECT_EQ(list_.Header(5), L"");
}

TEST_F(ListCtrlTest, AnEditStartsWithTheCellTextAndSelectsItsRow) {
  ASSERT_TRUE(list_.BeginEdit(1, 2));
  EXPECT_EQ(list_.EditText(), L"6");
  EXPECT_EQ(list_.SelectedRow(), 1);
  EXPECT_FALSE(list_.BeginEdit(0, 1)) << "a read-only cell";
  EXPECT_FALSE(list_.BeginEdit(8, 0)) << "out of range";
}

TEST_F(ListCtrlTest, EditTextIsCutTo260Characters) {
  ASSERT_TRUE(list_.BeginEdit(0, 0));
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

  list_.UpdateEditText(L"30");
  list_.HandleEditKey(EditKey::Enter);
  EXPECT_EQ(list_.CellText(0, 2), L"30");
  EXPECT_EQ(list_.EditCell(), (CellPosition{1, 0})) << "the move wraps to the next row";
}

TEST_F(ListCtrlTest, LeftRightUpAndDownCommitAndMoveOneCell) {
  ASSERT_TRUE(list_.BeginEdit(1, 1));
  list_.HandleEditKey(EditKey::Left);
  EXPECT_EQ(list_.EditCell(), (CellPosition{1, 0}));
  list_.HandleEditKey(EditKey::Right);
  EXPECT_EQ(list_.EditCell(), (CellPosition{1, 1}));
  list_.HandleEditKey(EditKey::Down);
  EXPECT_EQ(list_.EditCell(), (CellPosition{2, 1}));
  list_.HandleEditKey(EditKey::Up);
  EXPECT_EQ(list_.EditCell(), (CellPosition{1, 1}));
  list_.HandleEditKey(EditKey::Up);
  EXPECT_FALSE(list_.IsEditing()) << "the cell above is read-only: the edit ends there";
  EXPECT_EQ(list_.reports.size(), 5u) << "every move finished an edit";
}

TEST_F(ListCtrlTest, MovingPastTheLastCellEndsTheEdit) {
  ASSERT_TRUE(list_.BeginEdit(3, 2));
  list_.HandleEditKey(EditKey::Tab);
  EXPECT_FALSE(list_.IsEditing());
  ASSERT_TRUE(list_.BeginEdit(3, 1));
  list_.HandleEditKey(EditKey::Down);
  EXPECT_FALSE(list_.IsEditing());
}

TEST_F(ListCtrlTest, EscapeDropsTheTextAndReportsNothing) {
  ASSERT_TRUE(list_.BeginEdit(1, 0));
  list_.UpdateEditText(L"99");
  list_.HandleEditKey(EditKey::Escape);
  EXPECT_FALSE(list_.IsEditing());
  EXPECT_EQ(list_.CellText(1, 0), L"4");
  EXPECT_TRUE(list_.reports.empty());
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

TEST_F(ListCtrlTest, KeysOutsideAnEditDoNothing) {
  list_.HandleEditKey(EditKey::Delete);
  list_.HandleEditKey(EditKey::Tab);
  EXPECT_EQ(list_.RowCount(), 4);
  EXPECT_TRUE(list_.reports.empty());
}

TEST_F(ListCtrlTest, StartingAnotherEditFinishesTheOneInProgress) {
  ASSERT_TRUE(list_.BeginEdit(0, 0));
  list_.UpdateEditText(L"11");
  ASSERT_TRUE(list_.BeginEdit(1, 2));
  EXPECT_EQ(list_.CellText(0, 0), L"11");
  EXPECT_EQ(list_.reports.size(), 1u);
}

TEST_F(ListCtrlTest, BlankRowsAreAppendedOnlyToAShortList) {
  std::vector<CKVXListCtrl::Row> rows(150, CKVXListCtrl::Row{L"1"});
  list_.SetRows(rows);
  list_.AppendBlankRowsIfShort();
  EXPECT_EQ(list_.RowCount(), 350);
  EXPECT_TRUE(list_.IsRowEmpty(349));
  EXPECT_FALSE(list_.IsRowEmpty(149));

  list_.SetRows(std::vector<CKVXListCtrl::Row>(200, CKVXListCtrl::Row{L"1"}));
  list_.AppendBlankRowsIfShort();
  EXPECT_EQ(list_.RowCount(), 200);
}

TEST_F(ListCtrlTest, TheViewHearsOfEveryChangeAroundIt) {
  Recorder recorder;
  list_.SetObserver(&recorder);
  ASSERT_TRUE(list_.BeginEdit(1, 0));
  list_.UpdateEditText(L"x");
  list_.HandleEditKey(EditKey::Right);
  list_.HandleEditKey(EditKey::Delete);
  list_.AppendBlankRowsIfShort(5, 2);
  list_.SetRows({});
  const std::vector<std::string> expected{"select 1",     "edit 1,0",    "edit-ended",    "changed 1",
                                          "edit 1,1",     "edit-ended",  "begin-remove 1+1", "end-remove",
                                          "select -1",    "begin-insert 3+2", "end-insert", "begin-reset",
                                          "end-reset"};
  EXPECT_EQ(recorder.calls, expected);
  list_.SetObserver(nullptr);
}

}  // namespace
