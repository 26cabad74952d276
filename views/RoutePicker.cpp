#include "views/RoutePicker.h"

#include <QDialogButtonBox>
#include <QListWidget>
#include <QVBoxLayout>

#include "foundation/NotificationCenter.h"
#include "platform/RouteList.h"

namespace views {
namespace {

constexpr int kSinkRole = Qt::UserRole;
constexpr int kPortRole = Qt::UserRole + 1;

std::vector<const platform::RouteListPort*> availablePorts(const platform::RouteListEntry& route) {
  std::vector<const platform::RouteListPort*> ports;
  for (const auto& port : route.ports)
    if (port.available)
      ports.push_back(&port);
  return ports;
}

}  // namespace

RoutePicker::RoutePicker(platform::RouteList& routes, QWidget* parent)
    : QDialog(parent), routes_(routes), list_(new QListWidget(this)) {
  setWindowTitle(tr("Output"));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  list_->setAccessibleName(tr("Outputs"));
  connect(list_, &QListWidget::itemActivated, this, &RoutePicker::choose);
  connect(list_, &QListWidget::itemClicked, this, &RoutePicker::choose);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(list_);
  layout->addWidget(buttons);
  // The list's observers run on its own thread; the widgets are touched on ours.
  foundation::NotificationCenter::defaultCenter().addObserver(
      std::string(platform::RouteList::kRoutesChangedNotification), this,
      [this](const foundation::Notification&) {
        QMetaObject::invokeMethod(this, &RoutePicker::showRoutes, Qt::QueuedConnection);
      },
      &routes_);
  showRoutes();
}

RoutePicker::~RoutePicker() {
  foundation::NotificationCenter::defaultCenter().removeObserver(this);
}

// A sink with several usable ports (speakers and headphones of one card) is one choice a port.
std::vector<RoutePicker::Choice> RoutePicker::choices(const platform::RouteList& routes) {
  std::vector<Choice> found;
  for (const auto& route : routes.routes()) {
    const auto ports = availablePorts(route);
    if (ports.size() < 2) {
      found.push_back({QString::fromStdString(route.description), route.name, {}, route.isDefault});
      continue;
    }
    for (const auto* port : ports) {
      const QString title = tr("%1 (%2)").arg(QString::fromStdString(port->description),
                                              QString::fromStdString(route.description));
      found.push_back(
          {title, route.name, port->name, route.isDefault && port->name == route.activePort});
    }
  }
  return found;
}

QString RoutePicker::currentTitle(const platform::RouteList& routes) {
  for (const Choice& choice : choices(routes))
    if (choice.current)
      return choice.title;
  return {};
}

void RoutePicker::showRoutes() {
  list_->clear();
  for (const Choice& choice : choices(routes_)) {
    auto* item = new QListWidgetItem(choice.title, list_);
    item->setData(kSinkRole, QString::fromStdString(choice.sinkName));
    item->setData(kPortRole, QString::fromStdString(choice.port));
    item->setSelected(choice.current);
  }
  if (list_->count() == 0)
    new QListWidgetItem(tr("No outputs found"), list_);
}

void RoutePicker::choose(const QListWidgetItem* item) {
  const QString sink = item->data(kSinkRole).toString();
  if (sink.isEmpty())
    return;
  routes_.choose(sink.toStdString(), item->data(kPortRole).toString().toStdString());
  accept();
}

}  // namespace views
