#include "views/RoutePicker.h"

#include <QDialogButtonBox>
#include <QListWidget>
#include <QVBoxLayout>

#include "foundation/NotificationCenter.h"
#include "platform/RouteList.h"

namespace views {
namespace {

constexpr int kChoiceRole = Qt::UserRole;

std::vector<const platform::RouteListPort*> availablePorts(const platform::RouteListEntry& route) {
  std::vector<const platform::RouteListPort*> ports;
  for (const auto& port : route.ports)
    if (port.available)
      ports.push_back(&port);
  return ports;
}

RoutePicker::Catalogue outputsOf(platform::RouteList& routes) {
  return {
      RoutePicker::tr("Output"),
      RoutePicker::tr("Outputs"),
      RoutePicker::tr("No outputs found"),
      std::string(platform::RouteList::kRoutesChangedNotification),
      &routes,
      [&routes] { return RoutePicker::choices(routes); },
      [&routes](const RoutePicker::Choice& choice) { routes.choose(choice.device, choice.port); }};
}

}  // namespace

RoutePicker::RoutePicker(Catalogue catalogue, QWidget* parent)
    : QDialog(parent), catalogue_(std::move(catalogue)), list_(new QListWidget(this)) {
  setWindowTitle(catalogue_.title);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel, this);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  list_->setAccessibleName(catalogue_.listName);
  connect(list_, &QListWidget::itemActivated, this, &RoutePicker::choose);
  connect(list_, &QListWidget::itemClicked, this, &RoutePicker::choose);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(list_);
  layout->addWidget(buttons);
  // The list's observers may run on another thread; the widgets are touched on ours.
  foundation::NotificationCenter::defaultCenter().addObserver(
      catalogue_.changeNotification, this,
      [this](const foundation::Notification&) {
        QMetaObject::invokeMethod(this, &RoutePicker::showChoices, Qt::QueuedConnection);
      },
      catalogue_.notifier);
  showChoices();
}

RoutePicker::RoutePicker(platform::RouteList& routes, QWidget* parent)
    : RoutePicker(outputsOf(routes), parent) {}

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

std::vector<RoutePicker::Choice> RoutePicker::inputChoices(
    const std::vector<platform::RouteListEntry>& inputs, const std::string& inUse) {
  std::vector<Choice> found;
  for (const auto& input : inputs)
    found.push_back(
        {QString::fromStdString(input.description), input.name, {}, input.name == inUse});
  return found;
}

void RoutePicker::showChoices() {
  list_->clear();
  shown_ = catalogue_.choices();
  for (std::size_t index = 0; index < shown_.size(); ++index) {
    auto* item = new QListWidgetItem(shown_[index].title, list_);
    item->setData(kChoiceRole, static_cast<qulonglong>(index));
    item->setSelected(shown_[index].current);
  }
  if (list_->count() == 0)
    new QListWidgetItem(catalogue_.emptyText, list_);
}

void RoutePicker::choose(const QListWidgetItem* item) {
  const QVariant index = item->data(kChoiceRole);
  if (!index.isValid())
    return;
  catalogue_.choose(shown_.at(index.toULongLong()));
  accept();
}

}  // namespace views
