#include "app/pageviews/WidgetPageViewTarget.h"

namespace app {

namespace {

std::string describe(const QWidget* widget) {
  if (!widget)
    return "(null)";
  QString text = QString::fromLatin1(widget->metaObject()->className());
  if (!widget->objectName().isEmpty())
    text += QLatin1Char(':') + widget->objectName();
  return text.toStdString();
}

}  // namespace

std::string WidgetPageViewTarget::description() const {
  return describe(widget_.data());
}

tallix::TallixPage WidgetPageViewTarget::page(QWidget* widget) {
  return {widget, describe(widget)};
}

}  // namespace app
