#pragma once
// Support of the dialog view tests: the offscreen Qt application they run in, screenshots into the test's
// output folder, and a few ways of reaching into a dialog as a user would.
#include <gtest/gtest.h>

#include <QAbstractItemView>
#include <QDialogButtonBox>
#include <QDir>
#include <QPushButton>
#include <QTest>
#include <QWidget>
#include <cstdlib>
#include <string>

namespace kvx::test {

// Saves a PNG of `widget` as `<KVX_TEST_OUTPUT>/<name>.png` (the current folder when the variable is not
// set); fails the test when it cannot.
inline void SaveScreenshot(QWidget& widget, const std::string& name) {
  const char* folder = std::getenv("KVX_TEST_OUTPUT");
  const QString directory = folder && *folder ? QString::fromLocal8Bit(folder) : QDir::currentPath();
  ASSERT_TRUE(QDir().mkpath(directory));
  const QString path = directory + QStringLiteral("/") + QString::fromStdString(name) + QStringLiteral(".png");
  EXPECT_TRUE(widget.grab().save(path, "PNG")) << path.toStdString();
}

// Double-clicks cell (row, column) of `view`, which opens its editor when the cell may be edited.
inline void DoubleClickCell(QAbstractItemView& view, int row, int column) {
  const QModelIndex index = view.model()->index(row, column);
  view.scrollTo(index);
  const QPoint centre = view.visualRect(index).center();
  QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, centre);
  QTest::mouseDClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, centre);
}

inline QString CellText(const QAbstractItemView& view, int row, int column) {
  return view.model()->index(row, column).data().toString();
}

// The OK button of a dialog's button box.
inline QPushButton* OkButton(QWidget& dialog) {
  auto* box = dialog.findChild<QDialogButtonBox*>();
  return box ? box->button(QDialogButtonBox::Ok) : nullptr;
}

}  // namespace kvx::test
