#pragma once

#include <QDialog>

class QListWidget;
class QListWidgetItem;

namespace platform {
class RouteList;
}  // namespace platform

namespace views {

// The route picker: a dialog listing the outputs, the current one selected. Choosing one makes
// it the output, moves what is playing onto it and closes the dialog. The list follows outputs
// that come and go while it is open.
class RoutePicker : public QDialog {
  Q_OBJECT

 public:
  explicit RoutePicker(platform::RouteList& routes, QWidget* parent = nullptr);
  ~RoutePicker() override;

 private:
  void showRoutes();
  void choose(const QListWidgetItem* item);

  platform::RouteList& routes_;
  QListWidget* list_;
};

}  // namespace views
