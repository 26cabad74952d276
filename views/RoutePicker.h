#pragma once

#include <QDialog>
#include <QString>
#include <string>
#include <vector>

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

  // One line of the list: a sink, or one port of a sink with several usable ones.
  struct Choice {
    QString title;
    std::string sinkName;
    std::string port;  // empty: the sink as it is
    bool current = false;
  };
  static std::vector<Choice> choices(const platform::RouteList& routes);
  // The current output's title as the list shows it; empty while there is none.
  static QString currentTitle(const platform::RouteList& routes);

 private:
  void showRoutes();
  void choose(const QListWidgetItem* item);

  platform::RouteList& routes_;
  QListWidget* list_;
};

}  // namespace views
