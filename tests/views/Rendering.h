#pragma once

#include <QImage>
#include <QWidget>

namespace views {

// What the widget draws over a black background, pixel for pixel; a widget without a parent is
// a window, whose own background would hide what lies beneath.
inline QImage renderedOverBlack(QWidget& widget) {
  QImage image(widget.size(), QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::black);
  widget.render(&image, {}, {}, QWidget::DrawChildren);
  return image;
}

// 0..255 brightness of a grey or white pixel.
inline int brightness(const QImage& image, int x, int y) {
  return qGreen(image.pixel(x, y));
}

}  // namespace views
