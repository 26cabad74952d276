#include "app/Alert.h"

#include <QMessageBox>
#include <QPushButton>

namespace app {

QMessageBox* presentAlert(QWidget* presenter, const QString& title, const QString& message,
                          std::vector<AlertAction> actions) {
  auto* box = new QMessageBox(QMessageBox::NoIcon, title, message, QMessageBox::NoButton,
                              presenter->window());
  box->setAttribute(Qt::WA_DeleteOnClose);
  box->setWindowModality(Qt::WindowModal);
  std::vector<QAbstractButton*> buttons;
  for (const AlertAction& action : actions) {
    const bool cancel = action.style == AlertActionStyle::Cancel;
    QPushButton* button =
        box->addButton(action.title, cancel ? QMessageBox::RejectRole : QMessageBox::AcceptRole);
    buttons.push_back(button);
    if (!cancel && !box->escapeButton())
      box->setEscapeButton(button);
  }
  if (!buttons.empty())
    box->setDefaultButton(static_cast<QPushButton*>(buttons.front()));
  QObject::connect(box, &QMessageBox::buttonClicked, box,
                   [actions = std::move(actions), buttons](QAbstractButton* clicked) {
                     for (std::size_t i = 0; i < buttons.size(); ++i) {
                       if (buttons[i] == clicked && actions[i].handler)
                         actions[i].handler(actions[i]);
                     }
                   });
  box->open();
  return box;
}

}  // namespace app
