#pragma once

#include <QDialog>
#include <QString>
#include <functional>
#include <string>
#include <vector>

class QListWidget;
class QListWidgetItem;

namespace platform {
class RouteList;
struct RouteListEntry;
}  // namespace platform

namespace views {

// A dialog listing the devices of one direction, the one in use selected: the outputs (the
// route picker), or the inputs (the microphone picker). Choosing one acts on it and closes the
// dialog. The list follows devices that come and go while it is open.
class RoutePicker : public QDialog {
  Q_OBJECT

 public:
  // One line of the list: a device, or one port of a sink with several usable ones.
  struct Choice {
    QString title;
    std::string device;  // the sink's or source's name on the server
    std::string port;    // empty: the device as it is
    bool current = false;
  };

  // What a picker offers and what choosing does.
  struct Catalogue {
    QString title;      // the window's
    QString listName;   // what a screen reader calls the list
    QString emptyText;  // the one line while there is nothing to choose
    // Posted, with `notifier` as object, whenever the choices may have changed; observed on
    // whichever thread posts it.
    std::string changeNotification;
    const void* notifier = nullptr;
    std::function<std::vector<Choice>()> choices;  // on the main thread
    std::function<void(const Choice&)> choose;     // on the main thread
  };

  explicit RoutePicker(Catalogue catalogue, QWidget* parent = nullptr);
  // The outputs: choosing one makes it the output and moves what is playing onto it.
  explicit RoutePicker(platform::RouteList& routes, QWidget* parent = nullptr);
  ~RoutePicker() override;

  static std::vector<Choice> choices(const platform::RouteList& routes);
  // The current output's title as the list shows it; empty while there is none.
  static QString currentTitle(const platform::RouteList& routes);
  // A source a line, by its description; `inUse` is the one recorded from.
  static std::vector<Choice> inputChoices(const std::vector<platform::RouteListEntry>& inputs,
                                          const std::string& inUse);

 private:
  void showChoices();
  void choose(const QListWidgetItem* item);

  Catalogue catalogue_;
  std::vector<Choice> shown_;
  QListWidget* list_;
};

}  // namespace views
