#include "kvx/framework/gui/PictureControl.h"

#include <QPainter>

PictureControl::PictureControl(QWidget* parent) : QFrame(parent) {
  setFrameStyle(QFrame::Box | QFrame::Plain);
  setMinimumSize(160, 120);
}

void PictureControl::SetPicture(const kvx::platform::Picture& picture) {
  const QByteArray bytes(reinterpret_cast<const char*>(picture.bytes.data()), static_cast<qsizetype>(picture.bytes.size()));
  renderer_.reset();
  if (!bytes.isEmpty()) {
    auto renderer = std::make_unique<QSvgRenderer>(bytes);
    if (renderer->isValid()) renderer_ = std::move(renderer);
  }
  update();
}

void PictureControl::paintEvent(QPaintEvent* event) {
  QFrame::paintEvent(event);
  if (!renderer_) return;
  const QRectF box = contentsRect().adjusted(4, 4, -4, -4);
  QSizeF size = renderer_->defaultSize();
  if (size.isEmpty()) size = box.size();
  size.scale(box.size(), Qt::KeepAspectRatio);
  const QRectF target(box.center().x() - size.width() / 2, box.center().y() - size.height() / 2, size.width(),
                      size.height());
  QPainter painter(this);
  renderer_->render(&painter, target);
}
