#pragma once

#include <QString>
#include <functional>
#include <vector>

class QMessageBox;
class QWidget;

namespace app {

enum class AlertActionStyle { Default, Cancel };

// One button of an alert. Its handler, if any, receives the action that was tapped.
struct AlertAction {
  QString title;
  AlertActionStyle style = AlertActionStyle::Default;
  std::function<void(const AlertAction&)> handler;
};

// Shows a window-modal message box over the presenter's window with the actions as buttons, in
// order; the first is the default button. Escape taps the first default-style action, never a
// cancel-style one, since here cancel-style actions do things. Returns at once; the box deletes
// itself when closed.
QMessageBox* presentAlert(QWidget* presenter, const QString& title, const QString& message,
                          std::vector<AlertAction> actions);

}  // namespace app
