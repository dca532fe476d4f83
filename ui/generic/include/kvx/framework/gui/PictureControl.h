#pragma once
// The rule picture of the dialogs: an SVG drawing scaled into a framed box. A rule without a picture, or
// with bytes that are no drawing, shows the empty frame.
#include <QFrame>
#include <QSvgRenderer>
#include <memory>

#include "kvx/framework/gui/FrameworkGuiExport.h"
#include "kvx/platform/Resources.h"

class KVX_FRAMEWORK_GUI_API PictureControl : public QFrame {
  Q_OBJECT

 public:
  explicit PictureControl(QWidget* parent = nullptr);

  // Shows `picture`; an empty or unreadable one leaves the frame empty.
  void SetPicture(const kvx::platform::Picture& picture);
  // True when a drawing is shown.
  bool HasDrawing() const { return renderer_ != nullptr; }
  QSize sizeHint() const override { return {220, 160}; }

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  std::unique_ptr<QSvgRenderer> renderer_;  // null: nothing to draw
};
